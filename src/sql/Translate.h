#pragma once

#include "sql/Schema.h"
#include "sql/Syntax.h"

/// From statements of the Jet dialect to SQLite's: names resolved, expressions typed, functions and operators replaced by those of Functions.h.
namespace vmlib::sql {

struct OutputColumn
{
    Text name;  // alias, field name, "Table.Field" where two are equal, Expr1000 ...
    ValueType type = ValueType::Value;
    std::uint16_t size = 0;
    bool autoNumber = false;
    Text sourceTable, sourceField;  // "" for computed ones
};

struct ParameterUse
{
    Text name;  // as written; SQLite's parameter ?N is its position here, from 1
    ValueType type = ValueType::Value;
    bool declared = false;  // by PARAMETERS
};

/// A SELECT (UNION, stored query in FROM, ... too) ready for sqlite3_prepare.
struct Translation
{
    std::string sql;  // UTF-8
    std::vector<OutputColumn> columns;
    std::vector<ParameterUse> parameters;
    bool updatable = false;  // one table or inner joins without DISTINCT, GROUP BY, UNION, TOP ties do not matter
    /// Hidden columns behind the visible ones: the row pointer of each base table, in the order of `rowTables`; only when asked for.
    std::vector<std::size_t> rowTables;  // positions in `tables`
    struct Table
    {
        Text name, alias;
        Place place;
        std::string sqliteName;
    };
    std::vector<Table> tables;
};

struct TranslateOptions
{
    bool rowPointers = false;  // add the hidden columns when the result is updatable
};

/// @throws Error 3078, 3079, 3061 is the caller's business (he fills parameters), 3085, 3062, 3093, 3114, 3117, 3122, 3075 ...
Translation TranslateSelect(const SelectStatement& statement, Schema& schema, const TranslateOptions& options = {});

/// `SELECT new values, row pointers` of an UPDATE; a DELETE gives no values. What is set stands in `targets`.
struct ChangeTranslation
{
    Translation select;  // one column a target, then the row pointers
    struct Target
    {
        std::size_t table = 0;  // position in select.tables
        Text field;
    };
    std::vector<Target> targets;
};
ChangeTranslation TranslateUpdate(const UpdateStatement& statement, Schema& schema);
ChangeTranslation TranslateDelete(const DeleteStatement& statement, Schema& schema);

/// A SELECT of columns of one table, with at most a WHERE left out: what a direct scan can answer without SQLite. No value when it is more.
struct PlainProjection
{
    Text table;
    Place place;
    std::vector<Text> fields;    // as the table spells them
    std::vector<OutputColumn> columns;
};
std::optional<PlainProjection> AsPlainProjection(const SelectStatement& statement, Schema& schema);

}  // namespace vmlib::sql
