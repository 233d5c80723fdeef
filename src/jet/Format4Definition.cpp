#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/DefinitionReader.h"
#include "jet/Format4Rows.h"
#include "jet/SystemTables.h"

// A table definition of format 4; offsets in the joined bytes, which have the first page's head alone.
//
//   at  size  content
//    0     2  02 01, on every page of the chain
//    4     4  next page of the definition; 0 on the last
//    8     4  length
//   16     4  row count
//   20     4  last AutoNumber
//   40     1  'N' a user's table, 'S' a system table
//   41     2  columns ever made
//   43     2  variable columns ever made
//   45     2  c, columns
//   47     4  l, logical indexes
//   51     4  r, real indexes
//   55     4  row pointer of the map of its data pages
//   59     4  row pointer of the map of those with room
//   63   12r  per real index: unknown (4), distinct keys (4), unknown (4)
//        25c  per column: type (1), unknown (4), number (2), variable columns before it (2), ordinal position (2),
//             of text LANGID (2) and version (2), of a Decimal precision (1), scale (1) and unknown (2), flags (1),
//             1: text may be compressed (1), unknown (4), offset among the fixed fields (2), size in bytes (2)
//             per column: length in bytes (2) and name
//        52r  per real index: unknown (4), ten times column number (2; FFFF unused) and 1 ascending or else (1), map of
//             its pages (4), root (4), unknown (4), flags (1), unknown (5)
//        28l  per logical index: unknown (4), number (4), real index (4), side of the relation (1), index of the other
//             table (4), its definition page (4), cascade update (1), cascade delete (1), kind (1), unknown (4)
//             per logical index: length in bytes (2) and name
//             per memo and long binary column: number (2), row pointers of its maps (4 each)
//          2  FFFF
//
// Source: docs/file-format.md, "Format 4".

