#include "jet/DefinitionCodec.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "core/ByteOrder.h"
#include "jet/DefinitionReader.h"

// A table definition fills the first page behind its head and goes on behind the heads of further pages. Offsets count
// in the joined bytes, which have the first page's head and none of the others.
//
//   at  size  content
//    0     4  02 01 'V' 'C', on every page of the chain
//    4     4  next page of the definition; 0 on the last
//    8     4  length of the joined definition
//   12     4  row count
//   16     4  last AutoNumber
//   20     1  'N' a user's table, 'S' a system table
//   21     2  columns ever made
//   23     2  variable columns ever made
//   25     2  c, columns
//   27     4  l, logical indexes
//   31     4  r, real indexes
//   35     4  row pointer of the map of its data pages
//   39     4  row pointer of the map of those with room
//   43    8r  per real index: entries when it was built or 0; distinct keys
//        18c  per column: type (1), number (2), variable columns before it (2), ordinal position (2), COUNTRY,
//             LANGID, code page (2 each), flags (1), offset among the fixed fields (2; of a variable column
//             anything), size (2)
//             per column: length (1) and name
//        39r  per real index: ten times column number (2; FFFF unused) and 1 ascending or 0 descending (1); row
//             pointer of the map of its pages (4); root page (4); flags (1)
//        20l  per logical index, by name: number (4), real index (4), side of the relation (1), index of the other
//             table (4; -1), definition page of the other table (4), cascade update (1), cascade delete (1), kind (1)
//             per logical index: length (1) and name
//             per memo and long binary column: number (2), row pointers of the maps of its pages and of those with
//             room (4 each; 0 none)
//          2  FFFF
//
// A definition that ends exactly at the end of a page has one more, empty page. Source: docs/file-format.md, "Table
// definitions".

