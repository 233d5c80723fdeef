#pragma once

#include <optional>
#include <vector>

#include "jet/DataPage.h"
#include "jet/PageAllocator.h"

namespace vmlib::jet {

/// A set of pages, kept as a row of a map page: inline bits, or the numbers of pages of bits.
class PageMap
{
public:
    static constexpr PageNumber firstPage = 1;              // the map page of the whole file
    static constexpr std::uint32_t freeMapPointer = 0x100;  // its row 0
    static constexpr std::size_t pagesPerMapPage = (pageSize - 4) * 8;

    /// The map that stands at a row pointer.
    PageMap(Pager& pager, std::uint32_t rowPointer) : pager_(pager), at_(RowPointer::Unpack(rowPointer)) {}

    /// Makes an empty map (133 bytes); gives its row pointer.
    /// @param table  definition page of the table that it is for: the map goes beside that table's own maps while their
    /// page has room.
    ///               Without, or when it has none, onto a new map page (genuine files do the same).
    static std::uint32_t Create(Pager& pager, PageAllocator& allocator, PageNumber table = noPage);
    /// The same, beside another map.
    static std::uint32_t CreateBeside(Pager& pager, PageAllocator& allocator, std::uint32_t otherMap);
    /// Gives the map's row and its pages of bits back; the pages that it lists are the caller's business.
    void Destroy(PageAllocator& allocator);

    bool Contains(PageNumber page);
    void Add(PageNumber page, PageAllocator& allocator);  // grows or turns into the other kind when needed
    void Remove(PageNumber page);
    /// First page of the set at or after `from`; noPage when there is none.
    PageNumber Next(PageNumber from);
    std::vector<PageNumber> All();
    std::size_t Count();
    /// Pages of bits that the map has besides its row, in their order.
    std::vector<PageNumber> MapPages();

    /// Of the free map only: makes the map reach the end of the file; bits that it gains behind that end are set.
    void CoverWithFree();

private:
    struct Bits  // a stretch of the set
    {
        PageNumber first = 0;  // page that the first bit stands for
        PageRef page;          // where the bits are
        std::span<const std::uint8_t> bytes;

        std::uint64_t End() const { return first + 8ull * bytes.size(); }
    };

    static std::uint32_t Append(DataPageEdit page);
    std::span<const std::uint8_t> Row(PageRef& page);
    Bits InlineBits(PageRef page, std::span<const std::uint8_t> row);
    Bits BitsOfMapPage(PageNumber mapPage, std::size_t stretch);
    std::vector<Bits> AllBits();
    std::optional<Bits> BitsOf(PageNumber page);
    void Put(const Bits& bits, PageNumber page, bool value);

    bool ReplaceRow(std::span<const std::uint8_t> row);
    bool FitInline(PageNumber extra);
    bool GrowFreeMap(const Bits& bits, PageNumber pageCount);
    void TurnIntoPages(PageAllocator* allocator);
    void AddMapPage(std::size_t stretch, PageAllocator* allocator);

    Pager& pager_;
    RowPointer at_;
};

}  // namespace vmlib::jet
