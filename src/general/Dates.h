#pragma once

#include <cstdint>

#include "automation/MemberTable.h"

/// Dutch dates. Errors are suppressed step by step: a result that was never reached is "", 0 or the zero date.
namespace vmlib {

/// "05032024"; with a separator "05-03-2024". The pieces are joined with the `+` of the runtime, so a separator that is a
/// number is added instead.
Text VmdLib_DatumNaarString(Date dtDatum, const Optional& sScheiding = {});

/// The date of "ddmmyyyy". A day or month out of range carries on; a year is the number as it stands, without a century
/// of its own, so that a date before January 100 is none.
Date VmdLib_StringNaarDatum(const Text& sDatum);

bool VmdLib_SchrikkelJaar(std::int16_t nJaar);

/// The week in the year of the date, 1 to 53 by the applications' own rule (docs/hosts.md): weeks begin on Monday, and
/// no date belongs to a week of the next year. 1 for a date outside the calendar.
/// @param dtDatum  a Sunday becomes the Saturday before it, at the same time of day
std::int16_t VmdLib_WeekNummer(Date& dtDatum);

/// "januari" ... ; everything but 1 to 11 is "december".
Text VmdLib_Maand(std::int16_t nMaandNummer);

}  // namespace vmlib
