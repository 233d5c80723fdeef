#pragma once

#include "core/Error.h"
#include "engine/RowSource.h"

namespace vmlib::engine {

/// The rows of a plain projection of one table, in one direction and once, a few in memory at a time. The table may
/// change meanwhile, through this program or another: a row that is there when its turn comes is read as it is then,
/// rows that the program adds do not come. No lock is held between two calls, so others can write.
class ForwardRows : public RowSource
{
public:
    /// @param selection  with IsPlain()
    explicit ForwardRows(const Selection& selection);

    const RowShape& Shape() const override { return shape_; }
    /// Only before the first row was left.
    bool First() override;
    bool Next() override;
    jet::Value Read(std::size_t column) override;
    std::optional<jet::RowPointer> Pointer(std::size_t) const override { return std::nullopt; }
    void Refetch() override {}
    std::int32_t Count() override { return visited_; }

    // What a forward-only recordset does not have. @throws Error 3251
    bool Last() override;
    bool Previous() override;
    Bytes Bookmark() const override;
    bool GoTo(const Bytes& bookmark) override;
    Bytes Added(jet::RowPointer row) override;
    void Removed() override;
    std::unique_ptr<RowSource> Clone() const override;

private:
    bool ReadOn();
    bool Advance();

    RowShape shape_;
    TableRef table_;
    std::vector<std::size_t> positions_;  // of the columns in the table
    jet::Table::Cursor cursor_;
    std::vector<jet::Row> rows_;   // those read ahead
    std::optional<Error> damage_;  // met behind them
    std::size_t at_ = 0;
    std::int32_t visited_ = 0;
};

}  // namespace vmlib::engine
