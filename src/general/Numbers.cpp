#include "general/Numbers.h"

#include <cmath>
#include <optional>

#include "automation/Arithmetic.h"
#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "automation/TextFunctions.h"
#include "general/SystemFacts.h"
#include "registry/Primitives.h"

namespace vmlib {

namespace {

constexpr TextView unknownSeparator = u"/";

/// The user's decimal separator; no value when nothing tells it. The registry has the first word, the settings file of
/// older systems the second.
std::optional<Text> DecimalSeparator(Platform& platform)
{
    Text separator;
    ResumeNext([&] {
        const Text stored = ToText(registry::RegQueryValue(
            platform.registry, currentUser, u"Control Panel\\International", u"sDecimal", unknownSeparator));
        separator = Left(stored, 1);
        if (separator.starts_with(u'\0')) separator.clear();  // only the closing zero was stored
    });
    if (separator == unknownSeparator) {
        std::int16_t asNumber = 0;
        PrivIniRead(platform, u"Intl", u"sDecimal", -1, Text(unknownSeparator), separator, asNumber,
                    WinDir(platform) + u"\\WIN.INI");
    }
    if (separator == unknownSeparator) return std::nullopt;
    return separator;
}

/// The text of a number that is not negative, with zeros behind it to cut from. One in exponent form gets them there:
/// cut, it may lose its exponent, which hosts know ("1.5E+20" with two places is 1.5).
Text PaddedDigits(double number)
{
    const TextView zeros = u"000000000";
    Text text(Mid(Str(number), 2));
    if (text.find(u'.') == Text::npos) text += u'.';
    return text += zeros;
}

bool IsDigitsWithOnePoint(TextView text)
{
    int points = 0;
    for (const char16_t character : text) {
        const bool isPoint = character == u',' || character == u'.';
        if (!isPoint && (character < u'0' || character > u'9')) return false;
        if (isPoint && ++points > 1) return false;
    }
    return true;
}

}  // namespace

double VmdLib_Afrond(double Uval, std::int16_t Places)
{
    if (Uval == 0) return 0;
    const Text sign = Uval < 0 ? u"-" : u"";
    double number = std::fabs(Uval);
    double factor = 0;
    ResumeNext([&] { factor = ToDouble(Power(10.0, Places)); });
    ResumeNext([&] { number = ToDouble(Add(Multiply(number, factor), 0.5)); });
    ResumeNext([&] { number = Val(Str(number)); });  // 15 digits: 100.99999999999999 is 101
    number = std::floor(number);
    ResumeNext([&] { number = ToDouble(Divide(number, factor)); });

    const Text digits = PaddedDigits(number);
    const std::int32_t whole = InStr(1, digits, u".") - 1;
    double result = 0;
    ResumeNext([&] { result = Val(sign + Text(Left(digits, whole + Places + (Places >= 1 ? 1 : 0)))); });
    return result;
}

void VmdLib_PuntNaarKomma(Platform& platform, std::int16_t KeyCode)
{
    if (KeyCode != decimalKey) return;
    const auto separator = DecimalSeparator(platform);
    if (separator) ResumeNext([&] { platform.desktop.SendKeys(*separator); });
}

void VmdLib_CheckDecimaal(Platform& platform, Text& sNum)
{
    const auto separator = DecimalSeparator(platform);
    if (!separator) return;
    const bool isComma = *separator == u",";
    const auto other = sNum.find(isComma ? u'.' : u',');
    if (other != Text::npos) sNum[other] = isComma ? u',' : u'.';
}

bool VmdLib_IsNumeric(Platform& platform, const Variant& Expression)
{
    switch (Expression.Type()) {
        case VarType::Byte:
        case VarType::Integer:
        case VarType::Long:
        case VarType::Single:
        case VarType::Double:
        case VarType::Currency:
        case VarType::Decimal:
            return true;
        case VarType::String: {
            Text text = Expression.As<Text>();
            if (text.empty()) return false;
            const bool result = IsDigitsWithOnePoint(text);
            // Changes nothing; hosts rely on the settings being asked here.
            VmdLib_CheckDecimaal(platform, text);
            return result;
        }
        default:
            return false;
    }
}

Variant VmdLib_MaakBookMark(std::int32_t lTel)
{
    return Str(lTel);
}

}  // namespace vmlib
