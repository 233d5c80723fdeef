#pragma once

#include <array>
#include <span>
#include <vector>

#include "jet/Definition.h"
#include "jet/Pager.h"

namespace vmlib::jet {

/// The fields of one row as they stand in it.
class RowFields
{
public:
    std::span<const std::uint8_t> Bytes() const { return bytes_; }

private:
    friend class RowCodec;
    std::size_t Offset(std::size_t index) const;

    std::span<const std::uint8_t> bytes_;
    PageNumber page_ = noPage;     // to name in errors
    std::size_t columnCount_ = 0;  // columns ever made when it was written
    const std::uint8_t* presence_ = nullptr;
    std::size_t fixedEnd_ = 0;  // where fixed fields end at the latest
    std::size_t variableCount_ = 0;
    std::size_t variableEnd_ = 0;
    const std::uint8_t* offsets_ = nullptr;  // low byte of where variable field n begins at offsets_[-n]
    const std::uint8_t* jumps_ = nullptr;    // jump n at jumps_[-n]
    std::size_t jumpCount_ = 0;
};

/// Rows of one table to bytes and back. Knows no pages: long values are bytes of 12 and more that LongValues
/// understands.
///
///     RowCodec codec(definition);
///     const RowFields fields = codec.Parse(bytes, page);
///     for (each column) codec.Decode(fields, column, value);
class RowCodec
{
public:
    /// A row's bytes while it is made.
    struct Buffer
    {
        std::array<std::uint8_t, pageSize> bytes;
        std::size_t size = 0;
        std::span<const std::uint8_t> Row() const { return std::span(bytes).first(size); }
    };

    explicit RowCodec(const TableDefinition& definition);

    std::size_t ColumnCount() const { return columns_.size(); }
    ColumnType Type(std::size_t column) const { return columns_[column].type; }

    /// Finds the parts of a row. @throws Damaged naming `page`
    RowFields Parse(std::span<const std::uint8_t> row, PageNumber page) const;
    /// The bytes of a column's field; no value for Null. Of a Boolean no bytes: it is True when there is a value.
    std::optional<std::span<const std::uint8_t>> Field(const RowFields& row, std::size_t column) const;
    /// A column's value; strings and bytes reuse the room they have. Long value columns are the caller's business
    /// (Field).
    void Decode(const RowFields& row, std::size_t column, Value& into) const;

    /// The row's bytes. @param longFields  per column the field of a long value; empty for Null. Other columns' are not
    /// looked at.
    /// @throws Error 3047 when it is longer than a row may be
    void Encode(const Row& row, const std::vector<Bytes>& longFields, Buffer& into) const;
    /// The length that Encode will give, with the lengths of the long value fields alone; throws like it.
    std::size_t SizeOf(const Row& row, const std::vector<std::size_t>& longFieldSizes) const;
    /// True for a row that was written when there were fewer columns.
    bool IsOlder(const RowFields& row) const { return row.columnCount_ < columnsEver_; }
    /// False when Encode would find the row too long.
    bool Takes(const Row& row, const std::vector<Bytes>& longFields) const;

private:
    static constexpr std::size_t countSize = 1;

    struct Column
    {
        ColumnType type;
        bool fixed;
        bool longValue;
        std::uint16_t number;
        std::uint16_t offset;   // of a fixed field, count byte included
        std::uint16_t ordinal;  // among variable fields
        std::uint16_t size;
    };

    /// What can be said of rows that were written when so many columns had been made.
    struct Era
    {
        std::size_t variableAtLeast = 0, variableAtMost = 0;  // variable columns
        std::size_t fixedEnd = countSize;                     // fixed fields reach at least so far
    };

    bool FindVariableFields(RowFields& row) const;
    std::size_t VariableSize(const Column& column, const Value& value) const;
    std::size_t VariableBytes(const Row& row, const std::vector<Bytes>& longFields) const;
    std::size_t Length(std::size_t variableBytes) const;
    std::size_t GreatestLength() const;
    std::size_t CheckedSize(std::size_t variableBytes) const;
    void PutFixed(const Column& column, const Value& value, Buffer& into) const;
    void PutVariable(const Column& column, const Value& value, Buffer& into) const;
    void PutTail(const Row& row, const std::vector<Bytes>& longFields, std::span<const std::uint16_t> ends,
                 Buffer& into) const;

    std::vector<Column> columns_;
    std::vector<std::size_t> variableColumns_;  // positions in columns_ by ordinal; `noColumn` where a deleted one was
    std::size_t columnsEver_ = 0;
    std::size_t fixedEnd_ = countSize;  // count byte and fixed fields
    std::vector<Era> eras_;             // by the count of columns
};

}  // namespace vmlib::jet
