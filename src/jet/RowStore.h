#pragma once

#include <optional>
#include <vector>

#include "jet/DataPage.h"
#include "jet/PageAllocator.h"

namespace vmlib::jet {

/// Rows of bytes on many pages of one owner: a table, or the long values of one of its columns. Knows where there is
/// room and follows rows that moved; knows nothing of what is in them.
///
/// A row's pointer never changes. When a row no longer fits its page it stands elsewhere and its old place points
/// there; a row that moves again keeps that one pointer.
class RowStore
{
public:
    /// @param owner     as pages name it: a definition page or DataPage::longValueOwner
    /// @param ownedMap  row pointer of the map of the owner's pages
    /// @param roomMap   of the map of those with room, a hint; 0: there is none
    RowStore(Pager& pager, PageAllocator& allocator, std::uint32_t owner, std::uint32_t ownedMap, std::uint32_t roomMap)
        : pager_(pager), allocator_(allocator), owner_(owner), ownedMap_(ownedMap), roomMap_(roomMap)
    {
    }

    /// A row where it stands, moved or not.
    struct Found
    {
        PageRef page;
        std::span<const std::uint8_t> bytes;
        RowPointer at;  // differs from the row's own pointer when it moved
    };
    /// No value when the row is deleted, or its page no longer the owner's or no longer there. @throws Damaged
    std::optional<Found> Find(RowPointer row);
    /// The row that a slot's pointer leads to. @throws Damaged when it is not there
    Found Follow(const DataPage& page, const Slot& slot);

    /// Makes sure that a row of that size can be stored without a fault and says where it will go; changes pages, the
    /// rows not.
    DataPageEdit PrepareRoom(std::size_t rowSize);
    /// @param row  at most DataPage::greatestRowSize bytes
    RowPointer Store(std::span<const std::uint8_t> row);
    /// As the first row of a new page.
    RowPointer StoreFirst(std::span<const std::uint8_t> row);
    void Replace(RowPointer row, std::span<const std::uint8_t> bytes);
    void Erase(RowPointer row);

    std::vector<PageNumber> Pages();
    bool Owns(PageNumber page);
    /// Gives back all pages and both maps.
    void Destroy();

private:
    DataPageEdit NewPage();
    std::optional<DataPageEdit> PageWithRoom(std::size_t rowSize);
    RowPointer StoreMoved(std::span<const std::uint8_t> row);
    void EraseSlot(RowPointer at);
    void NoteRoom(const DataPage& page);
    void ForgetRoom(const DataPage& page);
    bool IsLastPage(PageNumber page);

    Pager& pager_;
    PageAllocator& allocator_;
    std::uint32_t owner_;
    std::uint32_t ownedMap_;
    std::uint32_t roomMap_;
    PageNumber current_ = noPage;     // where the last row went
    PageNumber searchFrom_ = noPage;  // in the room map, so that every page gets its turn
};

}  // namespace vmlib::jet
