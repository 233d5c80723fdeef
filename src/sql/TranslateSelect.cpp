// One SELECT: its columns, grouping, order and TOP.

#include <algorithm>

#include "sql/ExpressionTranslator.h"

namespace vmlib::sql {
namespace {

struct Item
{
    Typed value;
    Text written;     // the expression, for messages
    Text name;        // of the field, when it is one
    Text sourceName;  // alias or name of the source that the field is from
};

class SelectTranslator
{
public:
    SelectTranslator(TranslationState& state, const SelectStatement& statement, const Scope* outer, bool rowPointers)
        : state_(state),
          statement_(statement),
          rowPointers_(rowPointers),
          sources_(TranslateSources(state, statement.from, PlaceOf(state, statement), outer,
                                    WantsRows(statement, rowPointers))),
          inPlace_(outer != nullptr)
    {
    }

    QueryResult Translate()
    {
        GroupKeys();
        Columns();
        Condition();
        Order();
        CheckGrouping();
        CheckLongValues();
        NameColumns();
        RowPointers();
        result_.sql = statement_.top ? WithTop() : Plain();
        result_.oneRow = grouped_ && keys_.empty() && !statement_.top && !having_;
        return std::move(result_);
    }

private:
    static const Place& PlaceOf(const TranslationState& state, const SelectStatement& statement)
    {
        return statement.place == Place{} ? state.place : statement.place;
    }

    static bool WantsRows(const SelectStatement& statement, bool rowPointers)
    {
        return rowPointers || statement.distinctRow;
    }

    ExpressionTranslator Translator(std::optional<ErrorNumber> noAggregates)
    {
        ExpressionTranslator translator(state_, sources_.scope, {noAggregates, false});
        translator.SetGroupKeys(&keys_);
        return translator;
    }

    Text Written(const Expression& expression) const
    {
        const std::size_t from = std::min(expression.extent.from, state_.text.size());
        return Text(state_.text.substr(from, expression.extent.to - from));
    }

    void GroupKeys()
    {
        ExpressionTranslator translator(state_, sources_.scope, {ErrorNumber::AggregateInGroupBy, false});
        for (const ExpressionRef& key : statement_.groupBy) {
            const Typed value = translator.TranslateValue(*key);
            if (IsLong(value.type)) throw Error(ErrorNumber::MemoInGroupBy, {Written(*key)});
            keys_.push_back(value.sql);
            groupBy_ += (groupBy_.empty() ? "" : ",") + SortKey(value);
        }
    }

    void Columns()
    {
        ExpressionTranslator translator = Translator(std::nullopt);
        for (const SelectColumn& column : statement_.columns) {
            const Expression& expression = *column.expression;
            if (expression.kind == Expression::Kind::Star) {
                Star(expression);
                continue;
            }
            Item item;
            item.value = translator.TranslateValue(expression);
            item.written = Written(expression);
            if (expression.kind == Expression::Kind::Name && item.value.column) {
                const auto found = sources_.scope.Find(expression.qualifier, expression.name);
                item.name = found->column->name;
                if (!found->outer) item.sourceName = sources_.scope.Sources()[found->source].name;
            }
            Add(std::move(item), column.alias);
        }
        used_ = translator.UsedSources();
    }

    void Star(const Expression& star)
    {
        const auto& all = sources_.scope.Sources();
        if (all.empty()) throw Error(ErrorNumber::NoQueryInput);
        std::optional<std::size_t> only;
        if (!star.qualifier.empty()) {
            only = sources_.scope.SourceNamed(star.qualifier);
            if (!only) throw Error(ErrorNumber::NoSuchTable, {star.qualifier});
        }
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (only && *only != i) continue;
            starred_.push_back(i);
            for (const ScopeColumn& column : all[i].columns) {
                Item item;
                item.value = column.value;
                item.value.column = true;
                item.value.loose = column.name;
                item.written = column.name;
                item.name = column.name;
                item.sourceName = all[i].name;
                Add(std::move(item), {});
            }
        }
    }

    void Add(Item item, const Text& alias)
    {
        constexpr std::size_t mostColumns = 255;
        if (items_.size() == mostColumns) throw Error(ErrorNumber::TooManyFields);
        items_.push_back(std::move(item));
        aliases_.push_back(alias);
    }

    void Condition()
    {
        if (statement_.where) {
            ExpressionTranslator translator(state_, sources_.scope, {ErrorNumber::AggregateInWhere, false});
            where_ = translator.TranslateCondition(*statement_.where).sql;
        }
        if (statement_.having) {
            having_ = Translator(std::nullopt).TranslateCondition(*statement_.having);
        }
    }

