#pragma once

#include <cstdint>

#include "core/Text.h"

// The keyboard of the X11 desktop that DISPLAY names. Xlib and the XTest extension are loaded when they are needed, so
// that nothing here links to a graphics library. Each call works in a child process with a time limit.
namespace vmlib::posix {

/// State of a key by the platform's key code: bit 15 held down; bit 0 on, for a key that the keyboard maps to a locking
/// modifier (Caps Lock, Num Lock; Insert on few keyboards). Known are letters, digits, Insert, Delete, Back, Tab, Enter,
/// Escape, the space bar, Shift, Ctrl, Alt and the locks. 0 for other keys, and without a desktop.
std::int16_t X11KeyState(std::int16_t key);

/// Types characters as they stand into the window that has the keyboard focus, by the active layout; does not wait for
/// them to be read. CR or LF is Enter, a tab is the Tab key. Left out is a character that no key gives alone or with
/// Shift: to put it on a spare key for a moment would race with the program that looks it up. Without a desktop nothing
/// happens.
void X11TypeText(TextView text);

}  // namespace vmlib::posix
