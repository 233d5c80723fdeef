#include <algorithm>

#include "jet/IndexTree.h"
#include "jet/SalvageRelations.h"
#include "jet/Table.h"

// Whether the rows that are left keep the relations.
namespace vmlib::jet {

namespace {

struct BuiltSide
{
    TableDefinition* table;
    const IndexDefinition* index;
};

/// True when a row of the many side, whose fields are all there, has no row on the other side.
bool HasOrphans(Pager& pager, PageAllocator& allocator, const BuiltSide& foreign, const BuiltSide& parent)
{
    TreeDefinition sought;  // the other side's key, made of this side's columns
    sought.columns = foreign.table->TreeOf(*foreign.index).columns;
    const TreeDefinition& keys = parent.table->TreeOf(*parent.index);
    ColumnMask mask(foreign.table->columns.size(), false);
    for (std::size_t i = 0; i < sought.columns.size(); ++i) {
        sought.columns[i].descending = keys.columns[i].descending;
        mask[foreign.table->ColumnNumbered(sought.columns[i].column).value()] = true;
    }
    const IndexTree tree(pager, allocator, parent.table->page, keys.root, keys.ownedMap);
    Table rows(pager, allocator, *foreign.table);
    for (auto cursor = rows.Scan(mask); cursor.Next();) {
        if (IndexKey::HasNull(*foreign.table, sought, cursor.Current())) continue;
        const auto key = IndexKey::Of(*foreign.table, sought, cursor.Current());
        if (key && !tree.Contains(*key)) return true;
    }
    return false;
}

}  // namespace

void SalvageRelations::Verify(Pager& pager, PageAllocator& allocator, std::vector<TableDefinition>& built)
{
    const auto find = [&](const Side& side) {
        const auto& tables = catalogue_.Tables();
        const auto at = std::ranges::find_if(
            tables, [&](const SalvagedSource& table) { return table.definition.page == side.table; });
        TableDefinition& table = built[static_cast<std::size_t>(at - tables.begin())];
        return BuiltSide{&table, &*std::ranges::find(table.indexes, side.number, &IndexDefinition::number)};
    };
    for (const Pair& pair : pairs_) {
        const BuiltSide foreign = find(pair.foreign), parent = find(pair.parent);
        std::string reason;
        if (!parent.table->TreeOf(*parent.index).unique)
            reason = "keys of the other table come twice";
        else if (HasOrphans(pager, allocator, foreign, parent))
            reason = "rows have no row in the other table";
        if (reason.empty()) continue;
        for (const Side& side : {pair.foreign, pair.parent}) {  // the same table perhaps: one after the other
            const BuiltSide changed = find(side);
            Table table(pager, allocator, *changed.table);
            table.RemoveIndex(Text(changed.index->name));
            *changed.table = table.Definition();
        }
        Unenforce(pair.name, reason);
    }
}

}  // namespace vmlib::jet
