#pragma once

#include "platform/Desktop.h"

namespace vmlib::posix {

/// Messages as text. Where a person sits at a terminal they are questions, else they go to standard error and the safe
/// answer is taken at once. VMLIB_DESKTOP says `terminal` or `none`; without it a terminal is used if there is one. The
/// keyboard is that of the X11 desktop which DISPLAY names, unless VMLIB_DESKTOP says either.
class PosixDesktop : public Desktop
{
public:
    std::int16_t MessageBox(TextView text, std::int32_t style, TextView title) override;
    std::int16_t MousePointer() override { return pointer_; }
    void SetMousePointer(std::int16_t pointer) override { pointer_ = pointer; }
    std::int16_t KeyState(std::int16_t key) override;
    void SendKeys(TextView text) override;

private:
    std::int16_t pointer_ = defaultPointer;
};

}  // namespace vmlib::posix