    /// Items of ORDER BY: a number names a column of the result. With DISTINCT only columns of the result may be sorted
    /// by.
    void Order()
    {
        ExpressionTranslator translator = Translator(std::nullopt);
        for (const OrderItem& item : statement_.orderBy) {
            Typed key;
            if (const auto position = ColumnNumber(*item.expression)) {
                key = items_[*position].value;
            } else {
                key = translator.TranslateValue(*item.expression);
            }
            const Text written = Written(*item.expression);
            if (IsLong(key.type)) throw Error(ErrorNumber::MemoInOrderBy, {written});
            if (statement_.distinct) {
                const bool shown = std::any_of(items_.begin(), items_.end(),
                                               [&](const Item& one) { return one.value.sql == key.sql; });
                if (!shown) throw Error(ErrorNumber::OrderByConflictsWithDistinct, {written});
            }
            order_.push_back({std::move(key), item.descending, written});
        }
    }

    std::optional<std::size_t> ColumnNumber(const Expression& expression) const
    {
        if (expression.kind != Expression::Kind::Literal || expression.literalType != ValueType::Long)
            return std::nullopt;
        const std::int32_t number = expression.value.As<std::int32_t>();
        if (number < 1 || static_cast<std::size_t>(number) > items_.size()) throw Error(ErrorNumber::SyntaxInOrderBy);
        return static_cast<std::size_t>(number - 1);
    }

    /// A query with aggregates or GROUP BY shows group keys and aggregates only.
    void CheckGrouping()
    {
        grouped_ = !keys_.empty() || (having_ && having_->aggregate);
        for (const Item& item : items_) grouped_ = grouped_ || item.value.aggregate;
        for (const OrderKey& key : order_) grouped_ = grouped_ || key.value.aggregate;
        if (!grouped_) {
            if (having_) throw Error(ErrorNumber::HavingWithoutGroup, {Written(*statement_.having)});
            return;
        }
        for (const Item& item : items_) {
            if (item.value.loose) throw Error(ErrorNumber::ExpressionOutsideAggregate, {item.written});
        }
        if (having_ && having_->loose) throw Error(ErrorNumber::ExpressionOutsideAggregate, {*having_->loose});
        for (const OrderKey& key : order_) {
            if (key.value.loose) throw Error(ErrorNumber::OrderByConflictsWithGroupBy, {key.written});
        }
    }

    void CheckLongValues()
    {
        if (!statement_.distinct) return;
        for (const Item& item : items_) {
            if (IsLong(item.value.type)) throw Error(ErrorNumber::MemoInDistinct, {item.written});
        }
    }

    /// Aliases as given; fields by their name, by source and name where two are equal; expressions by their position
    /// from 1000.
    void NameColumns()
    {
        const auto sameName = [&](std::size_t i, std::size_t j) {
            const Text& other = aliases_[j].empty() ? items_[j].name : aliases_[j];
            return i != j && EqualIgnoringCase(items_[i].name, other);
        };
        for (std::size_t i = 0; i < items_.size(); ++i) {
            for (std::size_t j = 0; j < i; ++j) {
                if (!aliases_[i].empty() && EqualIgnoringCase(aliases_[i], aliases_[j])) {
                    throw Error(ErrorNumber::DuplicateAlias, {aliases_[i]});
                }
            }
            const Typed& value = items_[i].value;
            OutputColumn column;
            column.type = value.type;
            if (value.type == ValueType::Text || value.type == ValueType::Binary) column.size = value.size;
            if (!aliases_[i].empty()) {
                column.name = aliases_[i];
            } else if (items_[i].name.empty()) {
                column.name = u"Expr" + Decimal(1000 + static_cast<long long>(i));
            } else {
                column.name = items_[i].name;
                bool taken = false;
                for (std::size_t j = 0; j < items_.size() && !taken; ++j) taken = sameName(i, j);
                if (taken && !items_[i].sourceName.empty()) column.name = items_[i].sourceName + u"." + items_[i].name;
            }
            if (value.column) {
                column.autoNumber = value.autoNumber;
                column.sourceTable = value.sourceTable;
                column.sourceField = value.sourceField;
            }
            result_.columnTables.push_back(value.column ? value.table : std::nullopt);
            result_.columns.push_back(std::move(column));
        }
    }

    void RowPointers()
    {
        result_.updatable = !statement_.distinct && !grouped_ && !sources_.scope.Sources().empty();
        for (const ScopeSource& source : sources_.scope.Sources()) {
            if (source.rows.empty()) result_.updatable = false;
        }
        if (!result_.updatable || !rowPointers_) return;
        for (const ScopeSource& source : sources_.scope.Sources()) {
            for (const RowPointerColumn& row : source.rows) {
                result_.rowTables.push_back(row.table);
                rows_.push_back(row.sql);
            }
        }
    }

