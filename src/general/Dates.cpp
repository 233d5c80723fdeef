#include "general/Dates.h"

#include <array>
#include <cmath>

#include "automation/Arithmetic.h"
#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "automation/TextFunctions.h"

namespace vmlib {

namespace {

constexpr int sunday = 1;  // by Weekday
constexpr int thursday = 5;

/// 0 for what is no 16-bit number.
std::int16_t Number(TextView text)
{
    std::int16_t number = 0;
    ResumeNext([&] { number = ToInteger(Val(text)); });
    return number;
}

/// Of a date that is no Sunday. One outside the calendar has no year, weekday and day, which count as 0.
int WeekOf(Date date)
{
    int year = 0, weekdayOfJanuaryFirst = 0, day = 0;
    ResumeNext([&] { year = SplitDate({std::trunc(date.serial)}).year; });
    ResumeNext([&] { weekdayOfJanuaryFirst = Weekday(DateSerialOfFullYear(static_cast<std::int16_t>(year), 1, 1)); });
    ResumeNext([&] { day = DayOfYear(date); });
    const int countsAsFirst = weekdayOfJanuaryFirst <= thursday ? 1 : 0;
    const int week = (day + weekdayOfJanuaryFirst - 2) / 7 + countsAsFirst;
    if (week != 0) return week;
    // The days before week 1 belong to the last week of the year before, whose length the applications tell by this
    // year: most of these numbers differ from the ISO week, and hosts have stored them.
    return VmdLib_SchrikkelJaar(static_cast<std::int16_t>(year)) ? 52 : 53;
}

}  // namespace

Text VmdLib_DatumNaarString(Date dtDatum, const Optional& sScheiding)
{
    Text digits;
    ResumeNext([&] { digits = Format(dtDatum, u"ddmmyyyy"); });
    if (!sScheiding.Given()) return digits;
    Text result;
    ResumeNext([&] {
        const Variant& between = sScheiding.value;
        const Variant dayAndMonth = Add(Add(Left(digits, 2), between), Mid(digits, 3, 2));
        result = ToText(Add(Add(dayAndMonth, between), Right(digits, 4)));
    });
    return result;
}

Date VmdLib_StringNaarDatum(const Text& sDatum)
{
    const std::int16_t year = Number(Right(sDatum, 4));
    const std::int16_t month = Number(Mid(sDatum, 3, 2));
    const std::int16_t day = Number(Left(sDatum, 2));
    Date result;
    ResumeNext([&] { result = DateSerialOfFullYear(year, month, day); });
    return result;
}

bool VmdLib_SchrikkelJaar(std::int16_t nJaar)
{
    return nJaar % 4 == 0 && (nJaar % 100 != 0 || nJaar / 100 % 4 == 0);
}

std::int16_t VmdLib_WeekNummer(Date& dtDatum)
{
    ResumeNext([&] {
        if (Weekday(dtDatum) == sunday) dtDatum = ToDate(Subtract(dtDatum, std::int16_t{1}));
    });
    return static_cast<std::int16_t>(WeekOf(dtDatum));
}

Text VmdLib_Maand(std::int16_t nMaandNummer)
{
    static constexpr std::array<TextView, 11> names = {u"januari",   u"februari", u"maart",   u"april",
                                                       u"mei",       u"juni",     u"juli",    u"augustus",
                                                       u"september", u"oktober",  u"november"};
    if (nMaandNummer < 1 || nMaandNummer > 11) return u"december";
    return Text(names[static_cast<std::size_t>(nMaandNummer - 1)]);
}

}  // namespace vmlib
