#pragma once

#include <string>

#include "platform/FormLayout.h"

// What other programs on the screen do. Windows are numbers in decimal.
namespace vmlib::test {

/// As a window manager when the user closes a window.
void SendClose(const std::string& window);

Rectangle PlaceOf(const std::string& window);

/// The settings of the user's desktop: "Xft.dpi:\t192\n".
void SetResources(const std::string& resources);

}  // namespace vmlib::test
