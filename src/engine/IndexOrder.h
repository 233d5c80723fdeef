#pragma once

#include "engine/RowSource.h"

namespace vmlib::engine {

/// A table's rows in the order of one of its indexes, as they are at each move: rows that are added come in their
/// place.
class IndexOrder : public RowSource
{
public:
    /// @throws Error 3015 when the table has no such index
    IndexOrder(RowShape shape, TextView index);

    /// Goes to the first row whose key compares so with the given values ("=", ">", ">=", "<", "<="; with the last two
    /// to the last such row). Fewer values than the index has columns compare with its leading columns.
    /// @throws Error 3001 for another comparison or too many values, 3421 for a value that does not convert
    bool Seek(TextView comparison, std::span<const Variant> keys);

    const RowShape& Shape() const override { return shape_; }
    bool First() override;
    bool Last() override;
    bool Next() override;
    bool Previous() override;
    Bytes Bookmark() const override { return MakeBookmark(number_, where_.Packed()); }
    bool GoTo(const Bytes& bookmark) override;
    jet::Value Read(std::size_t column) override;
    std::optional<jet::RowPointer> Pointer(std::size_t) const override { return where_; }
    void Refetch() override;
    std::int32_t Count() override;
    Bytes Added(jet::RowPointer row) override { return MakeBookmark(number_, row.Packed()); }
    void Removed() override { reader_.Forget(); }
    std::unique_ptr<RowSource> Clone() const override { return std::make_unique<IndexOrder>(*this); }
    IndexOrder(const IndexOrder& other);

private:
    const jet::TreeDefinition& Definition() const;
    jet::IndexTree Tree() const { return table_.table->Tree(tree_); }
    bool Settle();
    bool Find(jet::RowPointer row);
    bool Matches(std::span<const jet::Value> values);

    RowShape shape_;
    TableRef table_;
    std::uint32_t number_ = NextSourceNumber();
    std::size_t tree_ = 0;
    std::optional<jet::IndexTree::Position> entry_;
    jet::RowPointer where_;
    RowReader reader_;
};

}  // namespace vmlib::engine
