#include "window/ScreenClient.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>

namespace vmlib::test {

namespace {

struct Connection
{
    Display* display = XOpenDisplay(nullptr);
    ~Connection() { XCloseDisplay(display); }
};

}  // namespace

void SendClose(const std::string& window)
{
    const Connection screen;
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = std::stoul(window);
    event.xclient.message_type = XInternAtom(screen.display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(screen.display, "WM_DELETE_WINDOW", False));
    XSendEvent(screen.display, event.xclient.window, False, NoEventMask, &event);
}

Rectangle PlaceOf(const std::string& window)
{
    const Connection screen;
    XWindowAttributes attributes{};
    XGetWindowAttributes(screen.display, std::stoul(window), &attributes);
    return {attributes.x, attributes.y, attributes.x + attributes.width, attributes.y + attributes.height};
}

Rectangle InkIn(const std::string& window, const Rectangle& area)
{
    const Connection screen;
    XImage* const image =
        XGetImage(screen.display, std::stoul(window), area.left, area.top, static_cast<unsigned>(area.Width()),
                  static_cast<unsigned>(area.Height()), AllPlanes, ZPixmap);
    Rectangle ink{area.right, area.bottom, area.left, area.top};
    for (int y = 0; y < area.Height(); ++y)
        for (int x = 0; x < area.Width(); ++x)
            if ((XGetPixel(image, x, y) & 0xFFFFFF) == 0)
                ink = {std::min(ink.left, area.left + x), std::min(ink.top, area.top + y),
                       std::max(ink.right, area.left + x + 1), std::max(ink.bottom, area.top + y + 1)};
    XDestroyImage(image);
    return ink.left < ink.right ? ink : Rectangle{};
}

void SetResources(const std::string& resources)
{
    const Connection screen;
    XChangeProperty(screen.display, DefaultRootWindow(screen.display), XA_RESOURCE_MANAGER, XA_STRING, 8,
                    PropModeReplace, reinterpret_cast<const unsigned char*>(resources.data()),
                    static_cast<int>(resources.size()));
}

}  // namespace vmlib::test