namespace vmlib::jet {

namespace {

constexpr std::size_t pageHead = 8;
constexpr std::size_t nextPageAt = 4;
constexpr std::size_t lengthAt = 8;
constexpr std::size_t rowCountAt = 12;
constexpr std::size_t autoNumberAt = 16;
constexpr std::size_t treeCountersAt = 43;
constexpr std::size_t treeCountersSize = 8;
constexpr std::size_t indexSize = 20;
constexpr std::uint16_t none = 0xFFFF;
constexpr std::uint8_t noCascade = 4;  // stands where an index is no relation's
constexpr std::size_t greatestChain = 64;

constexpr std::uint8_t uniqueFlag = 1, ignoreNullsFlag = 2, requiredFlag = 8;
constexpr std::uint8_t treeFlags = uniqueFlag | ignoreNullsFlag | requiredFlag;
constexpr std::uint8_t fixedFlag = 1, autoNumberFlag = 4;

constexpr std::size_t continuedBytes = pageSize - pageHead;

Text NameFrom(DefinitionReader& from)
{
    const auto raw = from.Raw(from.Take<std::uint8_t>());
    return FromAnsi(std::string_view(reinterpret_cast<const char*>(raw.data()), raw.size()));
}

/// Puts values behind bytes.
class Writer
{
public:
    template <class T>
    void Put(std::type_identity_t<T> value)
    {
        bytes_.resize(bytes_.size() + sizeof(T));
        StoreLittle<T>(bytes_.data() + bytes_.size() - sizeof(T), value);
    }
    void PutName(TextView name)
    {
        const std::string ansi = ToAnsi(name);
        Put<std::uint8_t>(static_cast<std::uint8_t>(ansi.size()));
        bytes_.insert(bytes_.end(), ansi.begin(), ansi.end());
    }
    Bytes& All() { return bytes_; }

private:
    Bytes bytes_;
};

ColumnDefinition ReadColumn(DefinitionReader& from)
{
    ColumnDefinition column;
    column.type = static_cast<ColumnType>(from.Take<std::uint8_t>());
    column.number = from.Take<std::uint16_t>();
    column.variableOrdinal = from.Take<std::uint16_t>();
    column.ordinalPosition = from.Take<std::uint16_t>();
    column.locale.country = from.Take<std::uint16_t>();
    column.locale.langid = from.Take<std::uint16_t>();
    column.locale.codePage = from.Take<std::uint16_t>();
    column.flags = from.Take<std::uint8_t>();
    column.fixedOffset = from.Take<std::uint16_t>();
    column.size = from.Take<std::uint16_t>();
    column.fixedSize = (column.flags & fixedFlag) != 0;
    column.autoNumber = (column.flags & autoNumberFlag) != 0;
    return column;
}

TreeDefinition ReadTree(DefinitionReader& from, TreeDefinition tree)
{
    for (std::size_t i = 0; i < greatestIndexColumnCount; ++i) {
        const auto column = from.Take<std::uint16_t>();
        const auto ascending = from.Take<std::uint8_t>();
        if (column != none) tree.columns.push_back({column, ascending == 0});
    }
    tree.ownedMap = from.Take<std::uint32_t>();
    tree.root = from.Take<PageNumber>();
    const auto flags = from.Take<std::uint8_t>();
    tree.unique = (flags & uniqueFlag) != 0;
    tree.ignoreNulls = (flags & ignoreNullsFlag) != 0;
    tree.required = (flags & requiredFlag) != 0;
    tree.otherFlags = static_cast<std::uint8_t>(flags & ~treeFlags);
    return tree;
}

IndexDefinition ReadIndex(DefinitionReader& from)
{
    IndexDefinition index;
    index.number = from.Take<std::uint32_t>();
    index.realIndex = from.Take<std::uint32_t>();
    index.otherTableKind = from.Take<std::uint8_t>();
    index.otherIndex = from.Take<std::int32_t>();
    index.otherTable = from.Take<PageNumber>();
    const auto cascadeUpdate = from.Take<std::uint8_t>();
    const auto cascadeDelete = from.Take<std::uint8_t>();
    index.kind = static_cast<IndexDefinition::Kind>(from.Take<std::uint8_t>());
    const bool relation = index.kind == IndexDefinition::Kind::Relation;
    index.cascadeUpdate = relation && cascadeUpdate != 0;
    index.cascadeDelete = relation && cascadeDelete != 0;
    return index;
}

void ReadLongValueMaps(DefinitionReader& from, TableDefinition& table)
{
    for (auto number = from.Take<std::uint16_t>(); number != none; number = from.Take<std::uint16_t>()) {
        const auto owned = from.Take<std::uint32_t>();
        const auto room = from.Take<std::uint32_t>();
        const auto position = table.ColumnNumbered(number);
        if (!position) continue;  // of a deleted column
        ColumnDefinition& column = table.columns[*position];
        if (owned != 0) column.ownedMap = owned;
        if (room != 0) column.roomMap = room;
    }
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
            const std::size_t size = column.type == ColumnType::Boolean ? 0 : column.size;
            if (column.fixedOffset + size > pageSize) reader.Fail(name + " a place outside a row");
            if (IsLongValue(column.type)) reader.Fail(name + " a fixed place though its length varies");
            if (FixedSize(column.type).value_or(column.size) != column.size)
                reader.Fail(name + " a size that its type does not have");
        } else {
            if (column.variableOrdinal >= ordinals.size() || ordinals[column.variableOrdinal]) {
                reader.Fail(name + " a place among the variable columns that cannot be");
            }
            ordinals[column.variableOrdinal] = true;
        }
    }
}

void CheckIndexes(const TableDefinition& table, const DefinitionReader& reader)
{
    for (const TreeDefinition& tree : table.trees) {
        if (tree.columns.empty()) reader.Fail("has an index without columns");
        for (const IndexColumn& column : tree.columns) {
            const auto position = table.ColumnNumbered(column.column);
            if (!position) reader.Fail("has an index over a column that it does not have");
            if (IsLongValue(table.columns[*position].type)) reader.Fail("has an index over a long value column");
        }
    }
    for (const IndexDefinition& index : table.indexes) {
        if (index.realIndex >= table.trees.size()) reader.Fail("has a named index without a tree");
    }
}

