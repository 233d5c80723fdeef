#pragma once

#include <optional>

#include "automation/Locale.h"
#include "automation/Variant.h"

/// The one place where values change their type, as the automation runtime does it. Numbers and dates in text follow
/// the locale unless a function says invariant; such text ends at its first zero character. An object gives its default
/// member first (Nothing 91, none 438).
/// Errors: 94 for Null, 13 for what cannot be converted, 6 outside the range.
namespace vmlib {

/// The value that stands for an object: its default member, and of that the default member until it is no object. Other
/// values as they are.
Variant DefaultValue(const Variant& value);

Text ToText(const Variant& value);
bool ToBoolean(const Variant& value);
std::uint8_t ToByte(const Variant& value);
std::int16_t ToInteger(const Variant& value);
std::int32_t ToLong(const Variant& value);
float ToSingle(const Variant& value);
double ToDouble(const Variant& value);
Currency ToCurrency(const Variant& value);
Date ToDate(const Variant& value);

/// To the wanted type; Variant and the value's own type leave it as it is.
Variant Coerce(const Variant& value, VarType type);

/// CStr of a double or single in the locale: 15 significant digits, plain form up to 15 decimals and 15 digits,
/// else exponent form. For a single each of the three is 7.
Text NumberToText(double value, const Locale& locale = Locale::User());
Text NumberToText(float value, const Locale& locale = Locale::User());
Text CurrencyToText(Currency value, const Locale& locale = Locale::User());
Text DateToText(Date value, const Locale& locale = Locale::UserDates());

/// Text to a number in the locale; 13 when it is none, 6 when it is too large.
double TextToNumber(TextView text, const Locale& locale = Locale::User());
Currency TextToCurrency(TextView text, const Locale& locale = Locale::User());
Date TextToDate(TextView text, const Locale& locale = Locale::UserDates());
/// As TextToDate, nothing instead of error 13.
std::optional<Date> ParseDate(TextView text, const Locale& locale = Locale::UserDates());
bool IsNumeric(const Variant& value, const Locale& locale = Locale::User());
bool IsDate(const Variant& value, const Locale& locale = Locale::UserDates());

/// The invariant pair: Str has a leading blank or minus sign and no zero before the point; Val reads the longest
/// leading number, rubbish is 0.
Text Str(double value);
double Val(TextView text);

/// Half to even, then the range check (6); NaN and infinity are 6.
std::int64_t RoundToInteger(double value, std::int64_t lowest, std::int64_t highest);
double RoundHalfToEven(double value);
Currency NumberToCurrency(double value);
double CurrencyToNumber(Currency value);

/// The days that a date can have: 1 January 100 and 31 December 9999.
inline constexpr double firstDay = -657434;
inline constexpr double lastDay = 2958465;

/// Calendar, Gregorian throughout, 1 January 100 to 31 December 9999.
struct CalendarDate
{
    int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;
};
CalendarDate SplitDate(Date date);  // rounds to whole seconds; 6 outside the range
Date DateSerial(std::int16_t year, std::int16_t month,
                std::int16_t day);  // carries, two-digit years 0-29 and 30-99; 5 outside the range
/// As DateSerial, but the year is the number as it stands, and only the date that comes out is checked: month 13 of 99
/// is January 100.
Date DateSerialOfFullYear(std::int16_t year, std::int16_t month, std::int16_t day);
Date TimeSerial(std::int16_t hour, std::int16_t minute, std::int16_t second);
int DayOfYear(Date date);  // 1 January is 1

/// How weeks are counted.
struct WeekRule
{
    enum class First
    {
        OfJanuaryFirst = 1,
        OfFourDays = 2,
        Full = 3,
    };
    int firstWeekday = 1;  // 1 Sunday, 2 Monday ...
    First first = First::OfJanuaryFirst;
};
int Weekday(Date date, int firstWeekday = 1);          // 1 to 7, counted from the day that weeks begin with
int WeekOfYear(Date date, const WeekRule& rule = {});  // of the old or the next year at its edges, as the rule says
/// The date of a day of the calendar and a time of it; nothing when there is no such day or time.
std::optional<Date> JoinDate(const CalendarDate& parts);
/// A year of one or two digits in its century: 0-29 is 2000-2029, 30-99 is 1930-1999; others stay.
int FullYear(int year);

/// Format of a number or date with a picture or a named format, in the locale; half away from zero.
/// @param weeks  what the marks w and ww of a date count by
Text Format(const Variant& value, TextView picture, const Locale& numbers = Locale::User(),
            const Locale& dates = Locale::UserDates(), const WeekRule& weeks = {});

}  // namespace vmlib
