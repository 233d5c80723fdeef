#include "jet/PageMap.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

#include "core/ByteOrder.h"
#include "jet/Damage.h"

// A page map is a row of a map page (a page of rows whose owner is 0). Bit 0 of a byte is its lowest bit.
//
// Inline form:
//
//   at  size  content
//    0     1  00
//    1     4  first page, a multiple of 8
//    5   128  bits; more in steps of 4 bytes
//
// Form with pages of bits:
//
//   at  size  content
//    0     1  01
//    1     4  number of the page with bits 0 to 16,351; 0: none is set
//    5     4  number of the page with bits 16,352 to 32,703; and so on, 33 numbers
//
//   a page of bits: 05 01 00 00, then 2,044 bytes of bits
//
// Row 0 of page 1 is the free map: a set bit is a free page; bits behind the end of the file are set as far as the map
// reaches. Source: docs/file-format.md, "Page maps".

namespace vmlib::jet {

namespace {

constexpr std::uint8_t inlineForm = 0;
constexpr std::uint8_t pagesForm = 1;
constexpr std::size_t inlineHead = 5;
constexpr std::size_t inlineStep = 4;
constexpr std::size_t newMapSize = 133;
constexpr std::size_t mapPageHead = 4;
constexpr std::size_t mapPageCount = 33;
constexpr std::size_t pagesFormSize = 1 + 4 * mapPageCount;

constexpr std::size_t definitionOwnedMapAt = 35;  // see DefinitionCodec.cpp

/// First set bit at or after `from`; the number of bits when there is none.
std::size_t NextSetBit(std::span<const std::uint8_t> bytes, std::size_t from)
{
    std::size_t at = from / 8;
    if (at >= bytes.size()) return bytes.size() * 8;
    const auto first = static_cast<std::uint8_t>(bytes[at] & (0xFF << (from % 8)));
    if (first != 0) return at * 8 + static_cast<std::size_t>(std::countr_zero(first));
    ++at;
    while (at + 8 <= bytes.size() && LoadLittle<std::uint64_t>(bytes.data() + at) == 0) at += 8;
    while (at < bytes.size() && bytes[at] == 0) ++at;
    if (at == bytes.size()) return at * 8;
    return at * 8 + static_cast<std::size_t>(std::countr_zero(bytes[at]));
}

void SetBit(std::uint8_t* bits, std::size_t index)
{
    bits[index / 8] = static_cast<std::uint8_t>(bits[index / 8] | 1 << (index % 8));
}

}  // namespace

std::uint32_t PageMap::Append(DataPageEdit page)
{
    std::array<std::uint8_t, newMapSize> empty{};
    const std::uint8_t row = page.Append(empty);
    return RowPointer{page.Number(), row}.Packed();
}

std::uint32_t PageMap::CreateBeside(Pager& pager, PageAllocator& allocator, std::uint32_t otherMap)
{
    const PageNumber beside = RowPointer::Unpack(otherMap).page;
    if (DataPage(pager.Read(beside), DataPage::mapOwner).HasRoomFor(newMapSize)) {
        return Append(DataPageEdit(pager.Edit(beside), DataPage::mapOwner));
    }
    return Append(DataPageEdit::Format(allocator.Allocate(), DataPage::mapOwner));
}

std::uint32_t PageMap::Create(Pager& pager, PageAllocator& allocator, PageNumber table)
{
    if (table != noPage) {
        const PageRef definition = pager.Read(table);
        const auto owned = LoadLittle<std::uint32_t>(definition.Data() + definitionOwnedMapAt);
        if (IsOfKind(definition.Data(), PageKind::Definition) && owned != 0) {
            return CreateBeside(pager, allocator, owned);
        }
    }
    return Append(DataPageEdit::Format(allocator.Allocate(), DataPage::mapOwner));
}

void PageMap::Destroy(PageAllocator& allocator)
{
    for (const PageNumber page : MapPages()) allocator.Free(page);
    DataPageEdit page(pager_.Edit(at_.page), DataPage::mapOwner);
    page.Delete(at_.row);
    if (page.Empty() && at_.page != firstPage) allocator.Free(at_.page);
}

std::span<const std::uint8_t> PageMap::Row(PageRef& page)
{
    const DataPage rows(pager_.Read(at_.page), DataPage::mapOwner);
    if (at_.row >= rows.SlotCount()) throw Damaged(at_.page, "a page map is missing: row " + std::to_string(at_.row));
    const Slot slot = rows.At(at_.row);
    if (slot.state != SlotState::Row || slot.bytes.size() < inlineHead || slot.bytes[0] > pagesForm) {
        throw Damaged(at_.page, "row " + std::to_string(at_.row) + " is no page map");
    }
    page = rows.Page();
    return slot.bytes;
}

PageMap::Bits PageMap::InlineBits(PageRef page, std::span<const std::uint8_t> row)
{
    const auto first = LoadLittle<PageNumber>(row.data() + 1);
    if (first > greatestFileSize / pageSize) throw Damaged(at_.page, "a page map begins behind any file's end");
    return {first, std::move(page), row.subspan(inlineHead)};
}

PageMap::Bits PageMap::BitsOfMapPage(PageNumber mapPage, std::size_t stretch)
{
    PageRef page = pager_.Read(mapPage);
    if (!IsOfKind(page.Data(), PageKind::Map)) throw Damaged(mapPage, "a page of map bits is of another kind");
    const auto bytes = page.Bytes().subspan(mapPageHead);
    return {static_cast<PageNumber>(stretch * pagesPerMapPage), std::move(page), bytes};
}

std::vector<PageMap::Bits> PageMap::AllBits()
{
    PageRef page;
    const auto row = Row(page);
    std::vector<Bits> all;
    if (row[0] == inlineForm) {
        all.push_back(InlineBits(std::move(page), row));
        return all;
    }
    for (std::size_t i = 0; 1 + 4 * (i + 1) <= row.size(); ++i) {
        const auto mapPage = LoadLittle<PageNumber>(row.data() + 1 + 4 * i);
        if (mapPage != noPage) all.push_back(BitsOfMapPage(mapPage, i));
    }
    return all;
}

std::optional<PageMap::Bits> PageMap::BitsOf(PageNumber wanted)
{
    PageRef page;
    const auto row = Row(page);
    if (row[0] == inlineForm) {
        Bits bits = InlineBits(std::move(page), row);
        if (wanted < bits.first || wanted >= bits.End()) return std::nullopt;
        return bits;
    }
    const std::size_t stretch = wanted / pagesPerMapPage;
    if (1 + 4 * (stretch + 1) > row.size()) return std::nullopt;
    const auto mapPage = LoadLittle<PageNumber>(row.data() + 1 + 4 * stretch);
    if (mapPage == noPage) return std::nullopt;
    return BitsOfMapPage(mapPage, stretch);
}

bool PageMap::Contains(PageNumber page)
{
    const auto bits = BitsOf(page);
    if (!bits) return false;
    const std::size_t index = page - bits->first;
    return (bits->bytes[index / 8] >> (index % 8) & 1) != 0;
}

PageNumber PageMap::Next(PageNumber from)
{
    PageRef page;
    const auto row = Row(page);
    const auto search = [from](const Bits& bits) {
        if (from >= bits.End()) return noPage;
        const std::size_t start = from > bits.first ? from - bits.first : 0;
        const std::size_t found = NextSetBit(bits.bytes, start);
        return found == bits.bytes.size() * 8 ? noPage : bits.first + static_cast<PageNumber>(found);
    };
    if (row[0] == inlineForm) return search(InlineBits(page, row));
    for (std::size_t i = from / pagesPerMapPage; 1 + 4 * (i + 1) <= row.size(); ++i) {
        const auto mapPage = LoadLittle<PageNumber>(row.data() + 1 + 4 * i);
        if (mapPage == noPage) continue;
        if (const PageNumber found = search(BitsOfMapPage(mapPage, i)); found != noPage) return found;
    }
    return noPage;
}

std::vector<PageNumber> PageMap::All()
{
    std::vector<PageNumber> pages;
    for (const Bits& bits : AllBits()) {
        const std::size_t count = bits.bytes.size() * 8;
        for (std::size_t i = NextSetBit(bits.bytes, 0); i < count; i = NextSetBit(bits.bytes, i + 1)) {
            pages.push_back(bits.first + static_cast<PageNumber>(i));
        }
    }
    return pages;
}

std::size_t PageMap::Count()
{
    std::size_t count = 0;
    for (const Bits& bits : AllBits()) {
        for (const std::uint8_t byte : bits.bytes) count += static_cast<std::size_t>(std::popcount(byte));
    }
    return count;
}

std::vector<PageNumber> PageMap::MapPages()
{
    PageRef page;
    const auto row = Row(page);
    std::vector<PageNumber> pages;
    if (row[0] == inlineForm) return pages;
    for (std::size_t at = 1; at + 4 <= row.size(); at += 4) {
        if (const auto mapPage = LoadLittle<PageNumber>(row.data() + at); mapPage != noPage) pages.push_back(mapPage);
    }
    return pages;
}

void PageMap::Put(const Bits& bits, PageNumber page, bool value)
{
    const std::size_t index = page - bits.first;
    const auto at = static_cast<std::size_t>(bits.bytes.data() - bits.page.Data()) + index / 8;
    const auto mask = static_cast<std::uint8_t>(1 << (index % 8));
    const PageEdit edit = pager_.Edit(bits.page.Number());
    std::uint8_t& byte = edit.Data()[at];
    byte = static_cast<std::uint8_t>(value ? byte | mask : byte & ~mask);
}

void PageMap::Remove(PageNumber page)
{
    if (const auto bits = BitsOf(page)) Put(*bits, page, false);
}

void PageMap::Add(PageNumber page, PageAllocator& allocator)
{
    if (const auto bits = BitsOf(page)) return Put(*bits, page, true);
    PageRef rowPage;
    if (Row(rowPage)[0] == inlineForm) {
        if (FitInline(page)) return;
        TurnIntoPages(&allocator);
    }
    if (!BitsOf(page)) AddMapPage(page / pagesPerMapPage, &allocator);
    Put(BitsOf(page).value(), page, true);
}

bool PageMap::ReplaceRow(std::span<const std::uint8_t> row)
{
    DataPageEdit page(pager_.Edit(at_.page), DataPage::mapOwner);
    if (!page.CanHold(at_.row, row.size())) return false;
    page.Replace(at_.row, row, SlotState::Row);
    return true;
}

/// Makes an inline map reach from its lowest page to its highest, `extra` among them. False when its page has no room
/// for that.
bool PageMap::FitInline(PageNumber extra)
{
    std::vector<PageNumber> pages = All();
    pages.insert(std::upper_bound(pages.begin(), pages.end(), extra), extra);
    PageRef page;
    const std::size_t oldSize = Row(page).size();
    const PageNumber first = pages.front() / 8 * 8;
    const std::size_t steps = (pages.back() - first) / (8 * inlineStep) + 1;
    const std::size_t size = std::max(oldSize, inlineHead + inlineStep * steps);
    if (size > DataPage::greatestRowSize) return false;

    std::array<std::uint8_t, pageSize> row{};
    StoreLittle<PageNumber>(row.data() + 1, first);
    for (const PageNumber one : pages) SetBit(row.data() + inlineHead, one - first);
    return ReplaceRow({row.data(), size});
}

/// Without an allocator (the free map itself) the file grows.
void PageMap::TurnIntoPages(PageAllocator* allocator)
{
    const std::vector<PageNumber> pages = All();
    std::array<std::uint8_t, pagesFormSize> row{};
    row[0] = pagesForm;
    if (!ReplaceRow(row)) throw Damaged(at_.page, "a page map has less room than a new one");
    if (!allocator) AddMapPage(0, allocator);
    for (const PageNumber page : pages) {
        if (!BitsOf(page)) AddMapPage(page / pagesPerMapPage, allocator);
        Put(BitsOf(page).value(), page, true);
    }
}

void PageMap::AddMapPage(std::size_t stretch, PageAllocator* allocator)
{
    if (stretch >= mapPageCount) throw Error(ErrorNumber::DatabaseFull);
    const PageEdit page = allocator ? allocator->Allocate() : pager_.Extend();
    page.Data()[0] = static_cast<std::uint8_t>(PageKind::Map);
    page.Data()[1] = 1;
    DataPageEdit rows(pager_.Edit(at_.page), DataPage::mapOwner);
    const auto row = rows.Writable(at_.row);
    const std::size_t at = 1 + 4 * stretch;
    if (at + 4 > row.size()) throw Damaged(at_.page, "a page map is too short");
    StoreLittle<PageNumber>(row.data() + at, page.Number());
}

bool PageMap::GrowFreeMap(const Bits& bits, PageNumber pageCount)
{
    const auto oldEnd = static_cast<PageNumber>(bits.End());
    const std::size_t steps = (pageCount - bits.first - 1) / (8 * inlineStep) + 1;
    const std::size_t size = inlineHead + inlineStep * steps;
    if (size > DataPage::greatestRowSize) return false;

    std::array<std::uint8_t, pageSize> row{};
    StoreLittle<PageNumber>(row.data() + 1, bits.first);
    std::copy(bits.bytes.begin(), bits.bytes.end(), row.begin() + inlineHead);
    for (std::size_t page = std::max(oldEnd, pageCount); page < bits.first + 8 * inlineStep * steps; ++page) {
        SetBit(row.data() + inlineHead, page - bits.first);
    }
    return ReplaceRow({row.data(), size});
}

void PageMap::CoverWithFree()
{
    while (!BitsOf(pager_.PageCount() - 1)) {
        const PageNumber pageCount = pager_.PageCount();
        PageRef page;
        const auto row = Row(page);
        if (row[0] == inlineForm) {
            const Bits bits = InlineBits(page, row);
            if (pageCount <= bits.first) throw Damaged(at_.page, "the free map begins behind the end of the file");
            if (GrowFreeMap(bits, pageCount)) return;
            TurnIntoPages(nullptr);
        } else {
            AddMapPage((pageCount - 1) / pagesPerMapPage, nullptr);
        }
        // The page of bits stands behind the old end itself: it and what is before it is in use, what is behind it is
        // free.
        const Bits last = AllBits().back();
        const PageEdit edit = pager_.Edit(last.page.Number());
        for (PageNumber free = std::max(pager_.PageCount(), last.first); free < last.End(); ++free) {
            SetBit(edit.Data() + mapPageHead, free - last.first);
        }
    }
}

}  // namespace vmlib::jet
