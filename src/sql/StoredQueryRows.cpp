// From SQL text to the rows that a stored query is kept as.

#include <algorithm>

#include "core/Error.h"
#include "sql/Parser.h"
#include "sql/StoredQueryWriter.h"

namespace vmlib::sql {
namespace {

using stored::Given;
using stored::RowWriter;

/// One statement's rows, by its kind.
class StatementRows
{
public:
    explicit StatementRows(TextView text) : text_(text), writer_(text)
    {
        writer_.Add(stored::start);
        writer_.Add(stored::end);
    }

    ClauseRows operator()(const SelectStatement& select)
    {
        writer_.Parameters(select.parameters);
        if (!select.unions.empty()) return Union(select);
        if (select.transform) return Crosstab(select);
        if (select.into) writer_.Type(stored::makeTable, *select.into, select.intoPlace);
        const int star = Columns(select.columns, {});
        Clauses(select, star);
        return writer_.Finished(select.into ? stored::makeTable : stored::select);
    }

    ClauseRows operator()(const InsertStatement& insert)
    {
        writer_.Parameters(insert.parameters);
        writer_.Type(stored::append, insert.table, insert.place);
        if (!insert.select) {
            if (!insert.fields.empty() && insert.fields.size() != insert.values.size())
                throw Error(ErrorNumber::ValueCountsDiffer);
            for (std::size_t i = 0; i < insert.values.size(); ++i) {
                ClauseRow& row = writer_.Add(stored::column);
                row.expression = writer_.Written(insert.values[i]->extent);
                row.flag = stored::insertedValue;
                if (!insert.fields.empty()) row.name2 = insert.fields[i];
            }
            return writer_.Finished(stored::append);
        }
        if (!insert.select->unions.empty()) throw Error(ErrorNumber::SyntaxInInsert);
        if (!insert.fields.empty() && insert.fields.size() != insert.select->columns.size())
            throw Error(ErrorNumber::ValueCountsDiffer);
        const int star = Columns(insert.select->columns, insert.fields);
        Clauses(*insert.select, star);
        return writer_.Finished(stored::append);
    }

    ClauseRows operator()(const UpdateStatement& update)
    {
        writer_.Parameters(update.parameters);
        writer_.Type(stored::update, {}, {});
        for (const UpdateStatement::Assignment& assignment : update.assignments) {
            ClauseRow& row = writer_.Add(stored::column);
            row.name2 = writer_.Written(assignment.fieldExtent);
            row.expression = writer_.Written(assignment.value->extent);
            row.flag = stored::plainColumn;
        }
        writer_.Sources(update.sources, update.place);
        writer_.Expression(stored::where, update.where);
        return writer_.Finished(stored::update);
    }

    ClauseRows operator()(const DeleteStatement& statement)
    {
        writer_.Parameters(statement.parameters);
        writer_.Type(stored::remove, {}, {});
        const int star = Columns(statement.columns, {});
        writer_.Options(star | (statement.distinctRow ? stored::distinctRow : 0));
        writer_.Sources(statement.from, statement.place);
        writer_.Expression(stored::where, statement.where);
        return writer_.Finished(stored::remove);
    }

    /// CREATE, ALTER, DROP: kept as text, which ends with a zero character in the file.
    template <class Definition>
    ClauseRows operator()(const Definition&)
    {
        ClauseRow& row = writer_.Add(stored::type);
        row.flag = stored::definition;
        row.expression = Text(text_) + u'\0';
        return writer_.Finished(stored::definition);
    }

private:
    /// @return the bit of a bare "*", which gets no row
    int Columns(const std::vector<SelectColumn>& columns, const std::vector<Text>& fields)
    {
        int star = 0;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const Expression& expression = *columns[i].expression;
            if (expression.kind == Expression::Kind::Star && expression.qualifier.empty() && fields.empty()) {
                star = stored::allColumns;
                continue;
            }
            ClauseRow& row = writer_.Add(stored::column);
            row.expression = writer_.Written(expression.extent);
            row.name1 = Given(columns[i].alias);
            if (!fields.empty()) row.name2 = fields[i];
            row.flag = stored::plainColumn;
        }
        return star;
    }

    void Clauses(const SelectStatement& select, int flags)
    {
        if (select.distinct) flags |= stored::distinct;
        if (select.distinctRow) flags |= stored::distinctRow;
        if (select.ownerAccess) flags |= stored::ownerAccess;
        if (select.top) flags |= stored::top;
        if (select.topPercent) flags |= stored::percent;
        writer_.Options(flags, select.top);
        writer_.Sources(select.from, select.place);
        writer_.Expression(stored::where, select.where);
        for (const ExpressionRef& key : select.groupBy) {
            ClauseRow& row = writer_.Add(stored::group);
            row.expression = writer_.Written(key->extent);
            row.flag = select.transform ? stored::headingColumn : stored::plainColumn;
        }
        writer_.Expression(stored::having, select.having);
        writer_.Order(select.orderBy);
    }

    ClauseRows Crosstab(const SelectStatement& select)
    {
        writer_.Type(stored::crosstab, {}, {});
        const auto add = [&](std::uint8_t attribute, Extent extent, std::int16_t flag) -> ClauseRow& {
            ClauseRow& row = writer_.Add(attribute);
            row.expression = writer_.Written(extent);
            row.flag = flag;
            return row;
        };
        add(stored::column, select.transform->extent, stored::plainColumn).name1 = Given(select.transformAlias);
        for (const SelectColumn& column : select.columns) {
            add(stored::column, column.expression->extent, stored::headingColumn).name1 = Given(column.alias);
        }
        add(stored::column, select.pivotExtent, stored::pivotColumn);
        Clauses(select, 0);
        add(stored::group, select.pivot->extent, stored::pivotColumn);
        return writer_.Finished(stored::crosstab);
    }

    /// Split at the last UNION; what stands before it is one part, kept to the last blank.
    ClauseRows Union(const SelectStatement& select)
    {
        writer_.Type(stored::unite, {}, {});
        const SelectStatement::Part& last = select.unions.back();
        const std::size_t from = select.unions.front().extent.from;
        writer_.Options((last.all ? stored::unionAll : stored::unionDistinct) |
                        (select.ownerAccess ? stored::ownerAccess : 0));
        ClauseRow& first = writer_.Add(stored::source);
        first.name2 = stored::firstPart;
        first.expression = Text(text_.substr(from, last.unionAt - from));
        ClauseRow& second = writer_.Add(stored::source);
        second.name2 = stored::secondPart;
        second.expression = writer_.Written({last.extent.from, last.select->clausesEnd});
        writer_.Order(select.orderBy);
        return writer_.Finished(stored::unite);
    }

    TextView text_;
    RowWriter writer_;
};

}  // namespace

ClauseRows ToClauses(TextView sql)
{
    StatementRows rows(sql);
    if (Trim(sql).empty()) {
        RowWriter empty(sql);
        empty.Add(stored::start);
        empty.Add(stored::end);
        return empty.Finished(stored::select);
    }
    const Statement statement = Parse(sql);
    return std::visit(rows, statement);
}

}  // namespace vmlib::sql
