#include "sql/Translate.h"

#include <algorithm>
#include <numeric>

#include "sql/ExpressionTranslator.h"

namespace vmlib::sql {
namespace {

/// A field of a table by its name, as the table spells it.
std::optional<Text> FieldNamed(const SchemaTable& table, TextView name)
{
    for (const SchemaColumn& column : table.columns) {
        if (EqualIgnoringCase(column.name, name)) return column.name;
    }
    return std::nullopt;
}

void RefuseDoubles(const std::vector<Text>& fields)
{
    for (std::size_t i = 0; i < fields.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (EqualIgnoringCase(fields[i], fields[j])) throw Error(ErrorNumber::DuplicateDestination, {fields[i]});
        }
    }
}

/// The fields that an INSERT names, or that its columns pair with by name.
std::vector<Text> TargetFields(const InsertStatement& statement, const SchemaTable& table, const Translation& select)
{
    std::vector<Text> names = statement.fields;
    if (names.empty()) {
        if (!statement.select) {
            for (const SchemaColumn& column : table.columns) names.push_back(column.name);
        } else {
            for (const OutputColumn& column : select.columns) names.push_back(column.name);
        }
    }
    if (names.size() != select.columns.size()) throw Error(ErrorNumber::ValueCountsDiffer);
    std::vector<Text> fields;
    for (const Text& name : names) {
        const auto field = FieldNamed(table, name);
        if (!field) throw Error(ErrorNumber::UnknownFieldInInsert, {name});
        fields.push_back(*field);
    }
    RefuseDoubles(fields);
    return fields;
}

}  // namespace

Translation TranslateSelect(const SelectStatement& statement, Schema& schema, const TranslateOptions& options)
{
    TranslationState state(&schema);
    state.text = statement.text;
    state.DeclareParameters(statement.parameters);
    QueryResult query = TranslateQuery(state, statement, nullptr, options.rowPointers);
    return Finished(std::move(state), std::move(query));
}

InsertTranslation TranslateInsert(const InsertStatement& statement, Schema& schema)
{
    const std::optional<SchemaTable> table = schema.Find(statement.table, statement.place);
    if (!table) throw Error(ErrorNumber::NoSuchTable, {statement.table});
    if (table->sqliteName.empty()) throw Error(ErrorNumber::NotUpdatable);  // rows go to tables only

    SelectStatement values;
    if (statement.select) values = *statement.select;
    for (const ExpressionRef& value : statement.values) values.columns.push_back({value, {}});
    values.parameters = statement.parameters;
    values.text = statement.text;

    InsertTranslation insert;
    insert.select = TranslateSelect(values, schema);
    insert.fields = TargetFields(statement, *table, insert.select);
    return insert;
}

namespace {

/// The columns at the given positions as a scope in which position p of the list is parameter p + 1. One source a
/// column, named like its table, so that qualified names are understood and the translator tells which columns it used.
Scope RowScope(const std::vector<OutputColumn>& row, const std::vector<std::size_t>& positions)
{
    Scope scope(nullptr, Scope::Equal::FirstWins);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        const OutputColumn& from = row[positions[i]];
        ScopeColumn column;
        column.name = from.name;
        column.value.sql = "?" + std::to_string(i + 1);
        column.value.type = from.type;
        ScopeSource source;
        source.name = from.sourceTable;
        source.columns.push_back(std::move(column));
        scope.Add(std::move(source));
    }
    return scope;
}

}  // namespace

RowTranslation TranslateRowExpression(const Expression& expression, const std::vector<OutputColumn>& row,
                                      bool condition)
{
    std::vector<std::size_t> positions(row.size());
    std::iota(positions.begin(), positions.end(), std::size_t{0});
    RowTranslation translation;
    const auto translate = [&] {
        const Scope scope = RowScope(row, positions);
        TranslationState state(nullptr);
        ExpressionTranslator translator(state, scope, {ErrorNumber::AggregateInExpression, false});
        const Typed value =
            condition ? AsValue(translator.TranslateCondition(expression)) : translator.TranslateValue(expression);
        translation.sql = "SELECT " + value.sql;
        translation.type = value.type;
        return translator.UsedSources();
    };
    // The first pass tells which columns occur, the second numbers them.
    positions = translate();
    translate();
    translation.columns = std::move(positions);
    return translation;
}

std::optional<PlainProjection> AsPlainProjection(const SelectStatement& statement, Schema& schema)
{
    const bool plain = statement.unions.empty() && !statement.transform && !statement.distinct && !statement.top &&
                       !statement.where && statement.groupBy.empty() && !statement.having &&
                       statement.orderBy.empty() && statement.parameters.empty() && statement.from.size() == 1 &&
                       statement.from[0].kind == Source::Kind::Table;
    if (!plain) return std::nullopt;
    const Source& source = statement.from[0];
    const auto isField = [](const SelectColumn& column) {
        return column.expression->kind == Expression::Kind::Name || column.expression->kind == Expression::Kind::Star;
    };
    if (!std::all_of(statement.columns.begin(), statement.columns.end(), isField)) return std::nullopt;
    const std::optional<SchemaTable> table = schema.Find(source.name, statement.place);
    if (!table || table->sqliteName.empty()) return std::nullopt;

    const Translation translation = TranslateSelect(statement, schema);
    if (!translation.parameters.empty()) return std::nullopt;
    PlainProjection projection;
    projection.table = table->name;
    projection.place = statement.place;
    projection.columns = translation.columns;
    for (const OutputColumn& column : translation.columns) {
        const auto field = std::find_if(table->columns.begin(), table->columns.end(), [&](const SchemaColumn& one) {
            return EqualIgnoringCase(one.sourceField.empty() ? one.name : one.sourceField, column.sourceField);
        });
        if (field == table->columns.end()) return std::nullopt;  // a constant such as Yes
        projection.fields.push_back(field->name);
    }
    return projection;
}

}  // namespace vmlib::sql
