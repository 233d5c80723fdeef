#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vmlib {

/// Little-endian integers and reals at any alignment. The caller has checked that the bytes are there.
template <class T>
requires std::integral<T> || std::floating_point<T> T LoadLittle(const std::uint8_t* from)
{
    static_assert(std::endian::native == std::endian::little, "big-endian hosts need a byte swap here");
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
requires std::integral<T> || std::floating_point<T>
void StoreLittle(std::uint8_t* to, T value)
{
    static_assert(std::endian::native == std::endian::little, "big-endian hosts need a byte swap here");
    std::memcpy(to, &value, sizeof value);
}

/// Big-endian unsigned integers, as index keys and row pointers have them.
template <std::unsigned_integral T>
T LoadBig(const std::uint8_t* from)
{
    T value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) value = static_cast<T>((value << 8) | from[i]);
    return value;
}

template <std::unsigned_integral T>
void StoreBig(std::uint8_t* to, T value)
{
    for (std::size_t i = sizeof value; i-- > 0; value = static_cast<T>(value >> 8))
        to[i] = static_cast<std::uint8_t>(value & 0xFF);
}

}  // namespace vmlib
