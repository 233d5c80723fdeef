#pragma once

#include <array>
#include <cstdint>

#include "platform/FormLayout.h"

namespace vmlib::window {

struct Colour
{
    std::uint8_t red = 0, green = 0, blue = 0;
};

/// Red, green and blue of each pixel, rows from above.
using IconPixels = std::array<std::uint8_t, std::size_t{3} * iconSize * iconSize>;

/// One of the four icons with soft edges on a ground of one colour.
IconPixels DrawnIcon(MessageIcon icon, Colour ground);

}  // namespace vmlib::window
