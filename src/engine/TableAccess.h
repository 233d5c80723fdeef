#pragma once

#include <sqlite3.h>

#include <memory>
#include <optional>
#include <span>
#include <string>

#include "jet/Database.h"

/// How the rows of a stored table are reached when SQLite asks for them: by scan, by row pointer or through an index.
namespace vmlib::engine {

/// A table together with the database that keeps it open.
struct TableRef
{
    std::shared_ptr<jet::Database> database;
    std::shared_ptr<jet::Table> table;
};

/// Chosen in xBestIndex, carried to xFilter as text. Its arguments there: the values of the equal columns, then the
/// lower, then the upper bound.
struct AccessPlan
{
    enum class Kind
    {
        Scan,
        Pointer,  // rowid = ?
        Index,
    };
    Kind kind = Kind::Scan;
    std::size_t tree = 0;                     // Index: position in TableDefinition::trees
    std::size_t equalColumns = 0;             // leading columns of the index that are given
    bool hasLower = false, hasUpper = false;  // bounds on the column behind them
    sqlite3_uint64 usedColumns = 0;           // bit 63: every column from the 64th on

    std::string Encode() const;
    static AccessPlan Decode(const char* text);
};

/// Answers xBestIndex: picks the cheapest way and writes it into `info`. Constraints are never omitted from SQLite's
/// own checking, because keys lose information (case, trailing blanks, what is beyond 255 bytes). An index on text
/// serves only when its column has the order that the collation has.
/// @param langid  the sort order of the connection's collation
void PlanAccess(const jet::TableDefinition& table, std::uint16_t langid, sqlite3_index_info& info);

/// Walks the rows that a plan finds.
class TableReader
{
public:
    explicit TableReader(TableRef table) : table_(std::move(table)) {}

    /// To the first row. A bound that the column's type cannot hold makes it a scan: SQLite checks every row again.
    void Start(const AccessPlan& plan, std::span<sqlite3_value*> arguments);
    void Next();
    bool AtEnd() const { return atEnd_; }
    const jet::Row& Current() const { return plan_.kind == AccessPlan::Kind::Scan ? cursor_.Current() : row_; }
    jet::RowPointer Where() const { return plan_.kind == AccessPlan::Kind::Scan ? cursor_.Where() : where_; }

private:
    bool StartIndex(std::span<sqlite3_value*> arguments);
    void ReadEntry();

    TableRef table_;
    AccessPlan plan_;
    jet::ColumnMask mask_;
    bool atEnd_ = true;

    jet::Table::Cursor cursor_;

    std::optional<jet::IndexTree::Position> entry_;
    jet::Key prefix_;  // every entry begins with it
    jet::Key upper_;   // the first bytes of no entry are above it
    jet::Row row_;
    jet::RowPointer where_;
};

}  // namespace vmlib::engine
