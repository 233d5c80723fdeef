#pragma once

#include <optional>
#include <string>

#include "automation/Variant.h"
#include "sql/Schema.h"

namespace vmlib::sql {

/// How tightly a piece of SQLite text holds together, for the parentheses around it. They are set only where needed:
/// SQLite's parser gives up at about ninety nested ones.
enum class Level : std::uint8_t
{
    Atom,
    Multiplicative,
    Additive,
    Comparison,
    Not,
    And,
    Or,
};

/// A translated expression: its SQLite text and what is known of its value.
struct Typed
{
    std::string sql;
    ValueType type = ValueType::Value;
    Level level = Level::Atom;
    bool condition = false;           // SQLite's own truth value (1, 0, NULL); else in the form of its type
    bool null = false;                // the literal Null
    bool unchecked = false;           // SQLite's arithmetic with reals, which may have left their range
    bool cases = false;               // exactly one CASE WHEN ... END, which another may be lengthened with
    std::optional<Variant> constant;  // a literal's value
    std::uint16_t size = 255;         // Text: characters

    // Of a query with grouping: a column outside aggregates and group keys, which the result cannot show; and whether
    // aggregates occur.
    std::optional<Text> loose;
    bool aggregate = false;

    // A plain column: where it is from.
    bool column = false;
    bool autoNumber = false;
    Text sourceTable, sourceField;
    std::optional<std::size_t> table;  // position among the statement's base tables
};

/// Types that are alike to comparisons and joins of text.
inline bool IsTextual(ValueType type)
{
    return type == ValueType::Text || type == ValueType::Memo;
}
inline bool IsBinary(ValueType type)
{
    return type == ValueType::Binary || type == ValueType::LongBinary;
}
/// Stored as INTEGER without scale.
inline bool IsWhole(ValueType type)
{
    return type == ValueType::Boolean || type == ValueType::Byte || type == ValueType::Integer ||
           type == ValueType::Long;
}
/// Stored as REAL.
inline bool IsReal(ValueType type)
{
    return type == ValueType::Single || type == ValueType::Double || type == ValueType::Date;
}
inline bool IsNumber(ValueType type)
{
    return IsWhole(type) || IsReal(type) || type == ValueType::Currency;
}
/// Memo and long binary: not for sorting, grouping, DISTINCT and joins.
inline bool IsLong(ValueType type)
{
    return type == ValueType::Memo || type == ValueType::LongBinary;
}

/// The letter of a type in the signatures that translated function calls end with.
char LetterOf(ValueType type);
ValueType TypeOfLetter(char letter);

/// The type that can hold values of both without changing one; Value when there is none.
ValueType CommonType(const Typed& left, const Typed& right);

/// Text of SQLite
std::string Quoted(TextView name);       // "name"
std::string TextLiteral(TextView text);  // 'text'
std::string RealLiteral(double number);  // reads back as the same double, never as an integer
std::string Literal(const Variant& value, ValueType type);
std::string Enclosed(const Typed& value, Level loosest);  // in parentheses when it holds less tightly

/// A value (never a condition) in the form of another type; what does not convert is error 13 when it runs.
Typed Cast(const Typed& value, ValueType type);
/// The same inside a comparison: a value that does not convert is error 3464.
Typed CastCriterion(const Typed& value, ValueType type);
/// The text of Cast, for a place between commas.
std::string As(const Typed& value, ValueType type);
/// Arithmetic that left the range of its type is error 6 when it runs; anything else unchanged.
Typed Checked(Typed value);
/// A condition as the Boolean -1, 0 or Null; anything else unchanged.
Typed AsValue(Typed expression);
/// Text and a collation, so that SQLite compares, sorts and groups as the file does; other types unchanged.
std::string Collated(const Typed& value);
/// The same for ORDER BY and GROUP BY, where SQLite would take a number for the position of a column.
std::string SortKey(const Typed& value);

}  // namespace vmlib::sql
