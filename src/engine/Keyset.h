#pragma once

#include "engine/KeptRows.h"
#include "engine/RowSource.h"

namespace vmlib::engine {

/// What a keyset keeps of its rows, shared by clones: row pointers of base tables, and the values of columns that come
/// from none.
struct KeysetRows
{
    enum class Keep
    {
        Pointers,  // a dynaset: plain columns are read from their tables when they are asked for
        Values,    // a snapshot: every value as it was
    };

    KeysetRows(const Selection& selection, Keep keep);
    /// The same columns without rows.
    KeysetRows(const KeysetRows& like, std::nullptr_t);
    /// Runs the selection and keeps all its rows.
    void Fill(const Selection& selection);

    std::size_t Size() const { return deleted.size(); }

    std::uint32_t number = NextSourceNumber();
    RowShape shape;
    Keep keep;
    std::vector<std::optional<std::size_t>> valueOf;  // a column's place among the kept values of a row
    std::size_t valuesPerRow = 0;

    std::vector<std::optional<jet::RowPointer>> pointers;  // tables.size() a row
    std::unique_ptr<KeptRows> values;                      // valuesPerRow a row
    std::vector<bool> deleted;
    std::size_t visited = 0;   // rows up to the farthest place that a move reached
    std::size_t selected = 0;  // rows that the selection gave; behind them are those added since
    bool countsTable = false;  // table type: the number of rows is the table's
};

/// A dynaset or snapshot, or a table in the order of its pages: a fixed list of rows. Rows deleted through it are
/// skipped, rows added through it come last.
class Keyset : public RowSource
{
public:
    explicit Keyset(std::shared_ptr<KeysetRows> rows);

    const RowShape& Shape() const override { return rows_->shape; }
    bool First() override { return Settle(0, true); }
    bool Last() override { return Settle(rows_->Size(), false); }
    bool Next() override { return Settle(at_ + 1, true); }
    bool Previous() override { return Settle(at_, false); }
    Bytes Bookmark() const override { return MakeBookmark(rows_->number, static_cast<std::uint32_t>(at_)); }
    bool GoTo(const Bytes& bookmark) override;
    jet::Value Read(std::size_t column) override;
    std::optional<jet::RowPointer> Pointer(std::size_t table) const override;
    void Refetch() override;
    std::int32_t Count() override;
    std::optional<std::int32_t> Position() const override;
    bool GoToPosition(std::int32_t position) override;
    Bytes Added(jet::RowPointer row) override;
    void Removed() override { rows_->deleted[at_] = true; }
    std::unique_ptr<RowSource> Clone() const override { return std::make_unique<Keyset>(rows_); }

    /// A source of some of these rows, in the order of the bookmarks.
    std::unique_ptr<RowSource> Subset(const std::vector<Bytes>& bookmarks) const;

private:
    /// From `place` on forward, or from before `place` backward, to the first row that is not deleted.
    bool Settle(std::size_t place, bool forward);
    std::int32_t Living(std::size_t end) const;

    std::shared_ptr<KeysetRows> rows_;
    std::vector<RowReader> readers_;  // one a base table
    std::size_t at_ = 0;
};

}  // namespace vmlib::engine
