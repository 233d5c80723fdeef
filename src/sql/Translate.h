#pragma once

#include <string>
#include <vector>

#include "sql/Schema.h"
#include "sql/Syntax.h"

/// From statements of the Jet dialect to SQLite's: names resolved, expressions typed, functions and operators replaced
/// by those that RegisterFunctions (SqliteValues.h) has registered.
namespace vmlib::sql {

struct OutputColumn
{
    Text name;  // alias, field name, "Table.Field" where two are equal, Expr1000 ...
    ValueType type = ValueType::Value;
    std::uint16_t size = 0;  // Text: characters, 255 when computed
    bool autoNumber = false;
    Text sourceTable, sourceField;  // "" for computed ones
};

struct ParameterUse
{
    Text name;  // without brackets; SQLite's parameter ?N is its position here, from 1; each name once
    ValueType type = ValueType::Value;  // as declared; Value otherwise (Bind then keeps the value's own type)
    bool declared = false;              // by PARAMETERS
};

/// A SELECT (UNION, stored query in FROM, ... too) ready for sqlite3_prepare.
struct Translation
{
    std::string sql;  // UTF-8
    std::vector<OutputColumn> columns;
    /// Declared ones first, then every name that is neither column nor constant. Those without a value are error 3061
    /// (the caller's).
    std::vector<ParameterUse> parameters;
    /// Tables or joins of tables, directly or through stored queries, without DISTINCT, GROUP BY, aggregates, UNION and
    /// crosstab.
    bool updatable = false;
    /// Hidden columns behind the visible ones: the row pointer of each base table, in the order of `rowTables`; only
    /// when asked for. Null for a row that an outer join filled up.
    std::vector<std::size_t> rowTables;  // positions in `tables`
    struct Table
    {
        Text name, alias;  // alias as the statement calls it; the name when it has none
        Place place;
        std::string sqliteName;
    };
    std::vector<Table> tables;
};

struct TranslateOptions
{
    bool rowPointers = false;  // add the hidden columns when the result is updatable
};

/// @throws Error 3078, 3079, 3085, 3062, 3093, 3094, 3114, 3117, 3118, 3119, 3122, 3464, 3102 (a stored query that
/// contains itself), 3075 ...
Translation TranslateSelect(const SelectStatement& statement, Schema& schema, const TranslateOptions& options = {});

/// `SELECT new values, row pointers` of an UPDATE; a DELETE gives one row pointer, that of the table that loses rows,
/// each once. What is set stands in `targets`.
struct ChangeTranslation
{
    Translation select;  // one column a target, then the row pointers
    struct Target
    {
        std::size_t table = 0;  // position in select.tables
        Text field;             // as the table spells it
    };
    std::vector<Target> targets;
};
/// An unknown target field counts among the parameters (3061). @throws Error 3063 for a field set twice, 3073 when rows
/// cannot be told apart
ChangeTranslation TranslateUpdate(const UpdateStatement& statement, Schema& schema);
/// @throws Error 3128 when several tables are joined and none is named, 3073
ChangeTranslation TranslateDelete(const DeleteStatement& statement, Schema& schema);

/// The rows that an INSERT adds, and the fields that they go to.
struct InsertTranslation
{
    Translation select;        // one row of VALUES, or the SELECT
    std::vector<Text> fields;  // as the table spells them; one a column of `select`, in its order
};
/// @throws Error 3078, 3127 for an unknown field, 3346 when counts differ, 3063 for a field named twice
InsertTranslation TranslateInsert(const InsertStatement& statement, Schema& schema);

/// An expression over the values of one row, as FindFirst, validation rules and default values need it:
/// `SELECT expression`, whose parameter ?N is the value of column `columns[N - 1]` of the row, bound with that column's
/// type.
struct RowTranslation
{
    std::string sql;
    ValueType type = ValueType::Value;
    std::vector<std::size_t> columns;  // positions in `row`
};
/// @param row        columns that the expression may name, bare or with their source table; of equal names the first is
/// meant
/// @param condition  the result is -1, 0 or Null, whatever the expression's type (criteria, rules)
/// @throws Error 3070 for an unknown name, 3085, 3464, 3075
RowTranslation TranslateRowExpression(const Expression& expression, const std::vector<OutputColumn>& row,
                                      bool condition);

/// A SELECT of columns of one table without any further clause: what a direct scan can answer without SQLite. No value
/// when it is more.
struct PlainProjection
{
    Text table;
    Place place;
    std::vector<Text> fields;  // as the table spells them
    std::vector<OutputColumn> columns;
};
std::optional<PlainProjection> AsPlainProjection(const SelectStatement& statement, Schema& schema);

}  // namespace vmlib::sql
