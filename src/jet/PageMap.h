#pragma once

#include <vector>

#include "jet/PageAllocator.h"

namespace vmlib::jet {

/// A set of pages, kept as a row of a map page: inline bits, or the numbers of pages of bits.
class PageMap
{
public:
    /// The map that stands at a row pointer.
    PageMap(Pager& pager, std::uint32_t rowPointer) : pager_(pager), at_(RowPointer::Unpack(rowPointer)) {}

    /// Makes an empty map (133 bytes) on a map page with room, on a new one when there is none; gives its row pointer.
    static std::uint32_t Create(Pager& pager, PageAllocator& allocator);
    /// Gives the map's row and its pages of bits back; the pages that it lists are the caller's business.
    void Destroy(PageAllocator& allocator);

    bool Contains(PageNumber page);
    void Add(PageNumber page, PageAllocator& allocator);  // grows or turns into the other kind when needed
    void Remove(PageNumber page);
    /// First page of the set at or after `from`; noPage when there is none.
    PageNumber Next(PageNumber from);
    std::vector<PageNumber> All();
    std::size_t Count();

private:
    Pager& pager_;
    RowPointer at_;
};

}  // namespace vmlib::jet
