#include <algorithm>

#include "jet/DefinitionCodec.h"
#include "jet/PageMap.h"
#include "jet/TableState.h"

// Changes of a table's design. Each writes the whole definition anew, within a unit of work, and is taken over in
// memory when that has succeeded.
namespace vmlib::jet {

namespace {

constexpr std::uint8_t fixedFlag = 0x01, alwaysFlag = 0x02, autoNumberFlag = 0x04, systemFlag = 0x10;
constexpr std::uint8_t callersFlags = 0x20 | 0x40 | 0x80;

/// Gives a column its number and its place behind all columns that there ever were.
void Place(TableDefinition& table, ColumnDefinition& column)
{
    if (table.columnsEver >= greatestColumnCount) throw Error(ErrorNumber::TooManyFields);
    if (!IsKnown(column.type)) throw Error(ErrorNumber::InvalidFieldType);
    if (const auto size = FixedSize(column.type)) {
        column.size = *size;
        column.fixedSize = true;
    }
    if (IsLongValue(column.type)) {
        column.size = 0;
        column.fixedSize = false;
    }
    column.number = table.columnsEver++;
    column.variableOrdinal = table.variableColumnsEver;
    column.fixedOffset = 0;
    if (!column.fixedSize) {
        ++table.variableColumnsEver;
    } else if (column.type != ColumnType::Boolean) {
        for (const ColumnDefinition& other : table.columns) {
            const bool hasBytes = other.fixedSize && other.type != ColumnType::Boolean;
            if (hasBytes)
                column.fixedOffset = std::max<std::uint16_t>(
                    column.fixedOffset, static_cast<std::uint16_t>(other.fixedOffset + other.size));
        }
    }
    const int flags = (column.flags & callersFlags) | alwaysFlag | (column.fixedSize ? fixedFlag : 0) |
                      (column.autoNumber ? autoNumberFlag : 0) | (table.system ? systemFlag : 0);
    column.flags = static_cast<std::uint8_t>(flags);
}

void MakeLongValueMaps(Pager& pager, PageAllocator& allocator, const TableDefinition& table, ColumnDefinition& column)
{
    column.ownedMap.reset();
    column.roomMap.reset();
    if (!IsLongValue(column.type)) return;
    column.ownedMap = PageMap::CreateBeside(pager, allocator, table.ownedMap);
    column.roomMap = PageMap::CreateBeside(pager, allocator, table.ownedMap);
}

void SortColumns(TableDefinition& table)
{
    std::stable_sort(table.columns.begin(), table.columns.end(),
                     [](const auto& left, const auto& right) { return left.ordinalPosition < right.ordinalPosition; });
}

ColumnDefinition& ColumnOf(TableDefinition& table, TextView name)
{
    const auto position = table.ColumnNamed(name);
    if (!position) throw Error(ErrorNumber::NoSuchField, {table.name, Text(name)});
    return table.columns[*position];
}

}  // namespace

TableDefinition Table::Create(Pager& pager, PageAllocator& allocator, TableDefinition wanted)
{
    if (wanted.columns.empty()) throw Error(ErrorNumber::NoFieldDefined);
    TableDefinition table;
    table.name = wanted.name;
    table.page = wanted.page;
    table.system = wanted.system;
    const bool ordered = std::any_of(wanted.columns.begin(), wanted.columns.end(),
                                     [](const ColumnDefinition& column) { return column.ordinalPosition != 0; });
    for (ColumnDefinition& column : wanted.columns) {
        Place(table, column);
        if (!ordered && !table.system) column.ordinalPosition = column.number;
        table.columns.push_back(std::move(column));
    }

    UnitOfWork unit(pager);
    if (table.page == noPage) table.page = allocator.Allocate().Number();
    table.ownedMap = PageMap::Create(pager, allocator);
    table.roomMap = PageMap::CreateBeside(pager, allocator, table.ownedMap);
    for (ColumnDefinition& column : table.columns) MakeLongValueMaps(pager, allocator, table, column);
    SortColumns(table);
    WriteDefinitionPages(pager, allocator, table);
    unit.Commit();
    return table;
}

void Table::Destroy()
{
    State& state = state_->ToChange();
    UnitOfWork unit(state.pager);
    for (IndexTree& tree : state.trees) tree.Destroy();
    for (const std::size_t i : state.longColumns) state.longValues->Destroy(state.definition.columns[i]);
    state.rows->Destroy();
    for (const PageNumber page : DefinitionPages(state.pager, state.definition.page)) state.allocator.Free(page);
    unit.Commit();
    state.destroyed = true;
}

/// Writes a definition and takes it over. @param step  what else belongs to the change; it may still alter the
/// definition
template <class Step>
void Table::State::Redesign(TableDefinition changed, Step step)
{
    TakeCounters();
    changed.rowCount = definition.rowCount;
    changed.lastAutoNumber = definition.lastAutoNumber;
    UnitOfWork unit(pager);
    step(changed);
    WriteDefinitionPages(pager, allocator, changed);
    unit.Commit();
    Adopt(std::move(changed));
}

void Table::State::Redesign(TableDefinition changed)
{
    Redesign(std::move(changed), [](TableDefinition&) {});
}

void Table::State::CheckIndexColumns(const std::vector<IndexColumn>& columns) const
{
    if (columns.empty()) throw Error(ErrorNumber::NoFieldDefined);
    if (columns.size() > greatestIndexColumnCount) throw Error(ErrorNumber::TooManyIndexFields);
    for (const IndexColumn& column : columns) {
        const auto position = definition.ColumnNumbered(column.column);
        if (!position) throw Error(ErrorNumber::BadIndexField, {Text()});
        const ColumnDefinition& found = definition.columns[*position];
        if (IsLongValue(found.type)) throw Error(ErrorNumber::BadIndexField, {found.name});
    }
}

std::uint32_t Table::State::FreeIndexNumber() const
{
    const auto taken = [&](std::uint32_t number) {
        return std::any_of(definition.indexes.begin(), definition.indexes.end(),
                           [&](const auto& index) { return index.number == number; });
    };
    std::uint32_t number = 0;
    while (taken(number)) ++number;
    return number;
}

void Table::State::AddLogical(TableDefinition& changed, IndexDefinition index) const
{
    if (changed.indexes.size() >= greatestIndexCount) throw Error(ErrorNumber::TooManyIndexes);
    if (changed.IndexNamed(index.name)) throw Error(ErrorNumber::IndexExists);
    const auto before = std::find_if(changed.indexes.begin(), changed.indexes.end(), [&](const IndexDefinition& other) {
        return CompareIgnoringCase(index.name, other.name) < 0;
    });
    changed.indexes.insert(before, std::move(index));
}

/// Builds a tree over the rows there are and adds it to the definition. Nothing is written when a row does not fit it.
void Table::State::BuildTree(TableDefinition& changed, TreeDefinition tree, bool forRelation, Files& files,
                             TextView temporaryFolder)
{
    if (changed.trees.size() >= greatestIndexCount) throw Error(ErrorNumber::TooManyIndexes);
    std::vector<std::size_t> wanted;
    for (const IndexColumn& column : tree.columns) wanted.push_back(definition.ColumnNumbered(column.column).value());

    IndexBuilder builder(pager, allocator, definition.page, files, temporaryFolder);
    for (RowScan scan = NewScan(std::move(wanted)); scan.Next();) {
        const Row& row = scan.Current();
        if (tree.required && IndexKey::HasNull(definition, tree, row)) throw Error(ErrorNumber::NullInKey);
        if (const auto key = IndexKey::Of(definition, tree, row)) builder.Add(*key, scan.Where());
    }
    const IndexBuilder::Result built = builder.Finish(tree.unique, IndexKey::OfNulls(tree));
    if (tree.unique && built.hasDuplicates) throw Error(ErrorNumber::DuplicateValue);
    tree.root = built.root;
    tree.ownedMap = built.ownedMap;
    tree.entryCount = forRelation ? built.entries : 0;
    tree.distinctKeys = built.distinctKeys;
    changed.trees.push_back(std::move(tree));
}

void Table::AddIndex(const NewIndex& wanted, Files& files, TextView temporaryFolder)
{
    State& state = state_->ToChange();
    state.CheckIndexColumns(wanted.columns);
    const auto isPrimary = [](const IndexDefinition& index) { return index.kind == IndexDefinition::Kind::Primary; };
    const auto& indexes = state.definition.indexes;
    if (wanted.primary && std::any_of(indexes.begin(), indexes.end(), isPrimary))
        throw Error(ErrorNumber::PrimaryKeyExists);

    IndexDefinition index;
    index.name = wanted.name;
    index.kind = wanted.primary ? IndexDefinition::Kind::Primary : IndexDefinition::Kind::Plain;
    index.number = state.FreeIndexNumber();
    index.realIndex = static_cast<std::uint32_t>(state.definition.trees.size());
    TreeDefinition tree;
    tree.columns = wanted.columns;
    tree.unique = wanted.unique || wanted.primary;
    tree.required = wanted.required || (wanted.primary && !state.definition.system);
    tree.ignoreNulls = wanted.ignoreNulls;

    TableDefinition changed = state.definition;
    state.AddLogical(changed, index);
    state.Redesign(std::move(changed),
                   [&](TableDefinition& table) { state.BuildTree(table, tree, false, files, temporaryFolder); });
}

void Table::RemoveIndex(TextView name)
{
    State& state = state_->ToChange();
    const IndexDefinition* const found = state.definition.IndexNamed(name);
    if (!found) throw Error(ErrorNumber::NoSuchIndex, {state.definition.name, Text(name)});
    const std::uint32_t real = found->realIndex, number = found->number;
    TableDefinition changed = state.definition;
    std::erase_if(changed.indexes, [&](const IndexDefinition& index) { return index.number == number; });
    const bool last = std::none_of(changed.indexes.begin(), changed.indexes.end(),
                                   [&](const IndexDefinition& index) { return index.realIndex == real; });

    state.Redesign(std::move(changed), [&](TableDefinition& table) {
        if (!last) return;
        state.trees.at(real).Destroy();
        table.trees.erase(table.trees.begin() + real);
        for (IndexDefinition& index : table.indexes) {
            if (index.realIndex > real) --index.realIndex;
        }
    });
}

std::size_t Table::TreeOver(const std::vector<IndexColumn>& columns, Files& files, TextView temporaryFolder)
{
    State& state = state_->ToChange();
    state.CheckIndexColumns(columns);
    const auto& trees = state.definition.trees;
    const auto same = std::find_if(trees.begin(), trees.end(), [&](const TreeDefinition& tree) {
        return tree.columns == columns && !tree.ignoreNulls;
    });
    if (same != trees.end()) return static_cast<std::size_t>(same - trees.begin());

    TreeDefinition tree;
    tree.columns = columns;
    state.Redesign(state.definition,
                   [&](TableDefinition& table) { state.BuildTree(table, tree, true, files, temporaryFolder); });
    return state.definition.trees.size() - 1;
}

std::uint32_t Table::NextIndexNumber()
{
    return state_->Current().FreeIndexNumber();
}

void Table::AddLogicalIndex(IndexDefinition index)
{
    State& state = state_->ToChange();
    if (index.realIndex >= state.definition.trees.size()) throw Error(ErrorNumber::InvalidArgument);
    TableDefinition changed = state.definition;
    state.AddLogical(changed, std::move(index));
    state.Redesign(std::move(changed));
}

void Table::SetOtherIndex(std::uint32_t number, std::int32_t otherIndex)
{
    State& state = state_->ToChange();
    TableDefinition changed = state.definition;
    const auto index = std::find_if(changed.indexes.begin(), changed.indexes.end(),
                                    [&](const auto& one) { return one.number == number; });
    if (index == changed.indexes.end()) throw Error(ErrorNumber::InvalidArgument);
    index->otherIndex = otherIndex;
    state.Redesign(std::move(changed));
}

void Table::AddColumn(ColumnDefinition column)
{
    State& state = state_->ToChange();
    TableDefinition changed = state.definition;
    const bool firstVariable = changed.variableColumnsEver == 0;
    const bool lostColumns = changed.columnsEver > changed.columns.size();
    Place(changed, column);
    UnitOfWork unit(state.pager);
    state.Redesign(std::move(changed), [&](TableDefinition& table) {
        MakeLongValueMaps(state.pager, state.allocator, table, column);
        table.columns.push_back(column);
        SortColumns(table);
    });
    if (column.fixedSize ? lostColumns : firstVariable) state.RewriteOlderRows();
    unit.Commit();
}

/// Other readers mistake rows of before a column in two cases, so there they are written anew. Rows of before the first
/// variable column end without a count of variable fields, which those readers expect wherever the table has such
/// columns. And whether a row has a fixed field they tell by how many it has: one that is gone since counts for one that
/// is new. This engine goes by the row's count of columns. Rows that would become too long stay: they could not be
/// changed either.
void Table::State::RewriteOlderRows()
{
    ColumnMask notLong(definition.columns.size(), true);
    for (const std::size_t i : longColumns) notLong[i] = false;
    longFields.assign(definition.columns.size(), {});
    for (RowScan scan = NewScan(Wanted(notLong)); scan.Next();) {
        const auto stored = rows->Find(scan.Where());
        const RowFields fields = codec->Parse(stored.value().bytes, stored->at.page);
        if (!codec->IsOlder(fields)) continue;
        for (const std::size_t i : longColumns) {
            const auto field = codec->Field(fields, i).value_or(std::span<const std::uint8_t>());
            longFields[i].assign(field.begin(), field.end());
        }
        if (!codec->Takes(scan.Current(), longFields)) continue;
        codec->Encode(scan.Current(), longFields, buffer);
        rows->Replace(scan.Where(), buffer.Row());
    }
}

void Table::RemoveColumn(TextView name)
{
    State& state = state_->ToChange();
    TableDefinition changed = state.definition;
    const ColumnDefinition column = ColumnOf(changed, name);
    for (const TreeDefinition& tree : changed.trees) {
        const auto uses = [&](const IndexColumn& one) { return one.column == column.number; };
        if (std::any_of(tree.columns.begin(), tree.columns.end(), uses)) throw Error(ErrorNumber::FieldInIndex);
    }
    std::erase_if(changed.columns, [&](const ColumnDefinition& one) { return one.number == column.number; });

    UnitOfWork unit(state.pager);
    state.Redesign(std::move(changed), [&](TableDefinition&) {
        if (IsLongValue(column.type)) state.longValues->Destroy(column);
    });
    if (column.fixedSize) state.RewriteOlderRows();
    unit.Commit();
}

void Table::RenameColumn(TextView from, TextView to)
{
    State& state = state_->ToChange();
    TableDefinition changed = state.definition;
    ColumnOf(changed, from).name = to;
    state.Redesign(std::move(changed));
}

void Table::RewriteDefinition(const TableDefinition& wanted)
{
    State& state = state_->ToChange();
    TableDefinition changed = state.definition;
    changed.name = wanted.name;
    for (ColumnDefinition& column : changed.columns) {
        const auto position = wanted.ColumnNumbered(column.number);
        if (!position) continue;
        const ColumnDefinition& from = wanted.columns[*position];
        column.name = from.name;
        column.ordinalPosition = from.ordinalPosition;
        column.locale = from.locale;
        column.properties = from.properties;
        column.autoNumber = from.autoNumber;
        if (!column.fixedSize) column.size = from.size;
        const int kept = column.flags & ~(callersFlags | autoNumberFlag);
        column.flags =
            static_cast<std::uint8_t>(kept | (from.flags & callersFlags) | (from.autoNumber ? autoNumberFlag : 0));
    }
    SortColumns(changed);
    state.Redesign(std::move(changed));
}

}  // namespace vmlib::jet
