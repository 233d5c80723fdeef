// The calendar: serial days, Gregorian throughout, and back. The day is the integer part of a serial, the time of day
// the absolute fraction, so -1.25 is 29 December 1899, 06:00.

#include <algorithm>
#include <cmath>

#include "automation/Convert.h"
#include "core/Error.h"

namespace vmlib {
namespace {

constexpr int secondsOfDay = 86400;
constexpr int daysOf400Years = 146097;

constexpr int FloorDivide(int value, int divisor)
{
    return value >= 0 ? value / divisor : -((-value + divisor - 1) / divisor);
}

// Days since 1 March of the year 0; a year that begins in March has its leap day at the end.
constexpr int DaysSinceMarch0(int year, int month, int day)
{
    const int marchYear = month > 2 ? year : year - 1;
    const int marchMonth = (month + 9) % 12;
    const int century = FloorDivide(marchYear, 400);
    const int yearOfEra = marchYear - century * 400;
    const int dayOfYear = (153 * marchMonth + 2) / 5 + day - 1;
    return century * daysOf400Years + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
}

constexpr int epoch = DaysSinceMarch0(1899, 12, 30);

constexpr int SerialDay(int year, int month, int day)
{
    return DaysSinceMarch0(year, month, day) - epoch;
}

static_assert(SerialDay(100, 1, 1) == static_cast<int>(firstDay));
static_assert(SerialDay(9999, 12, 31) == static_cast<int>(lastDay));

CalendarDate SplitDay(int serialDay)
{
    const int days = serialDay + epoch;
    const int era = FloorDivide(days, daysOf400Years);
    const int dayOfEra = days - era * daysOf400Years;
    const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int marchMonth = (5 * dayOfYear + 2) / 153;

    CalendarDate result;
    result.day = dayOfYear - (153 * marchMonth + 2) / 5 + 1;
    result.month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
    result.year = yearOfEra + era * 400 + (result.month <= 2 ? 1 : 0);
    return result;
}

int CheckedDay(Date date)
{
    const double day = std::trunc(date.serial);
    if (!(day >= firstDay && day <= lastDay)) throw Error(ErrorNumber::Overflow);
    return static_cast<int>(day);
}

bool IsDay(const CalendarDate& parts)
{
    if (parts.year < 100 || parts.year > 9999 || parts.month < 1 || parts.month > 12 || parts.day < 1) return false;
    const CalendarDate back = SplitDay(SerialDay(parts.year, parts.month, parts.day));
    return back.month == parts.month && back.day == parts.day;
}

int WeekdayOf(int day, int firstWeekday)
{
    return day - firstWeekday - FloorDivide(day - firstWeekday, 7) * 7 + 1;
}

/// The day on which week 1 of a year begins.
int WeekOneStart(int year, const WeekRule& rule)
{
    const int january = SerialDay(year, 1, 1);
    const int before = WeekdayOf(january, rule.firstWeekday) - 1;  // days in the old year
    const bool counts = rule.first == WeekRule::First::OfJanuaryFirst || before == 0 ||
                        (rule.first == WeekRule::First::OfFourDays && before <= 3);
    return january - before + (counts ? 0 : 7);
}

bool IsTime(const CalendarDate& parts)
{
    return parts.hour >= 0 && parts.hour < 24 && parts.minute >= 0 && parts.minute < 60 && parts.second >= 0 &&
           parts.second < 60;
}

}  // namespace

CalendarDate SplitDate(Date date)
{
    int day = CheckedDay(date);
    const double fraction = std::fabs(date.serial - std::trunc(date.serial));
    int second = static_cast<int>(std::floor(fraction * secondsOfDay + 0.5));
    if (second == secondsOfDay) {
        // The last moment of the calendar has no next day to round to.
        second = day < static_cast<int>(lastDay) ? 0 : secondsOfDay - 1;
        if (second == 0) ++day;
    }
    CalendarDate result = SplitDay(day);
    result.hour = second / 3600;
    result.minute = second / 60 % 60;
    result.second = second % 60;
    return result;
}

std::optional<Date> JoinDate(const CalendarDate& parts)
{
    if (!IsDay(parts) || !IsTime(parts)) return std::nullopt;
    const int day = SerialDay(parts.year, parts.month, parts.day);
    const double time = (parts.hour * 3600 + parts.minute * 60 + parts.second) / double{secondsOfDay};
    return Date{day < 0 ? day - time : day + time};
}

int FullYear(int year)
{
    if (year < 0 || year > 99) return year;
    return year < 30 ? 2000 + year : 1900 + year;
}

Date DateSerial(std::int16_t year, std::int16_t month, std::int16_t day)
{
    if (year < 0) throw Error(ErrorNumber::InvalidCall);
    return DateSerialOfFullYear(static_cast<std::int16_t>(FullYear(year)), month, day);
}

Date DateSerialOfFullYear(std::int16_t year, std::int16_t month, std::int16_t day)
{
    const int months = month - 1;
    const int carriedYear = year + FloorDivide(months, 12);
    const int carriedMonth = months - FloorDivide(months, 12) * 12 + 1;
    const double serial = SerialDay(carriedYear, carriedMonth, 1) + (day - 1);
    if (serial < firstDay || serial > lastDay) throw Error(ErrorNumber::InvalidCall);
    return {serial};
}

Date TimeSerial(std::int16_t hour, std::int16_t minute, std::int16_t second)
{
    const int seconds = hour * 3600 + minute * 60 + second;
    return {seconds / double{secondsOfDay}};
}

int Weekday(Date date, int firstWeekday)
{
    return WeekdayOf(CheckedDay(date), firstWeekday);
}

int WeekOfYear(Date date, const WeekRule& rule)
{
    const int day = CheckedDay(date);
    const int year = SplitDay(day).year;
    int start = WeekOneStart(year, rule);
    if (day < start)
        start = WeekOneStart(year - 1, rule);
    else if (rule.first != WeekRule::First::OfJanuaryFirst && day >= WeekOneStart(year + 1, rule))
        return 1;
    return (day - start) / 7 + 1;
}

int DayOfYear(Date date)
{
    const int day = CheckedDay(date);
    return day - SerialDay(SplitDay(day).year, 1, 1) + 1;
}

}  // namespace vmlib
