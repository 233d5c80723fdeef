#pragma once

#include "platform/Desktop.h"

namespace vmlib::windows {

/// Messages in windows of user32. A process that no person can see, as a service, and one with VMLIB_DESKTOP=none write
/// them to standard error and take the safe answer at once.
class WindowsDesktop : public Desktop
{
public:
    std::int16_t MessageBox(TextView text, std::int32_t style, TextView title) override;
    std::int32_t ShowForm(const Message& message, const Layouter& layOut) override;

    std::int16_t MousePointer() override { return pointer_; }
    void SetMousePointer(std::int16_t pointer) override;
    std::int16_t KeyState(std::int16_t key) override;
    void SendKeys(TextView text) override;

    std::optional<TwipsPoint> ScreenTwips() override;
    std::int32_t SendWindowMessage(std::int32_t window, std::int32_t message, std::int32_t first,
                                   std::int32_t second) override;
    Rectangle WindowRectangle(std::int32_t window) override;
    Point ToClient(std::int32_t window, Point onScreen) override;
    void MoveWindow(std::int32_t window, const Rectangle& place, bool repaint) override;
    Size TextExtent(std::int32_t deviceContext, TextView text) override;
    bool OpenHelp(std::int32_t window, TextView file, std::int32_t command, std::int32_t data) override;

private:
    std::int16_t pointer_ = defaultPointer;
};

}  // namespace vmlib::windows
