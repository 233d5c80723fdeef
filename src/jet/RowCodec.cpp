#include "jet/RowCodec.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "core/ByteOrder.h"
#include "core/Error.h"
#include "jet/Damage.h"

// A row of a table whose columns ever made are c, the variable ones among them v:
//
//   at  size      content
//    0     1      c
//    1            fixed fields, each at its column's offset
//                 variable fields, one behind the other
//        v + 1    low bytes of where they begin and the last one ends, in reverse: the end of the last, ... the
//                 begin of the first
//        j        jumps, in reverse: the first of those offsets that is 256 or more, 512 or more, ...; FF when
//                 none is
//        1        v
//        (c+7)/8  presence bits by column number: 1 = not Null; a Boolean has no other place
//
// j = (row length - 1) / 256. A row written while there was no variable column has only c, fixed fields and bits. Both
// counts are those of the time of writing: columns added since are Null (a Boolean False). A deleted column keeps
// number and place. Source: docs/file-format.md, "Rows".

namespace vmlib::jet {

namespace {

constexpr std::size_t jumpStep = 256;
constexpr std::uint8_t noJump = 0xFF;
constexpr std::size_t noColumn = static_cast<std::size_t>(-1);
constexpr std::size_t greatestFixedRow = 2003;  // measured by others: what the format's own engine takes
constexpr std::size_t greatestRow = 2012;

std::size_t PresenceSize(std::size_t columnCount)
{
    return (columnCount + 7) / 8;
}

/// Makes the value hold a T, the one it has when there is one, so that strings keep their room.
template <class T>
T& Reuse(Value& value)
{
    if (T* const held = std::get_if<T>(&value)) return *held;
    return value.emplace<T>();
}

template <class T>
const T& Expect(const Value& value)
{
    if (const T* const held = std::get_if<T>(&value)) return *held;
    throw Error(ErrorNumber::DataConversion);
}

bool IsTrue(const Value& value)
{
    return !IsNull(value) && Expect<bool>(value);
}

std::span<const std::uint8_t> BytesOf(const std::string& text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// The bytes of text or binary.
std::span<const std::uint8_t> StringBytes(ColumnType type, const Value& value)
{
    if (type == ColumnType::Text) return BytesOf(Expect<std::string>(value));
    return Expect<Bytes>(value);
}

void StoreNumber(ColumnType type, const Value& value, std::uint8_t* to)
{
    switch (type) {
        case ColumnType::Byte:
            return StoreLittle(to, Expect<std::uint8_t>(value));
        case ColumnType::Integer:
            return StoreLittle(to, Expect<std::int16_t>(value));
        case ColumnType::Long:
            return StoreLittle(to, Expect<std::int32_t>(value));
        case ColumnType::Currency:
            return StoreLittle(to, Expect<Currency>(value).units);
        case ColumnType::Single:
            return StoreLittle(to, Expect<float>(value));
        case ColumnType::Double:
            return StoreLittle(to, Expect<double>(value));
        case ColumnType::Date:
            return StoreLittle(to, Expect<Date>(value).serial);
        case ColumnType::Guid:
            std::memcpy(to, Expect<Guid>(value).bytes.data(), sizeof(Guid::bytes));
            return;
        default:
            assert(false && "no number");
    }
}

void LoadNumber(ColumnType type, const std::uint8_t* from, Value& into)
{
    switch (type) {
        case ColumnType::Byte:
            Reuse<std::uint8_t>(into) = *from;
            return;
        case ColumnType::Integer:
            Reuse<std::int16_t>(into) = LoadLittle<std::int16_t>(from);
            return;
        case ColumnType::Long:
            Reuse<std::int32_t>(into) = LoadLittle<std::int32_t>(from);
            return;
        case ColumnType::Currency:
            Reuse<Currency>(into).units = LoadLittle<std::int64_t>(from);
            return;
        case ColumnType::Single:
            Reuse<float>(into) = LoadLittle<float>(from);
            return;
        case ColumnType::Double:
            Reuse<double>(into) = LoadLittle<double>(from);
            return;
        case ColumnType::Date:
            Reuse<Date>(into).serial = LoadLittle<double>(from);
            return;
        case ColumnType::Guid:
            std::memcpy(Reuse<Guid>(into).bytes.data(), from, sizeof(Guid::bytes));
            return;
        default:
            assert(false && "no number");
    }
}

}  // namespace

std::size_t RowFields::Offset(std::size_t index) const
{
    std::size_t high = 0;
    for (std::size_t jump = 0; jump < jumpCount_ && *(jumps_ - jump) <= index; ++jump) high += jumpStep;
    return high + *(offsets_ - index);
}

RowCodec::RowCodec(const TableDefinition& definition)
    : variableColumns_(definition.variableColumnsEver, noColumn),
      columnsEver_(definition.columnsEver),
      eras_(definition.columnsEver + 1u, Era{.variableAtMost = definition.variableColumnsEver})
{
    for (const ColumnDefinition& from : definition.columns) {
        Column column{};
        column.type = from.type;
        column.fixed = from.fixedSize;
        column.longValue = jet::IsLongValue(from.type);
        column.number = from.number;
        column.ordinal = from.variableOrdinal;
        column.size = from.size;
        column.offset = static_cast<std::uint16_t>(from.fixedOffset + countSize);
        if (column.type == ColumnType::Boolean) {
            column.fixed = true;
        } else if (column.fixed) {
            fixedEnd_ = std::max<std::size_t>(fixedEnd_, column.offset + column.size);
        } else {
            variableColumns_.at(column.ordinal) = columns_.size();
        }
        columns_.push_back(column);

        // A column's ordinal counts the variable columns before it, fixed columns have it too.
        const std::size_t after = column.ordinal + (from.fixedSize ? 0u : 1u);
        const std::size_t fieldEnd =
            column.fixed && column.type != ColumnType::Boolean ? column.offset + std::size_t{column.size} : countSize;
        for (std::size_t count = 0; count < eras_.size(); ++count) {
            Era& era = eras_[count];
            if (count > column.number) {
                era.variableAtLeast = std::max(era.variableAtLeast, after);
                era.fixedEnd = std::max(era.fixedEnd, fieldEnd);
            } else {
                era.variableAtMost = std::min<std::size_t>(era.variableAtMost, column.ordinal);
            }
        }
    }
}

RowFields RowCodec::Parse(std::span<const std::uint8_t> bytes, PageNumber page) const
{
    RowFields row;
    row.bytes_ = bytes;
    row.page_ = page;
    if (bytes.empty()) throw Damaged(page, "a row is empty");
    row.columnCount_ = bytes[0];
    if (row.columnCount_ > columnsEver_) throw Damaged(page, "a row has more columns than its table");
    const std::size_t presenceSize = PresenceSize(row.columnCount_);
    if (bytes.size() < countSize + presenceSize) throw Damaged(page, "a row is cut off");
    row.presence_ = bytes.data() + bytes.size() - presenceSize;
    row.fixedEnd_ = bytes.size() - presenceSize;

    // Where deleted columns leave open whether there were variable ones at the time, the row's own end decides.
    const Era& era = eras_[row.columnCount_];
    if (era.variableAtMost == 0) return row;
    if (FindVariableFields(row)) return row;
    if (era.variableAtLeast > 0) throw Damaged(page, "a row's variable fields do not fit in it");
    row.variableCount_ = 0;
    return row;
}

/// False when the row's end does not describe variable fields.
bool RowCodec::FindVariableFields(RowFields& row) const
{
    const std::size_t size = row.bytes_.size();
    const std::size_t presenceSize = PresenceSize(row.columnCount_);
    const std::size_t jumpCount = (size - 1) / jumpStep;
    if (size < countSize + 1 + presenceSize) return false;
    row.variableCount_ = row.presence_[-1];
    const std::size_t tail = row.variableCount_ + 1 + jumpCount + 1 + presenceSize;
    if (row.variableCount_ > eras_[row.columnCount_].variableAtMost || size < countSize + tail) return false;

    row.variableEnd_ = size - tail;
    row.jumps_ = row.presence_ - 2;
    row.jumpCount_ = std::min(jumpCount, row.variableEnd_ / jumpStep);
    row.offsets_ = row.jumps_ - jumpCount;
    const std::size_t begin = row.Offset(0);
    const std::size_t end = row.Offset(row.variableCount_);
    if (begin < eras_[row.columnCount_].fixedEnd || begin > end || end != row.variableEnd_) return false;
    row.fixedEnd_ = begin;
    return true;
}

std::optional<std::span<const std::uint8_t>> RowCodec::Field(const RowFields& row, std::size_t index) const
{
    const Column& column = columns_[index];
    if (column.number >= row.columnCount_) return std::nullopt;
    if ((row.presence_[column.number / 8] >> (column.number % 8) & 1) == 0) return std::nullopt;
    if (column.type == ColumnType::Boolean) return std::span<const std::uint8_t>{};
    if (column.fixed) {
        if (column.offset + std::size_t{column.size} > row.fixedEnd_)
            throw Damaged(row.page_, "a row ends before its fixed fields");
        return row.bytes_.subspan(column.offset, column.size);
    }
    if (column.ordinal >= row.variableCount_) throw Damaged(row.page_, "a row lacks a variable field that is not Null");
    const std::size_t begin = row.Offset(column.ordinal);
    const std::size_t end = row.Offset(column.ordinal + 1u);
    if (begin < row.fixedEnd_ || begin > end || end > row.variableEnd_)
        throw Damaged(row.page_, "a variable field lies outside its row");
    return row.bytes_.subspan(begin, end - begin);
}

void RowCodec::Decode(const RowFields& row, std::size_t index, Value& into) const
{
    const Column& column = columns_[index];
    const auto field = Field(row, index);
    if (column.type == ColumnType::Boolean) {
        Reuse<bool>(into) = field.has_value();
        return;
    }
    if (!field) {
        into.emplace<Null>();
        return;
    }
    switch (column.type) {
        case ColumnType::Text:
            Reuse<std::string>(into).assign(reinterpret_cast<const char*>(field->data()), field->size());
            return;
        case ColumnType::Binary:
            Reuse<Bytes>(into).assign(field->begin(), field->end());
            return;
        default:
            if (field->size() != FixedSize(column.type))
                throw Damaged(row.page_, "a number has a length that cannot be");
            LoadNumber(column.type, field->data(), into);
    }
}

std::size_t RowCodec::VariableSize(const Column& column, const Value& value) const
{
    if (IsNull(value)) return 0;
    if (const auto size = FixedSize(column.type)) return *size;
    const std::size_t size = StringBytes(column.type, value).size();
    if (size > column.size) throw Error(ErrorNumber::FieldTooSmall);
    return size;
}

/// The length of a row with so many bytes of variable fields. The jumps count themselves.
std::size_t RowCodec::Length(std::size_t variableBytes) const
{
    const std::size_t presenceSize = PresenceSize(columnsEver_);
    if (variableColumns_.empty()) return fixedEnd_ + presenceSize;
    const std::size_t plain = fixedEnd_ + variableBytes + variableColumns_.size() + 1 + 1 + presenceSize;
    std::size_t jumpCount = 0;
    while (jumpCount < (plain + jumpCount - 1) / jumpStep) ++jumpCount;
    return plain + jumpCount;
}

std::size_t RowCodec::GreatestLength() const
{
    return variableColumns_.empty() ? greatestFixedRow : greatestRow;
}

std::size_t RowCodec::CheckedSize(std::size_t variableBytes) const
{
    const std::size_t length = Length(variableBytes);
    if (length > GreatestLength()) throw Error(ErrorNumber::RecordTooLarge);
    return length;
}

std::size_t RowCodec::SizeOf(const Row& row, const std::vector<std::size_t>& longFieldSizes) const
{
    assert(row.size() == columns_.size());
    std::size_t variableBytes = 0;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i].fixed) continue;
        variableBytes += columns_[i].longValue ? longFieldSizes[i] : VariableSize(columns_[i], row[i]);
    }
    return CheckedSize(variableBytes);
}

