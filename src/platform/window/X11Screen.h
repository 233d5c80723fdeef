#pragma once

#include "platform/FormLayout.h"

// The screen that DISPLAY names, and what its window manager is told of a window. A window is an X11 window number.
namespace vmlib::window {

/// False when it cannot be reached. The process ends without further ado when it goes away.
/// @param onReached  called when the server has answered, before everything that is asked of it
bool OpenScreen(void (*onReached)());
/// From now on a screen that goes away is gone; before, it is worth another try (screenLostEarly).
void HoldScreen();

/// Of the primary screen, within all that the server has; without what panels occupy when `isUsable`.
Rectangle PrimaryScreen(bool isUsable);
Size WholeScreen();  // of all screens together

/// Pixels of an inch: of the resource Xft.dpi from 48 to 480, else 96.
int ScreenDpi();

bool HasWindowManager();

/// What the window manager adds around a dialog: the width of each edge, as far as it says so.
Rectangle FrameEdges();

/// A dialog that is in front of its application and has no size of its own; without `canClose` it offers no Close.
void DescribeDialog(unsigned long window, bool canClose);

/// Gives the window the keyboard, and returns the one that had it: for a screen without a window manager, which would
/// see to it.
unsigned long TakeKeyboard(unsigned long window);

}  // namespace vmlib::window
