// Numbers to text: CStr in the locale and the invariant Str$. One rule for both: the plain form as long as it needs no
// more digits than the type has on either side of the point, else the exponent form.

#include <cmath>

#include "automation/Convert.h"
#include "automation/DecimalDigits.h"
#include "automation/NumberText.h"

namespace vmlib {
namespace {

constexpr int doubleDigits = 15;
constexpr int singleDigits = 7;

void AppendDigits(Text& text, std::string_view digits)
{
    for (const char digit : digits) text += static_cast<char16_t>(digit);
}

Text ExponentForm(const DecimalDigits& number, char16_t point)
{
    Text text;
    AppendDigits(text, number.digits.substr(0, 1));
    if (number.digits.size() > 1) {
        text += point;
        AppendDigits(text, std::string_view(number.digits).substr(1));
    }
    const int exponent = number.pointAt - 1;
    text += exponent < 0 ? u"E-" : u"E+";
    const int magnitude = std::abs(exponent);
    if (magnitude < 10) text += u'0';
    return text + Decimal(magnitude);
}

Text Special(double value)
{
    if (std::isnan(value)) return u"-1.#IND";
    return value < 0 ? u"-1.#INF" : u"1.#INF";
}

Text FloatToText(double value, int significant, char16_t point, LeadingZero leadingZero)
{
    if (!std::isfinite(value)) return Special(value);
    const DecimalDigits number = DecimalDigits::Of(value, significant);
    const bool plain = number.Decimals() <= significant && number.pointAt <= significant;
    if (plain) return PlainForm(number, point, leadingZero);
    return (number.negative ? u"-" : u"") + ExponentForm(number, point);
}

}  // namespace

Text PlainForm(const DecimalDigits& number, char16_t point, LeadingZero leadingZero)
{
    Text text;
    if (number.negative) text += u'-';
    for (int power = number.pointAt - 1; power >= 0; --power) text += static_cast<char16_t>(number.DigitAt(power));
    const bool needsZero = number.pointAt <= 0 && (leadingZero == LeadingZero::Shown || number.IsZero());
    if (needsZero) text += u'0';
    if (number.Decimals() > 0) text += point;
    for (int i = 1; i <= number.Decimals(); ++i) text += static_cast<char16_t>(number.DigitAt(-i));
    return text;
}

Text NumberToText(double value, const Locale& locale)
{
    return FloatToText(value, doubleDigits, locale.decimalSeparator, LeadingZero::Shown);
}

Text NumberToText(float value, const Locale& locale)
{
    return FloatToText(double{value}, singleDigits, locale.decimalSeparator, LeadingZero::Shown);
}

Text CurrencyToText(Currency value, const Locale& locale)
{
    return PlainForm(DecimalDigits::Of(value), locale.decimalSeparator, LeadingZero::Shown);
}

Text Str(double value)
{
    const Text text = FloatToText(value, doubleDigits, u'.', LeadingZero::LeftOut);
    return text.starts_with(u'-') ? text : u' ' + text;
}

}  // namespace vmlib