void PutColumn(Writer& to, const ColumnDefinition& column)
{
    to.Put<std::uint8_t>(static_cast<std::uint8_t>(column.type));
    to.Put<std::uint16_t>(column.number);
    to.Put<std::uint16_t>(column.variableOrdinal);
    to.Put<std::uint16_t>(column.ordinalPosition);
    to.Put<std::uint16_t>(column.locale.country);
    to.Put<std::uint16_t>(column.locale.langid);
    to.Put<std::uint16_t>(column.locale.codePage);
    to.Put<std::uint8_t>(column.flags);
    to.Put<std::uint16_t>(column.fixedOffset);
    to.Put<std::uint16_t>(column.size);
}

void PutTree(Writer& to, const TreeDefinition& tree)
{
    for (std::size_t i = 0; i < greatestIndexColumnCount; ++i) {
        const bool used = i < tree.columns.size();
        to.Put<std::uint16_t>(used ? tree.columns[i].column : none);
        to.Put<std::uint8_t>(used && !tree.columns[i].descending ? 1 : 0);
    }
    to.Put<std::uint32_t>(tree.ownedMap);
    to.Put<PageNumber>(tree.root);
    const int flags = (tree.unique ? uniqueFlag : 0) | (tree.ignoreNulls ? ignoreNullsFlag : 0) |
                      (tree.required ? requiredFlag : 0) | tree.otherFlags;
    to.Put<std::uint8_t>(static_cast<std::uint8_t>(flags));
}

void PutIndex(Writer& to, const IndexDefinition& index)
{
    const bool relation = index.kind == IndexDefinition::Kind::Relation;
    to.Put<std::uint32_t>(index.number);
    to.Put<std::uint32_t>(index.realIndex);
    to.Put<std::uint8_t>(index.otherTableKind);
    to.Put<std::int32_t>(index.otherIndex);
    to.Put<PageNumber>(index.otherTable);
    to.Put<std::uint8_t>(relation ? index.cascadeUpdate : noCascade);
    to.Put<std::uint8_t>(relation ? index.cascadeDelete : noCascade);
    to.Put<std::uint8_t>(static_cast<std::uint8_t>(index.kind));
}

void PutHead(Writer& to, const TableDefinition& table)
{
    to.All() = {static_cast<std::uint8_t>(PageKind::Definition), 1, 'V', 'C', 0, 0, 0, 0, 0, 0, 0, 0};
    to.Put<std::uint32_t>(table.rowCount);
    to.Put<std::uint32_t>(table.lastAutoNumber);
    to.Put<std::uint8_t>(table.system ? 'S' : 'N');
    to.Put<std::uint16_t>(table.columnsEver);
    to.Put<std::uint16_t>(table.variableColumnsEver);
    to.Put<std::uint16_t>(static_cast<std::uint16_t>(table.columns.size()));
    to.Put<std::uint32_t>(static_cast<std::uint32_t>(table.indexes.size()));
    to.Put<std::uint32_t>(static_cast<std::uint32_t>(table.trees.size()));
    to.Put<std::uint32_t>(table.ownedMap);
    to.Put<std::uint32_t>(table.roomMap);
}

std::uint32_t NextPage(const PageRef& page)
{
    return LoadLittle<PageNumber>(page.Data() + nextPageAt);
}

Bytes JoinedPages(Pager& pager, const std::vector<PageNumber>& pages)
{
    Bytes joined;
    joined.reserve(pages.size() * pageSize);
    for (const PageNumber number : pages) {
        const PageRef page = pager.Read(number);
        const auto bytes = page.Bytes().subspan(joined.empty() ? 0 : pageHead);
        joined.insert(joined.end(), bytes.begin(), bytes.end());
    }
    return joined;
}

/// Pages that a joined definition takes. One that fills its last page has an empty page behind it: without that the
/// format's own engine calls the file unrecognized.
std::size_t PagesFor(std::size_t length)
{
    return length < pageSize ? 1 : 2 + (length - pageSize) / continuedBytes;
}

}  // namespace

