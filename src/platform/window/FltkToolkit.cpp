#include <algorithm>
#include <cmath>

#include "platform/DrawnText.h"
#include "platform/WindowToolkit.h"
#include "platform/window/Lettering.h"
#include "platform/window/MessageWindow.h"
#include "platform/window/ScreenFit.h"
#include "platform/window/X11Screen.h"

namespace vmlib::window {

namespace {

class FltkToolkit : public WindowToolkit
{
public:
    Size ScreenSize() override
    {
        const Rectangle screen = PrimaryScreen(false);
        return {screen.Width(), screen.Height()};
    }
    TwipsPoint TwipsPerPixel() override { return {1440.0 / dpi_, 1440.0 / dpi_}; }
    Size NonClientSize() override
    {
        if (!frame_) frame_ = FrameEdges();
        return {frame_->left + frame_->right, frame_->top + frame_->bottom};
    }
    Font MessageFont() override { return {u"Tahoma", 8}; }

    Size LineSize(TextView text, const Font& font) override
    {
        const Lettering lettering(font, dpi_);
        return {lettering.Width(text), lettering.LineHeight()};
    }
    Size TextSize(TextView text, const Font& font, std::optional<int> width) override
    {
        const Lettering lettering(font, dpi_);
        return SizeOfLines(text, width, lettering.LineHeight(),
                           [&lettering](TextView run) { return lettering.Width(run); });
    }

    std::optional<std::int32_t> Show(const FormLayout& layout, const std::function<void()>& onShown) override
    {
        const Lettering lettering(layout.font, dpi_);
        FormLayout fitted = FittedTo(layout, Room(), lettering.LineHeight(),
                                     [&lettering](TextView run) { return lettering.Width(run); });
        const Point place = PlaceOf(layout, fitted.client);
        return MessageWindow(std::move(fitted), place, dpi_).Ask(onShown);
    }

private:
    /// The largest client area that there is room for.
    Size Room()
    {
        const Rectangle usable = PrimaryScreen(true);
        const Size frame = NonClientSize();
        return {usable.Width() - frame.width, usable.Height() - frame.height};
    }

    /// Of the client area: where the layout says, counted from the primary screen. What had to change its
    /// size stands in the middle, and what would be out of sight is moved into view: it could not be answered.
    Point PlaceOf(const FormLayout& layout, Size client)
    {
        const Rectangle screen = PrimaryScreen(false), usable = PrimaryScreen(true);
        const Size whole = WholeScreen();
        const TwipsPoint perPixel = TwipsPerPixel();
        const auto pixel = [](double twips, double perPixel, int origin, int size, int end) {
            const double place = origin + std::floor(twips / perPixel);
            return static_cast<int>(std::clamp(place, 1.0 - size, end - 1.0));
        };
        Point place{pixel(layout.place.x, perPixel.x, screen.left, client.width, whole.width),
                    pixel(layout.place.y, perPixel.y, screen.top, client.height, whole.height)};
        const Size frame = NonClientSize();
        if (client.width != layout.client.width)
            place.x = usable.left + (usable.Width() - frame.width - client.width) / 2;
        if (client.height != layout.client.height)
            place.y = usable.top + (usable.Height() - frame.height - client.height) / 2;
        return {place.x + frame_->left, place.y + frame_->top};
    }

    int dpi_ = ScreenDpi();
    std::optional<Rectangle> frame_;  // the width of each edge
};

}  // namespace

}  // namespace vmlib::window

extern "C" __attribute__((visibility("default"))) vmlib::WindowToolkit* vmlib_open_window_toolkit(void (*onReached)())
{
    if (!vmlib::window::OpenScreen(onReached)) return nullptr;
    static vmlib::window::FltkToolkit toolkit;
    return &toolkit;
}
