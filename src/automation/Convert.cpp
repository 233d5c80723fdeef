// Values change their type here: each target type asks the value for its number, text or default member, then checks
// the range.

#include "automation/Convert.h"

#include <cmath>
#include <limits>

#include "automation/DecimalDigits.h"
#include "automation/NumberText.h"
#include "automation/Object.h"
#include "core/Error.h"

namespace vmlib {
namespace {

constexpr int deepestDefault = 32;  // an object whose default member is itself ends here

[[noreturn]] void Mismatch()
{
    throw Error(ErrorNumber::TypeMismatch);
}

// Passes the plain value of a variant on: its default member when it is an object. Null is 94; codes and arrays have no
// value.
template <class Function>
auto WithValue(const Variant& value, Function&& function)
{
    if (value.IsObject()) return function(DefaultValue(value));
    return function(value);
}

void RefuseWithoutValue(const Variant& value)
{
    if (value.IsNull()) throw Error(ErrorNumber::InvalidUseOfNull);
    if (value.IsArray() || value.Holds<ErrorCode>()) Mismatch();
}

double PlainNumber(const Variant& value)
{
    struct Visitor
    {
        double operator()(std::monostate) const { return 0; }
        double operator()(Null) const { return 0; }
        double operator()(bool v) const { return v ? -1 : 0; }
        double operator()(std::uint8_t v) const { return v; }
        double operator()(std::int16_t v) const { return v; }
        double operator()(std::int32_t v) const { return v; }
        double operator()(float v) const { return double{v}; }
        double operator()(double v) const { return v; }
        double operator()(Currency v) const { return CurrencyToNumber(v); }
        double operator()(Date v) const { return v.serial; }
        double operator()(const Text& v) const { return TextToNumber(v); }
        double operator()(const ObjectRef&) const { Mismatch(); }
        double operator()(ErrorCode) const { Mismatch(); }
        double operator()(const DecimalNumber& v) const { return DecimalDigits::Of(v).ToDouble(); }
        double operator()(const ArrayRef&) const { Mismatch(); }
    };
    RefuseWithoutValue(value);
    return std::visit(Visitor{}, value.Value());
}

template <class T>
T ToWhole(const Variant& value)
{
    if (value.Holds<T>()) return value.As<T>();
    return WithValue(value, [](const Variant& plain) {
        constexpr std::int64_t lowest = std::numeric_limits<T>::min();
        constexpr std::int64_t highest = std::numeric_limits<T>::max();
        if (plain.Holds<bool>()) return static_cast<T>(plain.As<bool>() ? -1 : 0);
        return static_cast<T>(RoundToInteger(PlainNumber(plain), lowest, highest));
    });
}

Text PlainText(const Variant& value)
{
    struct Visitor
    {
        Text operator()(std::monostate) const { return {}; }
        Text operator()(Null) const { return {}; }
        Text operator()(bool v) const { return v ? Locale::User().trueWord : Locale::User().falseWord; }
        Text operator()(std::uint8_t v) const { return Decimal(v); }
        Text operator()(std::int16_t v) const { return Decimal(v); }
        Text operator()(std::int32_t v) const { return Decimal(v); }
        Text operator()(float v) const { return NumberToText(v); }
        Text operator()(double v) const { return NumberToText(v); }
        Text operator()(Currency v) const { return CurrencyToText(v); }
        Text operator()(Date v) const { return DateToText(v); }
        Text operator()(const Text& v) const { return v; }
        Text operator()(const ObjectRef&) const { Mismatch(); }
        Text operator()(ErrorCode) const { Mismatch(); }
        Text operator()(const DecimalNumber& v) const
        {
            return PlainForm(DecimalDigits::Of(v), Locale::User().decimalSeparator, LeadingZero::Shown);
        }
        Text operator()(const ArrayRef&) const { Mismatch(); }
    };
    RefuseWithoutValue(value);
    return std::visit(Visitor{}, value.Value());
}

bool IsWord(TextView text, TextView english, TextView local)
{
    return EqualIgnoringCase(text, english) || EqualIgnoringCase(text, local);
}

DecimalNumber ToDecimalNumber(const Variant& value)
{
    return WithValue(value, [](const Variant& plain) -> DecimalNumber {
        if (plain.Holds<Currency>()) return DecimalDigits::Of(plain.As<Currency>()).ToDecimal();
        if (plain.Holds<float>()) {
            const float number = plain.As<float>();
            if (!std::isfinite(number)) throw Error(ErrorNumber::Overflow);
            return DecimalDigits::Of(double{number}, 7).ToDecimal();
        }
        if (plain.IsText()) {
            const auto digits = ParseNumber(plain.As<Text>(), Locale::User());
            if (!digits) Mismatch();
            return digits->ToDecimal();
        }
        const double number = PlainNumber(plain);
        if (!std::isfinite(number)) throw Error(ErrorNumber::Overflow);
        return DecimalDigits::Of(number, 15).ToDecimal();
    });
}

Date CheckedDate(double serial)
{
    const double day = std::trunc(serial);
    if (!(day >= firstDay && day <= lastDay)) throw Error(ErrorNumber::Overflow);
    return {serial};
}

}  // namespace

Variant DefaultValue(const Variant& value)
{
    Variant result = value;
    for (int i = 0; result.IsObject(); ++i) {
        const ObjectRef object = ToObject(result);
        if (i == deepestDefault) throw Error(ErrorNumber::NoSuchMember);
        result = Get(object, u"");
    }
    return result;
}

Text ToText(const Variant& value)
{
    if (value.IsText()) return value.As<Text>();
    return WithValue(value, PlainText);
}

bool ToBoolean(const Variant& value)
{
    if (value.Holds<bool>()) return value.As<bool>();
    return WithValue(value, [](const Variant& plain) {
        if (plain.IsText()) {
            const TextView text = UpToZero(plain.As<Text>());
            if (IsWord(text, u"True", Locale::User().trueWord)) return true;
            if (IsWord(text, u"False", Locale::User().falseWord)) return false;
        }
        return PlainNumber(plain) != 0;
    });
}

std::uint8_t ToByte(const Variant& value)
{
    return ToWhole<std::uint8_t>(value);
}

std::int16_t ToInteger(const Variant& value)
{
    return ToWhole<std::int16_t>(value);
}

std::int32_t ToLong(const Variant& value)
{
    return ToWhole<std::int32_t>(value);
}

float ToSingle(const Variant& value)
{
    if (value.Holds<float>()) return value.As<float>();
    const double number = ToDouble(value);
    const auto single = static_cast<float>(number);
    if (std::isinf(single)) throw Error(ErrorNumber::Overflow);
    return single;
}

double ToDouble(const Variant& value)
{
    if (value.Holds<double>()) return value.As<double>();
    return WithValue(value, PlainNumber);
}

Currency ToCurrency(const Variant& value)
{
    if (value.Holds<Currency>()) return value.As<Currency>();
    return WithValue(value, [](const Variant& plain) {
        if (plain.Holds<Currency>()) return plain.As<Currency>();
        if (plain.IsText()) return TextToCurrency(plain.As<Text>());
        if (plain.Holds<DecimalNumber>()) return DecimalDigits::Of(plain.As<DecimalNumber>()).ToCurrency();
        return NumberToCurrency(PlainNumber(plain));
    });
}

Date ToDate(const Variant& value)
{
    if (value.Holds<Date>()) return value.As<Date>();
    return WithValue(value, [](const Variant& plain) {
        if (plain.Holds<Date>()) return plain.As<Date>();
        if (plain.IsText()) return TextToDate(plain.As<Text>());
        return CheckedDate(PlainNumber(plain));
    });
}

Variant Coerce(const Variant& value, VarType type)
{
    if (type == VarType::Variant || type == value.Type()) return value;
    switch (type) {
        case VarType::Empty:
            return {};
        case VarType::Null:
            return Null{};
        case VarType::Boolean:
            return ToBoolean(value);
        case VarType::Byte:
            return ToByte(value);
        case VarType::Integer:
            return ToInteger(value);
        case VarType::Long:
            return ToLong(value);
        case VarType::Single:
            return ToSingle(value);
        case VarType::Double:
            return ToDouble(value);
        case VarType::Currency:
            return ToCurrency(value);
        case VarType::Date:
            return ToDate(value);
        case VarType::String:
            return ToText(value);
        case VarType::Decimal:
            return ToDecimalNumber(value);
        default:
            Mismatch();
    }
}

std::int64_t RoundToInteger(double value, std::int64_t lowest, std::int64_t highest)
{
    // The limits of 64 bits are not doubles: 2^63 itself is already outside.
    constexpr double twoTo63 = 9223372036854775808.0;
    const double rounded = RoundHalfToEven(value);
    if (!(rounded >= -twoTo63 && rounded < twoTo63)) throw Error(ErrorNumber::Overflow);
    const auto integer = static_cast<std::int64_t>(rounded);
    if (integer < lowest || integer > highest) throw Error(ErrorNumber::Overflow);
    return integer;
}

double RoundHalfToEven(double value)
{
    // Not std::nearbyint: a host may have changed the rounding mode of the thread.
    const double below = std::floor(value);
    const double fraction = value - below;
    if (fraction < 0.5) return below;
    if (fraction > 0.5) return below + 1;
    return std::fmod(below, 2) == 0 ? below : below + 1;
}

Currency NumberToCurrency(double value)
{
    return {RoundToInteger(value * 10000, std::numeric_limits<std::int64_t>::min(),
                           std::numeric_limits<std::int64_t>::max())};
}

double CurrencyToNumber(Currency value)
{
    return static_cast<double>(value.units) / 10000;
}

bool IsNumeric(const Variant& value, const Locale& locale)
{
    if (value.IsText()) {
        try {
            const auto number = ParseNumber(value.As<Text>(), locale);
            if (number) number->ToDouble();
            return number.has_value();
        } catch (const Error&)  // too large for any number
        {
            return false;
        }
    }
    if (value.IsObject()) return value.As<ObjectRef>() && IsNumeric(DefaultValue(value), locale);
    return !value.IsNull() && !value.IsArray() && !value.Holds<Date>() && !value.Holds<ErrorCode>();
}

bool IsDate(const Variant& value, const Locale& locale)
{
    if (value.IsText()) return ParseDate(value.As<Text>(), locale).has_value();
    if (value.IsObject()) return value.As<ObjectRef>() && IsDate(DefaultValue(value), locale);
    return value.Holds<Date>();
}

}  // namespace vmlib
