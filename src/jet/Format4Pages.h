#pragma once

#include <array>
#include <memory>
#include <span>
#include <vector>

#include "jet/DataPage.h"
#include "jet/Pager.h"

/// Files of format 4 ("Jet 4") are read only. Their pages have 4,096 bytes; a Pager holds each as two of its own, so
/// that locks, cache and generations are those of format 3. Nothing here writes.
namespace vmlib::jet::format4 {

inline constexpr std::size_t pageBytes = 4096;

/// A copy of one page.
struct StoredPage
{
    PageNumber number = noPage;
    std::array<std::uint8_t, pageBytes> bytes;
};
using StoredPageRef = std::shared_ptr<const StoredPage>;

PageNumber PageCount(Pager& pager);
/// @throws Damaged when the page lies beyond the end of the file
StoredPageRef ReadPage(Pager& pager, PageNumber number);

/// A row's bytes, with the page that keeps them.
struct StoredRow
{
    RowPointer at;
    StoredPageRef page;
    std::span<const std::uint8_t> bytes;
};

/// One page of rows. Every count and offset is checked before it is used.
class RowPage
{
public:
    static bool Is(const StoredPage& page, std::uint32_t owner);
    /// @throws Damaged when the page is no data page of the owner or counts more rows than a pointer can name
    RowPage(StoredPageRef page, std::uint32_t owner);

    std::size_t SlotCount() const { return slotCount_; }
    /// @throws Damaged when the offset contradicts its neighbour or the page
    Slot At(std::size_t index) const;
    const StoredPageRef& Page() const { return page_; }

private:
    StoredPageRef page_;
    std::size_t slotCount_ = 0;
};

/// The row at a place, or where it moved. @throws Damaged. No bytes (page is null) when it is deleted or not there.
StoredRow FindRow(Pager& pager, std::uint32_t owner, RowPointer at);

/// The pages that a map lists, ascending. @throws Damaged
std::vector<PageNumber> PagesOfMap(Pager& pager, std::uint32_t rowPointer);

/// The bytes of a memo or long binary. @param field  as it stands in a row of `rowPage`. @throws Damaged
Bytes ReadLongValue(Pager& pager, std::span<const std::uint8_t> field, PageNumber rowPage);

}  // namespace vmlib::jet::format4
