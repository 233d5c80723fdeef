#include "engine/KeyFinder.h"

#include <algorithm>

namespace vmlib::engine {

bool SameKey(const jet::Value& left, const jet::Value& right, std::uint16_t langid)
{
    const auto* leftText = std::get_if<std::string>(&left);
    const auto* rightText = std::get_if<std::string>(&right);
    if (leftText && rightText) return jet::IndexKey::CompareText(*leftText, *rightText, langid) == 0;
    return left == right;
}

KeyFinder::KeyFinder(TableRef table, std::vector<std::size_t> columns)
    : table_(std::move(table)), columns_(std::move(columns))
{
    mask_.assign(table_.table->Definition().columns.size(), false);
    for (const std::size_t column : columns_) mask_[column] = true;
    ChooseTree();
}

void KeyFinder::ChooseTree()
{
    const jet::TableDefinition& definition = table_.table->Definition();
    for (std::size_t tree = 0; tree < definition.trees.size() && !tree_; ++tree) {
        const auto& indexed = definition.trees[tree].columns;
        if (indexed.size() < columns_.size()) continue;
        std::vector<std::size_t> order;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const auto position = definition.ColumnNumbered(indexed[i].column);
            const auto wanted = position ? std::ranges::find(columns_, *position) : columns_.end();
            if (wanted == columns_.end()) break;
            const jet::ColumnDefinition& column = definition.columns[*position];
            if (column.type == jet::ColumnType::Text && !jet::IndexKey::KnowsOrder(column.locale.langid)) break;
            order.push_back(static_cast<std::size_t>(wanted - columns_.begin()));
        }
        if (order.size() != columns_.size()) continue;
        tree_ = tree;
        order_ = std::move(order);
    }
}

bool KeyFinder::Matches(const jet::Row& row, std::span<const jet::Value> values) const
{
    const jet::TableDefinition& definition = table_.table->Definition();
    for (std::size_t i = 0; i < columns_.size(); ++i)
        if (!SameKey(row[columns_[i]], values[i], definition.columns[columns_[i]].locale.langid)) return false;
    return true;
}

void KeyFinder::Visit(std::span<const jet::Value> values, const std::function<bool(jet::RowPointer)>& visit) const
{
    if (!tree_) {
        for (auto cursor = table_.table->Scan(mask_); cursor.Next();)
            if (Matches(cursor.Current(), values) && !visit(cursor.Where())) return;
        return;
    }
    const jet::TableDefinition& definition = table_.table->Definition();
    std::vector<jet::Value> ordered;
    for (const std::size_t i : order_) ordered.push_back(values[i]);
    jet::Key prefix = jet::IndexKey::Prefix(definition, definition.trees[*tree_], ordered);
    if (constexpr std::size_t kept = jet::greatestKeySize - 2; prefix.size() > kept) prefix.resize(kept);
    jet::Row row;
    for (auto entry = table_.table->Tree(*tree_).LowerBound(prefix);
         !entry.AtEnd() && entry.EntryKey().starts_with(prefix); entry.Next())
        if (table_.table->Fetch(entry.Row(), row, mask_) && Matches(row, values) && !visit(entry.Row())) return;
}

std::vector<jet::RowPointer> KeyFinder::All(std::span<const jet::Value> values) const
{
    std::vector<jet::RowPointer> rows;
    Visit(values, [&](jet::RowPointer row) {
        rows.push_back(row);
        return true;
    });
    return rows;
}

bool KeyFinder::Any(std::span<const jet::Value> values) const
{
    bool found = false;
    Visit(values, [&](jet::RowPointer) {
        found = true;
        return false;
    });
    return found;
}

}  // namespace vmlib::engine
