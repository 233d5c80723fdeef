#include <cmath>

#include "platform/windows/Wide.h"

namespace vmlib::windows {

Date DateOf(const FILETIME& time)
{
    constexpr std::uint64_t ticksPerSecond = 10'000'000;
    constexpr std::int64_t secondsPerDay = 86'400;
    constexpr double daysBetweenEpochs = 109'205;  // from 1601-01-01 to 1899-12-30
    const std::uint64_t ticks = (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
    const auto seconds = static_cast<std::int64_t>(ticks / ticksPerSecond);
    const double day = static_cast<double>(seconds / secondsPerDay) - daysBetweenEpochs;
    const double timeOfDay = static_cast<double>(seconds % secondsPerDay) / static_cast<double>(secondsPerDay);
    return {day < 0 ? day - timeOfDay : day + timeOfDay};
}

Date LocalDateOf(const FILETIME& time)
{
    // By the rules that held at that time, as others show it; FileTimeToLocalFileTime takes today's.
    SYSTEMTIME universal, local;
    FILETIME moved;
    if (!::FileTimeToSystemTime(&time, &universal) || !::SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local) ||
        !::SystemTimeToFileTime(&local, &moved))
        return DateOf(time);
    return DateOf(moved);
}

}  // namespace vmlib::windows