namespace vmlib::jet::format4 {

namespace {

constexpr std::size_t pageHead = 8, nextPageAt = 4, rowCountAt = 16, autoNumberAt = 20, kindAt = 40;
constexpr std::size_t greatestChain = 64;
constexpr std::uint8_t decimalType = 16, decimalSize = 17, greatestScale = 28;
constexpr std::uint8_t greatBinaryType = 17;  // of Access's own tables: up to 3,992 bytes in the row
constexpr std::uint16_t none = 0xFFFF;
constexpr std::uint8_t fixedFlag = 1, autoNumberFlag = 4;
constexpr std::uint8_t uniqueFlag = 1, ignoreNullsFlag = 2, requiredFlag = 8;

Text NameFrom(DefinitionReader& from, PageNumber page)
{
    return DecodeText(from.Raw(from.Take<std::uint16_t>()), page);
}

Bytes JoinedPages(Pager& pager, PageNumber first)
{
    Bytes joined;
    std::vector<PageNumber> seen;
    for (PageNumber number = first; number != noPage;) {
        const StoredPageRef page = ReadPage(pager, number);
        if (!IsOfKind(page->bytes.data(), PageKind::Definition))
            throw Damaged(number, "a page of a table definition is of another kind");
        if (seen.size() >= greatestChain || std::ranges::find(seen, number) != seen.end())
            throw Damaged(number, "the pages of a table definition never end");
        seen.push_back(number);
        joined.insert(joined.end(), page->bytes.begin() + (joined.empty() ? 0 : pageHead), page->bytes.end());
        number = LoadLittle<PageNumber>(&page->bytes[nextPageAt]);
    }
    return joined;
}

ColumnDefinition ReadColumn(DefinitionReader& from)
{
    ColumnDefinition column;
    const auto type = from.Take<std::uint8_t>();
    from.Raw(4);
    column.number = from.Take<std::uint16_t>();
    column.variableOrdinal = from.Take<std::uint16_t>();
    column.ordinalPosition = from.Take<std::uint16_t>();
    const auto ofType = from.Raw(4);
    column.flags = from.Take<std::uint8_t>();
    from.Raw(5);
    column.fixedOffset = from.Take<std::uint16_t>();
    column.size = from.Take<std::uint16_t>();
    column.fixedSize = (column.flags & fixedFlag) != 0;
    column.autoNumber = (column.flags & autoNumberFlag) != 0;
    column.type = static_cast<ColumnType>(type);
    if (type == decimalType) {
        if (ofType[1] > greatestScale || column.size != decimalSize)
            from.Fail("gives a Decimal column a form that cannot be");
        column.type = ColumnType::Double;
        column.decimalScale = ofType[1];
        column.size = 8;
    }
    if (type == greatBinaryType) column.type = ColumnType::Binary;
    if (IsTextual(column.type)) column.locale.langid = LoadLittle<std::uint16_t>(ofType.data());
    if (column.type == ColumnType::Text) column.size = static_cast<std::uint16_t>(column.size / sizeof(char16_t));
    return column;
}

std::size_t StoredSize(const ColumnDefinition& column)
{
    if (column.type == ColumnType::Boolean) return 0;
    if (column.decimalScale) return decimalSize;
    return column.size * (column.type == ColumnType::Text ? sizeof(char16_t) : 1);
}

void CheckColumns(const TableDefinition& table, const DefinitionReader& reader)
{
    std::vector<bool> numbers(table.columnsEver), ordinals(table.variableColumnsEver);
    for (const ColumnDefinition& column : table.columns) {
        const std::string name = "gives column " + std::to_string(column.number);
        if (!IsKnown(column.type)) reader.Fail(name + " an unknown type");
        if (column.number >= numbers.size() || numbers[column.number]) reader.Fail(name + " a number that cannot be");
        numbers[column.number] = true;
        if (column.fixedSize) {
            if (column.fixedOffset + StoredSize(column) > pageBytes) reader.Fail(name + " a place outside a row");
            if (IsLongValue(column.type)) reader.Fail(name + " a fixed place though its length varies");
            if (FixedSize(column.type).value_or(column.size) != column.size)
                reader.Fail(name + " a size that its type does not have");
        } else if (column.variableOrdinal >= ordinals.size() || ordinals[column.variableOrdinal]) {
            reader.Fail(name + " a place among the variable columns that cannot be");
        } else {
            ordinals[column.variableOrdinal] = true;
        }
    }
}

TreeDefinition ReadTree(DefinitionReader& from, TreeDefinition tree)
{
    from.Raw(4);
    for (std::size_t i = 0; i < greatestIndexColumnCount; ++i) {
        const auto column = from.Take<std::uint16_t>();
        const auto ascending = from.Take<std::uint8_t>();
        if (column != none) tree.columns.push_back({column, ascending != 1});
    }
    tree.ownedMap = from.Take<std::uint32_t>();
    tree.root = from.Take<PageNumber>();
    from.Raw(4);
    const auto flags = from.Take<std::uint8_t>();
    from.Raw(5);
    tree.unique = (flags & uniqueFlag) != 0;
    tree.ignoreNulls = (flags & ignoreNullsFlag) != 0;
    tree.required = (flags & requiredFlag) != 0;
    return tree;
}

IndexDefinition ReadIndex(DefinitionReader& from)
{
    IndexDefinition index;
    from.Raw(4);
    index.number = from.Take<std::uint32_t>();
    index.realIndex = from.Take<std::uint32_t>();
    index.otherTableKind = from.Take<std::uint8_t>();
    index.otherIndex = from.Take<std::int32_t>();
    index.otherTable = from.Take<PageNumber>();
    const auto cascadeUpdate = from.Take<std::uint8_t>();
    const auto cascadeDelete = from.Take<std::uint8_t>();
    index.kind = static_cast<IndexDefinition::Kind>(from.Take<std::uint8_t>());
    from.Raw(4);
    const bool relation = index.kind == IndexDefinition::Kind::Relation;
    index.cascadeUpdate = relation && cascadeUpdate != 0;
    index.cascadeDelete = relation && cascadeDelete != 0;
    return index;
}

void CheckIndexes(const TableDefinition& table, const DefinitionReader& reader)
{
    for (const TreeDefinition& tree : table.trees) {
        if (tree.columns.empty()) reader.Fail("has an index without columns");
        for (const IndexColumn& column : tree.columns) {
            if (!table.ColumnNumbered(column.column)) reader.Fail("has an index over a column that it does not have");
        }
    }
    for (const IndexDefinition& index : table.indexes) {
        if (index.realIndex >= table.trees.size()) reader.Fail("has a named index without a tree");
    }
}

/// The engine finds columns of system tables by the places that they have in format 3.
void ArrangeSystemTable(TableDefinition& table)
{
    for (const TableDefinition& expected : system::Definitions(SortLocale{})) {
        const bool fits = std::ranges::all_of(expected.columns, [&](const ColumnDefinition& column) {
            return table.ColumnNamed(column.name).has_value();
        });
        if (!fits) continue;
        for (std::size_t i = 0; i < expected.columns.size(); ++i) {
            const auto from = static_cast<std::ptrdiff_t>(*table.ColumnNamed(expected.columns[i].name));
            const auto to = static_cast<std::ptrdiff_t>(i);
            std::rotate(table.columns.begin() + to, table.columns.begin() + from, table.columns.begin() + from + 1);
        }
        return;
    }
}

}  // namespace

TableDefinition ReadDefinition(Pager& pager, PageNumber first)
{
    if (first == noPage) throw Damaged(first, "a table has no definition page");
    const Bytes joined = JoinedPages(pager, first);
    DefinitionReader from(joined, first);
    from.Raw(rowCountAt);
    TableDefinition table;
    table.format = FileFormat::Format4;
    table.page = first;
    table.rowCount = from.Take<std::uint32_t>();
    table.lastAutoNumber = from.Take<std::uint32_t>();
    from.Raw(kindAt - autoNumberAt - 4);
    table.system = from.Take<std::uint8_t>() == 'S';
    table.columnsEver = from.Take<std::uint16_t>();
    table.variableColumnsEver = from.Take<std::uint16_t>();
    const std::size_t columnCount = from.Take<std::uint16_t>();
    const auto indexCount = from.Take<std::uint32_t>(), treeCount = from.Take<std::uint32_t>();
    table.ownedMap = from.Take<std::uint32_t>();
    table.roomMap = from.Take<std::uint32_t>();
    if (columnCount > greatestColumnCount || treeCount > greatestIndexCount || indexCount > joined.size())
        from.Fail("counts more columns or indexes than there can be");
    for (std::size_t i = 0; i < treeCount; ++i) {
        from.Raw(4);
        table.trees.emplace_back().distinctKeys = from.Take<std::uint32_t>();
        from.Raw(4);
    }
    for (std::size_t i = 0; i < columnCount; ++i) table.columns.push_back(ReadColumn(from));
    for (ColumnDefinition& column : table.columns) column.name = NameFrom(from, first);
    CheckColumns(table, from);
    for (TreeDefinition& tree : table.trees) tree = ReadTree(from, std::move(tree));
    for (std::size_t i = 0; i < indexCount; ++i) table.indexes.push_back(ReadIndex(from));
    for (IndexDefinition& index : table.indexes) index.name = NameFrom(from, first);
    CheckIndexes(table, from);
    std::ranges::stable_sort(table.columns, {}, &ColumnDefinition::ordinalPosition);
    if (first >= objectsTablePage && first <= relationshipsTablePage) ArrangeSystemTable(table);
    return table;
}

}  // namespace vmlib::jet::format4
