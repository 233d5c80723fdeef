#pragma once

#include "automation/Variant.h"
#include "platform/Desktop.h"

/// Messages of the applications. Styles and answers are those of platform/Message.h. Errors reach the caller.
namespace vmlib {

/// The platform's standard message box. @return the button pressed, a Long
Variant VmdBox(Desktop& desktop, const Text& sTekst, std::int16_t nMeldType, const Text& sTitel);

/// The library's own message form, in the middle of the screen; with empty captions the style chooses the buttons.
/// @return the button pressed, a Long
Variant VmdBox2(Desktop& desktop, const Text& sTekst, std::int16_t nMeldType, const Text& sTitel, const Text& sButton0,
                const Text& sButton1, const Text& sButton2);

/// "A value was entered that is not between ... and ...!", in Dutch, with the numbers as the user's locale writes them.
/// @param sMelding  the caption of the message
void OngeldigeWaarde(Desktop& desktop, const Text& sMelding, double dMinimumValue, double dMaximumValue);
/// The same for a percentage.
void OngeldigPercentage(Desktop& desktop, const Text& sMelding, double dMinimumValue, double dMaximumValue);

/// Reports a run-time error with its family, number, description and place, and asks whether to go on.
/// @param sFout        the routine, or what it was doing
/// @param sControl     the control or form
/// @param nRes         out: 3 abort, 4 retry, 5 ignore; left as it was for error 0, which shows nothing
/// @param vFoutnummer  the number
/// @throws Error 13, 94 for what is no number; 5 or 6 for a number that no run-time error has (negative, over 65535)
void VmdAfHandel2(Desktop& desktop, const Text& sFout, const Text& sControl, std::int16_t& nRes,
                  const Variant& vFoutnummer);

}  // namespace vmlib
