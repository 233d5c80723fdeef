#include <algorithm>

#include "sql/ExpressionTranslator.h"

namespace vmlib::sql {
namespace {

/// Several SELECTs joined by UNION, and their ORDER BY, which knows the columns of the first.
class UnionTranslator
{
public:
    UnionTranslator(TranslationState& state, const SelectStatement& statement, const Scope* outer)
        : state_(state), statement_(statement), outer_(outer)
    {
    }

    QueryResult Translate()
    {
        for (const SelectStatement::Part& part : statement_.unions) {
            parts_.push_back(TranslateQuery(state_, *part.select, outer_, false));
            if (parts_.back().columns.size() != parts_.front().columns.size()) throw Error(ErrorNumber::UnionColumns);
        }
        CommonTypes();
        result_.columnTables.resize(result_.columns.size());
        std::string sql;
        for (std::size_t i = 0; i < parts_.size(); ++i) {
            if (i > 0) sql += statement_.unions[i].all ? " UNION ALL " : " UNION ";
            sql += PartText(parts_[i]);
        }
        result_.sql = statement_.orderBy.empty() ? sql : Ordered(sql);
        return std::move(result_);
    }

private:
    void CommonTypes()
    {
        result_.columns = parts_.front().columns;
        for (std::size_t c = 0; c < result_.columns.size(); ++c) {
            OutputColumn& column = result_.columns[c];
            Typed common;
            common.type = column.type;
            for (const QueryResult& part : parts_) {
                Typed other;
                other.type = part.columns[c].type;
                common.type = CommonType(common, other);
                column.size = std::max(column.size, part.columns[c].size);
            }
            column.type = common.type;
            column.autoNumber = false;
            column.sourceTable.clear();
            column.sourceField.clear();
        }
    }

    std::string PartText(const QueryResult& part)
    {
        std::string sql = "SELECT ";
        for (std::size_t c = 0; c < part.columns.size(); ++c) {
            Typed value;
            value.sql = ColumnAlias(c);
            value.type = part.columns[c].type;
            const Typed converted = Cast(value, result_.columns[c].type);
            sql += (c > 0 ? "," : "") + (IsTextual(converted.type) ? Collated(converted) : converted.sql) + " AS " +
                   ColumnAlias(c);
        }
        return sql + " FROM " + state_.Derived(part.sql, outer_ != nullptr);
    }

    std::string Ordered(const std::string& sql)
    {
        Scope scope;
        ScopeSource source;
        for (std::size_t c = 0; c < result_.columns.size(); ++c) {
            ScopeColumn column;
            column.name = result_.columns[c].name;
            column.value.sql = ColumnAlias(c);
            column.value.type = result_.columns[c].type;
            source.columns.push_back(std::move(column));
        }
        scope.Add(std::move(source));
        ExpressionTranslator translator(state_, scope, {ErrorNumber::SyntaxInOrderBy, false});
        std::string order;
        for (const OrderItem& item : statement_.orderBy) {
            const Typed key = OrderKey(*item.expression, scope, translator);
            if (IsLong(key.type)) throw Error(ErrorNumber::MemoInOrderBy);
            order += (order.empty() ? " ORDER BY " : ",") + SortKey(key) + (item.descending ? " DESC" : "");
        }
        return "SELECT * FROM " + state_.Derived(sql, outer_ != nullptr) + order;
    }

    /// A column number, or an expression over the columns; Table.Field means the column of that name.
    static Typed OrderKey(const Expression& expression, const Scope& scope, ExpressionTranslator& translator)
    {
        const auto& columns = scope.Sources().front().columns;
        if (expression.kind == Expression::Kind::Literal && expression.literalType == ValueType::Long) {
            const std::int32_t number = expression.value.As<std::int32_t>();
            if (number < 1 || static_cast<std::size_t>(number) > columns.size())
                throw Error(ErrorNumber::SyntaxInOrderBy);
            return columns[static_cast<std::size_t>(number - 1)].value;
        }
        if (expression.kind != Expression::Kind::Name || expression.qualifier.empty())
            return translator.TranslateValue(expression);
        Expression bare = expression;
        bare.qualifier.clear();
        return translator.TranslateValue(bare);
    }

    TranslationState& state_;
    const SelectStatement& statement_;
    const Scope* outer_;
    std::vector<QueryResult> parts_;
    QueryResult result_;
};

}  // namespace

QueryResult TranslateUnion(TranslationState& state, const SelectStatement& statement, const Scope* outer)
{
    return UnionTranslator(state, statement, outer).Translate();
}

}  // namespace vmlib::sql
