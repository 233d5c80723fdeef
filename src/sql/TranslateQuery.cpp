#include "sql/ExpressionTranslator.h"

namespace vmlib::sql {

Translation Finished(TranslationState state, QueryResult query)
{
    Translation translation;
    translation.sql = state.Complete(std::move(query.sql));
    translation.columns = std::move(query.columns);
    translation.parameters = std::move(state.parameters);
    translation.updatable = query.updatable;
    translation.rowTables = std::move(query.rowTables);
    translation.tables = std::move(state.tables);
    return translation;
}

std::string ColumnAlias(std::size_t position)
{
    return "c" + std::to_string(position);
}

std::string RowPointerAlias(std::size_t position)
{
    return "r" + std::to_string(position);
}

QueryResult TranslateQuery(TranslationState& state, const SelectStatement& statement, const Scope* outer,
                           bool rowPointers)
{
    if (!statement.unions.empty()) return TranslateUnion(state, statement, outer);
    if (statement.transform) return TranslateCrosstab(state, statement);
    return TranslatePlainSelect(state, statement, outer, rowPointers);
}

}  // namespace vmlib::sql
