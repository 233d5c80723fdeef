#pragma once

#include "platform/Desktop.h"
#include "platform/Files.h"
#include "platform/Processes.h"

namespace vmlib::posix {

/// Messages in a window on the X11 desktop that DISPLAY names; else, where a person sits at a terminal, as questions;
/// else on standard error, and the safe answer is taken at once. VMLIB_DESKTOP says `window`, `terminal` or `none`;
/// without it the first that is there is used. A screen that goes away while a window is open counts as not there.
///
/// Windows of a host have no handles here: their members answer as for a window that does not exist.
class PosixDesktop : public Desktop
{
public:
    PosixDesktop(Files& files, Processes& processes) : files_(files), processes_(processes) {}

    std::int16_t MessageBox(TextView text, std::int32_t style, TextView title) override;
    std::int32_t ShowForm(const Message& message, const Layouter& layOut) override;

    std::int16_t MousePointer() override { return pointer_; }
    void SetMousePointer(std::int16_t pointer) override { pointer_ = pointer; }
    std::int16_t KeyState(std::int16_t key) override;
    void SendKeys(TextView text) override;

    std::optional<TwipsPoint> ScreenTwips() override;
    std::int32_t SendWindowMessage(std::int32_t, std::int32_t, std::int32_t, std::int32_t) override { return 0; }
    Rectangle WindowRectangle(std::int32_t) override { return {}; }
    Point ToClient(std::int32_t, Point onScreen) override { return onScreen; }
    void MoveWindow(std::int32_t, const Rectangle&, bool) override {}
    Size TextExtent(std::int32_t, TextView) override { return {}; }

    /// Shows the PDF or HTML file beside the help file (same name, other extension) with the desktop's opener. Which
    /// page is asked for cannot be passed on; nothing is there to quit.
    bool OpenHelp(std::int32_t window, TextView file, std::int32_t command, std::int32_t data) override;

private:
    Files& files_;
    Processes& processes_;
    std::int16_t pointer_ = defaultPointer;
};

}  // namespace vmlib::posix
