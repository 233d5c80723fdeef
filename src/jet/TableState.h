#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "jet/Format4Order.h"
#include "jet/Format4Rows.h"
#include "jet/LongValues.h"
#include "jet/RowCodec.h"
#include "jet/RowScan.h"
#include "jet/RowStore.h"
#include "jet/Table.h"

namespace vmlib::jet {

/// What a Table keeps between two calls. Everything but the name and the properties follows from the definition pages.
struct Table::State
{
    using Keys = std::vector<std::optional<Key>>;  // one a real index; none: the row has no entry

    State(Pager& pager, PageAllocator& allocator, TableDefinition definition);

    // Table.cpp
    State& Current();                     // decodes again when the file changed by other means
    State& ToChange();                    // @throws Error 3027 when the file is of format 4
    void Adopt(TableDefinition changed);  // takes over a definition that was just written
    void TakeCounters();                  // row count and AutoNumber as the page has them now
    std::vector<std::size_t> Wanted(const ColumnMask& mask) const;
    bool FetchStored(RowPointer at, Row& row, const ColumnMask& columns);
    const IndexTree& OrderOf(std::size_t realIndex);  // of format 4
    RowScan NewScan(std::vector<std::size_t> wanted);

    // TableChange.cpp
    Keys KeysOf(const Row& row) const;
    void RefuseKeys(const Row& row, const Keys& keys, const Keys& before);
    void AddEntries(const Keys& keys, const Keys& before, RowPointer at);
    void RemoveEntries(const Keys& keys, const Keys& after, RowPointer at);
    void CountKey(std::size_t tree, int difference);
    static void CountRow(const PageEdit& definitionPage, int difference);
    void CheckSize(const Row& row);
    void StoreLongValues(const Row& row);
    void KeepLongValues(const Row& row, const RowFields& before, PageNumber page);
    void FreeLongValues(const RowFields& before, PageNumber page);
    Row IndexedFields(const RowFields& fields) const;
    bool FitsOnePage(const Row& row) const;
    void NoteInserted(RowPointer at);

    // TableDesign.cpp
    void BuildTree(TableDefinition& changed, TreeDefinition tree, bool forRelation, Files& files,
                   TextView temporaryFolder);
    void CheckIndexColumns(const std::vector<IndexColumn>& columns) const;
    void AddLogical(TableDefinition& changed, IndexDefinition index) const;
    void RewriteOlderRows();
    std::uint32_t FreeIndexNumber() const;
    template <class Step>
    void Redesign(TableDefinition changed, Step step);
    void Redesign(TableDefinition changed);

    Pager& pager;
    PageAllocator& allocator;
    TableDefinition definition;
    std::uint64_t generation;
    bool destroyed = false;  // its pages may belong to another table by now

    // Made from the definition
    std::shared_ptr<const RowCodec> codec;
    std::shared_ptr<const TableDefinition> format4;             // of format 4; then nothing of the following is
    std::vector<std::unique_ptr<format4::Order>> orders;        // by real index; null until asked for
    std::vector<std::unique_ptr<format4::Order>> formerOrders;  // somebody may still stand in them
    std::optional<RowStore> rows;
    std::optional<LongValues> longValues;
    std::vector<IndexTree> trees;
    std::vector<std::size_t> indexedColumns;  // positions
    std::vector<std::size_t> longColumns;     // positions

    std::vector<std::weak_ptr<Cursor::State>> scans;  // that still run

    // Of the change that runs; members to keep their room.
    std::vector<Bytes> longFields;        // by position: what the row will hold
    std::vector<std::size_t> fieldSizes;  // the lengths of those
    std::vector<bool> kept;               // the value stays where it is
    RowCodec::Buffer buffer;
};

struct Table::Cursor::State : RowScan
{
    explicit State(RowScan scan) : RowScan(std::move(scan)) {}
};

}  // namespace vmlib::jet
