#include "platform/window/X11Screen.h"

#include <FL/Fl.H>
#include <FL/x.H>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <unistd.h>

#include <chrono>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "platform/WindowToolkit.h"

namespace vmlib::window {

namespace {

Atom Named(const char* name)
{
    return XInternAtom(fl_display, name, False);
}

Window Root()
{
    return RootWindow(fl_display, fl_screen);
}

/// Format 32 is an array of long, whatever a long's size.
void SetProperty(Window window, const char* name, Atom type, const std::vector<long>& values)
{
    XChangeProperty(fl_display, window, Named(name), type, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(values.data()), static_cast<int>(values.size()));
}

/// Up to `most` numbers of a property of format 32.
std::vector<long> Property(Window window, const char* name, long most)
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0, more = 0;
    unsigned char* bytes = nullptr;
    if (XGetWindowProperty(fl_display, window, Named(name), 0, most, False, AnyPropertyType, &type, &format, &count,
                           &more, &bytes) != Success)
        return {};
    const std::unique_ptr<unsigned char, int (*)(void*)> owner(bytes, XFree);
    if (format != 32) return {};
    const auto* const values = reinterpret_cast<const long*>(bytes);
    return {values, values + count};
}

void AskForFrameSize(Window window)
{
    XEvent request{};
    request.xclient.type = ClientMessage;
    request.xclient.window = window;
    request.xclient.message_type = Named("_NET_REQUEST_FRAME_EXTENTS");
    request.xclient.format = 32;
    XSendEvent(fl_display, Root(), False, SubstructureNotifyMask | SubstructureRedirectMask, &request);
    XSync(fl_display, False);
}

/// A server may start anew when its last client has left, perhaps an earlier message. It refuses connections meanwhile,
/// or drops them soon after.
Display* Connect()
{
    constexpr int tries = 5;
    Display* display = XOpenDisplay(nullptr);
    for (int i = 1; i < tries && !display; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        display = XOpenDisplay(nullptr);
    }
    return display;
}

bool isHeld = false;

[[noreturn]] void LeaveScreen()
{
    ::_exit(isHeld ? 1 : screenLostEarly);
}

[[noreturn]] void Leave(const char*, ...)
{
    ::_exit(1);
}

}  // namespace

bool OpenScreen(void (*onReached)())
{
    static bool isOpen = false;
    if (isOpen) return true;
    if (fl_display) return false;  // of a host that uses FLTK itself: its connection is not for a child
    std::setlocale(LC_CTYPE, "");  // by which Xlib makes characters of keys
    XSetLocaleModifiers("@im=");
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });  // a request that failed changes nothing
    XSetIOErrorHandler([](Display*) -> int { LeaveScreen(); });
    Fl::fatal = Leave;
    Display* const display = Connect();
    if (!display) return false;
    onReached();
    fl_open_display(display);
    isOpen = true;
    return true;
}

void HoldScreen()
{
    isHeld = true;
}

Rectangle PrimaryScreen(bool isUsable)
{
    int left, top, width, height;
    if (isUsable)
        Fl::screen_work_area(left, top, width, height, 0);
    else
        Fl::screen_xywh(left, top, width, height, 0);
    return {left, top, left + width, top + height};
}

Size WholeScreen()
{
    return {DisplayWidth(fl_display, fl_screen), DisplayHeight(fl_display, fl_screen)};
}

int ScreenDpi()
{
    constexpr int usual = 96;
    const char* const value = XGetDefault(fl_display, "Xft", "dpi");
    const double dpi = value ? std::strtod(value, nullptr) : usual;
    return dpi >= 48 && dpi <= 480 ? static_cast<int>(std::lround(dpi)) : usual;
}

bool HasWindowManager()
{
    XWindowAttributes attributes;
    return XGetWindowAttributes(fl_display, Root(), &attributes) &&
           (attributes.all_event_masks & SubstructureRedirectMask) != 0;  // which one client alone may ask for
}

Rectangle FrameEdges()
{
    if (!HasWindowManager()) return {};
    constexpr int tries = 30;  // each 10 milliseconds: not every window manager answers
    const Window window = XCreateSimpleWindow(fl_display, Root(), 0, 0, 100, 100, 0, 0, 0);
    DescribeDialog(window, true);
    AskForFrameSize(window);
    std::vector<long> edges;  // left, right, top, bottom
    for (int i = 0; i < tries && edges.size() != 4; ++i) {
        edges = Property(window, "_NET_FRAME_EXTENTS", 4);
        if (edges.size() != 4) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    XDestroyWindow(fl_display, window);
    if (edges.size() != 4) return {};
    for (const long edge : edges)
        if (edge < 0 || edge > 200) return {};
    const auto at = [&edges](std::size_t i) { return static_cast<int>(edges[i]); };
    return {at(0), at(2), at(1), at(3)};
}

void DescribeDialog(unsigned long window, bool canClose)
{
    const auto atom = [](const char* name) { return static_cast<long>(Named(name)); };
    SetProperty(window, "_NET_WM_WINDOW_TYPE", XA_ATOM, {atom("_NET_WM_WINDOW_TYPE_DIALOG")});
    SetProperty(window, "_NET_WM_STATE", XA_ATOM, {atom("_NET_WM_STATE_MODAL")});
    // Also where Close is refused: a window manager that offers it nevertheless would kill the process otherwise.
    SetProperty(window, "WM_PROTOCOLS", XA_ATOM, {atom("WM_DELETE_WINDOW")});
    // Flags (functions and decorations follow), functions, decorations, input mode, status.
    constexpr long move = 4, close = 32, border = 2, title = 8, menu = 16;
    SetProperty(window, "_MOTIF_WM_HINTS", Named("_MOTIF_WM_HINTS"),
                {1 | 2, canClose ? move | close : move, border | title | menu, 0, 0});
}

unsigned long TakeKeyboard(unsigned long window)
{
    Window before = None;
    int revert;
    XGetInputFocus(fl_display, &before, &revert);
    XSetInputFocus(fl_display, window, RevertToPointerRoot, CurrentTime);
    return before;
}

}  // namespace vmlib::window
