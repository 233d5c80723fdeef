#include "jet/RowStore.h"

#include <array>
#include <cassert>

#include "core/ByteOrder.h"
#include "jet/Damage.h"
#include "jet/PageMap.h"

// The place of a row that moved, under offset flag 4000, and the row itself under offset flag 8000 on another page:
//
//   at  size  content
//    0     4  row pointer: row (1), page (3)
//
// The map of pages with room is a hint. A page leaves it when a row did not fit and less than `leastRoom` is free, and
// comes back when a row of it goes. Source: docs/file-format.md, "Rows".

namespace vmlib::jet {

namespace {

constexpr std::size_t pointerSize = 4;
constexpr std::size_t leastRoom = 258;  // long value pages of genuine files are in the map from there up
constexpr int greatestTries = 4;        // pages with room that are looked at for one row

std::string Named(RowPointer row)
{
    return "row " + std::to_string(row.row);
}

}  // namespace

std::optional<RowStore::Found> RowStore::Find(RowPointer row)
{
    if (row.page >= pager_.PageCount()) return std::nullopt;
    const PageRef ref = pager_.Read(row.page);
    if (!DataPage::Is(ref, owner_)) return std::nullopt;
    const DataPage page(ref, owner_);
    if (row.row >= page.SlotCount()) return std::nullopt;
    const Slot slot = page.At(row.row);
    switch (slot.state) {
        case SlotState::Row:
            return Found{ref, slot.bytes, row};
        case SlotState::MovedAway:
            return Follow(page, slot);
        case SlotState::MovedHere:
        case SlotState::Deleted:
            break;
    }
    return std::nullopt;
}

RowStore::Found RowStore::Follow(const DataPage& page, const Slot& slot)
{
    if (slot.bytes.size() != pointerSize)
        throw Damaged(page.Number(), "the pointer to a moved row is not four bytes long");
    const RowPointer to = RowPointer::Unpack(LoadLittle<std::uint32_t>(slot.bytes.data()));
    const DataPage there(pager_.Read(to.page), owner_);
    if (to.row >= there.SlotCount()) throw Damaged(to.page, Named(to) + ", to which a row moved, is missing");
    const Slot moved = there.At(to.row);
    if (moved.state != SlotState::MovedHere) throw Damaged(to.page, Named(to) + " is not one that moved there");
    return {there.Page(), moved.bytes, to};
}

DataPageEdit RowStore::NewPage()
{
    UnitOfWork unit(pager_);
    const PageEdit page = allocator_.Allocate();
    DataPageEdit rows = DataPageEdit::Format(page, owner_);
    PageMap(pager_, ownedMap_).Add(page.Number(), allocator_);
    if (roomMap_ != 0) PageMap(pager_, roomMap_).Add(page.Number(), allocator_);
    unit.Commit();
    return rows;
}

std::optional<DataPageEdit> RowStore::PageWithRoom(std::size_t rowSize)
{
    const auto fits = [&](PageNumber number) {
        const PageRef ref = pager_.Read(number);
        if (!DataPage::Is(ref, owner_)) return false;
        const DataPage page(ref, owner_);
        if (page.HasRoomFor(rowSize)) return true;
        ForgetRoom(page);
        return false;
    };
    if (current_ != noPage) {
        if (fits(current_)) return DataPageEdit(pager_.Edit(current_), owner_);
        current_ = noPage;
    }
    if (roomMap_ == 0) return std::nullopt;
    PageMap room(pager_, roomMap_);
    for (int tries = 0; tries < greatestTries; ++tries) {
        PageNumber number = room.Next(searchFrom_);
        if (number == noPage && searchFrom_ != noPage) number = room.Next(noPage);
        if (number == noPage) break;
        searchFrom_ = number + 1;
        if (!fits(number)) continue;
        current_ = number;
        return DataPageEdit(pager_.Edit(number), owner_);
    }
    return std::nullopt;
}

DataPageEdit RowStore::PrepareRoom(std::size_t rowSize)
{
    assert(rowSize <= DataPage::greatestRowSize);
    if (auto page = PageWithRoom(rowSize)) return *page;
    DataPageEdit page = NewPage();
    current_ = page.Number();
    return page;
}

RowPointer RowStore::Store(std::span<const std::uint8_t> row)
{
    DataPageEdit page = PrepareRoom(row.size());
    return {page.Number(), page.Append(row)};
}

RowPointer RowStore::StoreFirst(std::span<const std::uint8_t> row)
{
    DataPageEdit page = NewPage();
    const RowPointer at{page.Number(), page.Append(row)};
    ForgetRoom(page);
    return at;
}

RowPointer RowStore::StoreMoved(std::span<const std::uint8_t> row)
{
    DataPageEdit page = PrepareRoom(row.size());
    return {page.Number(), page.Append(row, SlotState::MovedHere)};
}

void RowStore::Replace(RowPointer row, std::span<const std::uint8_t> bytes)
{
    const auto old = Find(row);
    if (!old) throw Damaged(row.page, Named(row) + " is missing");

    DataPageEdit home(pager_.Edit(row.page), owner_);
    const bool moved = old->at != row;
    if (home.CanHold(row.row, bytes.size())) {
        home.Replace(row.row, bytes, SlotState::Row);
        if (moved) EraseSlot(old->at);
        return;
    }
    if (moved) {
        DataPageEdit there(pager_.Edit(old->at.page), owner_);
        if (there.CanHold(old->at.row, bytes.size())) return there.Replace(old->at.row, bytes, SlotState::MovedHere);
    }
    if (!home.CanHold(row.row, pointerSize)) throw Damaged(row.page, Named(row) + " has no room for a pointer");
    const RowPointer to = StoreMoved(bytes);
    std::array<std::uint8_t, pointerSize> pointer;
    StoreLittle(pointer.data(), to.Packed());
    home.Replace(row.row, pointer, SlotState::MovedAway);
    if (moved) EraseSlot(old->at);
}

void RowStore::Erase(RowPointer row)
{
    const auto old = Find(row);
    if (!old) throw Damaged(row.page, Named(row) + " is missing");
    const RowPointer stands = old->at;
    EraseSlot(row);
    if (stands != row) EraseSlot(stands);
}

/// The last page of an owner stays when it is empty and has slots left: pointers to deleted rows of a small table then
/// never come to mean new ones.
void RowStore::EraseSlot(RowPointer at)
{
    DataPageEdit page(pager_.Edit(at.page), owner_);
    page.Delete(at.row);
    const bool usedUp = page.SlotCount() == DataPage::greatestSlotCount;
    if (!page.Empty() || (!usedUp && IsLastPage(at.page))) return NoteRoom(page);
    PageMap(pager_, ownedMap_).Remove(at.page);
    if (roomMap_ != 0) PageMap(pager_, roomMap_).Remove(at.page);
    allocator_.Free(at.page);
    if (current_ == at.page) current_ = noPage;
}

bool RowStore::IsLastPage(PageNumber page)
{
    PageMap owned(pager_, ownedMap_);
    const PageNumber first = owned.Next(noPage);
    return first == page && owned.Next(page + 1) == noPage;
}

void RowStore::NoteRoom(const DataPage& page)
{
    if (roomMap_ == 0 || page.SlotCount() == DataPage::greatestSlotCount || page.FreeBytes() < leastRoom) return;
    PageMap room(pager_, roomMap_);
    if (!room.Contains(page.Number())) room.Add(page.Number(), allocator_);
}

void RowStore::ForgetRoom(const DataPage& page)
{
    if (roomMap_ == 0) return;
    if (page.FreeBytes() < leastRoom || page.SlotCount() == DataPage::greatestSlotCount) {
        PageMap(pager_, roomMap_).Remove(page.Number());
    }
}

std::vector<PageNumber> RowStore::Pages()
{
    return PageMap(pager_, ownedMap_).All();
}

bool RowStore::Owns(PageNumber page)
{
    return PageMap(pager_, ownedMap_).Contains(page);
}

void RowStore::Destroy()
{
    for (const PageNumber page : Pages()) {
        if (!DataPage::Is(pager_.Read(page), owner_)) throw Damaged(page, "a page of rows belongs to another owner");
        allocator_.Free(page);
    }
    PageMap(pager_, ownedMap_).Destroy(allocator_);
    if (roomMap_ != 0) PageMap(pager_, roomMap_).Destroy(allocator_);
}

}  // namespace vmlib::jet
