#pragma once

#include <functional>
#include <span>
#include <string_view>

#include "automation/Variant.h"
#include "sql/Schema.h"

struct sqlite3;
struct sqlite3_stmt;
struct sqlite3_value;
struct sqlite3_context;

/// How values of the dialect stand in SQLite. The type of every expression is known when it is translated, so most
/// values need no mark:
///
///     Null                      NULL
///     Boolean                   INTEGER -1 or 0
///     Byte, Integer, Long       INTEGER
///     Currency                  INTEGER, the count of 1/10,000
///     Single, Double, Date      REAL
///     Text, Memo                TEXT (UTF-8); compared under the collation "jet"
///     Binary, Long binary       BLOB
///     Guid                      BLOB of 16 bytes as a Windows GUID stands in memory
///     Value                     INTEGER, REAL, TEXT and NULL for Long, Double, Text and Null, else a BLOB: the code
///                               of the type, then Boolean 1, Currency 8, Single 4, Date 8, Guid 16 bytes little
///                               endian, Binary its bytes
///
/// Tables that translations read have their columns named as SchemaColumn::name, without a declared type, textual ones
/// with COLLATE jet: `CREATE TABLE t("Id", "Naam" COLLATE jet)`. A comparison of a column with a constant stands in the
/// SQLite text as column, operator, constant
/// (`t1."Naam" COLLATE jet = 'x'`), so that xBestIndex sees it; a Long column may be compared with a REAL.
namespace vmlib::sql {

/// A column of a result as a variant of its type (Binary: an Array of bytes; Guid: text "{guid {...}}"). Whole numbers
/// that a computation took beyond their type come as the next larger type, at last Double. @throws Error 6 for a
/// Currency that overflowed
Variant ReadColumn(sqlite3_stmt* statement, int column, ValueType type);
Variant ReadValue(sqlite3_value* value, ValueType type);

/// Binds a parameter (from 1) of a given type; the value is coerced first. One that the statement declares without
/// using it is left out. Value keeps the variant's own type. @throws Error 3421
void Bind(sqlite3_stmt* statement, int parameter, ValueType type, const Variant& value);

/// The result of a function or of a virtual table's column, in the form of the given type. @throws Error when the value
/// does not coerce
void StoreResult(sqlite3_context* context, ValueType type, const Variant& value);

/// Orders and equals text as the database's sort order does: <0, 0, >0, UTF-8 on both sides.
using TextOrder = std::function<int(std::string_view, std::string_view)>;

/// Registers the functions and operators that translations call, and the collation "jet".
/// @param now  for Now(), Date() and Time()
void RegisterFunctions(sqlite3* connection, TextOrder order, Clock now);

}  // namespace vmlib::sql
