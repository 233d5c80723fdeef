#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <vector>

namespace vmlib {

/// "No valid value"; spreads through expressions.
struct Null
{
    bool operator==(const Null&) const = default;
};

/// A 64-bit count of 1/10,000.
struct Currency
{
    std::int64_t units = 0;
    auto operator<=>(const Currency&) const = default;
};

/// Days since 30 December 1899; the fraction, as an absolute value, is the time of day.
struct Date
{
    double serial = 0;
    auto operator<=>(const Date&) const = default;
};

/// Gives the local time, whole seconds.
using Clock = std::function<Date()>;

/// Sixteen bytes as a Windows GUID stands in memory (the first three groups little endian).
struct Guid
{
    std::array<std::uint8_t, 16> bytes{};
    auto operator<=>(const Guid&) const = default;
};

using Bytes = std::vector<std::uint8_t>;

}  // namespace vmlib
