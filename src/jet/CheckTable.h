#pragma once

#include <map>
#include <set>
#include <unordered_map>
#include <vector>

#include "jet/CheckFindings.h"
#include "jet/CheckTree.h"
#include "jet/DataPage.h"
#include "jet/Definition.h"
#include "jet/IndexTree.h"
#include "jet/RowCodec.h"

namespace vmlib::jet {

/// Keys that the rows of a foreign table need in a tree of the primary table of an enforced relation.
struct NeededKeys
{
    std::string relation;
    PageNumber parent = noPage;  // definition page of the primary table
    std::size_t parentRealIndex = 0;
    TreeDefinition parentTree;  // in the order of the parent's tree, with the foreign table's column numbers
    std::unordered_map<Key, RowPointer> keys;  // and the first row that has each
};

/// Checks one table: definition pages, maps, pages, rows, long values, index trees, and keys against rows both ways.
class TableCheck
{
public:
    TableCheck(Pager& pager, CheckFindings& findings, PageLedger& ledger, std::string name, PageNumber definitionPage);

    /// False when the definition cannot be read; nothing more is checked then.
    bool ReadDefinition();
    /// @param keepRows  decoded rows are kept for Rows(): of the system tables
    void CheckRows(bool keepRows);

    const std::string& Name() const { return name_; }
    const TableDefinition& Definition() const { return definition_; }
    const std::vector<Row>& Rows() const { return rows_; }
    /// A row's value by column name; Null when there is no such column.
    const Value& ValueOf(const Row& row, TextView column) const;
    /// The entries of a real index; null when its tree could not be walked.
    const EntryList* Entries(std::size_t realIndex) const;

    /// Rows' keys for a relation, collected by CheckRows when asked before.
    void Collect(NeededKeys needed) { needed_.push_back(std::move(needed)); }
    const std::vector<NeededKeys>& Needed() const { return needed_; }

private:
    struct LongColumn
    {
        std::set<PageNumber> pages;
        std::set<RowPointer> used;
    };
    struct Slots  // what the pages of the table hold
    {
        std::map<RowPointer, RowPointer> movedAway;
        std::set<RowPointer> movedHere;
    };

    void CheckColumns();
    void CheckPage(PageNumber number, Slots& slots);
    void CheckMovedRows(const Slots& slots);
    void ClaimLongValues();
    void CheckUnusedLongValues();
    void CheckLongValuePage(PageNumber number, const std::set<RowPointer>& used);
    void CheckRow(RowPointer at, std::span<const std::uint8_t> bytes);
    void ReadLongValue(const ColumnDefinition& column, std::span<const std::uint8_t> field, RowPointer row,
                       Value& into);
    Bytes ReadPieces(LongColumn& owned, RowPointer first, bool oneRow, std::size_t length);
    void CheckValues(RowPointer at, const Row& row);
    void WalkTrees();
    void CheckKeys(RowPointer at, const Row& row);
    void CheckEntries();
    void CheckCounts();
    std::string TreeName(std::size_t realIndex) const;

    Pager& pager_;
    CheckFindings& findings_;
    PageLedger& ledger_;
    std::string name_;
    PageNumber page_;
    TableDefinition definition_;
    std::optional<RowCodec> codec_;
    bool keepRows_ = false;
    std::vector<Row> rows_;
    std::size_t rowCount_ = 0;
    std::int64_t greatestAutoNumber_ = 0;
    std::map<std::uint16_t, LongColumn> longColumns_;     // by column number
    std::vector<std::optional<EntryList>> entries_;       // by real index
    std::set<std::size_t> keysUnknown_;                   // real indexes whose keys cannot be made
    std::set<std::pair<std::size_t, Key>> keysWithNull_;  // of unique trees
    std::vector<NeededKeys> needed_;
};

}  // namespace vmlib::jet
