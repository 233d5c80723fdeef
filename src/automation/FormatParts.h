#pragma once

#include "automation/Convert.h"
#include "automation/DecimalDigits.h"

/// The two halves of Format; used inside this folder only.
namespace vmlib {

/// A date by a picture of d, m, y, h, n, s, q, w, "AM/PM" and literals.
Text FormatDate(Date date, TextView picture, const Locale& locale, const WeekRule& weeks = {});

/// A number by the sections "positive;negative;zero" of a picture of 0, #, point, comma, %, E and literals.
Text FormatNumber(const DecimalDigits& number, TextView picture, const Locale& locale);

/// The sections of a picture; a semicolon in quotes or behind a backslash does not part them.
std::vector<TextView> PictureSections(TextView picture);

/// Reads the literal at the start of `rest` (a quoted text or the character behind a backslash) into `text` and removes
/// it; false for anything else.
bool TakeLiteral(TextView& rest, Text& text);

}  // namespace vmlib