std::size_t RowCodec::VariableBytes(const Row& row, const std::vector<Bytes>& longFields) const
{
    assert(row.size() == columns_.size());
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i].fixed) continue;
        bytes += columns_[i].longValue ? longFields[i].size() : VariableSize(columns_[i], row[i]);
    }
    return bytes;
}

bool RowCodec::Takes(const Row& row, const std::vector<Bytes>& longFields) const
{
    return Length(VariableBytes(row, longFields)) <= GreatestLength();
}

void RowCodec::PutFixed(const Column& column, const Value& value, Buffer& into) const
{
    if (column.type == ColumnType::Boolean || IsNull(value)) return;
    std::uint8_t* const to = into.bytes.data() + column.offset;
    if (FixedSize(column.type)) return StoreNumber(column.type, value, to);
    const auto bytes = StringBytes(column.type, value);
    if (bytes.size() > column.size) throw Error(ErrorNumber::FieldTooSmall);
    std::memset(to, column.type == ColumnType::Text ? ' ' : 0, column.size);
    std::copy(bytes.begin(), bytes.end(), to);
}

void RowCodec::PutVariable(const Column& column, const Value& value, Buffer& into) const
{
    std::uint8_t* const to = into.bytes.data() + into.size;
    into.size += VariableSize(column, value);
    if (IsNull(value)) return;
    if (FixedSize(column.type)) return StoreNumber(column.type, value, to);
    const auto bytes = StringBytes(column.type, value);
    std::copy(bytes.begin(), bytes.end(), to);
}

