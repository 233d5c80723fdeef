#include "engine/ForwardRows.h"

#include <utility>

namespace vmlib::engine {
namespace {

// Rows read ahead under one lock, fewer when they are long.
constexpr std::size_t mostRows = 64;
constexpr std::size_t enoughBytes = std::size_t{256} << 10;

std::size_t LengthOf(const jet::Value& value)
{
    if (const auto* text = std::get_if<std::string>(&value)) return text->size();
    if (const auto* wide = std::get_if<Text>(&value)) return 2 * wide->size();
    if (const auto* bytes = std::get_if<Bytes>(&value)) return bytes->size();
    return sizeof(jet::Value);
}

Error NotForward()
{
    return Error(ErrorNumber::NotSupported);
}

}  // namespace

ForwardRows::ForwardRows(const Selection& selection)
    : shape_(ShapeOfValues(selection)), table_(selection.Tables().front())
{
    jet::ColumnMask mask(table_.table->Definition().columns.size());
    for (const auto& origin : selection.Origins()) {
        positions_.push_back(origin.value().column);
        mask[positions_.back()] = true;
    }
    cursor_ = table_.table->Scan(mask);
}

bool ForwardRows::ReadOn()
{
    rows_.clear();
    at_ = 0;
    if (damage_) throw Error(*std::exchange(damage_, std::nullopt));
    const jet::ReadScope reading(table_.database->GetPager());
    for (std::size_t bytes = 0; rows_.size() < mostRows && bytes < enoughBytes && Advance();) {
        jet::Row& row = rows_.emplace_back();
        for (const std::size_t position : positions_) {
            row.push_back(cursor_.Current()[position]);
            bytes += LengthOf(row.back());
        }
    }
    return !rows_.empty();
}

/// An error waits until the rows before it are gone through.
bool ForwardRows::Advance()
{
    try {
        return cursor_.Next();
    } catch (const Error& error) {
        if (rows_.empty()) throw;
        damage_ = error;
        return false;
    }
}

bool ForwardRows::First()
{
    if (visited_ > 0) throw NotForward();
    if (!ReadOn()) return false;
    visited_ = 1;
    return true;
}

bool ForwardRows::Next()
{
    if (++at_ >= rows_.size() && !ReadOn()) return false;
    ++visited_;
    return true;
}

jet::Value ForwardRows::Read(std::size_t column)
{
    return rows_.at(at_).at(column);
}

bool ForwardRows::Last()
{
    throw NotForward();
}

bool ForwardRows::Previous()
{
    throw NotForward();
}

Bytes ForwardRows::Bookmark() const
{
    throw NotForward();
}

bool ForwardRows::GoTo(const Bytes&)
{
    throw NotForward();
}

Bytes ForwardRows::Added(jet::RowPointer)
{
    throw NotForward();
}

void ForwardRows::Removed()
{
    throw NotForward();
}

std::unique_ptr<RowSource> ForwardRows::Clone() const
{
    throw NotForward();
}

}  // namespace vmlib::engine
