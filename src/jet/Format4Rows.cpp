#include "jet/Format4Rows.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "core/ByteOrder.h"
#include "jet/Damage.h"

// A row of format 4:
//
//   at  size  content
//    0     2  columns ever made when it was written
//    2        fixed fields
//             variable fields
//             where variable field v begins ... where field 0 begins (2 each); v is where the last one ends
//          2  v, the number of variable fields; neither it nor the offsets where the table has no variable columns
//             presence bits
//
// Text is UTF-16, or, behind FF FE, bytes of Latin-1 in which a 00 changes to UTF-16 and back. Source:
// docs/file-format.md, "Format 4".

namespace vmlib::jet::format4 {

namespace {

constexpr std::size_t countSize = 2, decimalSize = 17;

/// The parts of one row.
class Fields
{
public:
    Fields(const TableDefinition& table, const StoredRow& row) : bytes_(row.bytes), page_(row.at.page)
    {
        if (bytes_.size() < countSize) Fail("a row is cut off");
        columnCount_ = LoadLittle<std::uint16_t>(bytes_.data());
        const std::size_t presenceSize = (columnCount_ + 7) / 8;
        if (columnCount_ > table.columnsEver || bytes_.size() < countSize + presenceSize)
            Fail("a row has more columns than its table");
        tail_ = bytes_.size() - presenceSize;
        presence_ = bytes_.data() + tail_;
        fixedEnd_ = tail_;
        if (HasVariableFields(table)) FindVariableFields(table);
    }

    /// No value for Null.
    std::optional<std::span<const std::uint8_t>> Of(const ColumnDefinition& column, std::size_t fixedSize) const
    {
        if (column.number >= columnCount_) return std::nullopt;
        if ((presence_[column.number / 8] >> (column.number % 8) & 1) == 0) return std::nullopt;
        if (column.type == ColumnType::Boolean) return std::span<const std::uint8_t>{};
        if (column.fixedSize) {
            const std::size_t at = countSize + column.fixedOffset;
            if (at + fixedSize > fixedEnd_) Fail("a row ends before its fixed fields");
            return bytes_.subspan(at, fixedSize);
        }
        if (column.variableOrdinal >= variableCount_) Fail("a row lacks a variable field that is not Null");
        const std::size_t begin = Offset(column.variableOrdinal), end = Offset(column.variableOrdinal + 1u);
        if (begin < countSize || begin > end || end > variableEnd_) Fail("a variable field lies outside its row");
        return bytes_.subspan(begin, end - begin);
    }

    [[noreturn]] void Fail(const char* finding) const { throw Damaged(page_, finding); }

private:
    /// A row that is older than the first variable column has none.
    bool HasVariableFields(const TableDefinition& table) const
    {
        if (table.variableColumnsEver == 0) return false;
        if (columnCount_ == table.columnsEver) return true;
        return std::ranges::any_of(table.columns, [&](const ColumnDefinition& column) {
            return !column.fixedSize && column.number < columnCount_;
        });
    }

    void FindVariableFields(const TableDefinition& table)
    {
        if (tail_ < countSize + 2) Fail("a row is cut off");
        countAt_ = tail_ - 2;
        variableCount_ = LoadLittle<std::uint16_t>(bytes_.data() + countAt_);
        if (variableCount_ > table.variableColumnsEver || countSize + 2 * (variableCount_ + 1) > countAt_)
            Fail("a row has more variable fields than it can have");
        variableEnd_ = Offset(variableCount_);
        fixedEnd_ = Offset(0);
        if (variableEnd_ > countAt_ - 2 * (variableCount_ + 1) || fixedEnd_ > variableEnd_)
            Fail("the variable fields of a row end behind it");
    }

    std::size_t Offset(std::size_t index) const
    {
        return LoadLittle<std::uint16_t>(bytes_.data() + countAt_ - 2 * (index + 1));
    }

