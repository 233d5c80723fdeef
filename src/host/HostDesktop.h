#pragma once

#include <functional>
#include <optional>

#include "platform/Desktop.h"

namespace vmlib::host {

/// The desktop as the program decides it: questions answered by `--yes`, messages handed to an rpc client, else the
/// platform's own.
class HostDesktop : public Desktop
{
public:
    /// No value when it could not show the message: it is then shown as if there were no listener.
    using Listener = std::function<std::optional<std::int32_t>(const Message& message)>;

    explicit HostDesktop(Desktop& native) : native_(native) {}

    /// Yes, or OK, or whatever a message offers that goes on.
    void AnswerYes() { answerYes_ = true; }
    void SetListener(Listener listener) { listener_ = std::move(listener); }

    std::int16_t MessageBox(TextView text, std::int32_t style, TextView title) override;
    std::int32_t ShowForm(const Message& message, const Layouter& layOut) override;
    std::int16_t MousePointer() override { return native_.MousePointer(); }
    void SetMousePointer(std::int16_t pointer) override { native_.SetMousePointer(pointer); }
    std::int16_t KeyState(std::int16_t key) override { return native_.KeyState(key); }
    void SendKeys(TextView text) override { native_.SendKeys(text); }
    std::optional<TwipsPoint> ScreenTwips() override { return native_.ScreenTwips(); }
    std::int32_t SendWindowMessage(std::int32_t window, std::int32_t message, std::int32_t first,
                                   std::int32_t second) override
    {
        return native_.SendWindowMessage(window, message, first, second);
    }
    Rectangle WindowRectangle(std::int32_t window) override { return native_.WindowRectangle(window); }
    Point ToClient(std::int32_t window, Point onScreen) override { return native_.ToClient(window, onScreen); }
    void MoveWindow(std::int32_t window, const Rectangle& place, bool repaint) override
    {
        native_.MoveWindow(window, place, repaint);
    }
    Size TextExtent(std::int32_t deviceContext, TextView text) override
    {
        return native_.TextExtent(deviceContext, text);
    }
    bool OpenHelp(std::int32_t window, TextView file, std::int32_t command, std::int32_t data) override
    {
        return native_.OpenHelp(window, file, command, data);
    }

    /// A question of the program's own; without anybody who answers it is No.
    bool Confirm(TextView question);

private:
    /// The answer of `--yes` or of a client; no value when the platform is to ask.
    std::optional<std::int32_t> OwnAnswer(const Message& message) const;

    Desktop& native_;
    bool answerYes_ = false;
    Listener listener_;
};

}  // namespace vmlib::host
