#include "host/HostDesktop.h"

namespace vmlib::host {

namespace {

constexpr std::int16_t yes = 6;
constexpr std::int32_t yesNoWithNoFirst = 4 | 32 | 256;

/// The answer with which work goes on: OK, Retry or Yes.
std::int16_t ContinuingAnswer(std::int32_t style)
{
    for (const MessageButton& button : MessageButtons(style))
        if (button.answer == 1 || button.answer == 4 || button.answer == yes) return button.answer;
    return SafeAnswer(style);
}

}  // namespace

std::int16_t HostDesktop::MessageBox(TextView text, std::int32_t style, TextView title)
{
    if (listener_) return listener_(text, style, title);
    if (answerYes_) return ContinuingAnswer(style);
    return native_.MessageBox(text, style, title);
}

bool HostDesktop::Confirm(TextView question)
{
    return MessageBox(question, yesNoWithNoFirst, u"vmlib") == yes;
}

}  // namespace vmlib::host
