#pragma once

#include <array>

#include "core/Text.h"

namespace vmlib {

/// What conversions between text and values depend on. Built in: en (United States), nl (Netherlands), da (Denmark).
struct Locale
{
    enum class DateOrder
    {
        MonthDayYear,
        DayMonthYear,
        YearMonthDay
    };

    Text name;  // "en", "nl", "da"
    char16_t decimalSeparator;
    char16_t thousandsSeparator;
    char16_t listSeparator;
    char16_t dateSeparator;
    char16_t timeSeparator;
    Text currencySign;
    DateOrder dateOrder;
    Text shortDate, longDate, time;  // Format patterns
    bool twelveHours;
    std::array<Text, 7> dayNames, shortDayNames;  // Sunday first
    std::array<Text, 12> monthNames, shortMonthNames;
    Text trueWord, falseWord;
    Text currencyPositive, currencyNegative;  // pictures of the named format Currency
    Text yesWord, noWord, onWord, offWord;    // of the named formats Yes/No and On/Off

    static const Locale& English();
    static const Locale& Dutch();
    static const Locale& Danish();
    /// By the name of a POSIX or Windows locale: "nl..." Dutch, "da..." Danish, anything else English. Case does not
    /// matter.
    static const Locale& Named(TextView name);

    /// The user's locale of this process; numbers may follow another language than dates. English until SetUser is
    /// called.
    static const Locale& User();
    static const Locale& UserDates();
    static void SetUser(const Locale& numbers, const Locale& dates);
};

}  // namespace vmlib
