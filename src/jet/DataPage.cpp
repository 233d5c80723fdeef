#include "jet/DataPage.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>

#include "core/ByteOrder.h"
#include "jet/Damage.h"

// A data page holds rows of one table, page maps, or pieces of long values. Offsets grow from the front, rows from the
// end.
//
//   at  size  content
//    0     2  01 01, the page kind
//    2     2  free bytes between the last offset and the lowest row
//    4     4  definition page of the owning table; 0 on a page of maps (1 on page 1); "LVAL" on a page of long values
//    8     2  n, the number of slots, at most 255
//   10    2n  offsets; top bits C000: deleted; 4000: the row holds only a pointer to where it moved; 8000: a row
//             that moved here
//             free space
//             row n-1 ... row 0, which ends at byte 2048
//
// A row ends where the row before it begins. A deleted slot has no bytes: its offset is that of the slot before it
// (2048 for the first), and it keeps its place, because row pointers count slots. Source: docs/file-format.md, "Data
// pages".

namespace vmlib::jet {

namespace {

constexpr std::size_t freeBytesAt = 2;
constexpr std::size_t ownerAt = 4;
constexpr std::size_t slotCountAt = 8;
constexpr std::uint16_t stateBits = 0xC000;

constexpr PageNumber firstMapPage = 1;  // owned by itself

}  // namespace

bool DataPage::Is(const PageRef& page, std::uint32_t owner)
{
    const std::uint8_t* data = page.Data();
    if (!IsOfKind(data, PageKind::Data)) return false;
    const auto stored = LoadLittle<std::uint32_t>(data + ownerAt);
    return stored == owner || (owner == mapOwner && page.Number() == firstMapPage && stored == firstMapPage);
}

DataPage::DataPage(PageRef page, std::uint32_t owner) : page_(std::move(page))
{
    if (!IsOfKind(page_.Data(), PageKind::Data)) throw Damaged(page_.Number(), "a page of rows is of another kind");
    if (!Is(page_, owner)) throw Damaged(page_.Number(), "a page of rows belongs to another owner");
    slotCount_ = LoadLittle<std::uint16_t>(page_.Data() + slotCountAt);
    if (slotCount_ > greatestSlotCount) throw Damaged(page_.Number(), "a page of rows counts more than 255 of them");
}

std::uint16_t DataPage::RawOffset(std::size_t index) const
{
    return LoadLittle<std::uint16_t>(page_.Data() + headSize + 2 * index);
}

void DataPage::Fail(std::size_t slot, const char* finding) const
{
    throw Damaged(page_.Number(), "row " + std::to_string(slot) + " " + finding);
}

Slot DataPage::At(std::size_t index) const
{
    assert(index < slotCount_);
    const std::uint16_t raw = RawOffset(index);
    const std::size_t begin = raw & ~stateBits;
    const std::size_t end = index == 0 ? pageSize : RawOffset(index - 1) & ~stateBits;
    if (end > pageSize || begin > end) Fail(index, "does not end where the row before it begins");
    if (begin < headSize + 2 * slotCount_) Fail(index, "begins before the end of the offsets");
    return {static_cast<SlotState>(raw & stateBits), {page_.Data() + begin, end - begin}};
}

std::size_t DataPage::LowestRow() const
{
    if (slotCount_ == 0) return pageSize;
    const std::size_t lowest = RawOffset(slotCount_ - 1) & ~stateBits;
    if (lowest > pageSize || lowest < headSize + 2 * slotCount_) Fail(slotCount_ - 1, "begins outside the page's rows");
    return lowest;
}

std::size_t DataPage::FreeBytes() const
{
    return LowestRow() - headSize - 2 * slotCount_;
}

DataPageEdit::DataPageEdit(const PageEdit& page, std::uint32_t owner) : DataPage(page.Ref(), owner), data_(page.Data())
{
}

DataPageEdit DataPageEdit::Format(const PageEdit& page, std::uint32_t owner)
{
    std::uint8_t* data = page.Data();
    data[0] = static_cast<std::uint8_t>(PageKind::Data);
    data[1] = 1;
    StoreLittle<std::uint32_t>(data + ownerAt, owner);
    StoreLittle<std::uint16_t>(data + freeBytesAt, pageSize - headSize);
    return {page, owner};
}

void DataPageEdit::StoreFreeBytes(std::size_t lowest)
{
    StoreLittle<std::uint16_t>(data_ + freeBytesAt, static_cast<std::uint16_t>(lowest - headSize - 2 * slotCount_));
}

std::uint8_t DataPageEdit::Append(std::span<const std::uint8_t> row, SlotState state)
{
    assert(HasRoomFor(row.size()));
    const std::size_t begin = LowestRow() - row.size();
    std::memcpy(data_ + begin, row.data(), row.size());
    const auto offset = static_cast<std::uint16_t>(begin | static_cast<std::uint16_t>(state));
    StoreLittle<std::uint16_t>(data_ + headSize + 2 * slotCount_, offset);
    ++slotCount_;
    StoreLittle<std::uint16_t>(data_ + slotCountAt, static_cast<std::uint16_t>(slotCount_));
    StoreFreeBytes(begin);
    return static_cast<std::uint8_t>(slotCount_ - 1);
}

bool DataPageEdit::CanHold(std::size_t index, std::size_t rowSize) const
{
    return FreeBytes() + At(index).bytes.size() >= rowSize;
}

void DataPageEdit::CheckOrder() const
{
    std::size_t before = pageSize;
    for (std::size_t i = 0; i < slotCount_; ++i) {
        const std::size_t begin = RawOffset(i) & ~stateBits;
        if (begin > before || begin < headSize + 2 * slotCount_) Fail(i, "does not end where the row before it begins");
        before = begin;
    }
}

void DataPageEdit::Replace(std::size_t index, std::span<const std::uint8_t> row, SlotState state)
{
    CheckOrder();
    assert(CanHold(index, row.size()));
    std::array<std::uint8_t, pageSize> copy;
    std::copy(row.begin(), row.end(), copy.begin());

    const std::size_t oldBegin = RawOffset(index) & ~stateBits;
    const std::size_t end = index == 0 ? pageSize : RawOffset(index - 1) & ~stateBits;
    const std::size_t lowest = LowestRow();
    const std::size_t newBegin = end - row.size();
    const std::size_t newLowest = lowest + newBegin - oldBegin;

    std::memmove(data_ + newLowest, data_ + lowest, oldBegin - lowest);
    std::memcpy(data_ + newBegin, copy.data(), row.size());
    StoreLittle<std::uint16_t>(data_ + headSize + 2 * index,
                               static_cast<std::uint16_t>(newBegin | static_cast<std::uint16_t>(state)));
    for (std::size_t i = index + 1; i < slotCount_; ++i) {
        const std::uint16_t raw = RawOffset(i);
        const std::size_t begin = (raw & ~stateBits) + newBegin - oldBegin;
        StoreLittle<std::uint16_t>(data_ + headSize + 2 * i, static_cast<std::uint16_t>(begin | (raw & stateBits)));
    }
    StoreFreeBytes(newLowest);
}

std::span<std::uint8_t> DataPageEdit::Writable(std::size_t index)
{
    const Slot slot = At(index);
    return {data_ + (slot.bytes.data() - page_.Data()), slot.bytes.size()};
}

}  // namespace vmlib::jet
