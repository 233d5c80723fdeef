// TRANSFORM ... PIVOT: a column for each value of the pivot.
//
// Two queries over the sources, one beside the other, and one around both that makes a row of each group:
//
//     rows    row headings and totals, then the group keys and sort keys      GROUP BY keys
//     cells   group keys, the value of the cell, the pivot                    GROUP BY keys, pivot
//
//     SELECT max(c0) FILTER (WHERE x = -1), ..., max(v) FILTER (WHERE x = 0), max(v) FILTER (WHERE x = 1), ...
//     FROM (rows, with x = -1, UNION ALL cells, with x the position of the pivot's column) GROUP BY keys
//
// Each max sees one value, so it takes any type. The columns must be known before: without an IN list the values of
// the pivot are asked for while the statement is translated, and compared as literals, so that a value that another
// user adds meanwhile has no column rather than a wrong one.

#include <algorithm>
#include <utility>

#include "sql/ExpressionTranslator.h"
#include "sql/PivotValue.h"

namespace vmlib::sql {
namespace {

constexpr std::size_t mostColumns = 255;

Error TooManyHeadings(std::size_t room)
{
    return Error(ErrorNumber::TooManyCrosstabColumns, {u"more than " + Decimal(static_cast<long long>(room))});
}

/// The expression as it is where there is no row: every aggregate Null. Null when a column stands outside aggregates.
ExpressionRef WithoutRows(const ExpressionRef& expression)
{
    using Kind = Expression::Kind;
    if (expression->kind == Kind::Name || expression->kind == Kind::Star || expression->select) return nullptr;
    auto copy = std::make_shared<Expression>(*expression);
    if (expression->kind == Kind::Function && AggregateNamed(expression->name) != nullptr) {
        copy->kind = Kind::Literal;
        copy->literalType = ValueType::Value;
        copy->operands.clear();
        return copy;
    }
    for (ExpressionRef& operand : copy->operands) {
        operand = WithoutRows(operand);
        if (!operand) return nullptr;
    }
    return copy;
}

class CrosstabTranslator
{
public:
    CrosstabTranslator(TranslationState& state, const SelectStatement& statement) : state_(state), statement_(statement)
    {
    }

    QueryResult Translate()
    {
        const std::string rows = Rows(), cells = Cells();
        std::string sql = "SELECT ";
        for (std::size_t i = 0; i < result_.columns.size(); ++i)
            sql += (i > 0 ? "," : "") + Of(ColumnAlias(i), headingRow) + " AS " + ColumnAlias(i);
        std::string order = Order();
        Headings();
        const std::string empty = EmptyCell();
        for (std::size_t i = 0; i < headings_.size(); ++i)
            sql += "," + Cell(i, empty) + " AS " + ColumnAlias(result_.columns.size() + i);
        sql += " FROM " + state_.Derived(United(rows, cells), false);
        std::string keys;
        for (std::size_t i = 0; i < keys_.size(); ++i) keys += (i > 0 ? "," : "") + SortKey(keys_[i]);
        sql += " GROUP BY " + keys + " ORDER BY " + order + keys;
        AddHeadings();
        result_.sql = std::move(sql);
        return std::move(result_);
    }

private:
    static constexpr int headingRow = -1;

    static std::string KeyAlias(std::size_t position) { return "k" + std::to_string(position); }
    static std::string SortAlias(std::size_t position) { return "o" + std::to_string(position); }

    /// The one value that a kind of row has in this group.
    static std::string Of(const std::string& column, int kind)
    {
        return "max(" + column + ") FILTER (WHERE x = " + std::to_string(kind) + ")";
    }

    SelectStatement Part() const
    {
        SelectStatement part;
        part.from = statement_.from;
        part.place = statement_.place;
        part.where = statement_.where;
        part.groupBy = statement_.groupBy;
        part.text = statement_.text;
        return part;
    }

    /// No field can be called so.
    static void AddHidden(SelectStatement& part, const ExpressionRef& expression)
    {
        part.columns.push_back({expression, u"hidden!" + Decimal(static_cast<long long>(part.columns.size()))});
    }

    static bool IsColumnNumber(const Expression& expression)
    {
        return expression.kind == Expression::Kind::Literal && expression.literalType == ValueType::Long;
    }

