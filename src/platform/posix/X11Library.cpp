#include "platform/posix/X11Library.h"

#include <dlfcn.h>

namespace vmlib::posix::x11 {

namespace {

template <class Function>
bool Find(void* library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

}  // namespace

bool Library::Load()
{
    // Never unloaded: Xlib keeps state of its own.
    void* const xlib = ::dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
    if (!xlib) return false;
    const bool isWhole =
        Find(xlib, "XOpenDisplay", XOpenDisplay) && Find(xlib, "XCloseDisplay", XCloseDisplay) &&
        Find(xlib, "XFlush", XFlush) && Find(xlib, "XSetErrorHandler", XSetErrorHandler) &&
        Find(xlib, "XSetIOErrorHandler", XSetIOErrorHandler) && Find(xlib, "XQueryKeymap", XQueryKeymap) &&
        Find(xlib, "XKeysymToKeycode", XKeysymToKeycode) && Find(xlib, "XDisplayKeycodes", XDisplayKeycodes) &&
        Find(xlib, "XGetModifierMapping", XGetModifierMapping) && Find(xlib, "XFreeModifiermap", XFreeModifiermap) &&
        Find(xlib, "XkbKeycodeToKeysym", XkbKeycodeToKeysym) && Find(xlib, "XkbGetState", XkbGetState);
    XTestQueryExtension = nullptr;
    XTestFakeKeyEvent = nullptr;
    if (void* const xtest = isWhole ? ::dlopen("libXtst.so.6", RTLD_NOW | RTLD_LOCAL) : nullptr)
        if (Find(xtest, "XTestQueryExtension", XTestQueryExtension))
            Find(xtest, "XTestFakeKeyEvent", XTestFakeKeyEvent);
    return isWhole;
}

}  // namespace vmlib::posix::x11
