#pragma once

#include <span>

#include "jet/Pager.h"

namespace vmlib::jet {

/// What stands at a row's offset; the two top bits of the offset.
enum class SlotState : std::uint16_t
{
    Row = 0x0000,
    MovedAway = 0x4000,  // a pointer (4 bytes) to where the row stands now
    MovedHere = 0x8000,  // a row whose pointer is elsewhere; scans skip it
    Deleted = 0xC000,    // no bytes
};

struct Slot
{
    SlotState state = SlotState::Deleted;
    std::span<const std::uint8_t> bytes;
};

/// The bytes of one page of rows, to read. Every count and offset is checked before it is used.
class DataPage
{
public:
    static constexpr std::size_t headSize = 10;
    static constexpr std::size_t greatestSlotCount = 255;
    static constexpr std::size_t greatestRowSize = pageSize - headSize - 2;
    static constexpr std::uint32_t longValueOwner = 0x4C41564C;  // "LVAL"
    static constexpr std::uint32_t mapOwner = 0;

    /// True when the page says that it is a data page of that owner.
    static bool Is(const PageRef& page, std::uint32_t owner);

    /// @throws Damaged when the page is no data page of the owner or counts more rows than a page can hold
    DataPage(PageRef page, std::uint32_t owner);

    std::size_t SlotCount() const { return slotCount_; }
    /// @throws Damaged when the offset contradicts its neighbour or the page; `index` is below SlotCount()
    Slot At(std::size_t index) const;
    /// Bytes between the offsets and the lowest row, as the rows say it (the page's own count may lie). @throws Damaged
    std::size_t FreeBytes() const;
    bool HasRoomFor(std::size_t rowSize) const { return slotCount_ < greatestSlotCount && FreeBytes() >= rowSize + 2; }
    /// True when every slot is deleted.
    bool Empty() const { return LowestRow() == pageSize; }

    PageNumber Number() const { return page_.Number(); }
    const PageRef& Page() const { return page_; }

protected:
    std::size_t LowestRow() const;
    std::uint16_t RawOffset(std::size_t index) const;
    [[noreturn]] void Fail(std::size_t slot, const char* finding) const;

    PageRef page_;
    std::size_t slotCount_ = 0;
};

/// The same page, to write. Free bytes are kept exact.
class DataPageEdit : public DataPage
{
public:
    DataPageEdit(const PageEdit& page, std::uint32_t owner);
    /// Makes a zero page an empty page of rows.
    static DataPageEdit Format(const PageEdit& page, std::uint32_t owner);

    /// Adds a row behind the others; there is room for it (assert).
    std::uint8_t Append(std::span<const std::uint8_t> row, SlotState state = SlotState::Row);
    /// True when the slot's row can become that long.
    bool CanHold(std::size_t index, std::size_t rowSize) const;
    /// Gives the slot new bytes, which may lie in this page, of another length; CanHold is true (assert). @throws
    /// Damaged before anything changes
    void Replace(std::size_t index, std::span<const std::uint8_t> row, SlotState state);
    /// The slot stays, its bytes become free.
    void Delete(std::size_t index) { Replace(index, {}, SlotState::Deleted); }
    /// Writes over bytes of a slot without changing its length.
    std::span<std::uint8_t> Writable(std::size_t index);

private:
    void CheckOrder() const;
    void StoreFreeBytes(std::size_t lowest);

    std::uint8_t* data_ = nullptr;
};

}  // namespace vmlib::jet
