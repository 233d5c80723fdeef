#include "jet/LongValues.h"

#include <algorithm>
#include <cstring>

#include "core/ByteOrder.h"
#include "jet/Damage.h"

// A field of a memo or long binary in its row:
//
//   at  size  content
//    0     4  length of the value in the lower 30 bits; 80000000: it follows here; 40000000: it is one row;
//             neither: a chain of rows
//    4     4  row pointer of the row or of the first of the chain; 0 when inline
//    8     4  0
//   12        the value, when inline
//
// A row of a chain, each on a page of long values:
//
//    0     4  row pointer of the next; 0 in the last
//    4        at most 2,032 bytes of the value
//
// Each row of a chain begins a page of its own. Values of one row share pages, also with the last row of a chain where
// it leaves room. Source: docs/file-format.md, "Long values".

namespace vmlib::jet {

namespace {

constexpr std::uint32_t inlineFlag = 0x80000000;
constexpr std::uint32_t oneRowFlag = 0x40000000;
constexpr std::uint32_t lengthBits = 0x3FFFFFFF;
constexpr std::size_t pointerAt = 4;
constexpr std::size_t nextSize = 4;
constexpr std::size_t pieceSize = LongValues::greatestRowSize - nextSize;

/// What the first 12 bytes of a field say.
struct Field
{
    std::size_t length;
    bool isInline, isOneRow;
    RowPointer first;
};

Field Parse(std::span<const std::uint8_t> field, PageNumber rowPage)
{
    if (field.size() < LongValues::fieldSize) throw Damaged(rowPage, "the field of a long value is cut off");
    const auto word = LoadLittle<std::uint32_t>(field.data());
    return {word & lengthBits, (word & inlineFlag) != 0, (word & oneRowFlag) != 0,
            RowPointer::Unpack(LoadLittle<std::uint32_t>(field.data() + pointerAt))};
}

/// One row of a page of long values.
struct Piece
{
    PageRef page;
    std::span<const std::uint8_t> bytes;
};

Piece PieceAt(Pager& pager, RowPointer at)
{
    const DataPage page(pager.Read(at.page), DataPage::longValueOwner);
    if (at.row >= page.SlotCount())
        throw Damaged(at.page, "a piece of a long value is missing: row " + std::to_string(at.row));
    const Slot slot = page.At(at.row);
    if (slot.state != SlotState::Row)
        throw Damaged(at.page, "a piece of a long value is deleted: row " + std::to_string(at.row));
    return {page.Page(), slot.bytes};
}

/// Goes through the rows of a chain; `visit` gets each row's place and piece of the value.
template <class Visit>
void WalkChain(Pager& pager, const Field& field, Visit visit)
{
    if (field.length > std::uint64_t{pager.PageCount()} * pageSize)
        throw Damaged(field.first.page, "a long value is longer than the file");
    RowPointer at = field.first;
    for (std::size_t rest = field.length;;) {
        const Piece piece = PieceAt(pager, at);
        if (piece.bytes.size() <= nextSize || piece.bytes.size() - nextSize > rest) {
            throw Damaged(at.page, "a piece of a long value has a length that cannot be");
        }
        const auto next = LoadLittle<std::uint32_t>(piece.bytes.data());
        rest -= piece.bytes.size() - nextSize;
        visit(at, piece.bytes.subspan(nextSize));
        if ((next == 0) != (rest == 0)) throw Damaged(at.page, "a long value is longer or shorter than its row says");
        if (rest == 0) return;
        at = RowPointer::Unpack(next);
    }
}

}  // namespace

std::size_t LongValues::LengthOf(std::span<const std::uint8_t> field, PageNumber rowPage)
{
    return Parse(field, rowPage).length;
}

void LongValues::ReadPieces(Pager& pager, std::span<const std::uint8_t> bytes, PageNumber rowPage, Sink sink, void* to)
{
    const Field field = Parse(bytes, rowPage);
    if (field.isInline) {
        if (field.length > bytes.size() - fieldSize) throw Damaged(rowPage, "a long value is longer than its field");
        sink(to, bytes.subspan(fieldSize, field.length));
    } else if (field.isOneRow) {
        const Piece piece = PieceAt(pager, field.first);
        if (piece.bytes.size() != field.length)
            throw Damaged(field.first.page, "a long value is longer or shorter than its row says");
        sink(to, piece.bytes);
    } else if (field.length > 0) {
        WalkChain(pager, field, [&](RowPointer, std::span<const std::uint8_t> piece) { sink(to, piece); });
    }
}

RowStore& LongValues::StoreOf(const ColumnDefinition& column)
{
    if (const auto found = stores_.find(column.number); found != stores_.end()) return found->second;
    if (!column.ownedMap)
        throw Damaged(noPage, "column " + std::to_string(column.number) + " has no map of its long value pages");
    RowStore store(pager_, allocator_, DataPage::longValueOwner, *column.ownedMap, column.roomMap.value_or(0));
    return stores_.emplace(column.number, store).first->second;
}

Bytes LongValues::Store(const ColumnDefinition& column, std::span<const std::uint8_t> value)
{
    const bool isInline = value.size() <= greatestInlineSize;
    if (value.size() > lengthBits) throw Error(ErrorNumber::DatabaseFull);
    Bytes field(FieldSize(value.size()));
    auto word = static_cast<std::uint32_t>(value.size());
    RowPointer first;
    if (isInline) {
        word |= inlineFlag;
        std::copy(value.begin(), value.end(), field.begin() + fieldSize);
    } else if (value.size() <= greatestRowSize) {
        word |= oneRowFlag;
        first = StoreOf(column).Store(value);
    } else {
        first = StoreChain(column, value);
    }
    StoreLittle(field.data(), word);
    StoreLittle(field.data() + pointerAt, first.Packed());
    return field;
}

/// From its end, so that each row knows its next one. The last row is the first of its page too: a known reader takes
/// the offset of the row before with its flags, so behind a deleted row it would lose the end of the value.
RowPointer LongValues::StoreChain(const ColumnDefinition& column, std::span<const std::uint8_t> value)
{
    RowStore& store = StoreOf(column);
    std::array<std::uint8_t, greatestRowSize> row;
    RowPointer next;
    for (std::size_t end = value.size(); end > 0;) {
        const std::size_t size = end % pieceSize != 0 ? end % pieceSize : pieceSize;
        end -= size;
        StoreLittle(row.data(), next.Packed());
        std::memcpy(row.data() + nextSize, value.data() + end, size);
        const auto bytes = std::span(row).first(nextSize + size);
        next = store.StoreFirst(bytes);
    }
    return next;
}

void LongValues::Free(const ColumnDefinition& column, std::span<const std::uint8_t> bytes, PageNumber rowPage)
{
    const Field field = Parse(bytes, rowPage);
    if (field.isInline || field.length == 0) return;
    std::vector<RowPointer> rows;
    if (field.isOneRow) {
        rows.push_back(field.first);
    } else {
        WalkChain(pager_, field, [&](RowPointer at, std::span<const std::uint8_t>) { rows.push_back(at); });
    }
    RowStore& store = StoreOf(column);
    for (const RowPointer at : rows) {
        if (!store.Owns(at.page)) throw Damaged(at.page, "a long value stands outside its column's pages");
        store.Erase(at);
    }
}

void LongValues::Destroy(const ColumnDefinition& column)
{
    if (!column.ownedMap) return;
    StoreOf(column).Destroy();
    stores_.erase(column.number);
}

}  // namespace vmlib::jet