    std::span<const std::uint8_t> bytes_;
    PageNumber page_;
    std::size_t columnCount_ = 0, tail_ = 0, countAt_ = 0, fixedEnd_ = 0, variableEnd_ = 0, variableCount_ = 0;
    const std::uint8_t* presence_ = nullptr;
};

double DecimalOf(const std::uint8_t* from, std::uint8_t scale)
{
    long double value = 0;
    for (int i = 0; i < 4; ++i)  // words from the highest to the lowest
        value = value * 4294967296.0L +
                static_cast<long double>(LoadLittle<std::uint32_t>(from + 1 + 4 * std::ptrdiff_t{i}));
    value /= std::pow(10.0L, static_cast<long double>(scale));
    return static_cast<double>(from[0] != 0 ? -value : value);
}

Value NumberOf(const ColumnDefinition& column, const std::uint8_t* from)
{
    switch (column.type) {
        case ColumnType::Byte:
            return *from;
        case ColumnType::Integer:
            return LoadLittle<std::int16_t>(from);
        case ColumnType::Long:
            return LoadLittle<std::int32_t>(from);
        case ColumnType::Currency:
            return Currency{LoadLittle<std::int64_t>(from)};
        case ColumnType::Single:
            return LoadLittle<float>(from);
        case ColumnType::Date:
            return Date{LoadLittle<double>(from)};
        case ColumnType::Guid: {
            Guid guid;
            std::copy_n(from, guid.bytes.size(), guid.bytes.begin());
            return guid;
        }
        default:
            return column.decimalScale ? DecimalOf(from, *column.decimalScale) : LoadLittle<double>(from);
    }
}

std::size_t StoredSize(const ColumnDefinition& column)
{
    if (column.decimalScale) return decimalSize;
    if (column.type == ColumnType::Text) return column.size * sizeof(char16_t);
    return FixedSize(column.type).value_or(column.size);
}

Value Decoded(Pager& pager, const ColumnDefinition& column, const Fields& fields, PageNumber page)
{
    const auto field = fields.Of(column, StoredSize(column));
    if (column.type == ColumnType::Boolean) return field.has_value();
    if (!field) return Null{};
    switch (column.type) {
        case ColumnType::Text:
            return ValueOf(DecodeText(*field, page));
        case ColumnType::Memo:
            return ValueOf(DecodeText(ReadLongValue(pager, *field, page), page));
        case ColumnType::LongBinary:
            return ReadLongValue(pager, *field, page);
        case ColumnType::Binary:
            return Bytes(field->begin(), field->end());
        default:
            if (field->size() != StoredSize(column)) fields.Fail("a number has a length that cannot be");
            return NumberOf(column, field->data());
    }
}

}  // namespace

Text DecodeText(std::span<const std::uint8_t> stored, PageNumber page)
{
    bool compressed = stored.size() >= 2 && stored[0] == 0xFF && stored[1] == 0xFE;
    const bool mayChange = compressed;
    Text text;
    text.reserve(stored.size());
    for (std::size_t at = compressed ? 2 : 0; at < stored.size();) {
        if (mayChange && stored[at] == 0) {
            compressed = !compressed;
            ++at;
        } else if (compressed) {
            text.push_back(static_cast<char16_t>(stored[at++]));
        } else {
            if (stored.size() - at < 2) throw Damaged(page, "a text ends within a character");
            text.push_back(static_cast<char16_t>(LoadLittle<std::uint16_t>(&stored[at])));
            at += 2;
        }
    }
    return text;
}

Value ValueOf(Text text)
{
    if (FitsAnsi(text)) return ToAnsi(text);
    return text;
}

void DecodeRow(Pager& pager, const TableDefinition& table, const StoredRow& row, std::span<const std::size_t> wanted,
               Row& into)
{
    const Fields fields(table, row);
    for (const std::size_t column : wanted) into[column] = Decoded(pager, table.columns[column], fields, row.at.page);
}

Scan::Scan(Pager& pager, std::shared_ptr<const TableDefinition> table, std::vector<std::size_t> wanted)
    : pager_(pager),
      table_(std::move(table)),
      wanted_(std::move(wanted)),
      pages_(PagesOfMap(pager, table_->ownedMap)),
      row_(table_->columns.size())
{
}

bool Scan::Next()
{
    const ReadScope scope(pager_);
    while (page_ || nextPage_ < pages_.size()) {
        if (!page_) {
            const StoredPageRef opened = ReadPage(pager_, pages_[nextPage_++]);
            slot_ = 0;
            page_ = RowPage(opened, table_->page).Page();
        }
        const RowPage page(page_, table_->page);
        while (slot_ < page.SlotCount()) {
            const std::size_t index = slot_++;
            const Slot slot = page.At(index);
            if (slot.state == SlotState::Deleted || slot.state == SlotState::MovedHere) continue;
            where_ = {page_->number, static_cast<std::uint8_t>(index)};
            const StoredRow row = slot.state == SlotState::MovedAway ? FindRow(pager_, table_->page, where_)
                                                                     : StoredRow{where_, page_, slot.bytes};
            DecodeRow(pager_, *table_, row, wanted_, row_);
            return true;
        }
        page_.reset();
    }
    return false;
}

}  // namespace vmlib::jet::format4