std::vector<PageNumber> DefinitionPages(Pager& pager, PageNumber first)
{
    std::vector<PageNumber> pages;
    for (PageNumber number = first; number != noPage;) {
        const PageRef page = pager.Read(number);
        if (!IsOfKind(page.Data(), PageKind::Definition)) {
            throw Damaged(number, "a page of a table definition is of another kind");
        }
        if (pages.size() >= greatestChain || std::find(pages.begin(), pages.end(), number) != pages.end()) {
            throw Damaged(number, "the pages of a table definition never end");
        }
        pages.push_back(number);
        number = NextPage(page);
    }
    return pages;
}

TableDefinition ReadDefinitionPages(Pager& pager, PageNumber first)
{
    if (first == noPage) throw Damaged(first, "a table has no definition page");
    return DecodeDefinition(JoinedPages(pager, DefinitionPages(pager, first)), first);
}

TableDefinition DecodeDefinition(const Bytes& joined, PageNumber first)
{
    if (joined.size() < pageSize) throw Damaged(first, "the table definition is cut off");
    const auto length = LoadLittle<std::uint32_t>(joined.data() + lengthAt);
    if (length > joined.size()) throw Damaged(first, "the table definition is longer than its pages");

    DefinitionReader from(std::span<const std::uint8_t>(joined.data(), length), first);
    from.Raw(rowCountAt);
    TableDefinition table;
    table.page = first;
    table.rowCount = from.Take<std::uint32_t>();
    table.lastAutoNumber = from.Take<std::uint32_t>();
    const auto owner = from.Take<std::uint8_t>();
    if (owner != 'N' && owner != 'S') from.Fail("is of neither a user's nor a system table");
    table.system = owner == 'S';
    table.columnsEver = from.Take<std::uint16_t>();
    table.variableColumnsEver = from.Take<std::uint16_t>();
    const auto columnCount = from.Take<std::uint16_t>();
    const auto indexCount = from.Take<std::uint32_t>();
    const auto treeCount = from.Take<std::uint32_t>();
    table.ownedMap = from.Take<std::uint32_t>();
    table.roomMap = from.Take<std::uint32_t>();
    if (table.columnsEver > greatestColumnCount || columnCount > table.columnsEver)
        from.Fail("counts more columns than a row can have");
    if (table.variableColumnsEver > table.columnsEver) from.Fail("counts more variable columns than columns");
    if (treeCount > greatestIndexCount || indexCount > length / indexSize)
        from.Fail("counts more indexes than it holds");
    if (table.ownedMap == 0 || table.roomMap == 0) from.Fail("names no page map");

    for (std::uint32_t i = 0; i < treeCount; ++i) {
        TreeDefinition& tree = table.trees.emplace_back();
        tree.entryCount = from.Take<std::uint32_t>();
        tree.distinctKeys = from.Take<std::uint32_t>();
    }
    for (std::uint32_t i = 0; i < columnCount; ++i) table.columns.push_back(ReadColumn(from));
    for (ColumnDefinition& column : table.columns) column.name = NameFrom(from);
    for (TreeDefinition& tree : table.trees) tree = ReadTree(from, tree);
    for (std::uint32_t i = 0; i < indexCount; ++i) table.indexes.push_back(ReadIndex(from));
    for (IndexDefinition& index : table.indexes) index.name = NameFrom(from);
    ReadLongValueMaps(from, table);
    if (from.At() != length) from.Fail("ends before the length that it gives");

    CheckColumns(table, from);
    CheckIndexes(table, from);
    std::stable_sort(table.columns.begin(), table.columns.end(),
                     [](const auto& left, const auto& right) { return left.ordinalPosition < right.ordinalPosition; });
    return table;
}

