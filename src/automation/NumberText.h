#pragma once

#include "automation/DecimalDigits.h"
#include "automation/Locale.h"
#include "core/Text.h"

/// What the conversions between text and other values share; used inside this folder only.
namespace vmlib {

/// What a conversion of text sees of it: the platform's conversions read up to the first zero character, and text from
/// the registry carries its closing zero.
inline TextView UpToZero(TextView text)
{
    return text.substr(0, text.find(u'\0'));
}

enum class LeadingZero
{
    Shown,
    LeftOut
};

/// Minus sign, digits, point, digits; all of them, however many.
Text PlainForm(const DecimalDigits& number, char16_t point, LeadingZero leadingZero);

/// The number in a text by the rules of the locale; nothing when the text is not wholly a number.
std::optional<DecimalDigits> ParseNumber(TextView text, const Locale& locale);

}  // namespace vmlib
