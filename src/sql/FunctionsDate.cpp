// Date functions. A date is a day and a time of day: the fraction of a serial counts forward in its day also before
// 1899, so everything that adds or counts works on the two apart.

#include <algorithm>
#include <cmath>

#include "automation/Convert.h"
#include "core/Error.h"
#include "sql/Functions.h"

namespace vmlib::sql {
namespace {

using Arguments = std::span<const Variant>;

constexpr std::int64_t daySeconds = 86400;

std::int64_t DayOf(Date date)
{
    return static_cast<std::int64_t>(std::trunc(date.serial));
}

double FractionOf(Date date)
{
    return std::abs(date.serial - std::trunc(date.serial));
}

Date Joined(std::int64_t day, double fraction)
{
    const auto serial = static_cast<double>(day);
    if (serial < firstDay || serial > lastDay) throw Error(ErrorNumber::InvalidCall);
    return Date{day < 0 ? serial - fraction : serial + fraction};
}

/// Whole seconds from midnight of 30 December 1899 on, in the order of time.
std::int64_t SecondsOf(Date date)
{
    return DayOf(date) * daySeconds + std::llround(FractionOf(date) * static_cast<double>(daySeconds));
}

std::int64_t FloorDivide(std::int64_t number, std::int64_t divisor)
{
    return number / divisor - (number % divisor < 0 ? 1 : 0);
}

Date DateOfSeconds(std::int64_t seconds)
{
    const std::int64_t day = FloorDivide(seconds, daySeconds);
    return Joined(day, static_cast<double>(seconds - day * daySeconds) / static_cast<double>(daySeconds));
}

/// The first of a month as a day number; months may lie outside 1 to 12.
std::int64_t MonthStart(std::int64_t year, std::int64_t month)
{
    year += FloorDivide(month - 1, 12);
    month -= FloorDivide(month - 1, 12) * 12;
    if (year < 100 || year > 9999) throw Error(ErrorNumber::InvalidCall);
    return DayOf(DateSerial(static_cast<std::int16_t>(year), static_cast<std::int16_t>(month), 1));
}

std::int64_t MonthLength(std::int64_t year, std::int64_t month)
{
    constexpr std::int64_t lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    month -= 1;
    year += FloorDivide(month, 12);
    month -= FloorDivide(month, 12) * 12;
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return lengths[month] + (month == 1 && leap ? 1 : 0);
}

enum class Interval
{
    Year,
    Quarter,
    Month,
    DayOfYear,
    Day,
    Weekday,
    Week,
    Hour,
    Minute,
    Second,
};

Interval IntervalOf(const Variant& value)
{
    struct Name
    {
        TextView text;
        Interval interval;
    };
    constexpr Name names[] = {{u"yyyy", Interval::Year},   {u"q", Interval::Quarter}, {u"m", Interval::Month},
                              {u"y", Interval::DayOfYear}, {u"d", Interval::Day},     {u"w", Interval::Weekday},
                              {u"ww", Interval::Week},     {u"h", Interval::Hour},    {u"n", Interval::Minute},
                              {u"s", Interval::Second}};
    const Text text = ToText(value);
    for (const Name& name : names) {
        if (EqualIgnoringCase(text, name.text)) return name.interval;
    }
    throw Error(ErrorNumber::InvalidCall);
}

/// 1 to 7, counted from the day that weeks begin with.
int WeekdayFrom(std::int64_t day, int first)
{
    return Weekday(Date{static_cast<double>(day)}, first);
}

Date AddMonths(Date date, std::int64_t months)
{
    const CalendarDate parts = SplitDate(Date{static_cast<double>(DayOf(date))});
    const std::int64_t start = MonthStart(parts.year, parts.month + months);
    const std::int64_t day = std::min<std::int64_t>(parts.day, MonthLength(parts.year, parts.month + months));
    return Joined(start + day - 1, FractionOf(date));
}

Variant CallDateAdd(Arguments arguments, const FunctionContext&)
{
    const std::int64_t count = ToLong(arguments[1]);
    const Date date = ToDate(arguments[2]);
    switch (IntervalOf(arguments[0])) {
        case Interval::Year:
            return AddMonths(date, count * 12);
        case Interval::Quarter:
            return AddMonths(date, count * 3);
        case Interval::Month:
            return AddMonths(date, count);
        case Interval::DayOfYear:
        case Interval::Day:
        case Interval::Weekday:
            return Joined(DayOf(date) + count, FractionOf(date));
        case Interval::Week:
            return Joined(DayOf(date) + count * 7, FractionOf(date));
        case Interval::Hour:
            return DateOfSeconds(SecondsOf(date) + count * 3600);
        case Interval::Minute:
            return DateOfSeconds(SecondsOf(date) + count * 60);
        case Interval::Second:
            break;
    }
    return DateOfSeconds(SecondsOf(date) + count);
}

/// How often the interval's boundary lies between two dates; "w" counts whole weeks instead.
std::int64_t Difference(Interval interval, Date from, Date to, int firstWeekday)
{
    const CalendarDate a = SplitDate(from), b = SplitDate(to);
    const std::int64_t months = (b.year - a.year) * 12 + b.month - a.month;
    const std::int64_t days = DayOf(to) - DayOf(from);
    const auto boundaries = [&](std::int64_t seconds) {
        return FloorDivide(SecondsOf(to), seconds) - FloorDivide(SecondsOf(from), seconds);
    };
    switch (interval) {
        case Interval::Year:
            return b.year - a.year;
        case Interval::Quarter:
            return (b.year - a.year) * 4 + (b.month - 1) / 3 - (a.month - 1) / 3;
        case Interval::Month:
            return months;
        case Interval::DayOfYear:
        case Interval::Day:
            return days;
        case Interval::Weekday:
            return days / 7;
        case Interval::Week: {
            const std::int64_t ends = DayOf(to) - WeekdayFrom(DayOf(to), firstWeekday),
                               starts = DayOf(from) - WeekdayFrom(DayOf(from), firstWeekday);
            return (ends - starts) / 7;
        }
        case Interval::Hour:
            return boundaries(3600);
        case Interval::Minute:
            return boundaries(60);
        case Interval::Second:
            break;
    }
    return SecondsOf(to) - SecondsOf(from);
}

Variant CallDateDiff(Arguments arguments, const FunctionContext&)
{
    const Date from = ToDate(arguments[1]), to = ToDate(arguments[2]);
    const std::int64_t count = Difference(IntervalOf(arguments[0]), from, to, WeekRuleOf(arguments, 3).firstWeekday);
    if (count < INT32_MIN || count > INT32_MAX) throw Error(ErrorNumber::Overflow);
    return static_cast<std::int32_t>(count);
}

Variant CallDatePart(Arguments arguments, const FunctionContext&)
{
    const Date date = ToDate(arguments[1]);
    const CalendarDate parts = SplitDate(date);
    const WeekRule weeks = WeekRuleOf(arguments, 2);
    switch (IntervalOf(arguments[0])) {
        case Interval::Year:
            return std::int32_t{parts.year};
        case Interval::Quarter:
            return std::int32_t{(parts.month - 1) / 3 + 1};
        case Interval::Month:
            return std::int32_t{parts.month};
        case Interval::DayOfYear:
            return std::int32_t{DayOfYear(date)};
        case Interval::Day:
            return std::int32_t{parts.day};
        case Interval::Weekday:
            return std::int32_t{Weekday(date, weeks.firstWeekday)};
        case Interval::Week:
            return std::int32_t{WeekOfYear(date, weeks)};
        case Interval::Hour:
            return std::int32_t{parts.hour};
        case Interval::Minute:
            return std::int32_t{parts.minute};
        case Interval::Second:
            break;
    }
    return std::int32_t{parts.second};
}

template <int CalendarDate::*part>
Variant PartOf(Arguments arguments, const FunctionContext&)
{
    return std::int32_t{SplitDate(ToDate(arguments[0])).*part};
}

Variant CallWeekday(Arguments arguments, const FunctionContext&)
{
    return std::int32_t{Weekday(ToDate(arguments[0]), WeekRuleOf(arguments, 1).firstWeekday)};
}

Variant CallDateSerial(Arguments arguments, const FunctionContext&)
{
    return DateSerial(ToInteger(arguments[0]), ToInteger(arguments[1]), ToInteger(arguments[2]));
}

Variant CallTimeSerial(Arguments arguments, const FunctionContext&)
{
    return TimeSerial(ToInteger(arguments[0]), ToInteger(arguments[1]), ToInteger(arguments[2]));
}

Variant CallDateValue(Arguments arguments, const FunctionContext&)
{
    return Date{std::trunc(ToDate(arguments[0]).serial)};
}

/// The time of a day to the second: what is left of the fraction of a serial would equal no time written out.
Date TimeOf(Date date)
{
    CalendarDate parts;
    const CalendarDate moment = SplitDate(date);
    parts.hour = moment.hour;
    parts.minute = moment.minute;
    parts.second = moment.second;
    return *JoinDate(parts);
}

Variant CallTimeValue(Arguments arguments, const FunctionContext&)
{
    return TimeOf(ToDate(arguments[0]));
}

Variant CallNow(Arguments, const FunctionContext& context)
{
    return context.now();
}

Variant CallDate(Arguments, const FunctionContext& context)
{
    return Date{std::trunc(context.now().serial)};
}

Variant CallTime(Arguments, const FunctionContext& context)
{
    return TimeOf(context.now());
}

constexpr FunctionInfo Clock(TextView name, decltype(FunctionInfo::body) body)
{
    return {.name = name, .result = ValueType::Date, .body = body};
}

constexpr FunctionInfo Part(TextView name, decltype(FunctionInfo::body) body)
{
    return {.name = name, .fewest = 1, .most = 1, .result = ValueType::Long, .body = body};
}

constexpr FunctionInfo functions[] = {
    Clock(u"Now", CallNow),
    Clock(u"Date", CallDate),
    Clock(u"Time", CallTime),
    Part(u"Year", PartOf<&CalendarDate::year>),
    Part(u"Month", PartOf<&CalendarDate::month>),
    Part(u"Day", PartOf<&CalendarDate::day>),
    Part(u"Hour", PartOf<&CalendarDate::hour>),
    Part(u"Minute", PartOf<&CalendarDate::minute>),
    Part(u"Second", PartOf<&CalendarDate::second>),
    {.name = u"Weekday", .fewest = 1, .most = 2, .result = ValueType::Long, .body = CallWeekday},
    {.name = u"DateAdd", .fewest = 3, .most = 3, .result = ValueType::Date, .body = CallDateAdd},
    {.name = u"DateDiff", .fewest = 3, .most = 5, .result = ValueType::Long, .body = CallDateDiff},
    {.name = u"DatePart", .fewest = 2, .most = 4, .result = ValueType::Long, .body = CallDatePart},
    {.name = u"DateSerial", .fewest = 3, .most = 3, .result = ValueType::Date, .body = CallDateSerial},
    {.name = u"TimeSerial", .fewest = 3, .most = 3, .result = ValueType::Date, .body = CallTimeSerial},
    {.name = u"DateValue", .fewest = 1, .most = 1, .result = ValueType::Date, .body = CallDateValue},
    {.name = u"TimeValue", .fewest = 1, .most = 1, .result = ValueType::Date, .body = CallTimeValue},
};

}  // namespace

WeekRule WeekRuleOf(std::span<const Variant> arguments, std::size_t position)
{
    const auto given = [&](std::size_t at, std::int32_t highest) {
        const std::int32_t value = arguments.size() > at ? ToLong(arguments[at]) : 1;
        if (value < 0 || value > highest) throw Error(ErrorNumber::InvalidCall);
        return value == 0 ? 1 : value;
    };
    WeekRule rule;
    rule.firstWeekday = given(position, 7);
    rule.first = static_cast<WeekRule::First>(given(position + 1, 3));
    return rule;
}

std::span<const FunctionInfo> DateFunctions()
{
    return functions;
}

}  // namespace vmlib::sql
