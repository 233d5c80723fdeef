#pragma once

#include <optional>
#include <string>

#include "platform/Message.h"

namespace vmlib::posix {

/// Asks at the terminal of the process and waits for an answer; the end of the input is the safe one. No value where
/// nobody sits at a terminal.
std::optional<std::int32_t> AskAtTerminal(const Message& message);

/// Title and text on standard error.
void PrintMessage(const Message& message);

/// Text of a message for a terminal: line ends as the platform has them, and no other control characters, since file
/// and user names come from documents and must not steer the terminal.
std::string ForTerminal(TextView text);

/// The question as it is printed: title, text, and the buttons with their access keys, "[J]a  [N]ee"; the default
/// button is marked with *.
std::string QuestionText(const Message& message);

/// The answer that a typed line means: an access key, a caption, a position from 1, or nothing for the default button.
std::optional<std::int32_t> AnswerOf(TextView line, const Message& message);

}  // namespace vmlib::posix
