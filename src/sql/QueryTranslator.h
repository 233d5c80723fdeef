#pragma once

#include "sql/Scope.h"

namespace vmlib::sql {

/// A translated SELECT: its columns are called c0, c1 ..., its row pointers r0, r1 ...
struct QueryResult
{
    std::string sql;
    std::vector<OutputColumn> columns;
    std::vector<std::optional<std::size_t>> columnTables;  // of each column the base table it is from
    std::vector<std::size_t>
        rowTables;  // base tables of the row pointers; empty when the rows have none or were not asked for
    bool updatable = false;
    bool oneRow = false;  // aggregates without GROUP BY: exactly one row
};

/// @param outer        scope of the query around it, whose columns it may name; null for a query on its own
/// @param rowPointers  add the row pointers when the result is updatable
QueryResult TranslateQuery(TranslationState& state, const SelectStatement& statement, const Scope* outer,
                           bool rowPointers);

/// One SELECT; several joined by UNION, with their ORDER BY.
QueryResult TranslatePlainSelect(TranslationState& state, const SelectStatement& statement, const Scope* outer,
                                 bool rowPointers);
QueryResult TranslateUnion(TranslationState& state, const SelectStatement& statement, const Scope* outer);
/// TRANSFORM ... PIVOT. Asks the schema for the values of the pivot where no IN list gives them.
/// @throws Error 3205 above 255 columns, 3062 when two columns would have one name, 3070 for a name that is neither
/// column nor declared parameter
QueryResult TranslateCrosstab(TranslationState& state, const SelectStatement& statement);

/// A FROM list: the scope it makes and its SQLite text.
struct SourceList
{
    Scope scope;
    std::string sql;
};
SourceList TranslateSources(TranslationState& state, const std::vector<Source>& sources, const Place& place,
                            const Scope* outer, bool rowPointers);

/// The outermost query with the common tables, parameters and tables of the whole statement.
Translation Finished(TranslationState state, QueryResult query);

std::string ColumnAlias(std::size_t position);      // c0 ...
std::string RowPointerAlias(std::size_t position);  // r0 ...

}  // namespace vmlib::sql
