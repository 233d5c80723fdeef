#pragma once

#include <string>

#include "platform/FormLayout.h"

// What other programs on the screen do. Windows are numbers in decimal.
namespace vmlib::test {

/// As a window manager when the user closes a window.
void SendClose(const std::string& window);

Rectangle PlaceOf(const std::string& window);

/// The part of an area of a window that has black pixels on it, seen from the window; empty without any.
Rectangle InkIn(const std::string& window, const Rectangle& area);

/// The settings of the user's desktop: "Xft.dpi:\t192\n".
void SetResources(const std::string& resources);

}  // namespace vmlib::test
