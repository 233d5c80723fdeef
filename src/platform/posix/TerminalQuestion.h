#pragma once

#include <optional>
#include <string>

#include "platform/Desktop.h"

namespace vmlib::posix {

/// Text of a message for a terminal: line ends as the platform has them, and no other control characters, since file
/// and user names come from documents and must not steer the terminal.
std::string ForTerminal(TextView text);

/// The question as it is printed: title, text, and the buttons with their access keys, "[J]a  [N]ee"; the default
/// button is marked with *.
std::string QuestionText(TextView text, std::int32_t style, TextView title);

/// The answer that a typed line means: an access key, a caption, a position from 1, or nothing for the default button.
std::optional<std::int16_t> AnswerOf(TextView line, std::int32_t style);

}  // namespace vmlib::posix
