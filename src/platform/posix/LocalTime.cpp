#include "platform/posix/LocalTime.h"

#include <chrono>

namespace vmlib::posix {

namespace {

Date DateOf(const std::tm& parts)
{
    using namespace std::chrono;
    const sys_days day = year(parts.tm_year + 1900) / (parts.tm_mon + 1) / parts.tm_mday;
    const sys_days start = year(1899) / 12 / 30;
    const auto days = static_cast<double>((day - start).count());
    const double seconds = parts.tm_hour * 3600 + parts.tm_min * 60 + parts.tm_sec;
    // Before the start the fraction still counts forward as an absolute value.
    return Date{days < 0 ? days - seconds / 86400 : days + seconds / 86400};
}

}  // namespace

Date LocalTime(std::time_t moment)
{
    std::tm parts = {};
    return ::localtime_r(&moment, &parts) ? DateOf(parts) : Date{};
}

Date UniversalTime(std::time_t moment)
{
    std::tm parts = {};
    return ::gmtime_r(&moment, &parts) ? DateOf(parts) : Date{};
}

}  // namespace vmlib::posix
