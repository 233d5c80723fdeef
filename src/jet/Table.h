#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "jet/Definition.h"
#include "jet/IndexTree.h"
#include "jet/PageAllocator.h"

namespace vmlib::jet {

/// Which columns to decode; empty: all. Indexed by position in TableDefinition::columns.
using ColumnMask = std::vector<bool>;

/// Rows and indexes of one table kept in step. Knows no catalogue: names, properties and relations come from outside.
///
///     Table table(pager, allocator, definition);
///     for (auto cursor = table.Scan(); cursor.Next();) use(cursor.Current());
class Table
{
public:
    Table(Pager& pager, PageAllocator& allocator, TableDefinition definition);

    /// The definition as it is now (decoded again when Pager::Generation changed or a change of this object altered it).
    const TableDefinition& Definition();
    /// Reads a definition from its pages, without name and properties. @throws Damaged
    static TableDefinition ReadDefinition(Pager& pager, PageNumber page);
    /// Writes the definition of a new table (columns only, no indexes): allocates pages and maps, fills in numbers, ordinals, offsets, flags.
    static TableDefinition Create(Pager& pager, PageAllocator& allocator, TableDefinition wanted);
    /// Gives all pages of the table back: rows, long values, indexes, maps, definition.
    void Destroy();

    /// Walks the rows in the order of the pages.
    class Cursor
    {
    public:
        bool Next();             // to the next row; false at the end
        const Row& Current() const;
        RowPointer Where() const;

    private:
        friend class Table;
        struct State;
        std::shared_ptr<State> state_;
    };
    Cursor Scan(ColumnMask columns = {});

    /// False when the row is deleted. Moved rows are found through their old place. @throws Damaged
    bool Fetch(RowPointer at, Row& row, const ColumnMask& columns = {});

    /// Checks unique and required indexes before the first byte changes, then stores row, long values and entries.
    /// Values already have their column's type (text within its size; the caller converted them).
    /// @throws Error 3022 duplicate, 3058 Null in a primary or required key, 3047-like row too long
    RowPointer Insert(const Row& row);
    /// Rewrites a row; it moves when it no longer fits, its pointer stays the same.
    void Update(RowPointer at, const Row& row);
    void Delete(RowPointer at);

    /// The next AutoNumber (highest ever + 1); taking it moves the counter.
    std::int32_t TakeAutoNumber();
    /// Moves the counter to at least `given`.
    void NoteAutoNumber(std::int32_t given);

    IndexTree Tree(std::size_t realIndex);
    /// Builds a real index over the rows there are and writes it into the definition; a logical index of that name with it. A tree with the same
    /// columns and flags is shared only by relations (`shareTree`).
    /// @throws Error 3022, 3058, 3039, 3277, 3409
    void AddIndex(const NewIndex& index, Files& files, TextView temporaryFolder);
    void RemoveIndex(TextView name);  // its tree goes with the last logical index on it
    /// Adds or removes the logical index of a relation; see docs/file-format.md, "Relations".
    void AddLogicalIndex(IndexDefinition index);
    /// Adds a column (rows stored before lack it: Null) or removes one (its bytes and number stay).
    void AddColumn(ColumnDefinition column);
    void RemoveColumn(TextView name);
    void RenameColumn(TextView from, TextView to);
    /// Writes changed ordinal positions and the like of columns that exist.
    void RewriteDefinition(const TableDefinition& definition);

    std::uint32_t RowCount();

private:
    Pager& pager_;
    PageAllocator& allocator_;
    TableDefinition definition_;
    std::uint64_t generation_ = 0;
};

}  // namespace vmlib::jet