void RowCodec::Encode(const Row& row, const std::vector<Bytes>& longFields, Buffer& into) const
{
    const std::size_t size = CheckedSize(VariableBytes(row, longFields));

    into.bytes[0] = static_cast<std::uint8_t>(columnsEver_);
    std::memset(into.bytes.data() + countSize, 0, fixedEnd_ - countSize);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (columns_[i].fixed) PutFixed(columns_[i], row[i], into);
    }
    into.size = fixedEnd_;
    std::array<std::uint16_t, greatestColumnCount + 1> offsets;
    for (std::size_t ordinal = 0; ordinal < variableColumns_.size(); ++ordinal) {
        offsets[ordinal] = static_cast<std::uint16_t>(into.size);
        const std::size_t i = variableColumns_[ordinal];
        if (i == noColumn) continue;
        if (columns_[i].longValue) {
            std::copy(longFields[i].begin(), longFields[i].end(), into.bytes.data() + into.size);
            into.size += longFields[i].size();
        } else {
            PutVariable(columns_[i], row[i], into);
        }
    }
    offsets[variableColumns_.size()] = static_cast<std::uint16_t>(into.size);
    PutTail(row, longFields, std::span(offsets).first(variableColumns_.size() + 1), into);
    assert(into.size == size);
    static_cast<void>(size);
}

