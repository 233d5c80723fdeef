// FROM lists.
//
// A join nested on the right of another becomes a subquery in SQLite, which reads slowly and hides row pointers. So
// joins are written with the compound side first wherever the kind of join allows: A RIGHT JOIN B is B LEFT JOIN A, and
// (A JOIN B) keeps its place on the left.

#include <algorithm>
#include <utility>

#include "sql/ExpressionTranslator.h"
#include "sql/Parser.h"

namespace vmlib::sql {
namespace {

/// The name under which a row pointer of a nested table is read: no field can have a "!" in its name.
constexpr const char* nestedRowPointer = "\"row!\"";

/// A source or join as SQLite text.
struct Written
{
    std::string sql;
    bool compound = false;  // a join
    bool ordered = false;   // holds a RIGHT JOIN, so it must stand first or in parentheses
};

/// SQLite's name of the row pointer that no column of the table hides.
const char* RowPointerName(const SchemaTable& table)
{
    for (const char* name : {"rowid", "_rowid_", "oid"}) {
        const Text wide = FromUtf8(name);
        const bool hidden = std::any_of(table.columns.begin(), table.columns.end(), [&](const SchemaColumn& column) {
            return EqualIgnoringCase(column.name, wide);
        });
        if (!hidden) return name;
    }
    throw Error(ErrorNumber::Internal);
}

class SourceTranslator
{
public:
    SourceTranslator(TranslationState& state, const Place& place, const Scope* outer, bool rowPointers)
        : state_(state), place_(place), outer_(outer), rowPointers_(rowPointers)
    {
    }

    SourceList All(const std::vector<Source>& sources)
    {
        SourceList list{Scope(outer_), {}};
        std::vector<Written> written;
        written.reserve(sources.size());
        for (const Source& source : sources) written.push_back(Write(source, list.scope, false));
        // A comma list has no order; a join that must stand first does so, a second one goes into parentheses.
        std::stable_partition(written.begin(), written.end(), [](const Written& one) { return one.ordered; });
        for (std::size_t i = 0; i < written.size(); ++i) {
            if (i > 0) list.sql += ", ";
            list.sql += i > 0 && written[i].ordered ? "(" + written[i].sql + ")" : written[i].sql;
        }
        return list;
    }

private:
    /// Adds the sources to the scope in the order of the statement, which "*" follows, and gives their text.
    Written Write(const Source& source, Scope& scope, bool nested)
    {
        switch (source.kind) {
            case Source::Kind::Table:
                return Table(source, scope, nested);
            case Source::Kind::Select:
                return Subquery(source, scope);
            case Source::Kind::Join:
                break;
        }
        return Join(source, scope, nested);
    }

    Written Join(const Source& source, Scope& scope, bool nested)
    {
        const bool leftCompound = source.left->kind == Source::Kind::Join;
        const bool rightCompound = source.right->kind == Source::Kind::Join;
        const bool bothCompound = leftCompound && rightCompound;
        const bool rightFirst =
            source.join == Source::Join::Right ? !leftCompound || rightCompound : rightCompound && !leftCompound;
        const Written left = Write(*source.left, scope, nested || (bothCompound && rightFirst));
        const Written right = Write(*source.right, scope, nested || (bothCompound && !rightFirst));

        ExpressionTranslator translator(state_, scope, {ErrorNumber::AggregateInJoin, true});
        const Typed on = translator.TranslateCondition(*source.on);

        const Written& first = rightFirst ? right : left;
        const Written& second = rightFirst ? left : right;
        Written result;
        result.compound = true;
        const char* word = " JOIN ";
        if (source.join != Source::Join::Inner) {
            const bool keepsFirst = (source.join == Source::Join::Left) != rightFirst;
            word = keepsFirst ? " LEFT JOIN " : " RIGHT JOIN ";
            result.ordered = !keepsFirst;
        }
        result.ordered = result.ordered || first.ordered;
        result.sql = first.sql + word + (second.compound ? "(" + second.sql + ")" : second.sql) + " ON " + on.sql;
        return result;
    }

