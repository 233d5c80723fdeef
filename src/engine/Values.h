#pragma once

#include "automation/Variant.h"
#include "jet/Definition.h"
#include "jet/Value.h"
#include "sql/Schema.h"

struct sqlite3_context;
struct sqlite3_stmt;
struct sqlite3_value;

/// The one place where a value passes between the storage, late binding and the query processor.
namespace vmlib::engine {

/// A stored value as an object's user sees it: binary as an Array of bytes, a GUID as text "{guid {...}}".
Variant ToVariant(const jet::Value& value);

/// A value without a field to fit: text, number, date ... in its nearest stored form. @throws Error 3421 for objects
/// and arrays of other than bytes
jet::Value ToValue(const Variant& value);

/// How hard a value is pressed into a field.
enum class Fit
{
    Assign,   // Field.Value = v: 3421 for what cannot be converted or is out of range, 3163 for text that is too long
    Strict,   // a statement that stops at errors: 3421; text that is too long is cut
    Lenient,  // a statement that does not: Null instead of 3421, low 8 bits of what is no Byte
};

/// The value in the column's type. Null stays Null, only a Boolean has none (False). Text is bytes of the code page,
/// cut or refused at the size.
jet::Value FitToColumn(const Variant& value, const jet::ColumnDefinition& column, Fit fit);
/// The same from a stored value; one that has the column's type already passes without a detour.
void FitToColumn(const jet::Value& value, const jet::ColumnDefinition& column, Fit fit, jet::Value& result);

/// True for the text "" (not for Null).
bool IsZeroLength(const jet::Value& value);

/// "{guid {...}}" and back; both the quoted-less literal and plain "{...}" are read.
Text GuidToText(const Guid& guid);
std::optional<Guid> TextToGuid(TextView text);

/// DAO's field type of an expression type; what is only known row by row reads as text.
jet::ColumnType ToColumnType(sql::ValueType type);
sql::ValueType ToValueType(jet::ColumnType type);
/// The column that a statement makes. @param size  of text and binary; 0: the greatest, 255
jet::ColumnDefinition NewColumn(const Text& name, sql::ValueType type, bool autoNumber, std::uint16_t size);

/// Between the storage and SQLite, in the forms that sql/SqliteValues.h lists.
void SetResult(sqlite3_context* context, const jet::Value& value);
jet::Value ReadResult(sqlite3_stmt* statement, int column, sql::ValueType type);
/// What SQLite compares a column with, in the column's own type; no value when the type has no equal of it.
std::optional<jet::Value> FromConstraint(sqlite3_value* value, jet::ColumnType type);

}  // namespace vmlib::engine
