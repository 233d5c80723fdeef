#pragma once

#include "platform/FormLayout.h"
#include "platform/windows/Api.h"

namespace vmlib::windows {

/// Style of the message form's window: a caption with its menu, and a border that cannot be dragged.
inline constexpr DWORD formStyle = WS_POPUP | WS_CAPTION | WS_SYSMENU;
inline constexpr DWORD formExtendedStyle = WS_EX_DLGMODALFRAME;

/// Measures of the screen by GDI.
class GdiMeasures : public Measures
{
public:
    GdiMeasures() : screen_(::GetDC(nullptr)) {}
    ~GdiMeasures() override { ::ReleaseDC(nullptr, screen_); }
    GdiMeasures(const GdiMeasures&) = delete;
    GdiMeasures& operator=(const GdiMeasures&) = delete;

    Size ScreenSize() override;
    TwipsPoint TwipsPerPixel() override;
    Size NonClientSize() override;
    Font MessageFont() override;
    Size LineSize(TextView text, const Font& font) override;
    Size TextSize(TextView text, const Font& font, std::optional<int> width) override;

    /// The font for this screen; whoever asks deletes it.
    HFONT Make(const Font& font) const;

private:
    HDC screen_;
};

}  // namespace vmlib::windows
