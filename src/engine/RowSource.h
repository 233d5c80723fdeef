#pragma once

#include "engine/Selection.h"

namespace vmlib::engine {

/// What the rows of a recordset consist of.
struct RowShape
{
    std::vector<sql::OutputColumn> columns;
    std::vector<TableRef> tables;                           // base tables; empty when nothing can be changed
    std::vector<std::optional<Selection::Origin>> origins;  // of plain columns: table and position there
    /// Of stored columns without origin: a copy of the design, since the table is not held; null for computed ones.
    std::vector<std::shared_ptr<const jet::ColumnDefinition>> designs;
};

/// The shape of rows that are kept as values, whose columns change no table.
RowShape ShapeOfValues(const Selection& selection);

/// The rows of a recordset in their order, one of them current. Knows no edit buffer and no BOF or EOF.
/// A move returns false when there is no row in that direction; the place is lost then, until First, Last or GoTo.
class RowSource
{
public:
    virtual ~RowSource() = default;
    virtual const RowShape& Shape() const = 0;

    virtual bool First() = 0;
    virtual bool Last() = 0;
    virtual bool Next() = 0;
    virtual bool Previous() = 0;

    /// Bytes that find the current row again in this source and its clones.
    virtual Bytes Bookmark() const = 0;
    /// False when the row is deleted. @throws Error 3159 for bytes of another source
    virtual bool GoTo(const Bytes& bookmark) = 0;

    /// @throws Error 3167 when the row is deleted
    virtual jet::Value Read(std::size_t column) = 0;
    /// The row of a base table that the current row was made of.
    virtual std::optional<jet::RowPointer> Pointer(std::size_t table) const = 0;
    /// Forgets what was read of the current row, so that it is read again.
    virtual void Refetch() = 0;

    /// Rows, as RecordCount counts them.
    virtual std::int32_t Count() = 0;
    /// The number of rows before the current one; no value when the source has no numbers.
    virtual std::optional<std::int32_t> Position() const { return std::nullopt; }
    virtual bool GoToPosition(std::int32_t) { return false; }

    /// Takes in a row that was added to the first base table; gives its bookmark.
    virtual Bytes Added(jet::RowPointer row) = 0;
    /// The current row was deleted.
    virtual void Removed() = 0;

    virtual std::unique_ptr<RowSource> Clone() const = 0;
};

/// The current row of one base table, read when first asked for.
class RowReader
{
public:
    explicit RowReader(TableRef table) : table_(std::move(table)) {}
    /// @throws Error 3167 when the row is deleted
    const jet::Row& At(jet::RowPointer pointer);
    void Forget() { isRead_ = false; }

private:
    TableRef table_;
    jet::RowPointer pointer_;
    jet::Row row_;
    bool isRead_ = false;
};

/// A number that no other source of the process has, which bookmarks begin with.
std::uint32_t NextSourceNumber();
Bytes MakeBookmark(std::uint32_t source, std::uint32_t place);
/// @throws Error 3159
std::uint32_t PlaceOf(const Bytes& bookmark, std::uint32_t source);

}  // namespace vmlib::engine
