#include "sql/Typed.h"

#include <array>
#include <charconv>
#include <cmath>

#include "core/Error.h"
#include "sql/GuidText.h"

namespace vmlib::sql {
namespace {

struct TypeLetter
{
    ValueType type;
    char letter;
};

constexpr TypeLetter letters[] = {
    {ValueType::Value, 'V'}, {ValueType::Boolean, 'B'},  {ValueType::Byte, 'Y'},   {ValueType::Integer, 'I'},
    {ValueType::Long, 'L'},  {ValueType::Currency, 'C'}, {ValueType::Single, 'S'}, {ValueType::Double, 'D'},
    {ValueType::Date, 'T'},  {ValueType::Binary, 'N'},   {ValueType::Text, 'X'},   {ValueType::LongBinary, 'O'},
    {ValueType::Memo, 'M'},  {ValueType::Guid, 'G'},
};

Typed WithText(const Typed& value, ValueType type, std::string sql, Level level)
{
    Typed result = value;
    result.sql = std::move(sql);
    result.type = type;
    result.level = level;
    result.constant.reset();
    return result;
}

Typed Converted(const char* function, const Typed& value, ValueType type)
{
    std::string call = std::string(function) + "(" + value.sql + ",'" + LetterOf(type) + LetterOf(value.type) + "')";
    return WithText(value, type, std::move(call), Level::Atom);
}

Typed WholeAsReal(const Typed& value, ValueType type)
{
    if (value.constant && value.constant->Holds<std::int32_t>()) {
        return WithText(value, type, RealLiteral(value.constant->As<std::int32_t>()), value.level);
    }
    return WithText(value, type, "CAST(" + value.sql + " AS REAL)", Level::Atom);
}

/// Conversions that need no function, because SQLite's own forms do.
std::optional<Typed> DirectlyCast(const Typed& value, ValueType type)
{
    const ValueType from = value.type;
    const auto same = [&] { return WithText(value, type, value.sql, value.level); };
    if (value.null) return WithText(value, type, "NULL", Level::Atom);
    if (from == type) return value;
    if ((IsTextual(from) && IsTextual(type)) || (IsBinary(from) && IsBinary(type))) return same();
    if (IsWhole(from)) {
        if (type == ValueType::Long) return same();
        if (type == ValueType::Value && from != ValueType::Boolean) return same();
        if (type == ValueType::Double || type == ValueType::Single) return WholeAsReal(value, type);
        if (type == ValueType::Currency) {
            return WithText(value, type, Enclosed(value, Level::Multiplicative) + " * 10000", Level::Multiplicative);
        }
    }
    if ((from == ValueType::Single || from == ValueType::Date) && type == ValueType::Double) return same();
    if (from == ValueType::Currency && type == ValueType::Double) {
        return WithText(value, type, Enclosed(value, Level::Multiplicative) + " / 10000.0", Level::Multiplicative);
    }
    if (type == ValueType::Value && (from == ValueType::Double || IsTextual(from))) return same();
    return std::nullopt;
}

}  // namespace

char LetterOf(ValueType type)
{
    for (const TypeLetter& row : letters) {
        if (row.type == type) return row.letter;
    }
    return 'V';
}

ValueType TypeOfLetter(char letter)
{
    for (const TypeLetter& row : letters) {
        if (row.letter == letter) return row.type;
    }
    return ValueType::Value;
}

ValueType CommonType(const Typed& left, const Typed& right)
{
    const ValueType a = left.type, b = right.type;
    if (left.null || a == b) return b;
    if (right.null) return a;
    if (IsTextual(a) && IsTextual(b)) return ValueType::Memo;
    if (IsBinary(a) && IsBinary(b)) return ValueType::LongBinary;
    const auto counts = [](ValueType type) { return IsWhole(type) && type != ValueType::Boolean; };
    if (counts(a) && counts(b)) return std::max(a, b);
    // Whole numbers keep their value in wider types; a currency or single beside a double would not print the same.
    const auto widens = [&](ValueType narrow, ValueType wide) {
        return counts(narrow) && (wide == ValueType::Currency || wide == ValueType::Double);
    };
    if (widens(a, b)) return b;
    if (widens(b, a)) return a;
    return ValueType::Value;
}

std::string Quoted(TextView name)
{
    std::string quoted = "\"";
    for (const char character : ToUtf8(name)) {
        if (character == '"') quoted += '"';
        quoted += character;
    }
    return quoted + '"';
}

std::string TextLiteral(TextView text)
{
    const std::string utf8 = ToUtf8(text);
    if (utf8.find('\0') != std::string::npos) {
        // A zero character would end the statement.
        constexpr char digits[] = "0123456789ABCDEF";
        std::string hex = "CAST(X'";
        for (const char character : utf8) {
            const auto byte = static_cast<unsigned char>(character);
            hex += digits[byte >> 4];
            hex += digits[byte & 15];
        }
        return hex + "' AS TEXT)";
    }
    std::string quoted = "'";
    for (const char character : utf8) {
        if (character == '\'') quoted += '\'';
        quoted += character;
    }
    return quoted + '\'';
}

std::string RealLiteral(double number)
{
    std::array<char, 40> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
    std::string text(buffer.data(), end);
    if (text.find_first_of(".en") == std::string::npos) text += ".0";
    return text;
}

std::string Literal(const Variant& value, ValueType type)
{
    switch (type) {
        case ValueType::Boolean:
            return value.As<bool>() ? "-1" : "0";
        case ValueType::Long:
            return std::to_string(value.As<std::int32_t>());
        case ValueType::Double:
            return RealLiteral(value.As<double>());
        case ValueType::Date:
            return RealLiteral(value.As<Date>().serial);
        case ValueType::Currency:
            return std::to_string(value.As<Currency>().units);
        case ValueType::Text:
            return TextLiteral(value.As<Text>());
        case ValueType::Guid:
            return GuidLiteral(*GuidFromText(value.As<Text>()));
        default:
            return "NULL";
    }
}

std::string Enclosed(const Typed& value, Level loosest)
{
    return value.level <= loosest ? value.sql : "(" + value.sql + ")";
}

Typed Cast(const Typed& value, ValueType type)
{
    if (auto direct = DirectlyCast(value, type)) return *std::move(direct);
    return Converted("jet_as", value, type);
}

Typed CastCriterion(const Typed& value, ValueType type)
{
    if (auto direct = DirectlyCast(value, type)) return *std::move(direct);
    return Converted("jet_criterion", value, type);
}

std::string As(const Typed& value, ValueType type)
{
    return Cast(value, type).sql;
}

Typed Checked(Typed value)
{
    if (!value.unchecked) return value;
    value.unchecked = false;
    value.sql = "jet_checked(" + value.sql + ",'" + LetterOf(value.type) + "')";
    value.level = Level::Atom;
    return value;
}

Typed AsValue(Typed expression)
{
    if (!expression.condition) return expression;
    expression.sql = "-(" + expression.sql + ")";
    expression.level = Level::Multiplicative;
    expression.condition = false;
    expression.type = ValueType::Boolean;
    return expression;
}

std::string Collated(const Typed& value)
{
    if (IsTextual(value.type)) return Enclosed(value, Level::Atom) + " COLLATE jet";
    if (value.type == ValueType::Value && !value.null) return "jet_plain(" + value.sql + ") COLLATE jet";
    return value.sql;
}

std::string SortKey(const Typed& value)
{
    if (value.sql.find_first_not_of("0123456789-()") == std::string::npos) return "CAST(" + value.sql + " AS INTEGER)";
    return Collated(value);
}

}  // namespace vmlib::sql
