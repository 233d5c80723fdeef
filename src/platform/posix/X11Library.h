#pragma once

// The few functions of Xlib and XTest that are used here, as their libraries export them. Types that stay opaque are
// void*; the others have the sizes of the C interface.
namespace vmlib::posix::x11 {

using KeySym = unsigned long;
using KeyCode = unsigned char;

inline constexpr KeySym noSymbol = 0;
inline constexpr unsigned coreKeyboard = 0x100;  // XkbUseCoreKbd
inline constexpr unsigned shiftModifier = 1, lockModifier = 2;

/// XkbStateRec; the library writes all of it.
struct KeyboardState
{
    unsigned char group, lockedGroup;
    unsigned short baseGroup, latchedGroup;
    unsigned char modifiers, baseModifiers, latchedModifiers, lockedModifiers;
    unsigned char others[5];
    unsigned short buttons;
};

/// XModifierKeymap: for each of eight modifiers, `keysEach` key codes, 0 for none.
struct ModifierMap
{
    int keysEach;
    KeyCode* keys;
};

struct Library
{
    void* (*XOpenDisplay)(const char*);
    int (*XCloseDisplay)(void*);
    int (*XFlush)(void*);
    int (*(*XSetErrorHandler)(int (*)(void*, void*)))(void*, void*);
    int (*(*XSetIOErrorHandler)(int (*)(void*)))(void*);
    int (*XQueryKeymap)(void*, char*);
    KeyCode (*XKeysymToKeycode)(void*, KeySym);
    int (*XDisplayKeycodes)(void*, int*, int*);
    ModifierMap* (*XGetModifierMapping)(void*);
    int (*XFreeModifiermap)(ModifierMap*);
    KeySym (*XkbKeycodeToKeysym)(void*, unsigned, int, int);
    int (*XkbGetState)(void*, unsigned, KeyboardState*);
    // Of XTest; null without its library.
    int (*XTestQueryExtension)(void*, int*, int*, int*, int*);
    int (*XTestFakeKeyEvent)(void*, unsigned, int, unsigned long);

    /// False when Xlib or one of its functions is not there.
    bool Load();
};

}  // namespace vmlib::posix::x11
