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
        if (looksAt(rule.column)) CheckRule(rule, row);
}

void RowRules::CheckRule(Rule& rule, const jet::Row& row)
{
    const jet::ColumnDefinition& column = table_.columns[rule.column];
    if (!rule.expression) {
        sql::OutputColumn field;
        field.name = column.name;
        field.type = ToValueType(column.type);
        field.size = column.size;
        field.sourceTable = table_.name;
        field.sourceField = column.name;
        rule.expression.emplace(engine_.Compile(sql::ParseFieldRule(rule.rule, column.name), {field}, true));
    }
    const std::vector<jet::Value> values(rule.expression->Columns().size(), row[rule.column]);
    if (rule.expression->Truth(values).value_or(true)) return;  // only False refuses a value
    if (!rule.text.empty()) throw Error(static_cast<std::int32_t>(ErrorNumber::RuleViolated), rule.text);
    throw Error(ErrorNumber::RuleViolated, {table_.name + u"." + column.name, rule.rule});
}

jet::Value RowRules::Default(std::size_t column)
{
    const jet::ColumnDefinition& definition = table_.columns[column];
    const auto& text = defaults_[column];
    if (!text) return FitToColumn(Variant(Null{}), definition, Fit::Assign);
    if (EqualIgnoringCase(Trim(*text), u"GenGUID()")) return NewGuid();
    return FitToColumn(ToVariant(engine_.Evaluate(*text)), definition, Fit::Assign);
}

}  // namespace vmlib::engine
