#pragma once

#include "engine/QueryEngine.h"

namespace vmlib::engine {

/// What a table's fields ask of a row besides keys and relations: Required, AllowZeroLength, validation rules; and
/// their default values.
class RowRules
{
public:
    RowRules(QueryEngine& engine, const jet::TableDefinition& table);

    /// @param changed  positions that are looked at; empty: all (a new row)
    /// @throws Error 3314, 3315, 3317 with "Table.Field"; 3316, 3317 for the table's rule
    void Check(const jet::Row& row, const std::vector<bool>& changed = {});
    /// The rule of one field alone, as soon as a value is set. @throws Error 3317
    void CheckValue(std::size_t column, const jet::Value& value);

    /// What is wrong with a rule or a default value is told when it is stored, not at the first row.
    /// @throws Error 3320 for an expression that is none, or names what it may not: the rule of a field knows that
    /// field, that of a table all its fields, a default value none
    static void RequireFieldRule(QueryEngine& engine, TextView rule, const jet::TableDefinition& table,
                                 const jet::ColumnDefinition& column);
    static void RequireTableRule(QueryEngine& engine, TextView rule, const jet::TableDefinition& table);
    static void RequireDefault(QueryEngine& engine, TextView value);
    /// Before a field goes. @throws Error 3320 when the table's rule names it
    static void RequireRuleWithout(QueryEngine& engine, jet::TableDefinition table, TextView column);

    /// The default of a column for a new row: its DefaultValue, else Null (Boolean False). @throws what the expression
    /// raises
    jet::Value Default(std::size_t column);

private:
    struct Rule
    {
        std::size_t column = 0;
        Text rule, text;
        std::optional<RowExpression> expression;  // compiled at the first row
    };
    void CheckRule(Rule& rule, const jet::Value& value);
    void CheckTableRule(const jet::Row& row);
    Error Named(ErrorNumber number, std::size_t column) const;

    QueryEngine& engine_;
    const jet::TableDefinition& table_;
    std::vector<std::size_t> required_, noZeroLength_;
    std::vector<Rule> rules_;
    std::optional<Rule> tableRule_;
    std::vector<std::optional<Text>> defaults_;
};

}  // namespace vmlib::engine
