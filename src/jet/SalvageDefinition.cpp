#include "jet/SalvageDefinition.h"

#include <algorithm>
#include <set>

#include "core/ByteOrder.h"
#include "jet/Damage.h"
#include "jet/DefinitionCodec.h"
#include "jet/IndexTree.h"

// What stands where in a definition: see DefinitionCodec.cpp.
namespace vmlib::jet {

namespace {

constexpr std::size_t headSize = 43, pageHead = 8, nextAt = 4, lengthAt = 8;
constexpr std::size_t columnCountAt = 25, indexCountAt = 27, treeCountAt = 31;
constexpr std::size_t ownedMapAt = 35, roomMapAt = 39;
constexpr std::size_t treeCountersSize = 8, columnSize = 18;
constexpr std::size_t greatestChain = 64;
constexpr std::size_t greatestFixedRow = 2003;  // docs/file-format.md, "Rows"

/// The pages of a definition as far as there are any, joined.
Bytes JoinedAsFarAsPossible(Pager& pager, PageNumber first)
{
    Bytes joined;
    PageNumber number = first;
    for (std::size_t i = 0; i < greatestChain && number != noPage && number < pager.PageCount(); ++i) {
        const PageRef page = pager.Read(number);
        if (!IsOfKind(page.Data(), PageKind::Definition)) break;
        const auto bytes = page.Bytes().subspan(joined.empty() ? 0 : pageHead);
        joined.insert(joined.end(), bytes.begin(), bytes.end());
        number = LoadLittle<PageNumber>(page.Data() + nextAt);
    }
    return joined;
}

/// The columns alone, as a definition without indexes and without long value maps: made of the head and the columns of
/// a longer one, whose other parts may be anything.
TableDefinition DecodeColumns(const Bytes& joined, PageNumber page)
{
    if (joined.size() < headSize) throw Damaged(page, "the table definition is cut off");
    const std::size_t columns = LoadLittle<std::uint16_t>(&joined[columnCountAt]);
    const std::size_t trees = LoadLittle<std::uint32_t>(&joined[treeCountAt]);
    if (trees > greatestIndexCount || columns > greatestColumnCount)
        throw Damaged(page, "the table definition counts more than it can have");
    const std::size_t begin = headSize + treeCountersSize * trees;
    std::size_t end = begin + columnSize * columns;
    for (std::size_t i = 0; i < columns && end < joined.size(); ++i) end += 1u + joined[end];
    if (end > joined.size()) throw Damaged(page, "the table definition ends within its columns");

    const auto columnBytes = std::span(joined).subspan(begin, end - begin);
    Bytes bare;
    bare.reserve(pageSize + end);
    bare.assign(joined.begin(), joined.begin() + headSize);
    bare.insert(bare.end(), columnBytes.begin(), columnBytes.end());
    bare.insert(bare.end(), {0xFF, 0xFF});
    StoreLittle<std::uint32_t>(&bare[indexCountAt], 0);
    StoreLittle<std::uint32_t>(&bare[treeCountAt], 0);
    StoreLittle<std::uint32_t>(&bare[lengthAt], static_cast<std::uint32_t>(bare.size()));
    bare.resize(std::max(bare.size(), pageSize));
    const auto ownedMap = LoadLittle<std::uint32_t>(&bare[ownedMapAt]);
    for (const std::size_t map : {ownedMapAt, roomMapAt}) StoreLittle<std::uint32_t>(&bare[map], 1);  // not asked for
    TableDefinition table = DecodeDefinition(bare, page);
    table.ownedMap = ownedMap;
    return table;
}

void RemoveTree(TableDefinition& table, std::uint32_t tree)
{
    table.trees.erase(table.trees.begin() + tree);
    for (IndexDefinition& index : table.indexes)
        if (index.realIndex > tree) --index.realIndex;
}

bool IsNamed(const TableDefinition& table, std::uint32_t tree)
{
    return std::ranges::any_of(table.indexes, [&](const IndexDefinition& index) { return index.realIndex == tree; });
}

/// One index a name and a number, one primary key, no tree without a name.
void TidyIndexes(TableDefinition& table, SalvagedTable& counts)
{
    std::set<Text> names;
    std::set<std::uint32_t> numbers;
    std::erase_if(table.indexes, [&](const IndexDefinition& index) {
        const bool second = !names.insert(UpperCase(index.name)).second || !numbers.insert(index.number).second;
        if (second) counts.Note("index " + ToUtf8(index.name) + " has the name or the number of another one");
        return second;
    });
    bool hasPrimary = false;
    for (IndexDefinition& index : table.indexes) {
        if (index.kind != IndexDefinition::Kind::Primary) continue;
        if (hasPrimary || !table.TreeOf(index).unique) index.kind = IndexDefinition::Kind::Plain;
        hasPrimary = true;
    }
    for (std::uint32_t tree = static_cast<std::uint32_t>(table.trees.size()); tree-- > 0;)
        if (!IsNamed(table, tree)) RemoveTree(table, tree);
}

std::size_t FixedBytes(const TableDefinition& table)
{
    std::size_t bytes = 0;
    for (const ColumnDefinition& column : table.columns)
        if (column.type != ColumnType::Boolean && (FixedSize(column.type) || column.fixedSize)) bytes += column.size;
    return bytes;
}

}  // namespace

std::optional<TableDefinition> SalvageDefinition(Pager& pager, PageNumber page, const SortLocale& locale,
                                                 SalvagedTable& counts)
{
    std::optional<TableDefinition> table;
    try {
        table = ReadDefinitionPages(pager, page);
    } catch (const Damaged& whole) {
        try {
            table = DecodeColumns(JoinedAsFarAsPossible(pager, page), page);
            counts.Note("its indexes are lost: page " + std::to_string(whole.Page()) + ": " + whole.Finding());
        } catch (const Damaged&) {
            counts.Note("page " + std::to_string(whole.Page()) + ": " + whole.Finding());
            return std::nullopt;
        }
    }
    if (table->columns.empty() || FixedBytes(*table) > greatestFixedRow) {
        counts.Note("page " + std::to_string(page) + ": the columns of the definition make no row");
        return std::nullopt;
    }
    for (ColumnDefinition& column : table->columns)
        if (!IndexKey::KnowsOrder(column.locale.langid)) column.locale = locale;
    TidyIndexes(*table, counts);
    return table;
}

void RemoveIndex(TableDefinition& table, std::uint32_t number)
{
    const auto index = std::ranges::find(table.indexes, number, &IndexDefinition::number);
    if (index == table.indexes.end()) return;
    const std::uint32_t tree = index->realIndex;
    table.indexes.erase(index);
    if (!IsNamed(table, tree)) RemoveTree(table, tree);
}

}  // namespace vmlib::jet