    static std::string Plain(std::size_t column, ValueType type)
    {
        return type == ValueType::Value ? "jet_plain(" + ColumnAlias(column) + ")" : ColumnAlias(column);
    }

    std::string Rows()
    {
        SelectStatement part = Part();
        part.columns = statement_.columns;
        for (const ExpressionRef& key : statement_.groupBy) AddHidden(part, key);
        for (const OrderItem& item : statement_.orderBy)
            if (!IsColumnNumber(*item.expression)) AddHidden(part, item.expression);
        QueryResult rows = TranslatePlainSelect(state_, part, nullptr, false);

        const std::size_t shown = rows.columns.size() - (part.columns.size() - statement_.columns.size());
        std::string sql = "SELECT ";
        for (std::size_t i = 0; i < shown; ++i) sql += ColumnAlias(i) + ",";
        for (std::size_t i = 0; i < statement_.groupBy.size(); ++i) {
            Typed key;
            key.sql = KeyAlias(i);
            key.type = rows.columns[shown + i].type;
            sql += Plain(shown + i, key.type) + " AS " + key.sql + ",";
            keys_.push_back(std::move(key));
        }
        for (std::size_t i = shown + keys_.size(); i < rows.columns.size(); ++i) {
            Typed key;
            key.sql = SortAlias(sorts_.size());
            key.type = rows.columns[i].type;
            if (IsLong(key.type)) throw Error(ErrorNumber::MemoInOrderBy);
            sql += Plain(i, key.type) + " AS " + key.sql + ",";
            sorts_.push_back(std::move(key));
        }
        result_.columns.assign(rows.columns.begin(), rows.columns.begin() + static_cast<std::ptrdiff_t>(shown));
        return sql + "NULL AS v," + std::to_string(headingRow) + " AS x FROM " + state_.Derived(rows.sql, false);
    }

    /// The columns are those of Rows(); the position of the pivot's column comes in with United.
    std::string Cells()
    {
        SelectStatement part = Part();
        part.groupBy.push_back(statement_.pivot);
        for (const ExpressionRef& key : statement_.groupBy) AddHidden(part, key);
        AddHidden(part, statement_.transform);
        AddHidden(part, statement_.pivot);
        const QueryResult cells = TranslatePlainSelect(state_, part, nullptr, false);
        const std::size_t count = keys_.size();
        cell_ = cells.columns[count];
        pivot_.type = cells.columns[count + 1].type;
        pivot_.sql = ColumnAlias(count + 1);
        return state_.Derived(cells.sql, false);
    }

    std::string United(const std::string& rows, const std::string& cells) const
    {
        std::string sql = rows + " UNION ALL SELECT ";
        for (std::size_t i = 0; i < result_.columns.size(); ++i) sql += "NULL,";
        for (std::size_t i = 0; i < keys_.size(); ++i) sql += Plain(i, keys_[i].type) + ",";
        for (std::size_t i = 0; i < sorts_.size(); ++i) sql += "NULL,";
        sql += ColumnAlias(keys_.size()) + ",";
        if (conditions_.empty()) return sql + "NULL FROM " + cells;
        sql += "CASE";
        for (std::size_t i = 0; i < conditions_.size(); ++i)
            sql += " WHEN " + conditions_[i] + " THEN " + std::to_string(i);
        return sql + " END FROM " + cells;
    }

    std::string Order() const
    {
        std::string order;
        std::size_t sort = 0;
        for (const OrderItem& item : statement_.orderBy) {
            Typed key;
            if (IsColumnNumber(*item.expression)) {
                const std::int32_t number = item.expression->value.As<std::int32_t>();
                if (number < 1 || static_cast<std::size_t>(number) > result_.columns.size())
                    throw Error(ErrorNumber::SyntaxInOrderBy);
                key.type = result_.columns[static_cast<std::size_t>(number - 1)].type;
                key.sql = Of(ColumnAlias(static_cast<std::size_t>(number - 1)), headingRow);
            } else {
                key.type = sorts_[sort].type;
                key.sql = Of(sorts_[sort].sql, headingRow);
                ++sort;
            }
            order += Collated(key) + (item.descending ? " DESC," : ",");
        }
        return order;
    }

