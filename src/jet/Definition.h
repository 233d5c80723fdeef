#pragma once

#include <map>
#include <optional>
#include <vector>

#include "jet/Format.h"
#include "jet/Properties.h"
#include "jet/Value.h"

/// What a table looks like, as its definition pages and its properties say it.
namespace vmlib::jet {

enum class ColumnType : std::uint8_t
{
    Boolean = 1,
    Byte = 2,
    Integer = 3,
    Long = 4,
    Currency = 5,
    Single = 6,
    Double = 7,
    Date = 8,
    Binary = 9,
    Text = 10,
    LongBinary = 11,
    Memo = 12,
    Guid = 15,
};

constexpr bool IsKnown(ColumnType type)
{
    return (type >= ColumnType::Boolean && type <= ColumnType::Memo) || type == ColumnType::Guid;
}

/// Memo and long binary.
constexpr bool IsLongValue(ColumnType type)
{
    return type == ColumnType::LongBinary || type == ColumnType::Memo;
}

constexpr bool IsTextual(ColumnType type)
{
    return type == ColumnType::Text || type == ColumnType::Memo;
}

/// Bytes of types that have one size (Boolean 1); in the header because every value of every row asks for it.
constexpr std::optional<std::uint16_t> FixedSize(ColumnType type)
{
    switch (type) {
        case ColumnType::Boolean:
        case ColumnType::Byte:
            return 1;
        case ColumnType::Integer:
            return 2;
        case ColumnType::Long:
        case ColumnType::Single:
            return 4;
        case ColumnType::Currency:
        case ColumnType::Double:
        case ColumnType::Date:
            return 8;
        case ColumnType::Guid:
            return 16;
        case ColumnType::Binary:
        case ColumnType::Text:
        case ColumnType::LongBinary:
        case ColumnType::Memo:
            return std::nullopt;
    }
    return std::nullopt;
}

inline constexpr std::uint16_t generalOrder = 0x0409;
inline constexpr std::uint16_t dutchOrder = 0x0413;

/// LANGID, code page and country of a database or of a column.
struct SortLocale
{
    std::uint16_t country = 0;
    std::uint16_t langid = dutchOrder;
    std::uint16_t codePage = 1252;
    bool operator==(const SortLocale&) const = default;
};

struct ColumnDefinition
{
    Text name;
    ColumnType type = ColumnType::Long;
    std::uint16_t size = 0;   // bytes; text: characters 1 to 255; long values 0
    bool fixedSize = false;   // numbers, dates, GUIDs always; text and binary when made so
    bool autoNumber = false;  // Long
    std::uint16_t ordinalPosition = 0;

    // Set by the file; of a new table they are filled in when it is created.
    std::uint16_t number = 0;           // names the column in rows and indexes; never reused
    std::uint16_t variableOrdinal = 0;  // among the variable columns ever made
    std::uint16_t fixedOffset = 0;      // among the fixed fields of a row, after the count
    std::uint8_t flags = 0;             // as stored
    SortLocale locale;
    std::optional<std::uint32_t> ownedMap,
        roomMap;  // of long value columns: row pointers of their page maps; room 0: none

    std::optional<std::uint8_t> decimalScale;  // of a Decimal of format 4, which is read as Double: its decimals

    PropertyList properties;  // Required, AllowZeroLength, DefaultValue, ValidationRule ... as LvProp has them

    bool Required() const;                        // absent: no
    std::optional<bool> AllowZeroLength() const;  // absent: reads as False, but "" is accepted
};

struct IndexColumn
{
    std::uint16_t column = 0;  // column number (ColumnDefinition::number), not position
    bool descending = false;
    bool operator==(const IndexColumn&) const = default;
};

/// A logical index: what has a name. Several may share one tree.
struct IndexDefinition
{
    enum class Kind : std::uint8_t
    {
        Plain = 0,
        Primary = 1,
        Relation = 2,
    };
    Text name;
    Kind kind = Kind::Plain;
    std::uint32_t number = 0;     // logical number, as relations name it
    std::uint32_t realIndex = 0;  // position among TableDefinition::trees

    // Of a relation's index (kind Relation) only.
    std::uint8_t otherTableKind = 0;  // 1: this is the primary table's side, 2: the foreign table's side
    std::int32_t otherIndex = -1;     // logical number in the other table
    PageNumber otherTable = noPage;   // its definition page
    bool cascadeUpdate = false, cascadeDelete = false;
};

/// A real index: one tree of keys.
struct TreeDefinition
{
    std::vector<IndexColumn> columns;
    bool unique = false;
    bool ignoreNulls = false;    // rows whose key is all Null have no entry
    bool required = false;       // no Null in a key
    std::uint32_t ownedMap = 0;  // row pointer of the map of its pages
    PageNumber root = noPage;
    std::uint8_t otherFlags = 0;     // bits that nobody understands, kept
    std::uint32_t entryCount = 0;    // as stored: 0 or the entries when the tree was built
    std::uint32_t distinctKeys = 0;  // as stored; genuine files let it drift
};

struct TableDefinition
{
    FileFormat format = FileFormat::Format3;  // of format 4 the trees are known, but not their keys
    Text name;
    PageNumber page = noPage;               // first definition page; the table's id
    bool system = false;                    // kind 'S'
    std::vector<ColumnDefinition> columns;  // by ordinal position, then as stored
    std::vector<IndexDefinition> indexes;   // by name
    std::vector<TreeDefinition> trees;
    PropertyList properties;  // of the table itself: ValidationRule, ValidationText ...

    std::uint32_t rowCount = 0;  // as the definition says; files not closed properly may be off
    std::uint32_t lastAutoNumber = 0;
    std::uint16_t columnsEver = 0;  // deleted ones included; rows have presence bits for that many at most
    std::uint16_t variableColumnsEver = 0;
    std::uint32_t ownedMap = 0, roomMap = 0;

    /// Position in `columns`, ignoring case; no value when there is none.
    std::optional<std::size_t> ColumnNamed(TextView name) const;
    std::optional<std::size_t> ColumnNumbered(std::uint16_t number) const;
    const IndexDefinition* IndexNamed(TextView name) const;
    const TreeDefinition& TreeOf(const IndexDefinition& index) const { return trees.at(index.realIndex); }
    /// True when no key of the tree may hold a Null: it says so, or it carries the primary key.
    bool RefusesNull(std::size_t realIndex) const;
};

/// What the caller asks for when an index is made.
struct NewIndex
{
    Text name;
    std::vector<IndexColumn> columns;
    bool primary = false, unique = false, required = false, ignoreNulls = false;
};

/// A relation as MSysRelationships holds it. Attributes are DAO's: 1 unique, 2 not enforced, 256 cascade update, 4096
/// cascade delete ...
struct RelationDefinition
{
    Text name;
    Text table;         // the one side
    Text foreignTable;  // the many side
    std::uint32_t attributes = 0;
    std::vector<std::pair<Text, Text>> fields;  // field of table, field of foreignTable

    bool Enforced() const { return (attributes & 2) == 0; }
    bool CascadesUpdates() const { return (attributes & 256) != 0; }
    bool CascadesDeletes() const { return (attributes & 4096) != 0; }
};

/// One row of MSysQueries (docs/file-format.md, "Stored queries").
struct QueryRow
{
    std::uint8_t attribute = 0;
    std::optional<std::uint32_t> order;  // counted from 1 within an attribute; none: Null
    std::optional<Text> name1, name2, expression;
    std::optional<std::int16_t> flag;
};

}  // namespace vmlib::jet