    Written Table(const Source& source, Scope& scope, bool nested)
    {
        const std::optional<SchemaTable> table = state_.schema->Find(source.name, place_);
        if (!table) throw Error(ErrorNumber::NoSuchTable, {source.name});
        const Text& name = source.alias.empty() ? source.name : source.alias;
        if (table->sqliteName.empty()) return StoredQuery(*table, name, scope);

        const std::size_t position = state_.tables.size();
        state_.tables.push_back({table->name, name, place_, table->sqliteName});
        const std::string alias = state_.NewAlias('s');
        ScopeSource added;
        added.name = name;
        for (const SchemaColumn& column : table->columns)
            added.columns.push_back(ColumnOf(column, table->name, alias, position));
        const std::string quotedName = Quoted(FromUtf8(table->sqliteName));
        Written written{quotedName, false, false};
        const char* rowPointer = RowPointerName(*table);
        if (nested && rowPointers_) {
            written.sql = state_.Derived(
                std::string("SELECT ") + rowPointer + " AS " + nestedRowPointer + ", * FROM " + quotedName, false);
            rowPointer = nestedRowPointer;
        }
        written.sql += " AS " + alias;
        added.rows.push_back({position, alias + "." + rowPointer});
        scope.Add(std::move(added));
        return written;
    }

    static ScopeColumn ColumnOf(const SchemaColumn& column, const Text& table, const std::string& alias,
                                std::size_t position)
    {
        ScopeColumn result;
        result.name = column.name;
        result.value.sql = alias + "." + Quoted(column.name);
        result.value.type = column.type;
        result.value.size = column.size;
        result.value.autoNumber = column.autoNumber;
        result.value.sourceTable = column.sourceTable.empty() ? table : column.sourceTable;
        result.value.sourceField = column.sourceField.empty() ? column.name : column.sourceField;
        result.value.table = position;
        return result;
    }

    /// A stored query is translated in its place: its own statement, its own tables, but the parameters of the whole.
    Written StoredQuery(const SchemaTable& query, const Text& name, Scope& scope)
    {
        const auto isSame = [&](const TranslationState::OpenQuery& open) {
            return EqualIgnoringCase(open.name, query.name) && open.place == place_;
        };
        if (std::any_of(state_.openQueries.begin(), state_.openQueries.end(), isSame)) {
            throw Error(ErrorNumber::CircularReference, {query.name});
        }
        const SelectStatement statement = ParseSelect(query.queryText);
        if (statement.into) throw Error(ErrorNumber::InvalidOperation);
        state_.openQueries.push_back({query.name, place_});
        const Text text = query.queryText;
        const TextView outerText = std::exchange(state_.text, TextView(text));
        const Place outerPlace = std::exchange(state_.place, place_);
        state_.DeclareParameters(statement.parameters);
        const QueryResult result = TranslateQuery(state_, statement, nullptr, rowPointers_);
        state_.place = outerPlace;
        state_.text = outerText;
        state_.openQueries.pop_back();
        return Add(result, name, scope, false);
    }

    Written Subquery(const Source& source, Scope& scope)
    {
        const QueryResult result = TranslateQuery(state_, *source.select, outer_, rowPointers_);
        return Add(result, source.alias, scope, outer_ != nullptr);
    }

    Written Add(const QueryResult& query, const Text& name, Scope& scope, bool inPlace)
    {
        const std::string alias = state_.NewAlias('s');
        ScopeSource added;
        added.name = name;
        for (std::size_t i = 0; i < query.columns.size(); ++i) {
            const OutputColumn& column = query.columns[i];
            ScopeColumn result;
            result.name = column.name;
            result.value.sql = alias + "." + ColumnAlias(i);
            result.value.type = column.type;
            result.value.size = column.size;
            result.value.autoNumber = column.autoNumber;
            result.value.sourceTable = column.sourceTable;
            result.value.sourceField = column.sourceField;
            result.value.table = query.columnTables[i];
            added.columns.push_back(std::move(result));
        }
        for (std::size_t i = 0; i < query.rowTables.size(); ++i) {
            added.rows.push_back({query.rowTables[i], alias + "." + RowPointerAlias(i)});
        }
        scope.Add(std::move(added));
        return {state_.Derived(query.sql, inPlace) + " AS " + alias, false, false};
    }

    TranslationState& state_;
    Place place_;
    const Scope* outer_;
    bool rowPointers_;
};

}  // namespace

SourceList TranslateSources(TranslationState& state, const std::vector<Source>& sources, const Place& place,
                            const Scope* outer, bool rowPointers)
{
    // An expression over one row cannot read tables.
    if (state.schema == nullptr) throw ExpressionError(reason::syntax, u"SELECT", {0, 6});
    return SourceTranslator(state, place, outer, rowPointers).All(sources);
}

}  // namespace vmlib::sql
