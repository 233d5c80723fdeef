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
    /// @throws Error 3314, 3315, 3317 with "Table.Field"
    void Check(const jet::Row& row, const std::vector<bool>& changed = {});

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
    void CheckRule(Rule& rule, const jet::Row& row);
    Error Named(ErrorNumber number, std::size_t column) const;

    QueryEngine& engine_;
    const jet::TableDefinition& table_;
    std::vector<std::size_t> required_, noZeroLength_;
    std::vector<Rule> rules_;
    std::vector<std::optional<Text>> defaults_;
};

}  // namespace vmlib::engine
