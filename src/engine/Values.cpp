#include "engine/Values.h"

#include <algorithm>
#include <cmath>

#include "automation/Convert.h"
#include "automation/Object.h"
#include "core/Error.h"
#include "engine/Utf8Ansi.h"

namespace vmlib::engine {
namespace {

using jet::ColumnType;

template <class... Cases>
struct Overloaded : Cases...
{
    using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

jet::Value EmptyOf(ColumnType type)
{
    // A Boolean has no Null.
    if (type == ColumnType::Boolean) return false;
    return Null{};
}

/// An object stands for its default member.
Variant WithoutObject(const Variant& value)
{
    if (!value.IsObject()) return value;
    const auto& object = value.As<ObjectRef>();
    if (!object) throw Error(ErrorNumber::DataConversion);
    Variant inner = Get(object, u"");
    if (inner.IsObject()) throw Error(ErrorNumber::DataConversion);
    return inner;
}

std::string TextBytes(const Variant& value)
{
    if (value.IsText()) return ToAnsi(value.As<Text>());
    // As the engine writes it, whatever the user's language: -1 and 0.
    if (value.Holds<bool>()) return value.As<bool>() ? "-1" : "0";
    return ToAnsi(ToText(value));
}

std::string FittingText(std::string bytes, const jet::ColumnDefinition& column, Fit fit)
{
    if (column.type == ColumnType::Memo || bytes.size() <= column.size) return bytes;
    if (fit == Fit::Assign) throw Error(ErrorNumber::FieldTooSmall);
    bytes.resize(column.size);
    return bytes;
}

Bytes BinaryOf(const Variant& value)
{
    if (value.IsArray() && value.AsArray().HoldsBytes()) return value.AsArray().AsBytes();
    if (!value.IsText()) throw Error(ErrorNumber::DataConversion);
    const std::string bytes = ToAnsi(value.As<Text>());
    return Bytes(bytes.begin(), bytes.end());
}

Bytes FittingBytes(Bytes bytes, const jet::ColumnDefinition& column, Fit fit)
{
    if (column.type == ColumnType::LongBinary || bytes.size() <= column.size) return bytes;
    if (fit == Fit::Assign) throw Error(ErrorNumber::FieldTooSmall);
    bytes.resize(column.size);
    return bytes;
}

Guid GuidOf(const Variant& value)
{
    if (value.IsArray() && value.AsArray().HoldsBytes() && value.AsArray().AsBytes().size() == 16) {
        Guid guid;
        std::ranges::copy(value.AsArray().AsBytes(), guid.bytes.begin());
        return guid;
    }
    const auto guid = value.IsText() ? TextToGuid(value.As<Text>()) : std::nullopt;
    if (!guid) throw Error(ErrorNumber::DataConversion);
    return *guid;
}

jet::Value Converted(const Variant& value, const jet::ColumnDefinition& column, Fit fit)
{
    if (value.IsArray() && column.type != ColumnType::Binary && column.type != ColumnType::LongBinary &&
        column.type != ColumnType::Guid)
        throw Error(ErrorNumber::DataConversion);
    switch (column.type) {
        case ColumnType::Boolean:
            return ToBoolean(value);
        case ColumnType::Byte:
            return ToByte(value);
        case ColumnType::Integer:
            return ToInteger(value);
        case ColumnType::Long:
            return ToLong(value);
        case ColumnType::Currency:
            return ToCurrency(value);
        case ColumnType::Single:
            return ToSingle(value);
        case ColumnType::Double:
            return ToDouble(value);
        case ColumnType::Date:
            return ToDate(value);
        case ColumnType::Text:
        case ColumnType::Memo:
            return FittingText(TextBytes(value), column, fit);
        case ColumnType::Binary:
        case ColumnType::LongBinary:
            return FittingBytes(BinaryOf(value), column, fit);
        case ColumnType::Guid:
            return GuidOf(value);
    }
    throw Error(ErrorNumber::InvalidFieldType);
}

/// The low 8 bits of a number that is no Byte; no value for what is no number.
std::optional<jet::Value> LowByte(const Variant& value)
{
    try {
        return static_cast<std::uint8_t>(ToLong(value) & 0xFF);
    } catch (const Error&) {
        return std::nullopt;
    }
}

/// True when the value already is what the column stores, within its size.
bool Passes(const jet::Value& value, const jet::ColumnDefinition& column)
{
    switch (column.type) {
        case ColumnType::Boolean:
            return std::holds_alternative<bool>(value);
        case ColumnType::Byte:
            return std::holds_alternative<std::uint8_t>(value);
        case ColumnType::Integer:
            return std::holds_alternative<std::int16_t>(value);
        case ColumnType::Long:
            return std::holds_alternative<std::int32_t>(value);
        case ColumnType::Currency:
            return std::holds_alternative<Currency>(value);
        case ColumnType::Single:
            return std::holds_alternative<float>(value);
        case ColumnType::Double:
            return std::holds_alternative<double>(value);
        case ColumnType::Date:
            return std::holds_alternative<Date>(value);
        case ColumnType::Text: {
            const auto* text = std::get_if<std::string>(&value);
            return text && text->size() <= column.size;
        }
        case ColumnType::Memo:
            return std::holds_alternative<std::string>(value);
        case ColumnType::Binary: {
            const auto* bytes = std::get_if<Bytes>(&value);
            return bytes && bytes->size() <= column.size;
        }
        case ColumnType::LongBinary:
            return std::holds_alternative<Bytes>(value);
        case ColumnType::Guid:
            return std::holds_alternative<Guid>(value);
    }
    return false;
}

constexpr char16_t hexDigits[] = u"0123456789ABCDEF";

// The first three groups of a GUID stand little endian in memory; this is the order in which its digits are written.
constexpr std::array<std::size_t, 16> guidOrder = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

int HexDigit(char16_t character)
{
    if (character >= u'0' && character <= u'9') return character - u'0';
    const char16_t upper = UpperCase(character);
    return upper >= u'A' && upper <= u'F' ? upper - u'A' + 10 : -1;
}

}  // namespace

Variant ToVariant(const jet::Value& value)
{
    return std::visit(Overloaded{
                          [](const std::string& text) { return Variant(FromAnsi(text)); },
                          [](const Bytes& bytes) { return Variant(Array(bytes)); },
                          [](const Guid& guid) { return Variant(GuidToText(guid)); },
                          [](const auto& plain) { return Variant(plain); },
                      },
                      value);
}

jet::Value ToValue(const Variant& given)
{
    const Variant value = WithoutObject(given);
    return std::visit(Overloaded{
                          [](std::monostate) -> jet::Value { return Null{}; },
                          [](const Text& text) -> jet::Value {
                              if (FitsAnsi(text)) return ToAnsi(text);
                              return text;
                          },
                          [](const ObjectRef&) -> jet::Value { throw Error(ErrorNumber::DataConversion); },
                          [](ErrorCode) -> jet::Value { throw Error(ErrorNumber::DataConversion); },
                          [&](const DecimalNumber&) -> jet::Value { return ToDouble(value); },
                          [](const ArrayRef& array) -> jet::Value {
                              if (!array->HoldsBytes()) throw Error(ErrorNumber::DataConversion);
                              return array->AsBytes();
                          },
                          [](const auto& plain) -> jet::Value { return plain; },
                      },
                      value.Value());
}

jet::Value FitToColumn(const Variant& given, const jet::ColumnDefinition& column, Fit fit)
{
    const Variant value = WithoutObject(given);
    if (value.IsNull() || value.IsEmpty()) return EmptyOf(column.type);
    try {
        return Converted(value, column, fit);
    } catch (const Error& error) {
        if (error.Is(ErrorNumber::FieldTooSmall)) throw;
        if (fit != Fit::Lenient) throw Error(ErrorNumber::DataConversion);
        if (column.type == ColumnType::Byte)
            if (auto low = LowByte(value)) return *low;
        return EmptyOf(column.type);
    }
}

void FitToColumn(const jet::Value& value, const jet::ColumnDefinition& column, Fit fit, jet::Value& result)
{
    if (Passes(value, column))
        result = value;
    else if (jet::IsNull(value))
        result = EmptyOf(column.type);
    else
        result = FitToColumn(ToVariant(value), column, fit);
}

bool IsZeroLength(const jet::Value& value)
{
    const auto* text = std::get_if<std::string>(&value);
    return text && text->empty();
}

Text GuidToText(const Guid& guid)
{
    Text text = u"{guid {";
    for (std::size_t i = 0; i < guidOrder.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += u'-';
        const std::uint8_t byte = guid.bytes[guidOrder[i]];
        text += hexDigits[byte >> 4];
        text += hexDigits[byte & 15];
    }
    return text + u"}}";
}

std::optional<Guid> TextToGuid(TextView text)
{
    text = Trim(text);
    constexpr TextView mark = u"{guid ";
    if (StartsWithIgnoringCase(text, mark) && text.ends_with(u'}')) {
        text.remove_prefix(mark.size());
        text.remove_suffix(1);
        text = Trim(text);
    }
    if (text.size() != 38 || text.front() != u'{' || text.back() != u'}') return std::nullopt;
    Guid guid;
    std::size_t at = 1;
    for (std::size_t i = 0; i < guidOrder.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            if (text[at++] != u'-') return std::nullopt;
        const int high = HexDigit(text[at]), low = HexDigit(text[at + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        guid.bytes[guidOrder[i]] = static_cast<std::uint8_t>(high << 4 | low);
        at += 2;
    }
    return guid;
}

jet::ColumnType ToColumnType(sql::ValueType type)
{
    return type == sql::ValueType::Value ? jet::ColumnType::Text : static_cast<jet::ColumnType>(type);
}

jet::ColumnDefinition NewColumn(const Text& name, sql::ValueType type, bool autoNumber, std::uint16_t size)
{
    constexpr std::uint16_t greatestSize = 255;
    jet::ColumnDefinition column;
    column.name = name;
    column.type = ToColumnType(type);
    column.autoNumber = autoNumber;
    if (const auto fixed = jet::FixedSize(column.type))
        column.size = *fixed;
    else if (!jet::IsLongValue(column.type))
        column.size = size > 0 ? size : greatestSize;
    if (column.size > greatestSize) throw Error(ErrorNumber::SizeTooLong, {name});
    return column;
}

sql::ValueType ToValueType(jet::ColumnType type)
{
    return static_cast<sql::ValueType>(type);
}

}  // namespace vmlib::engine
