#pragma once

#include <array>
#include <map>

#include "jet/Definition.h"
#include "jet/RowStore.h"

namespace vmlib::jet {

/// What a row holds of a memo or long binary: where its bytes are, or the bytes themselves.
///
/// A row's field (std::span) becomes the value's bytes with Read; Prepare says how a new value will stand in its row,
/// Store puts it there.
class LongValues
{
public:
    static constexpr std::size_t fieldSize = 12;           // without inline bytes
    static constexpr std::size_t greatestInlineSize = 32;  // written; up to 64 are read
    static constexpr std::size_t greatestRowSize = DataPage::greatestRowSize;

    LongValues(Pager& pager, PageAllocator& allocator) : pager_(pager), allocator_(allocator) {}

    /// The bytes of the value into `into` (std::string or Bytes). @param rowPage  to name in errors
    /// @throws Damaged when lengths or pointers contradict each other; a chain that comes back to itself ends at its
    /// length
    template <class Container>
    static void Read(Pager& pager, std::span<const std::uint8_t> field, PageNumber rowPage, Container& into)
    {
        into.clear();
        ReadPieces(
            pager, field, rowPage,
            [](void* to, std::span<const std::uint8_t> piece) {
                auto& container = *static_cast<Container*>(to);
                container.insert(container.end(), piece.begin(), piece.end());
            },
            &into);
    }

    /// The length that a field gives. @throws Damaged when the field is cut off
    static std::size_t LengthOf(std::span<const std::uint8_t> field, PageNumber rowPage);

    /// Bytes that a value takes in its row.
    static std::size_t FieldSize(std::size_t valueSize)
    {
        return valueSize <= greatestInlineSize ? fieldSize + valueSize : fieldSize;
    }
    /// Stores what does not stand in the row and gives the field for the row.
    /// @throws Error 3036 file full; Damaged when the column has no page map
    Bytes Store(const ColumnDefinition& column, std::span<const std::uint8_t> value);
    /// Gives back what a field points at. @throws Damaged
    void Free(const ColumnDefinition& column, std::span<const std::uint8_t> field, PageNumber rowPage);
    /// Gives back all values of a column and its maps.
    void Destroy(const ColumnDefinition& column);

private:
    using Sink = void (*)(void* to, std::span<const std::uint8_t> piece);
    static void ReadPieces(Pager& pager, std::span<const std::uint8_t> field, PageNumber rowPage, Sink sink, void* to);
    RowStore& StoreOf(const ColumnDefinition& column);
    RowPointer StoreChain(const ColumnDefinition& column, std::span<const std::uint8_t> value);

    Pager& pager_;
    PageAllocator& allocator_;
    std::map<std::uint16_t, RowStore> stores_;  // by column number
};

}  // namespace vmlib::jet
