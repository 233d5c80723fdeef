#pragma once

#include <functional>
#include <memory>
#include <set>

#include "jet/LongValues.h"
#include "jet/RowCodec.h"
#include "jet/Table.h"

namespace vmlib::jet {

/// The rows of a table that is to be built anew.
class RowSource
{
public:
    using Visit = std::function<void(RowPointer at, const Row& row)>;

    virtual ~RowSource() = default;
    /// Visits the rows in the order of their pages. Columns outside the mask (empty: none is outside) may be anything.
    virtual void ForEach(const ColumnMask& columns, const Visit& visit) = 0;
    /// All of a row that ForEach has visited. False when there is nothing to be had of it.
    virtual bool Fetch(RowPointer at, Row& row) = 0;
};

/// What the rows of a damaged table did not allow.
struct UnfitRows
{
    std::size_t tooLong = 0;             // rows left out
    std::vector<std::size_t> repeated;   // unique trees whose keys come repeatedly: no longer unique
    std::vector<std::size_t> withNulls;  // trees with a Null where none may be: no longer required
};

/// Builds one table in a new file from a definition and rows: rows in the order of the primary key, pages filled one
/// after the other, indexes sorted and written whole. Columns that went are not made again, so the others are numbered
/// anew. Memory stays bounded whatever the table's size. Needs a running unit of work.
///
///     TableBuilder builder(pager, allocator, definition, files, temporaryFolder);
///     builder.Fill(rows);
///     const TableDefinition& built = builder.Finish();
class TableBuilder
{
public:
    /// @param from  the definition to follow; `page`, maps and trees are the old file's
    TableBuilder(Pager& pager, PageAllocator& allocator, const TableDefinition& from, Files& files,
                 TextView temporaryFolder);
    ~TableBuilder();

    /// Rows that do not fit are counted, and indexes that they do not fit become weaker, instead of an error.
    void Tolerate(UnfitRows& unfit) { unfit_ = &unfit; }

    /// @throws Error 3022 for a key that comes twice, 3058 for a Null in a key, 3047 for a row that is too long
    void Fill(RowSource& rows);

    /// The definition as it was written. Relation indexes still name the other tables of the old file.
    const TableDefinition& Finish();

private:
    struct Building;

    void CreateDefinition(const TableDefinition& from);
    void StartTrees(std::size_t first);
    void FinishTrees();
    void FinishTree(Building& building);
    bool ComesTwice(const Building& building, const Key& firstDuplicate);
    void FillLaterTrees();
    void AddInKeyOrder(RowSource& rows, std::size_t primaryTree);
    void AddRow(const Row& row);
    bool StoreLongValues(const Row& row);
    void AddKeys(RowPointer at, const Row& row);
    void NoteRoom(PageNumber page);
    void Weaken();

    Pager& pager_;
    PageAllocator& allocator_;
    Files& files_;
    Text temporaryFolder_;
    UnfitRows* unfit_ = nullptr;
    TableDefinition made_;
    std::optional<RowCodec> codec_;
    std::optional<RowStore> store_;
    LongValues longValues_;
    std::vector<std::unique_ptr<Building>> trees_;  // that take the keys of the rows that come now
    PageNumber lastPage_ = noPage;
    std::size_t rowCount_ = 0;
    std::int32_t greatestAutoNumber_ = 0;

    // Of the row that is stored; members to keep their room.
    std::vector<Bytes> longFields_;
    std::vector<std::size_t> fieldSizes_;
    RowCodec::Buffer buffer_;
};

}  // namespace vmlib::jet
