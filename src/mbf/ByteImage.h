#pragma once

#include <array>
#include <cstdint>

#include "core/Text.h"

namespace vmlib::mbf {

/// The bytes of a number, in the order of the characters that carry them.
template <std::size_t size>
using ByteImage = std::array<std::uint8_t, size>;

template <std::size_t size>
Text ToText(const ByteImage<size>& image)
{
    return FromAnsi(std::string_view(reinterpret_cast<const char*>(image.data()), size));
}

}  // namespace vmlib::mbf
