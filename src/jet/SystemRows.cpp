#include "jet/SystemRows.h"

#include "jet/DefinitionCodec.h"

namespace vmlib::jet {

SystemRows::SystemRows(Pager& pager, PageAllocator& allocator, TableDefinition to, const TableDefinition& from)
    : table_(pager, allocator, std::move(to))
{
    for (const ColumnDefinition& column : from.columns) {
        if (!table_.Definition().ColumnNamed(column.name)) table_.AddColumn(column);
    }
    for (const ColumnDefinition& column : from.columns)
        places_.push_back(table_.Definition().ColumnNamed(column.name).value());
}

void SystemRows::Add(const Row& row)
{
    Row placed(table_.Definition().columns.size());
    for (std::size_t i = 0; i < row.size(); ++i) placed[places_[i]] = row[i];
    table_.Insert(placed);
}

std::int32_t ChangedId(std::int32_t id, const PageChanges& tables)
{
    const auto changed = tables.find(static_cast<PageNumber>(id));
    return id < 0 || changed == tables.end() ? id : static_cast<std::int32_t>(changed->second);
}

void RelateTables(Pager& pager, PageAllocator& allocator, std::vector<TableDefinition>& tables,
                  const PageChanges& changes)
{
    for (TableDefinition& table : tables) {
        bool changed = false;
        for (IndexDefinition& index : table.indexes) {
            const auto other = changes.find(index.otherTable);
            if (index.kind != IndexDefinition::Kind::Relation || other == changes.end()) continue;
            index.otherTable = other->second;
            changed = true;
        }
        if (changed) WriteDefinitionPages(pager, allocator, table);
    }
}

}  // namespace vmlib::jet
