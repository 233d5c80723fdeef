#include "jet/Format4Pages.h"

#include <cstring>

#include "core/ByteOrder.h"
#include "jet/Damage.h"

// A page of rows in format 4:
//
//   at  size  content
//    0     2  01 01
//    2     2  free bytes
//    4     4  definition page of the owner; 0 on a page of maps; 'LVAL' on a page of long values
//    8     4  unknown
//   12     2  n, the number of rows
//   14    2n  row offsets: 13 bits; bit 4000 a pointer to where the row moved, bit 8000 moved here, both deleted
//
// A map is a row: kind 0: first page (4), bits; kind 1: numbers of pages (4 each; 0 none) of kind 05 01, whose bits
// begin at 4. Fields of long values are as in format 3 (LongValues.cpp). Source: docs/file-format.md, "Format 4".

namespace vmlib::jet::format4 {

namespace {

constexpr std::size_t headSize = 14, slotCountAt = 12, ownerAt = 4;
constexpr std::uint16_t offsetBits = 0x1FFF, stateBits = 0xC000;
constexpr std::size_t greatestSlotCount = 256;
constexpr int greatestMoves = 8;
constexpr std::size_t pointerSize = 4;

constexpr std::size_t mapBitsAt = 4;
constexpr std::size_t pagesPerMapPage = (pageBytes - mapBitsAt) * 8;

constexpr std::uint32_t inlineFlag = 0x80000000, oneRowFlag = 0x40000000, lengthBits = 0x3FFFFFFF;
constexpr std::size_t longFieldSize = 12;

void AddBits(std::span<const std::uint8_t> bits, std::uint64_t first, PageNumber pageCount, PageNumber where,
             std::vector<PageNumber>& pages)
{
    for (std::size_t i = 0; i < bits.size() * 8; ++i) {
        if ((bits[i / 8] >> (i % 8) & 1) == 0) continue;
        if (first + i >= pageCount) throw Damaged(where, "a map lists a page behind the end of the file");
        pages.push_back(static_cast<PageNumber>(first + i));
    }
}

StoredRow PieceAt(Pager& pager, RowPointer at)
{
    const RowPage page(ReadPage(pager, at.page), DataPage::longValueOwner);
    if (at.row >= page.SlotCount()) throw Damaged(at.page, "a piece of a long value is missing");
    const Slot slot = page.At(at.row);
    if (slot.state != SlotState::Row) throw Damaged(at.page, "a piece of a long value is deleted");
    return {at, page.Page(), slot.bytes};
}

}  // namespace

PageNumber PageCount(Pager& pager)
{
    return pager.PageCount() / (pageBytes / pageSize);
}

StoredPageRef ReadPage(Pager& pager, PageNumber number)
{
    if (number >= PageCount(pager)) throw Damaged(number, "the page lies behind the end of the file");
    auto page = std::make_shared<StoredPage>();
    page->number = number;
    std::memcpy(page->bytes.data(), pager.Read(2 * number).Data(), pageSize);
    std::memcpy(page->bytes.data() + pageSize, pager.Read(2 * number + 1).Data(), pageSize);
    return page;
}

bool RowPage::Is(const StoredPage& page, std::uint32_t owner)
{
    return IsOfKind(page.bytes.data(), PageKind::Data) && LoadLittle<std::uint32_t>(&page.bytes[ownerAt]) == owner;
}

RowPage::RowPage(StoredPageRef page, std::uint32_t owner) : page_(std::move(page))
{
    if (!Is(*page_, owner)) throw Damaged(page_->number, "a page of rows belongs to something else");
    slotCount_ = LoadLittle<std::uint16_t>(&page_->bytes[slotCountAt]);
    if (slotCount_ > greatestSlotCount) throw Damaged(page_->number, "a page counts more rows than it can have");
}

Slot RowPage::At(std::size_t index) const
{
    const auto raw = [&](std::size_t i) { return LoadLittle<std::uint16_t>(&page_->bytes[headSize + 2 * i]); };
    const std::size_t begin = raw(index) & offsetBits;
    const std::size_t end = index == 0 ? pageBytes : raw(index - 1) & offsetBits;
    if (begin > end || end > pageBytes || begin < headSize + 2 * slotCount_)
        throw Damaged(page_->number, "row " + std::to_string(index) + " has an offset that cannot be");
    return {static_cast<SlotState>(raw(index) & stateBits), std::span(page_->bytes).subspan(begin, end - begin)};
}

StoredRow FindRow(Pager& pager, std::uint32_t owner, RowPointer at)
{
    for (int moves = 0; moves <= greatestMoves; ++moves) {
        const RowPage page(ReadPage(pager, at.page), owner);
        if (at.row >= page.SlotCount()) {
            if (moves == 0) return {};
            throw Damaged(at.page, "a row that moved is not there");
        }
        const Slot slot = page.At(at.row);
        if (slot.state == SlotState::Deleted) {
            if (moves == 0) return {};
            throw Damaged(at.page, "a row that moved is deleted");
        }
        if (slot.state != SlotState::MovedAway) return {at, page.Page(), slot.bytes};
        if (slot.bytes.size() < pointerSize) throw Damaged(at.page, "the pointer to a row that moved is cut off");
        at = RowPointer::Unpack(LoadLittle<std::uint32_t>(slot.bytes.data()));
    }
    throw Damaged(at.page, "a row moves without end");
}

std::vector<PageNumber> PagesOfMap(Pager& pager, std::uint32_t rowPointer)
{
    const RowPointer at = RowPointer::Unpack(rowPointer);
    const StoredRow map = FindRow(pager, DataPage::mapOwner, at);
    const PageNumber pageCount = PageCount(pager);
    std::vector<PageNumber> pages;
    if (map.bytes.empty()) throw Damaged(at.page, "a map of pages is missing");
    if (map.bytes[0] == 0) {
        if (map.bytes.size() < 1 + pointerSize) throw Damaged(at.page, "a map of pages is cut off");
        AddBits(map.bytes.subspan(1 + pointerSize), LoadLittle<std::uint32_t>(&map.bytes[1]), pageCount, at.page,
                pages);
        return pages;
    }
    if (map.bytes[0] != 1) throw Damaged(at.page, "a map of pages is of an unknown kind");
    for (std::size_t i = 0; 1 + (i + 1) * pointerSize <= map.bytes.size(); ++i) {
        const auto number = LoadLittle<PageNumber>(&map.bytes[1 + i * pointerSize]);
        if (number == noPage) continue;
        const StoredPageRef page = ReadPage(pager, number);
        if (!IsOfKind(page->bytes.data(), PageKind::Map)) throw Damaged(number, "a page of a map is of another kind");
        AddBits(std::span(page->bytes).subspan(mapBitsAt), std::uint64_t{i} * pagesPerMapPage, pageCount, number,
                pages);
    }
    return pages;
}

Bytes ReadLongValue(Pager& pager, std::span<const std::uint8_t> field, PageNumber rowPage)
{
    if (field.size() < longFieldSize) throw Damaged(rowPage, "the field of a long value is cut off");
    const auto word = LoadLittle<std::uint32_t>(field.data());
    const std::size_t length = word & lengthBits;
    RowPointer at = RowPointer::Unpack(LoadLittle<std::uint32_t>(field.data() + 4));
    if ((word & inlineFlag) != 0) {
        if (length > field.size() - longFieldSize) throw Damaged(rowPage, "a long value is longer than its field");
        const auto bytes = field.subspan(longFieldSize, length);
        return Bytes(bytes.begin(), bytes.end());
    }
    if (length == 0) return {};
    if ((word & oneRowFlag) != 0) {
        const StoredRow row = PieceAt(pager, at);
        if (row.bytes.size() < length) throw Damaged(at.page, "a long value is shorter than its row says");
        return Bytes(row.bytes.begin(), row.bytes.begin() + static_cast<std::ptrdiff_t>(length));
    }
    if (length > std::uint64_t{PageCount(pager)} * pageBytes)
        throw Damaged(at.page, "a long value is longer than the file");
    Bytes value;
    while (value.size() < length) {  // each piece has a byte at least, so that a ring of them ends too
        const StoredRow row = PieceAt(pager, at);
        if (row.bytes.size() <= pointerSize || row.bytes.size() - pointerSize > length - value.size())
            throw Damaged(at.page, "a piece of a long value has a length that cannot be");
        value.insert(value.end(), row.bytes.begin() + pointerSize, row.bytes.end());
        const auto next = LoadLittle<std::uint32_t>(row.bytes.data());
        if ((next == 0) != (value.size() == length))
            throw Damaged(at.page, "a long value is longer or shorter than its row says");
        at = RowPointer::Unpack(next);
    }
    return value;
}

}  // namespace vmlib::jet::format4