    /// DISTINCTROW: rows that differ only in sources of which nothing is shown count once. Only where every source that
    /// is shown has row pointers; otherwise the word has no effect.
    std::string DistinctRowKeys() const
    {
        const auto& all = sources_.scope.Sources();
        if (!statement_.distinctRow || grouped_) return {};
        std::string keys;
        std::size_t shown = 0;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const auto contains = [&](const std::vector<std::size_t>& list) {
                return std::find(list.begin(), list.end(), i) != list.end();
            };
            if (!contains(used_) && !contains(starred_)) continue;
            if (all[i].rows.empty()) return {};
            ++shown;
            for (const RowPointerColumn& row : all[i].rows) keys += (keys.empty() ? "" : ",") + row.sql;
        }
        return shown == all.size() ? std::string() : keys;
    }

    /// SELECT ... HAVING, with further hidden columns behind.
    std::string Body(const std::string& hidden)
    {
        std::string sql = statement_.distinct ? "SELECT DISTINCT " : "SELECT ";
        for (std::size_t i = 0; i < items_.size(); ++i) {
            const Typed& value = items_[i].value;
            const bool collated = statement_.distinct && IsTextual(value.type);
            sql += (i > 0 ? "," : "") + (collated ? Collated(value) : value.sql) + " AS " + ColumnAlias(i);
        }
        for (std::size_t i = 0; i < rows_.size(); ++i) sql += "," + rows_[i] + " AS " + RowPointerAlias(i);
        sql += hidden;
        if (!sources_.sql.empty()) sql += " FROM " + sources_.sql;
        if (!where_.empty()) sql += " WHERE " + where_;
        const std::string keys = groupBy_.empty() ? DistinctRowKeys() : groupBy_;
        if (!keys.empty()) sql += " GROUP BY " + keys;
        if (having_) sql += " HAVING " + having_->sql;
        return sql;
    }

    std::string Plain()
    {
        std::string sql = Body({});
        for (std::size_t i = 0; i < order_.size(); ++i) {
            sql += (i > 0 ? "," : " ORDER BY ") + SortKey(order_[i].value) + (order_[i].descending ? " DESC" : "");
        }
        return sql;
    }

    /// TOP with an order also gives the rows that tie with the last, so rows are ranked; without one it cuts anywhere.
    std::string WithTop()
    {
        std::string hidden, ranking;
        for (std::size_t i = 0; i < order_.size(); ++i) {
            std::string key = "k" + std::to_string(i);
            const Typed& value = order_[i].value;
            if (statement_.distinct) {
                const auto shown = std::find_if(items_.begin(), items_.end(),
                                                [&](const Item& one) { return one.value.sql == value.sql; });
                key = ColumnAlias(static_cast<std::size_t>(shown - items_.begin()));
                if (value.type == ValueType::Value) key = "jet_plain(" + key + ")";
            } else {
                hidden +=
                    "," + (value.type == ValueType::Value ? "jet_plain(" + value.sql + ")" : value.sql) + " AS " + key;
            }
            const bool text = IsTextual(value.type) || value.type == ValueType::Value;
            ranking += (i > 0 ? "," : " ORDER BY ") + key + (text ? " COLLATE jet" : "") +
                       (order_[i].descending ? " DESC" : "");
        }
        const std::string body = Body(hidden);
        if (order_.empty() && !statement_.topPercent) return body + " LIMIT " + std::to_string(*statement_.top);

        const std::string rank = order_.empty() ? "row_number() OVER ()" : "rank() OVER (" + ranking.substr(1) + ")";
        const std::string ranked = state_.Derived(
            "SELECT *, " + rank + " AS position, count(*) OVER () AS total FROM " + state_.Derived(body, inPlace_),
            inPlace_);
        // A percentage is rounded up, so that some row remains.
        const std::string limit = statement_.topPercent ? "(total * " + std::to_string(*statement_.top) + " + 99) / 100"
                                                        : std::to_string(*statement_.top);
        std::string sql = "SELECT ";
        for (std::size_t i = 0; i < items_.size(); ++i) sql += (i > 0 ? "," : "") + ColumnAlias(i);
        for (std::size_t i = 0; i < rows_.size(); ++i) sql += "," + RowPointerAlias(i);
        return sql + " FROM " + ranked + " WHERE position <= " + limit + " ORDER BY position";
    }

    struct OrderKey
    {
        Typed value;
        bool descending = false;
        Text written;
    };

    TranslationState& state_;
    const SelectStatement& statement_;
    bool rowPointers_;
    SourceList sources_;
    bool inPlace_;

    std::vector<Item> items_;
    std::vector<Text> aliases_;
    std::vector<std::size_t> used_, starred_;  // sources that the columns show
    std::vector<std::string> keys_;
    std::string groupBy_, where_;
    std::optional<Typed> having_;
    std::vector<OrderKey> order_;
    bool grouped_ = false;
    std::vector<std::string> rows_;
    QueryResult result_;
};

}  // namespace

QueryResult TranslatePlainSelect(TranslationState& state, const SelectStatement& statement, const Scope* outer,
                                 bool rowPointers)
{
    return SelectTranslator(state, statement, outer, rowPointers).Translate();
}

}  // namespace vmlib::sql
