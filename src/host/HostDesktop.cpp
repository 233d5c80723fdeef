#include "host/HostDesktop.h"

namespace vmlib::host {

namespace {

constexpr std::int16_t yes = 6;
constexpr std::int32_t yesNoWithNoFirst = 4 | 32 | 256;

/// The answer with which work goes on: OK, Retry or Yes.
std::int32_t ContinuingAnswer(const Message& message)
{
    for (const MessageButton& button : message.buttons)
        if (button.answer == 1 || button.answer == 4 || button.answer == yes) return button.answer;
    return message.safeAnswer;
}

}  // namespace

std::optional<std::int32_t> HostDesktop::OwnAnswer(const Message& message) const
{
    if (listener_)
        if (const auto answer = listener_(message)) return answer;
    if (answerYes_) return ContinuingAnswer(message);
    return std::nullopt;
}

std::int16_t HostDesktop::MessageBox(TextView text, std::int32_t style, TextView title)
{
    if (const auto answer = OwnAnswer(StandardMessage(text, style, title))) return static_cast<std::int16_t>(*answer);
    return native_.MessageBox(text, style, title);
}

std::int32_t HostDesktop::ShowForm(const Message& message, const Layouter& layOut)
{
    if (const auto answer = OwnAnswer(message)) return *answer;
    return native_.ShowForm(message, layOut);
}

bool HostDesktop::Confirm(TextView question)
{
    return MessageBox(question, yesNoWithNoFirst, u"vmlib") == yes;
}

}  // namespace vmlib::host
