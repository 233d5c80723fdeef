#include <chrono>

#include "AutomationSupport.h"

namespace vmlib {
namespace {

Date Day(std::int16_t year, std::int16_t month, std::int16_t day)
{
    return DateSerial(year, month, day);
}

Text Iso(Date date)
{
    return Format(date, u"yyyy-mm-dd hh:nn:ss");
}

TEST(Calendar, KnownSerials)
{
    const std::pair<double, Text> cases[] = {
        {0, u"1899-12-30 00:00:00"},
        {-1.25, u"1899-12-29 06:00:00"},
        {-0.25, u"1899-12-30 06:00:00"},
        {0.25, u"1899-12-30 06:00:00"},
        {36526, u"2000-01-01 00:00:00"},
        {36585, u"2000-02-29 00:00:00"},
        {-657434, u"0100-01-01 00:00:00"},
        {2958465, u"9999-12-31 00:00:00"},
        {3.34, u"1900-01-02 08:09:36"},
        {36525.999999, u"2000-01-01 00:00:00"},    // rounds into the next day
        {-1.999999, u"1899-12-30 00:00:00"},       // also where the fraction counts the other way
        {2958465.999999, u"9999-12-31 23:59:59"},  // which the last day has not
        {60, u"1900-02-28 00:00:00"},              // 1900 had no leap day
    };
    for (const auto& [serial, text] : cases) EXPECT_EQ(ToUtf8(Iso({serial})), ToUtf8(text)) << serial;
    EXPECT_EQ(ErrorOf([] { SplitDate({2958466}); }), 6);
    EXPECT_EQ(ErrorOf([] { SplitDate({-657435}); }), 6);
}

TEST(Calendar, EveryDayIsTheDayAfterTheOneBefore)
{
    CalendarDate before = SplitDate({firstDay});
    for (double serial = firstDay + 1; serial <= lastDay; ++serial) {
        const CalendarDate day = SplitDate({serial});
        const bool follows = day.day == before.day + 1 && day.month == before.month && day.year == before.year;
        const bool beginsMonth =
            day.day == 1 && day.month == before.month % 12 + 1 && day.year == before.year + before.month / 12;
        const int daysOfMonth[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        const bool leap = before.year % 4 == 0 && (before.year % 100 != 0 || before.year % 400 == 0);
        const int last = daysOfMonth[before.month - 1] + (before.month == 2 && leap ? 1 : 0);
        ASSERT_TRUE(before.day < last ? follows : beginsMonth) << serial;
        before = day;
    }
}

struct SerialCase
{
    std::int16_t year, month, day;
    Text text;
};

TEST(DateSerial, CarriesMonthsThenDays)
{
    const SerialCase cases[] = {
        {2024, 0, 15, u"2023-12-15"},  {2000, -6, 15, u"1999-06-15"}, {1999, 1, 166, u"1999-06-15"},
        {2024, 2, 31, u"2024-03-02"},  {2024, 1, 0, u"2023-12-31"},   {0, 1, 1, u"2000-01-01"},
        {29, 12, 31, u"2029-12-31"},   {30, 1, 1, u"1930-01-01"},     {99, 13, 1, u"2000-01-01"},
        {99 + 1, 1, 1, u"0100-01-01"}, {2024, 25, 1, u"2026-01-01"},  {2024, -11, 1, u"2023-01-01"},
        {2024, -12, 1, u"2022-12-01"},
    };
    for (const SerialCase& c : cases) EXPECT_EQ(Iso(DateSerial(c.year, c.month, c.day)).substr(0, 10), c.text);
    EXPECT_EQ(ErrorOf([] { DateSerial(10000, 1, 1); }), 5);
    EXPECT_EQ(ErrorOf([] { DateSerial(100, 1, 0); }), 5);
    EXPECT_EQ(ErrorOf([] { DateSerial(-1, 1, 1); }), 5);
}

TEST(DateSerial, OfAFullYearChecksOnlyTheResult)
{
    EXPECT_EQ(Iso(DateSerialOfFullYear(99, 13, 1)).substr(0, 10), u"0100-01-01");
    EXPECT_EQ(Iso(DateSerialOfFullYear(2024, 2, 31)).substr(0, 10), u"2024-03-02");
    for (const int year : {99, 24, 0, -1, 10000})
        EXPECT_EQ(ErrorOf([&] { DateSerialOfFullYear(static_cast<std::int16_t>(year), 1, 1); }), 5) << year;
}

TEST(Weekday, SundayIsOne)
{
    EXPECT_EQ(Weekday({0}), 7);  // a Saturday
    EXPECT_EQ(Weekday({1}), 1);
    EXPECT_EQ(Weekday({-6}), 1);
    EXPECT_EQ(Weekday({-7.5}), 7);
    EXPECT_EQ(Weekday(Day(2024, 3, 5)), 3);
    EXPECT_EQ(DayOfYear(Day(2024, 12, 31)), 366);
}

TEST(DateToText, LeavesOutAZeroTimeAndAZeroDay)
{
    const std::pair<double, std::pair<Text, Text>> cases[] = {
        {0, {u"12:00:00 AM", u"00:00:00"}},
        {365, {u"12/30/1900", u"30-12-1900"}},
        {3.34, {u"1/2/1900 8:09:36 AM", u"2-1-1900 08:09:36"}},
        {0.75, {u"6:00:00 PM", u"18:00:00"}},
        {36526.5, {u"1/1/2000 12:00:00 PM", u"1-1-2000 12:00:00"}},
    };
    for (const auto& [serial, texts] : cases) {
        EXPECT_EQ(ToUtf8(DateToText({serial}, en)), ToUtf8(texts.first));
        EXPECT_EQ(ToUtf8(DateToText({serial}, nl)), ToUtf8(texts.second));
    }
    EXPECT_EQ(DateToText(Day(2024, 3, 5), da), u"05-03-2024");
}

struct TextDateCase
{
    const Locale& locale;
    Text text;
    Text expected;  // empty: error 13
};

TEST(TextToDate, TheLocaleOrdersTheNumbers)
{
    const auto today = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
    const int thisYear = static_cast<int>(std::chrono::year_month_day(today).year());
    const Text year = Decimal(thisYear);
    const TextDateCase cases[] = {
        {nl, u"5-3-2024", u"2024-03-05 00:00:00"},
        {en, u"5-3-2024", u"2024-05-03 00:00:00"},
        {nl, u"3-13-2024", u"2024-03-13 00:00:00"},
        {en, u"13/3/2024", u"2024-03-13 00:00:00"},
        {en, u"14 2 3", u"2014-02-03 00:00:00"},
        {en, u"1 2 29", u"2029-01-02 00:00:00"},
        {en, u"1 2 30", u"1930-01-02 00:00:00"},
        {nl, u"2024-03-05", u"2024-03-05 00:00:00"},
        {nl, u"31-2-2024", u""},
        {en, u"30 2", u"1930-02-01 00:00:00"},
        {nl, u"3-2024", u"2024-03-01 00:00:00"},
        {nl, u"5-3", year + u"-03-05 00:00:00"},
        {en, u"5/3", year + u"-05-03 00:00:00"},
        {nl, u"5 maart 2024", u"2024-03-05 00:00:00"},
        {nl, u"dinsdag 5 mrt 24", u"2024-03-05 00:00:00"},
        {da, u"5. marts 2024", u"2024-03-05 00:00:00"},
        {da, u"l\u00F8rdag 5 maj 2024 10:30", u"2024-05-05 10:30:00"},
        {en, u"March 5, 2024", u"2024-03-05 00:00:00"},
        {nl, u"5-mar-2024", u"2024-03-05 00:00:00"},  // English names count everywhere
        {en, u"March 5", year + u"-03-05 00:00:00"},
        {en, u"March 1999", u"1999-03-01 00:00:00"},
        {en, u"2024 March 5", u"2024-03-05 00:00:00"},
        {en, u"10:30", u"1899-12-30 10:30:00"},
        {en, u"2.5", u"1899-12-30 02:05:00"},
        {en, u"5/3/2024 1:02:03 PM", u"2024-05-03 13:02:03"},
        {en, u"12:00:00 AM", u"1899-12-30 00:00:00"},
        {en, u"12:15 pm", u"1899-12-30 12:15:00"},
        {en, u"5 PM", u"1899-12-30 17:00:00"},
        {nl, u"5-3-2024 23:59:59", u"2024-03-05 23:59:59"},
        {nl, u"23:59 5-3-2024", u"2024-03-05 23:59:00"},
        {en, u"1/1/100", u"0100-01-01 00:00:00"},
        {en, u"12/31/9999", u"9999-12-31 00:00:00"},
        {nl, Text(u"5-3-2024\0", 9), u"2024-03-05 00:00:00"},  // as stored with a closing zero
        {en, u"", u""},
        {en, u"5", u""},
        {en, u"24:00", u""},
        {en, u"0:60", u""},
        {en, u"13:00 PM", u""},
        {en, u"True", u""},
        {en, u"1 2 3 4", u""},
        {en, u"5/3/2024 5", u""},
        {en, u"5/3/", u""},
        {en, u"/5/3", u""},
        {en, u"5//3", u""},
        {en, u"1:2:3:4", u""},
        {en, u"10:30 10:30", u""},
        {en, u"5/3/12345", u""},
        {en, u"99999999999999999999-1-1", u""},
        {en, u"March April 5", u""},
        {en, u"PM", u""},
    };
    for (const TextDateCase& c : cases) {
        Text text;
        EXPECT_EQ(ErrorOf([&] { text = Iso(TextToDate(c.text, c.locale)); }), c.expected.empty() ? 13 : noError)
            << ToUtf8(c.text);
        EXPECT_EQ(ToUtf8(text), ToUtf8(c.expected)) << ToUtf8(c.text);
        EXPECT_EQ(IsDate(c.text, c.locale), !c.expected.empty()) << ToUtf8(c.text);
    }
}

TEST(TextToDate, TimesBeforeTheFirstDayCountAwayFromIt)
{
    EXPECT_EQ(TextToDate(u"12/29/1899 6:00", en).serial, -1.25);
}

TEST(TextToDate, WhereThePointPartsDatesItPartsNoTimes)
{
    Locale german = da;
    german.dateSeparator = u'.';
    EXPECT_EQ(Iso(TextToDate(u"5.3.2024", german)), u"2024-03-05 00:00:00");
}

struct FormatCase
{
    const Locale& locale;
    Variant value;
    Text picture;
    Text expected;
};

void Check(std::initializer_list<FormatCase> cases)
{
    for (const FormatCase& c : cases) {
        EXPECT_EQ(ToUtf8(Format(c.value, c.picture, c.locale, c.locale)), ToUtf8(c.expected))
            << ToUtf8(c.picture) << ' ' << c.value;
    }
}

TEST(Format, Dates)
{
    const Date march = {Day(2024, 3, 5).serial + 15.0 / 24 + 4.0 / 1440 + 9.0 / 86400};
    Check({
        {nl, march, u"ddmmyyyy", u"05032024"},
        {nl, march, u"d-m-yy", u"5-3-24"},
        {nl, march, u"DDDD d MMMM yyyy", u"dinsdag 5 maart 2024"},
        {da, march, u"ddd d. mmm", u"ti 5. mar"},
        {en, march, u"d/m/yyyy h:m:s", u"5/3/2024 15:4:9"},
        {nl, march, u"d/m/yyyy", u"5-3-2024"},
        {en, march, u"hh:mm:ss", u"15:04:09"},
        {en, march, u"h:nn AM/PM", u"3:04 PM"},
        {en, march, u"h a/p", u"3 p"},
        {en, march, u"m", u"3"},
        {en, march, u"h \\m\\i\\n: m", u"15 min: 4"},
        {en, march, u"\"day\" d", u"day 5"},
        {en, march, u"w ww q y", u"3 10 1 65"},
        {en, march, u"Short Date", u"3/5/2024"},
        {nl, march, u"long date", u"dinsdag 5 maart 2024"},
        {nl, march, u"General Date", u"5-3-2024 15:04:09"},
        {nl, march, u"Short Time", u"15:04"},
        {en, march, u"c", u"3/5/2024 3:04:09 PM"},
        {en, Date{0.5}, u"General Date", u"12:00:00 PM"},
        {en, Day(2024, 3, 5), u"General Date", u"3/5/2024"},
        {en, DateSerial(999, 1, 2), u"yyyy", u"0999"},
        {en, Day(2023, 12, 31), u"ww", u"53"},
        {nl, u"5-3-2024", u"yyyymmdd", u"20240305"},
        {nl, 45356, u"yyyymmdd", u"20240305"},
        {nl, u"geen datum", u"yyyymmdd", u"geen datum"},
    });
}

TEST(Format, Numbers)
{
    Check({
        {en, 2.5, u"0", u"3"},  // half away from zero
        {en, -2.5, u"0", u"-3"},
        {en, 1.005, u"0.00", u"1.01"},  // on the decimal digits
        {en, 0.125, u"0.00", u"0.13"},
        {nl, 1234567.891, u"#,##0.00", u"1.234.567,89"},
        {en, 0, u"#,##0.00", u"0.00"},
        {en, 0.5, u"#.##", u".5"},
        {en, 5, u"0.##", u"5."},
        {en, 5, u"00000", u"00005"},
        {en, 1234, u"0,0", u"1,234"},
        {en, 12.3, u".00", u"12.30"},
        {en, -0.001, u"0.00", u"0.00"},
        {en, 0.256, u"0.0%", u"25.6%"},
        {en, 1234567, u"0,", u"1235"},
        {en, 12345.678, u"0.00E+00", u"1.23E+04"},
        {en, 0.00012, u"0.0e-0", u"1.2e-4"},
        {en, 9.999, u"0.00E+00", u"1.00E+01"},
        {en, 0, u"0.0E+00", u"0.0E+00"},
        {en, -5, u"0.0;(0.0)", u"(5.0)"},
        {en, 0, u"0;-0;\\n\\u\\l", u"nul"},
        {en, Null{}, u"0;-0;0;\"none\"", u"none"},
        {en, Variant(), u"0", u""},
        {en, 1234567, u"000-0000", u"123-4567"},
        {nl, 12.5, u"\u20AC 0.00", u"\u20AC 12,50"},
        {en, -1234.5, u"Currency", u"($1,234.50)"},
        {nl, 1234.5, u"Currency", u"\u20AC 1.234,50"},
        {nl, 1234.5, u"Fixed", u"1234,50"},
        {nl, 1234.5, u"standard", u"1.234,50"},
        {nl, 0.5, u"Percent", u"50,00%"},
        {nl, 1234.5, u"Scientific", u"1,23E+03"},
        {nl, 1234.5, u"General Number", u"1234,5"},
        {nl, 1234.5, u"", u"1234,5"},
        {nl, 1, u"Yes/No", u"Ja"},
        {nl, 0, u"True/False", u"Onwaar"},
        {nl, u"12,5", u"0.00", u"12,50"},
        {nl, u"abc", u"0.00", u"abc"},
        {en, Currency{std::numeric_limits<std::int64_t>::max()}, u"0.0000", u"922337203685477.5807"},
        {en, 1E20, u"#,##0", u"100,000,000,000,000,000,000"},
    });
}

TEST(Format, Texts)
{
    Check({
        {en, u"ab", u"@@@@", u"  ab"},
        {en, u"ab", u"!@@@@", u"ab  "},
        {en, u"ab", u"&&&&", u"ab"},
        {en, u"aB", u">", u"AB"},
        {en, u"1234567", u"@@@-@@@@", u"123-4567"},
        {en, u"abcde", u"@@", u"abcde"},
    });
}

}  // namespace
}  // namespace vmlib
