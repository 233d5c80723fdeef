#pragma once

#include <map>

#include "jet/Table.h"

namespace vmlib::jet {

/// Takes rows of a system table over into that of a new file. What nobody here understands keeps its bytes: columns
/// that only the old file's table has are made before the first row.
class SystemRows
{
public:
    /// @param to    the new file's table, still empty
    /// @param from  the old file's; its columns are found by name
    SystemRows(Pager& pager, PageAllocator& allocator, TableDefinition to, const TableDefinition& from);

    /// @param row  by the old table's columns. @throws Error 3022, 3058, 3047
    void Add(const Row& row);

private:
    Table table_;
    std::vector<std::size_t> places_;  // of the old table's columns in the new one
};

/// The definition pages of tables in the old file and in the new one.
using PageChanges = std::map<PageNumber, PageNumber>;

/// The id of an object in the new file: a table's is its definition page, others keep theirs.
std::int32_t ChangedId(std::int32_t id, const PageChanges& tables);

/// Indexes of relations name the definition page of the other table: makes them name the new one, and writes the
/// definitions that have such indexes again. Those whose other table is not in the new file are left as they are.
void RelateTables(Pager& pager, PageAllocator& allocator, std::vector<TableDefinition>& tables,
                  const PageChanges& changes);

}  // namespace vmlib::jet
