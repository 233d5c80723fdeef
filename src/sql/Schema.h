#pragma once

#include <optional>
#include <string>
#include <vector>

#include "automation/Variant.h"
#include "core/Text.h"

/// What the dialect needs to know of the tables and queries that a statement names; the engine answers.
namespace vmlib::sql {

/// Types of expressions and columns: DAO's field types, and Value for what is only known row by row (a parameter
/// without type, IIf of mixed types). Their form inside SQLite is documented in SqliteValues.h.
enum class ValueType : std::uint8_t
{
    Value = 0,
    Boolean = 1,
    Byte = 2,
    Integer = 3,
    Long = 4,
    Currency = 5,
    Single = 6,
    Double = 7,
    Date = 8,
    Binary = 9,
    Text = 10,
    LongBinary = 11,
    Memo = 12,
    Guid = 15,
};

struct SchemaColumn
{
    Text name;  // as the table spells it
    ValueType type = ValueType::Value;
    std::uint16_t size = 0;
    bool autoNumber = false;
    Text sourceTable, sourceField;  // base table and field, "" for what is computed
};

/// Where a table or query of a FROM list lives: the running database, or the one named by IN.
struct Place
{
    Text path;     // "" is the running database
    Text connect;  // what stood in brackets behind IN, or ""
    bool operator==(const Place&) const = default;
};

struct SchemaTable
{
    Text name;               // as the file spells it
    std::string sqliteName;  // the virtual table of the private connection; empty for a stored query
    std::vector<SchemaColumn> columns;
    Text queryText;  // the SQL of a stored query, which is translated in its place
};

struct Translation;

class Schema
{
public:
    virtual ~Schema() = default;
    /// No value when there is neither table nor query of that name (the caller raises 3078).
    virtual std::optional<SchemaTable> Find(TextView name, const Place& place) = 0;
    /// Runs a query while another is translated, and gives the values of its first column: a crosstab has a column for
    /// each. @throws Error 3061 when a parameter has no value, and what running raises
    virtual std::vector<Variant> FirstColumn(const Translation& query) = 0;
};

}  // namespace vmlib::sql
