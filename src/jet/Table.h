#pragma once

#include <memory>
#include <vector>

#include "jet/Definition.h"
#include "jet/IndexTree.h"
#include "jet/PageAllocator.h"

namespace vmlib::jet {

namespace format4 {
class Scan;
}

/// Which columns to decode; empty: all. Indexed by position in TableDefinition::columns.
using ColumnMask = std::vector<bool>;

/// Rows and indexes of one table kept in step. Knows no catalogue: names, properties and relations come from outside.
///
///     Table table(pager, allocator, definition);
///     const ReadScope scope(pager);    // not needed, but each call of a shared file would take a scope of its own
///     for (auto cursor = table.Scan(); cursor.Next();) use(cursor.Current());
///
///     UnitOfWork unit(pager);          // every change needs a running unit
///     table.Insert(row);
///     unit.Commit();
///
/// A change that throws has changed nothing. One object a table and file: it remembers where the last row went and what
/// the definition says.
class Table
{
public:
    /// @param definition  as ReadDefinition or Create gave it, with name and properties added; those are kept when
    /// pages are decoded again
    Table(Pager& pager, PageAllocator& allocator, TableDefinition definition);
    ~Table();
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    /// The definition as it is now (decoded again when Pager::Generation changed or a change of this object altered
    /// it). The reference stays valid, its contents change.
    const TableDefinition& Definition();
    /// Reads a definition from its pages, without name and properties. @throws Damaged
    static TableDefinition ReadDefinition(Pager& pager, PageNumber page);
    /// Writes the definition of a new table (columns only, no indexes): allocates pages and maps, fills in numbers,
    /// ordinals, offsets, flags (bits 20, 40 and 80 of `flags` are taken from the caller). With `wanted.page` the
    /// definition goes there; the caller has taken that page.
    /// @throws Error 3264 without columns, 3190 with more than 255, 3259 for a type that the format does not have
    static TableDefinition Create(Pager& pager, PageAllocator& allocator, TableDefinition wanted);
    /// Takes over what the catalogue says of the table now: its name, its properties and those of its columns.
    void Describe(TableDefinition definition);
    /// Gives all pages of the table back: rows, long values, indexes, maps, definition. Whoever still holds the object
    /// gets error 3011 from it.
    void Destroy();

    /// Walks the rows in the order of the pages. The table may be changed between two calls of Next: each row that was
    /// there when the scan began and still is comes once, rows inserted since do not come. Keeps the column set of its
    /// beginning.
    class Cursor
    {
    public:
        Cursor();
        bool Next();  // to the next row; false at the end. @throws Damaged; the call after it goes on behind the
                      // damaged row or page
        const Row& Current() const;
        RowPointer Where() const;

    private:
        friend class Table;
        struct State;
        std::shared_ptr<State> state_;
        std::shared_ptr<format4::Scan> stored_;  // instead, in a file of format 4
    };
    /// Columns outside the mask are Null in Current(). The table must outlive the cursor's last Next.
    Cursor Scan(const ColumnMask& columns = {});

    /// False when the row is deleted. Moved rows are found through their old place. Columns outside the mask become
    /// Null. @throws Damaged
    bool Fetch(RowPointer at, Row& row, const ColumnMask& columns = {});

    /// Checks unique and required indexes before the first byte changes, then stores row, long values and entries.
    /// Values already have their column's type (text within its size; the caller converted them).
    /// @throws Error 3022 duplicate, 3058 Null in a primary or required key, 3047 row longer than 2,012 bytes (2,003
    /// without variable columns)
    RowPointer Insert(const Row& row);
    /// Rewrites a row; it moves when it no longer fits, its pointer stays the same. @throws as Insert, and 3167 when
    /// the row is deleted
    void Update(RowPointer at, const Row& row);
    /// @throws Error 3167 when the row is deleted already
    void Delete(RowPointer at);

    /// The next AutoNumber (highest ever + 1); taking it moves the counter.
    std::int32_t TakeAutoNumber();
    /// Moves the counter to at least `given`.
    void NoteAutoNumber(std::int32_t given);

    /// The tree of a real index, to search in; valid until the table changes. Of format 4 one in memory, made of all
    /// rows at the first call; text without a byte in code page 1252 stands there as its best fit.
    IndexTree Tree(std::size_t realIndex);
    /// Builds a real index over the rows there are and writes it into the definition, and a logical index of that name
    /// with it. The tree is the index's own: only relations share one (TreeOver).
    /// @throws Error 3022, 3058, 3039 above 32, 3277 above 10 columns, 3409 unknown, memo or long binary column, 3284
    ///         name taken, 3283 second primary key
    void AddIndex(const NewIndex& index, Files& files, TextView temporaryFolder);
    /// Of any kind; its tree goes with the last logical index on it. @throws Error 3372
    void RemoveIndex(TextView name);

    /// For the logical indexes of a relation (docs/file-format.md, "Relations"). On the foreign side:
    ///
    ///     index.realIndex = table.TreeOver(columns, files, folder);  // the tree that is there for them, else a new one
    ///     index.number = table.NextIndexNumber();                    // what the other table names as `otherIndex`
    ///     table.AddLogicalIndex(index);
    std::size_t TreeOver(const std::vector<IndexColumn>& columns, Files& files, TextView temporaryFolder);
    std::uint32_t NextIndexNumber();
    void AddLogicalIndex(IndexDefinition index);  // @throws Error 3039, 3284
    /// Says which logical index of the other table belongs to this relation index.
    void SetOtherIndex(std::uint32_t number, std::int32_t otherIndex);

    /// Adds a column (rows stored before lack it: Null, Boolean False) or removes one (its bytes and number stay).
    void AddColumn(ColumnDefinition column);  // @throws Error 3190, 3259
    void RemoveColumn(TextView name);         // @throws Error 3381; an index still uses it: 3280
    void RenameColumn(TextView from, TextView to);
    /// Writes changed ordinal positions, sizes, flags and the like of columns that exist.
    void RewriteDefinition(const TableDefinition& definition);

    std::uint32_t RowCount();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace vmlib::jet
