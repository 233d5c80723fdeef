#include "engine/RowRules.h"

#include <random>

#include "engine/Values.h"
#include "sql/Parser.h"

namespace vmlib::engine {
namespace {

/// A random GUID, which the default value GenGUID() asks for.
Guid NewGuid()
{
    std::random_device random;
    Guid guid;
    for (auto& byte : guid.bytes) byte = static_cast<std::uint8_t>(random() & 0xFF);
    guid.bytes[7] = static_cast<std::uint8_t>((guid.bytes[7] & 0x0F) | 0x40);
    guid.bytes[8] = static_cast<std::uint8_t>((guid.bytes[8] & 0x3F) | 0x80);
    return guid;
}

std::optional<Text> NonEmpty(std::optional<Text> text)
{
    if (text && Trim(*text).empty()) return std::nullopt;
    return text;
}

sql::OutputColumn OutputOf(const jet::ColumnDefinition& column, const Text& table)
{
    sql::OutputColumn field;
    field.name = column.name;
    field.type = ToValueType(column.type);
    field.size = column.size;
    field.sourceTable = table;
    field.sourceField = column.name;
    return field;
}

RowExpression CompiledFieldRule(QueryEngine& engine, TextView rule, const jet::TableDefinition& table,
                                const jet::ColumnDefinition& column)
{
    return engine.Compile(sql::ParseFieldRule(rule, column.name), {OutputOf(column, table.name)}, true);
}

RowExpression CompiledTableRule(QueryEngine& engine, TextView rule, const jet::TableDefinition& table)
{
    std::vector<sql::OutputColumn> row;
    for (const auto& column : table.columns) row.push_back(OutputOf(column, table.name));
    return engine.Compile(sql::ParseExpression(rule), row, true);
}

bool IsGuidMaker(TextView value)
{
    return EqualIgnoringCase(Trim(value), u"GenGUID()");
}

template <class Compile>
void RequireCompiles(TextView expression, Compile compile)
{
    if (Trim(expression).empty()) return;
    try {
        compile();
    } catch (const Error& error) {
        // Text beside a number is compared when a row is written; files with such rules are about.
        if (error.Is(ErrorNumber::CriteriaTypeMismatch)) return;
        // Of "Syntax error in query expression '>= ('." the first part goes into the text of 3320.
        Text what = error.Description();
        const auto where = what.find(u" in query expression ");
        if (where != Text::npos)
            what.resize(where);
        else if (what.ends_with(u'.'))
            what.pop_back();
        throw Error(ErrorNumber::BadTableRule, {what});
    }
}

}  // namespace

RowRules::RowRules(QueryEngine& engine, const jet::TableDefinition& table) : engine_(engine), table_(table)
{
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const jet::ColumnDefinition& column = table.columns[i];
        if (column.Required()) required_.push_back(i);
        // Without the property "" is accepted: fields that SQL made never had it.
        if (jet::IsTextual(column.type) && column.AllowZeroLength() == false) noZeroLength_.push_back(i);
        if (auto rule = NonEmpty(column.properties.String(u"ValidationRule")))
            rules_.push_back(
                {i, std::move(*rule), column.properties.String(u"ValidationText").value_or(Text()), std::nullopt});
        defaults_.push_back(NonEmpty(column.properties.String(u"DefaultValue")));
    }
    if (auto rule = NonEmpty(table.properties.String(u"ValidationRule")))
        tableRule_ = Rule{0, std::move(*rule), table.properties.String(u"ValidationText").value_or(Text()), {}};
}

Error RowRules::Named(ErrorNumber number, std::size_t column) const
{
    return Error(number, {table_.name + u"." + table_.columns[column].name});
}

void RowRules::Check(const jet::Row& row, const std::vector<bool>& changed)
{
    const auto looksAt = [&](std::size_t column) { return changed.empty() || changed[column]; };
    for (const std::size_t column : required_)
        if (looksAt(column) && jet::IsNull(row[column])) throw Named(ErrorNumber::NullInRequired, column);
    for (const std::size_t column : noZeroLength_)
        if (looksAt(column) && IsZeroLength(row[column])) throw Named(ErrorNumber::ZeroLengthText, column);
    for (Rule& rule : rules_)
        if (looksAt(rule.column)) CheckRule(rule, row[rule.column]);
    CheckTableRule(row);
}

void RowRules::CheckValue(std::size_t column, const jet::Value& value)
{
    for (Rule& rule : rules_)
        if (rule.column == column) CheckRule(rule, value);
}

void RowRules::CheckTableRule(const jet::Row& row)
{
    if (!tableRule_) return;
    Rule& rule = *tableRule_;
    if (!rule.expression) rule.expression.emplace(CompiledTableRule(engine_, rule.rule, table_));
    std::vector<jet::Value> values;
    for (const std::size_t column : rule.expression->Columns()) values.push_back(row[column]);
    if (rule.expression->Truth(values).value_or(true)) return;
    if (!rule.text.empty()) throw Error(ErrorNumber::TableRuleViolated, {rule.text});
    throw Error(ErrorNumber::RuleViolated, {table_.name, rule.rule});
}

void RowRules::RequireFieldRule(QueryEngine& engine, TextView rule, const jet::TableDefinition& table,
                                const jet::ColumnDefinition& column)
{
    RequireCompiles(rule, [&] { CompiledFieldRule(engine, rule, table, column); });
}

void RowRules::RequireTableRule(QueryEngine& engine, TextView rule, const jet::TableDefinition& table)
{
    RequireCompiles(rule, [&] { CompiledTableRule(engine, rule, table); });
}

void RowRules::RequireRuleWithout(QueryEngine& engine, jet::TableDefinition table, TextView column)
{
    std::erase_if(table.columns, [&](const auto& each) { return EqualIgnoringCase(each.name, column); });
    RequireTableRule(engine, table.properties.String(u"ValidationRule").value_or(Text()), table);
}

void RowRules::RequireDefault(QueryEngine& engine, TextView value)
{
    if (IsGuidMaker(value)) return;
    RequireCompiles(value, [&] { engine.Compile(sql::ParseExpression(value), {}, false); });
}

void RowRules::CheckRule(Rule& rule, const jet::Value& value)
{
    const jet::ColumnDefinition& column = table_.columns[rule.column];
    if (!rule.expression) rule.expression.emplace(CompiledFieldRule(engine_, rule.rule, table_, column));
    const std::vector<jet::Value> values(rule.expression->Columns().size(), value);
    if (rule.expression->Truth(values).value_or(true)) return;  // only False refuses a value
    if (!rule.text.empty()) throw Error(static_cast<std::int32_t>(ErrorNumber::RuleViolated), rule.text);
    throw Error(ErrorNumber::RuleViolated, {table_.name + u"." + column.name, rule.rule});
}

jet::Value RowRules::Default(std::size_t column)
{
    const jet::ColumnDefinition& definition = table_.columns[column];
    const auto& text = defaults_[column];
    if (!text) return FitToColumn(Variant(Null{}), definition, Fit::Assign);
    if (IsGuidMaker(*text)) return NewGuid();
    return FitToColumn(ToVariant(engine_.Evaluate(*text)), definition, Fit::Assign);
}

}  // namespace vmlib::engine
