// Conversions and questions about values.

#include <charconv>

#include "automation/Convert.h"
#include "core/Error.h"
#include "sql/Functions.h"
#include "sql/GuidText.h"

namespace vmlib::sql {
namespace {

using Arguments = std::span<const Variant>;

template <auto convert>
Variant Converted(Arguments arguments, const FunctionContext&)
{
    return convert(arguments[0]);
}

Variant CallStr(Arguments arguments, const FunctionContext&)
{
    return Str(ToDouble(arguments[0]));
}

Variant CallVal(Arguments arguments, const FunctionContext&)
{
    return Val(ToText(arguments[0]));
}

Variant CallIsNumeric(Arguments arguments, const FunctionContext&)
{
    return IsNumeric(arguments[0]);
}

Variant CallIsDate(Arguments arguments, const FunctionContext&)
{
    return IsDate(arguments[0]);
}

/// A GUID, its text or its sixteen bytes.
Guid GuidOf(const Variant& value)
{
    std::optional<Guid> guid;
    if (value.IsText()) guid = GuidFromText(value.As<Text>());
    if (value.IsArray() && value.AsArray().HoldsBytes()) guid = GuidFromBytes(value.AsArray().AsBytes());
    if (!guid) throw Error(ErrorNumber::TypeMismatch);
    return *guid;
}

Variant CallGuidText(Arguments arguments, const FunctionContext&)
{
    return GuidToText(GuidOf(arguments[0]));
}

/// Digits of a whole number; a negative one as its 32 bits.
template <int base>
Variant InBase(Arguments arguments, const FunctionContext&)
{
    char digits[16];
    const auto number = static_cast<std::uint32_t>(ToLong(arguments[0]));
    const char* end = std::to_chars(digits, digits + sizeof digits, number, base).ptr;
    return UpperCase(FromUtf8({digits, static_cast<std::size_t>(end - digits)}));
}

constexpr FunctionInfo Conversion(TextView name, ValueType result, decltype(FunctionInfo::body) body)
{
    return {.name = name, .fewest = 1, .most = 1, .result = result, .nullSpreads = false, .body = body};
}

constexpr FunctionInfo functions[] = {
    Conversion(u"CStr", ValueType::Text, Converted<ToText>),
    Conversion(u"CInt", ValueType::Integer, Converted<ToInteger>),
    Conversion(u"CLng", ValueType::Long, Converted<ToLong>),
    Conversion(u"CDbl", ValueType::Double, Converted<ToDouble>),
    Conversion(u"CSng", ValueType::Single, Converted<ToSingle>),
    Conversion(u"CCur", ValueType::Currency, Converted<ToCurrency>),
    Conversion(u"CByte", ValueType::Byte, Converted<ToByte>),
    Conversion(u"CBool", ValueType::Boolean, Converted<ToBoolean>),
    Conversion(u"CDate", ValueType::Date, Converted<ToDate>),
    {.name = u"CVDate", .fewest = 1, .most = 1, .result = ValueType::Date, .body = Converted<ToDate>},
    {.name = u"Str", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallStr},
    Conversion(u"Val", ValueType::Double, CallVal),
    Conversion(u"IsNumeric", ValueType::Boolean, CallIsNumeric),
    Conversion(u"IsDate", ValueType::Boolean, CallIsDate),
    {.name = u"StringFromGUID", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallGuidText},
    {.name = u"GUIDFromString", .fewest = 1, .most = 1, .result = ValueType::Guid, .body = CallGuidText},
    {.name = u"Hex", .fewest = 1, .most = 1, .result = ValueType::Text, .body = InBase<16>},
    {.name = u"Oct", .fewest = 1, .most = 1, .result = ValueType::Text, .body = InBase<8>},
};

}  // namespace

std::span<const FunctionInfo> ConversionFunctions()
{
    return functions;
}

}  // namespace vmlib::sql
