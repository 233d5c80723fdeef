#pragma once

#include <cstdint>
#include <vector>

#include "core/Text.h"

namespace vmlib {

/// A button of a message: what pressing it answers, and its caption with "&" before the access key; "&&" shows "&".
struct MessageButton
{
    std::int32_t answer;
    Text caption;
    bool operator==(const MessageButton&) const = default;
};

/// A message and the ways to answer it, whoever shows it: a window, a terminal, the client of a bridge.
/// Styles: button sets 0 to 5, icons 16, 32, 48, 64, default button 0, 256, 512. Answers: 1 OK, 2 Cancel, 3 Abort, 4
/// Retry, 5 Ignore, 6 Yes, 7 No.
struct Message
{
    Text text;
    Text title;
    std::int32_t style = 0;
    std::vector<MessageButton> buttons;  // from left to right, at least one
    std::size_t defaultButton = 0;
    std::int32_t safeAnswer = 0;  // taken where nobody can answer

    bool Answers(std::int32_t answer) const;  // true when one of the buttons does
    bool operator==(const Message&) const = default;
};

/// The platform's standard message box of a style, with Dutch captions. A set that does not exist shows an OK button.
/// Safe answers: OK 1; OK and Cancel 2; Abort, Retry and Ignore 3; Yes, No and Cancel 2; Yes and No 7; Retry and Cancel
/// 2.
Message StandardMessage(TextView text, std::int32_t style, TextView title);

/// The caption without its mark, as a person reads it: "&Ja" is "Ja", "A && B" is "A & B".
Text ShownCaption(TextView caption);

/// The character behind the first "&" in upper case; zero without one.
char16_t AccessKey(TextView caption);

}  // namespace vmlib