    void Headings()
    {
        const std::size_t room = mostColumns - std::min(mostColumns, result_.columns.size());
        std::vector<Variant> values;
        if (statement_.pivotValues.empty()) {
            values = Found(room);
        } else {
            for (const ExpressionRef& value : statement_.pivotValues) values.push_back(Given(*value));
        }
        if (values.size() > room) throw TooManyHeadings(room);
        for (const Variant& value : values) {
            headings_.push_back(HeadingOf(value));
            conditions_.push_back(ConditionOf(value));
        }
    }

    /// The text "<>" in an IN list is the heading of Null.
    std::string ConditionOf(const Variant& value) const
    {
        if (value.IsText() && value.As<Text>() == u"<>") {
            const std::string null = PivotIs(pivot_, vmlib::Null{});
            return IsTextual(pivot_.type) ? "(" + PivotIs(pivot_, value) + " OR " + null + ")" : null;
        }
        try {
            return PivotIs(pivot_, value);
        } catch (const Error&) {
            throw Error(ErrorNumber::CriteriaTypeMismatch);
        }
    }

    /// A value of the IN list.
    Variant Given(const Expression& value) const
    {
        if (value.kind == Expression::Kind::Literal) return value.value;
        if (value.kind == Expression::Kind::Name) throw Error(ErrorNumber::BadExpressionName, {value.name});
        throw ClauseError(ErrorNumber::SyntaxInTransform, state_.text, value.extent.from);
    }

    /// The values that the pivot has, in their order; at most one more than there is room for.
    std::vector<Variant> Found(std::size_t room)
    {
        SelectStatement part = Part();
        part.groupBy = {statement_.pivot};
        part.columns.push_back({statement_.pivot, {}});
        part.orderBy.push_back({statement_.pivot, false});
        TranslationState asked = state_;
        asked.commonTables.clear();
        asked.tables.clear();
        QueryResult query = TranslatePlainSelect(asked, part, nullptr, false);
        state_.aliases = asked.aliases;
        query.sql += " LIMIT " + std::to_string(room + 1);
        return state_.schema->FirstColumn(Finished(std::move(asked), std::move(query)));
    }

    static std::string Cell(std::size_t position, const std::string& empty)
    {
        std::string value = Of("v", static_cast<int>(position));
        if (empty == "NULL") return value;
        return "CASE WHEN count(*) FILTER (WHERE x = " + std::to_string(position) + ") = 0 THEN " + empty + " ELSE " +
               value + " END";
    }

    /// What TRANSFORM IIf(Sum(a) Is Null, 0, Sum(a)) gives where nothing is to be summed.
    std::string EmptyCell() const
    {
        const ExpressionRef expression = WithoutRows(statement_.transform);
        if (!expression) return "NULL";
        const Scope none;
        ExpressionTranslator translator(state_, none, {std::nullopt, false});
        const Typed value = translator.TranslateValue(*expression);
        return value.null ? "NULL" : As(value, cell_.type);
    }

    void AddHeadings()
    {
        for (const Text& heading : headings_) {
            for (const OutputColumn& other : result_.columns)
                if (EqualIgnoringCase(other.name, heading)) throw Error(ErrorNumber::DuplicateAlias, {heading});
            OutputColumn column;
            column.name = heading;
            column.type = cell_.type;
            column.size = cell_.size;
            result_.columns.push_back(std::move(column));
        }
        result_.columnTables.resize(result_.columns.size());
    }

    TranslationState& state_;
    const SelectStatement& statement_;
    std::vector<Typed> keys_, sorts_;  // as columns of the united rows
    OutputColumn cell_;
    Typed pivot_;
    std::vector<Text> headings_;
    std::vector<std::string> conditions_;  // of the pivot, one a heading
    QueryResult result_;
};

}  // namespace

QueryResult TranslateCrosstab(TranslationState& state, const SelectStatement& statement)
{
    // Names that are neither columns nor declared would make columns of whatever is bound to them.
    const bool outer = std::exchange(state.declaredOnly, true);
    QueryResult result = CrosstabTranslator(state, statement).Translate();
    state.declaredOnly = outer;
    return result;
}

}  // namespace vmlib::sql