/// What stands behind the fields.
void RowCodec::PutTail(const Row& row, const std::vector<Bytes>& longFields, std::span<const std::uint16_t> offsets,
                       Buffer& into) const
{
    const std::size_t presenceSize = PresenceSize(columnsEver_);
    std::uint8_t* to = into.bytes.data() + into.size;
    if (offsets.size() > 1) {
        const std::size_t jumpCount = (CheckedSize(into.size - fixedEnd_) - 1) / jumpStep;
        for (std::size_t i = offsets.size(); i-- > 0;) *to++ = static_cast<std::uint8_t>(offsets[i] & 0xFF);
        for (std::size_t jump = jumpCount; jump > 0; --jump) {
            const auto reached = std::lower_bound(offsets.begin(), offsets.end(), jump * jumpStep);
            *to++ = reached == offsets.end() ? noJump : static_cast<std::uint8_t>(reached - offsets.begin());
        }
        *to++ = static_cast<std::uint8_t>(offsets.size() - 1);
    }
    std::memset(to, 0, presenceSize);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const Column& column = columns_[i];
        const bool present = column.longValue                     ? !longFields[i].empty()
                             : column.type == ColumnType::Boolean ? IsTrue(row[i])
                                                                  : !IsNull(row[i]);
        if (present)
            to[column.number / 8] = static_cast<std::uint8_t>(to[column.number / 8] | 1 << (column.number % 8));
    }
    into.size = static_cast<std::size_t>(to + presenceSize - into.bytes.data());
}

}  // namespace vmlib::jet
