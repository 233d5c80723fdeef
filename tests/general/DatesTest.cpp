#include <gmock/gmock.h>

#include "automation/Convert.h"
#include "general/Dates.h"

namespace vmlib::test {
namespace {

std::string Iso(Date date)
{
    return ToUtf8(Format(date, u"yyyy-mm-dd"));
}

TEST(Dates, AsCompactText)
{
    const std::pair<Optional, Text> cases[] = {
        {{}, u"05032024"},
        {Variant(u"-"), u"05-03-2024"},
        {Variant(u""), u"05032024"},
        {Variant(), u"05032024"},             // Empty joins
        {Variant(std::int16_t{1}), u"2034"},  // a number is added: 5 + 1 + 3 + 1 + 2024
        {Variant(Null{}), u""},
        {Variant(Array(Bytes{})), u""},
    };
    for (const auto& [separator, expected] : cases)
        EXPECT_EQ(ToUtf8(VmdLib_DatumNaarString({45356.75}, separator)), ToUtf8(expected));
}

TEST(Dates, FromCompactText)
{
    const std::string never = "1899-12-30";
    const std::pair<Text, std::string> cases[] = {
        {u"05032024", "2024-03-05"},   {u"31022024", "2024-03-02"},  // the day carries
        {u"01-02-2024", "2023-12-01"},                               // month "-0"
        {u"00002024", "2023-11-30"},   {u"15992024", "2032-03-15"},
        {u"5 3 2024", "2024-03-05"},   {u"2024", "2025-12-20"},  // day 20 of month 24
        {u"01130099", "0100-01-01"},                             // month 13 of 99
        {u"31120099", never},                                    // years have no century of their own
        {u"01139999", never},          {u"01019e99", never},     // too large for a number: year 0
        {u"januari", never},
    };
    for (const auto& [text, expected] : cases) {
        const Date date = VmdLib_StringNaarDatum(text);
        EXPECT_EQ(Iso(date), expected) << ToUtf8(text);
        EXPECT_EQ(date.serial, std::trunc(date.serial)) << ToUtf8(text) << ": a result that nothing set is 0";
    }
}

TEST(Dates, LeapYears)
{
    for (const auto leap : std::initializer_list<std::int16_t>{2024, 2000, 1996, 0, -4, -400})
        EXPECT_TRUE(VmdLib_SchrikkelJaar(leap)) << leap;
    for (const auto common : std::initializer_list<std::int16_t>{2023, 1900, 2001, 2100, -1, -100})
        EXPECT_FALSE(VmdLib_SchrikkelJaar(common)) << common;
}

/// The fourteen kinds of year. A week number is the count of Mondays of the year up to the day, one more when
/// 1 January is a Tuesday, Wednesday or Thursday; of a Sunday that of the Saturday before. Without any Monday it is
/// 52 in a leap year, else 53. Counted with another program.
TEST(Dates, WeekNumbersAtTheEdgesOfYears)
{
    struct Case
    {
        int year;
        int january[8];   // from the first
        int december[8];  // from the 24th
    };
    const Case cases[] = {
        {2018, {1, 1, 1, 1, 1, 1, 1, 2}, {52, 52, 52, 52, 52, 52, 52, 53}},  // begins on a Monday
        {2019, {1, 1, 1, 1, 1, 1, 2, 2}, {52, 52, 52, 52, 52, 52, 53, 53}},  // Tuesday ...
        {2014, {1, 1, 1, 1, 1, 2, 2, 2}, {52, 52, 52, 52, 52, 53, 53, 53}},
        {2015, {1, 1, 1, 1, 2, 2, 2, 2}, {52, 52, 52, 52, 53, 53, 53, 53}},
        {2021, {53, 53, 53, 1, 1, 1, 1, 1}, {51, 51, 51, 52, 52, 52, 52, 52}},
        {2022, {53, 53, 1, 1, 1, 1, 1, 1}, {51, 51, 52, 52, 52, 52, 52, 52}},
        {2023, {52, 1, 1, 1, 1, 1, 1, 1}, {51, 52, 52, 52, 52, 52, 52, 52}},
        {2024, {1, 1, 1, 1, 1, 1, 1, 2}, {52, 52, 52, 52, 52, 52, 53, 53}},  // leap years
        {2008, {1, 1, 1, 1, 1, 1, 2, 2}, {52, 52, 52, 52, 52, 53, 53, 53}},
        {2020, {1, 1, 1, 1, 1, 2, 2, 2}, {52, 52, 52, 52, 53, 53, 53, 53}},
        {2004, {1, 1, 1, 1, 2, 2, 2, 2}, {52, 52, 52, 53, 53, 53, 53, 53}},
        {2016, {52, 52, 52, 1, 1, 1, 1, 1}, {51, 51, 52, 52, 52, 52, 52, 52}},
        {2000, {52, 52, 1, 1, 1, 1, 1, 1}, {51, 52, 52, 52, 52, 52, 52, 52}},
        {2012, {52, 1, 1, 1, 1, 1, 1, 1}, {52, 52, 52, 52, 52, 52, 52, 53}},
    };
    for (const Case& c : cases) {
        for (int i = 0; i < 8; ++i) {
            Date january = *JoinDate({c.year, 1, 1 + i, 0, 0, 0});
            Date december = *JoinDate({c.year, 12, 24 + i, 0, 0, 0});
            EXPECT_EQ(VmdLib_WeekNummer(january), c.january[i]) << Iso(january);
            EXPECT_EQ(VmdLib_WeekNummer(december), c.december[i]) << Iso(december);
        }
    }
}

TEST(Dates, ASundayBecomesTheSaturdayBefore)
{
    struct Case
    {
        double before, after;
        int week;
    };
    const Case cases[] = {
        {45298.75, 45297.75, 1},           // 7 January 2024
        {45292, 45292, 1},                 // Monday 1 January 2024
        {-6.25, -7.25, 51},                // 24 December 1899, six o'clock
        {1.5, 0.5, 52},                    // 31 December 1899
        {-0.5, -0.5, 52},                  // Saturday 30 December 1899
        {42369.999999, 42369.999999, 53},  // the last moment of 2015
        {-657433, -657433, 53},            // 2 January 100
        {2958465, 2958465, 52},            // 31 December 9999
        {2958466, 2958466, 1},             // behind the calendar
    };
    for (const Case& c : cases) {
        Date date{c.before};
        EXPECT_EQ(VmdLib_WeekNummer(date), c.week) << c.before;
        EXPECT_EQ(date.serial, c.after) << c.before;
    }
}

TEST(Dates, MonthNamesEndWithDecember)
{
    EXPECT_EQ(VmdLib_Maand(1), u"januari");
    EXPECT_EQ(VmdLib_Maand(5), u"mei");
    EXPECT_EQ(VmdLib_Maand(11), u"november");
    for (const auto number : std::initializer_list<std::int16_t>{12, 13, 0, -5})
        EXPECT_EQ(VmdLib_Maand(number), u"december") << number;
}

}  // namespace
}  // namespace vmlib::test
