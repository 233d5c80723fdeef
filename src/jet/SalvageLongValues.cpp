#include "jet/SalvageLongValues.h"

#include "core/ByteOrder.h"
#include "jet/Damage.h"

// The field of a long value in its row, and the rows of a chain: see LongValues.cpp.
namespace vmlib::jet {

namespace {

constexpr std::uint32_t chainBits = 0xC0000000;  // neither set: a chain
constexpr std::size_t pointerAt = 4;
constexpr std::size_t nextSize = 4;

}  // namespace

void SalvageLongValues::Read(std::span<const std::uint8_t> field, PageNumber rowPage, Bytes& into)
{
    const std::size_t length = LongValues::LengthOf(field, rowPage);
    const bool isChain = (LoadLittle<std::uint32_t>(field.data()) & chainBits) == 0;
    if (!isChain) return LongValues::Read(pager_, field, rowPage, into);
    into.clear();
    if (length > 0) ReadChain(RowPointer::Unpack(LoadLittle<std::uint32_t>(field.data() + pointerAt)), length, into);
}

void SalvageLongValues::ReadChain(RowPointer at, std::size_t length, Bytes& into)
{
    std::vector<std::uint32_t> pieces;
    try {
        while (into.size() < length) {
            const DataPage page(pager_.Read(at.page), DataPage::longValueOwner);
            if (at.row >= page.SlotCount() || page.At(at.row).state != SlotState::Row)
                throw Damaged(at.page, "a piece of a long value is missing: row " + std::to_string(at.row));
            const auto bytes = page.At(at.row).bytes;
            if (bytes.size() <= nextSize || bytes.size() - nextSize > length - into.size())
                throw Damaged(at.page, "a piece of a long value has a length that cannot be");
            if (!used_.insert(at.Packed()).second)
                throw Damaged(at.page, "a piece of a long value is used twice: row " + std::to_string(at.row));
            pieces.push_back(at.Packed());
            into.insert(into.end(), bytes.begin() + nextSize, bytes.end());
            const auto next = LoadLittle<std::uint32_t>(bytes.data());
            if ((next == 0) != (into.size() == length))
                throw Damaged(at.page, "a long value is longer or shorter than its row says");
            at = RowPointer::Unpack(next);
        }
    } catch (const Damaged&) {
        GiveBack(pieces);
        throw;
    }
}

/// They may be another value's. Not without end: a file may be made so that each value fails behind a long way.
void SalvageLongValues::GiveBack(const std::vector<std::uint32_t>& pieces)
{
    givenBack_ += pieces.size();
    if (givenBack_ > pager_.PageCount()) return;
    for (const std::uint32_t piece : pieces) used_.erase(piece);
}

}  // namespace vmlib::jet