Bytes EncodeDefinition(const TableDefinition& table)
{
    std::vector<const ColumnDefinition*> columns;
    for (const ColumnDefinition& column : table.columns) columns.push_back(&column);
    std::sort(columns.begin(), columns.end(),
              [](const auto* left, const auto* right) { return left->number < right->number; });
    std::vector<const IndexDefinition*> indexes;
    for (const IndexDefinition& index : table.indexes) indexes.push_back(&index);
    std::stable_sort(indexes.begin(), indexes.end(), [](const auto* left, const auto* right) {
        return CompareIgnoringCase(left->name, right->name) < 0;
    });

    Writer to;
    PutHead(to, table);
    for (const TreeDefinition& tree : table.trees) {
        to.Put<std::uint32_t>(tree.entryCount);
        to.Put<std::uint32_t>(tree.distinctKeys);
    }
    for (const ColumnDefinition* column : columns) PutColumn(to, *column);
    for (const ColumnDefinition* column : columns) to.PutName(column->name);
    for (const TreeDefinition& tree : table.trees) PutTree(to, tree);
    for (const IndexDefinition* index : indexes) PutIndex(to, *index);
    for (const IndexDefinition* index : indexes) to.PutName(index->name);
    for (const ColumnDefinition* column : columns) {
        if (!column->ownedMap) continue;
        to.Put<std::uint16_t>(column->number);
        to.Put<std::uint32_t>(*column->ownedMap);
        to.Put<std::uint32_t>(column->roomMap.value_or(0));
    }
    to.Put<std::uint16_t>(none);
    StoreLittle<std::uint32_t>(to.All().data() + lengthAt, static_cast<std::uint32_t>(to.All().size()));
    return std::move(to.All());
}

void WriteDefinitionPages(Pager& pager, PageAllocator& allocator, const TableDefinition& definition)
{
    const Bytes joined = EncodeDefinition(definition);
    const std::size_t pageCount = PagesFor(joined.size());
    const bool isNew = pager.Read(definition.page).Data()[0] == 0;
    std::vector<PageNumber> pages = isNew ? std::vector{definition.page} : DefinitionPages(pager, definition.page);
    while (pages.size() < pageCount) pages.push_back(allocator.Allocate().Number());

    for (std::size_t i = 0, at = 0; i < pageCount; ++i) {
        const PageEdit page = pager.EditZeroed(pages[i]);
        const std::size_t head = i == 0 ? 0 : pageHead;
        std::memcpy(page.Data(), joined.data(), pageHead);
        const std::size_t size = std::min(joined.size() - at, pageSize - head);
        std::memcpy(page.Data() + head, joined.data() + at, size);
        StoreLittle<PageNumber>(page.Data() + nextPageAt, i + 1 < pageCount ? pages[i + 1] : noPage);
        at += size;
    }
    for (std::size_t i = pageCount; i < pages.size(); ++i) allocator.Free(pages[i]);
}

namespace counters {

namespace {

std::size_t DistinctKeysAt(std::size_t realIndex)
{
    assert(realIndex < greatestIndexCount);
    return treeCountersAt + treeCountersSize * realIndex + 4;
}

}  // namespace

std::uint32_t RowCount(const PageRef& firstPage)
{
    return LoadLittle<std::uint32_t>(firstPage.Data() + rowCountAt);
}

void SetRowCount(const PageEdit& firstPage, std::uint32_t count)
{
    StoreLittle(firstPage.Data() + rowCountAt, count);
}

std::uint32_t LastAutoNumber(const PageRef& firstPage)
{
    return LoadLittle<std::uint32_t>(firstPage.Data() + autoNumberAt);
}

void SetLastAutoNumber(const PageEdit& firstPage, std::uint32_t number)
{
    StoreLittle(firstPage.Data() + autoNumberAt, number);
}

std::uint32_t DistinctKeys(const PageRef& firstPage, std::size_t realIndex)
{
    return LoadLittle<std::uint32_t>(firstPage.Data() + DistinctKeysAt(realIndex));
}

void SetDistinctKeys(const PageEdit& firstPage, std::size_t realIndex, std::uint32_t count)
{
    StoreLittle(firstPage.Data() + DistinctKeysAt(realIndex), count);
}

}  // namespace counters

}  // namespace vmlib::jet
