#pragma once

#include "automation/MemberTable.h"
#include "platform/Platform.h"

/// Numbers as users type and read them. Errors are suppressed step by step.
namespace vmlib {

/// Half away from zero, through text of 15 digits, so that 2.675 with two places is 2.68. Negative places cut digits off
/// instead: 1234 with -1 is 123. From 1E15 on the text has an exponent, which may be cut off too (docs/hosts.md).
double VmdLib_Afrond(double Uval, std::int16_t Places);

/// The numeric keypad's decimal key (110) types the user's decimal separator into the window that has the focus.
void VmdLib_PuntNaarKomma(Platform& platform, std::int16_t KeyCode);

/// The first separator of the other kind becomes the user's: "1.234.5" is "1,234.5" in Dutch.
void VmdLib_CheckDecimaal(Platform& platform, Text& sNum);

/// Numbers, and text of digits with at most one point or comma. No sign, no blank, no exponent, no date.
bool VmdLib_IsNumeric(Platform& platform, const Variant& Expression);

/// The number with a leading blank unless it is negative: " 5", "-5".
Variant VmdLib_MaakBookMark(std::int32_t lTel);

}  // namespace vmlib
