// The rows that UPDATE and DELETE change.

#include <algorithm>

#include "sql/ExpressionTranslator.h"

namespace vmlib::sql {
namespace {

std::string WhereText(TranslationState& state, const Scope& scope, const ExpressionRef& where)
{
    if (!where) return {};
    ExpressionTranslator translator(state, scope, {ErrorNumber::AggregateInWhere, false});
    return " WHERE " + translator.TranslateCondition(*where).sql;
}

/// The source whose rows a DELETE takes away: the one that is named, else the only one, else the one that all columns
/// are from.
std::size_t SourceToDelete(const DeleteStatement& statement, const Scope& scope)
{
    if (statement.table) {
        const auto source = scope.SourceNamed(*statement.table);
        if (!source) throw Error(ErrorNumber::NoSuchTable, {*statement.table});
        return *source;
    }
    if (scope.Sources().size() == 1) return 0;
    std::optional<std::size_t> only;
    for (const SelectColumn& column : statement.columns) {
        const Expression& expression = *column.expression;
        const auto found = expression.kind == Expression::Kind::Name ? scope.Find(expression.qualifier, expression.name)
                                                                     : std::nullopt;
        if (!found || (only && *only != found->source)) throw Error(ErrorNumber::NoTableToDeleteFrom);
        only = found->source;
    }
    if (!only) throw Error(ErrorNumber::NoTableToDeleteFrom);
    return *only;
}

}  // namespace

ChangeTranslation TranslateUpdate(const UpdateStatement& statement, Schema& schema)
{
    TranslationState state(&schema);
    state.text = statement.text;
    state.DeclareParameters(statement.parameters);
    const SourceList sources = TranslateSources(state, statement.sources, statement.place, nullptr, true);
    for (const ScopeSource& source : sources.scope.Sources()) {
        if (source.rows.empty()) throw Error(ErrorNumber::NotUpdatable);
    }

    ChangeTranslation change;
    QueryResult query;
    query.updatable = true;
    query.sql = "SELECT ";
    ExpressionTranslator translator(state, sources.scope, {ErrorNumber::AggregateInExpression, false});
    for (const UpdateStatement::Assignment& assignment : statement.assignments) {
        const auto found = sources.scope.Find(assignment.qualifier, assignment.field);
        if (!found) {
            state.Parameter(assignment.qualifier, assignment.field);
            continue;
        }
        const Typed& field = found->column->value;
        if (!field.table) throw Error(ErrorNumber::NotUpdatable);
        for (const ChangeTranslation::Target& other : change.targets) {
            const bool twice = other.table == *field.table && EqualIgnoringCase(other.field, field.sourceField);
            if (twice) throw Error(ErrorNumber::DuplicateDestination, {field.sourceField});
        }
        const Typed value = translator.TranslateValue(*assignment.value);
        OutputColumn column;
        column.name = field.sourceField;
        column.type = value.type;
        if (value.type == ValueType::Text) column.size = value.size;
        query.sql += value.sql + " AS " + ColumnAlias(query.columns.size()) + ",";
        query.columns.push_back(std::move(column));
        change.targets.push_back({*field.table, field.sourceField});
    }
    for (const ScopeSource& source : sources.scope.Sources()) {
        for (const RowPointerColumn& row : source.rows) {
            query.sql += row.sql + " AS " + RowPointerAlias(query.rowTables.size()) + ",";
            query.rowTables.push_back(row.table);
        }
    }
    query.sql.pop_back();
    query.sql += " FROM " + sources.sql + WhereText(state, sources.scope, statement.where);
    change.select = Finished(std::move(state), std::move(query));
    return change;
}

ChangeTranslation TranslateDelete(const DeleteStatement& statement, Schema& schema)
{
    TranslationState state(&schema);
    state.text = statement.text;
    state.DeclareParameters(statement.parameters);
    const SourceList sources = TranslateSources(state, statement.from, statement.place, nullptr, true);
    const ScopeSource& target = sources.scope.Sources()[SourceToDelete(statement, sources.scope)];
    if (target.rows.size() != 1) throw Error(ErrorNumber::NotUpdatable);

    QueryResult query;
    query.updatable = true;
    query.rowTables.push_back(target.rows[0].table);
    const bool joined = sources.scope.Sources().size() > 1;
    const std::string where = WhereText(state, sources.scope, statement.where);
    query.sql = (joined ? "SELECT DISTINCT " : "SELECT ") + target.rows[0].sql + " AS " + RowPointerAlias(0) +
                " FROM " + sources.sql + where;
    ChangeTranslation change;
    change.select = Finished(std::move(state), std::move(query));
    return change;
}

}  // namespace vmlib::sql
