#pragma once

#include <functional>

#include "automation/Variant.h"
#include "sql/Schema.h"

struct sqlite3;
struct sqlite3_stmt;
struct sqlite3_value;
struct sqlite3_context;

/// How values of the dialect stand in SQLite. The type of every expression is known when it is translated, so most values need no mark:
///
///     Null                      NULL
///     Boolean                   INTEGER -1 or 0
///     Byte, Integer, Long       INTEGER
///     Currency                  INTEGER, the count of 1/10,000
///     Single, Double, Date      REAL
///     Text, Memo                TEXT (UTF-8); compared under the collation "jet"
///     Binary, Long binary, Guid BLOB
///     Value                     as Tagged() makes it: INTEGER, REAL, TEXT and NULL for Long, Double, Text and Null, else a BLOB with a type byte
namespace vmlib::sql {

/// A column of a result as a variant of its type (Binary: an Array of bytes; Guid: text "{guid {...}}").
Variant ReadColumn(sqlite3_stmt* statement, int column, ValueType type);
/// Binds a parameter (from 1) of a given type; the value is coerced first. @throws Error 3421
void Bind(sqlite3_stmt* statement, int parameter, ValueType type, const Variant& value);

/// Orders and equals text as the database's sort order does: <0, 0, >0, UTF-8 on both sides.
using TextOrder = std::function<int(std::string_view, std::string_view)>;

/// Registers the functions and operators that translations call, and the collation "jet".
void RegisterFunctions(sqlite3* connection, TextOrder order);

}  // namespace vmlib::sql
