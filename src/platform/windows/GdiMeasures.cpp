#include "platform/windows/GdiMeasures.h"

#include <algorithm>

#include "platform/DrawnText.h"
#include "platform/windows/Wide.h"

namespace vmlib::windows {

namespace {

constexpr int pointsPerInch = 72;
constexpr double twipsPerInch = 1440;

/// A font in a device context, for as long as this lives.
class Selected
{
public:
    Selected(HDC context, HFONT font) : context_(context), font_(font), before_(::SelectObject(context, font)) {}
    ~Selected()
    {
        ::SelectObject(context_, before_);
        ::DeleteObject(font_);
    }
    Selected(const Selected&) = delete;
    Selected& operator=(const Selected&) = delete;

    Size Extent(TextView text) const
    {
        SIZE size = {};
        ::GetTextExtentPoint32W(context_, reinterpret_cast<const wchar_t*>(text.data()), static_cast<int>(text.size()),
                                &size);
        return {size.cx, size.cy};
    }
    int LineHeight() const
    {
        TEXTMETRICW metric = {};
        ::GetTextMetricsW(context_, &metric);
        return metric.tmHeight;
    }

private:
    HDC context_;
    HFONT font_;
    HGDIOBJ before_;
};

}  // namespace

Size GdiMeasures::ScreenSize()
{
    return {::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN)};
}

TwipsPoint GdiMeasures::TwipsPerPixel()
{
    return {twipsPerInch / ::GetDeviceCaps(screen_, LOGPIXELSX), twipsPerInch / ::GetDeviceCaps(screen_, LOGPIXELSY)};
}

Size GdiMeasures::NonClientSize()
{
    RECT frame = {};
    ::AdjustWindowRectEx(&frame, formStyle, FALSE, formExtendedStyle);
    return {frame.right - frame.left, frame.bottom - frame.top};
}

Font GdiMeasures::MessageFont()
{
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = sizeof metrics;
    Font font{u"Tahoma"};
    if (!::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0)) return font;
    const LOGFONTW& chosen = metrics.lfMessageFont;
    font.face = FromWide(chosen.lfFaceName);
    font.points = ::MulDiv(std::abs(chosen.lfHeight), pointsPerInch, ::GetDeviceCaps(screen_, LOGPIXELSY));
    font.bold = chosen.lfWeight >= FW_BOLD;
    font.italic = chosen.lfItalic != 0;
    font.strikeThrough = chosen.lfStrikeOut != 0;
    return font;
}

Size GdiMeasures::LineSize(TextView text, const Font& font)
{
    const Selected selected(screen_, Make(font));
    return {selected.Extent(text).width, selected.LineHeight()};
}

Size GdiMeasures::TextSize(TextView text, const Font& font, std::optional<int> width)
{
    const Selected selected(screen_, Make(font));
    return SizeOfLines(text, width, selected.LineHeight(), [&](TextView run) { return selected.Extent(run).width; });
}

HFONT GdiMeasures::Make(const Font& font) const
{
    const int height = -::MulDiv(font.points, ::GetDeviceCaps(screen_, LOGPIXELSY), pointsPerInch);
    return ::CreateFontW(height, 0, 0, 0, font.bold ? FW_BOLD : FW_NORMAL, font.italic, FALSE, font.strikeThrough,
                         DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                         DEFAULT_PITCH | FF_DONTCARE, Wide(font.face));
}

}  // namespace vmlib::windows
