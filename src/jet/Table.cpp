#include "jet/Table.h"

#include <algorithm>

#include "jet/DefinitionCodec.h"
#include "jet/TableState.h"

namespace vmlib::jet {

Table::State::State(Pager& pagerOfFile, PageAllocator& allocatorOfFile, TableDefinition given)
    : pager(pagerOfFile), allocator(allocatorOfFile), generation(pagerOfFile.Generation())
{
    Adopt(std::move(given));
}

void Table::State::Adopt(TableDefinition changed)
{
    definition = std::move(changed);
    codec = std::make_shared<RowCodec>(definition);
    rows.emplace(pager, allocator, definition.page, definition.ownedMap, definition.roomMap);
    longValues.emplace(pager, allocator);

    trees.clear();
    indexedColumns.clear();
    for (const TreeDefinition& tree : definition.trees) {
        trees.emplace_back(pager, allocator, definition.page, tree.root, tree.ownedMap);
        for (const IndexColumn& column : tree.columns)
            indexedColumns.push_back(definition.ColumnNumbered(column.column).value());
    }
    std::sort(indexedColumns.begin(), indexedColumns.end());
    indexedColumns.erase(std::unique(indexedColumns.begin(), indexedColumns.end()), indexedColumns.end());

    longColumns.clear();
    for (std::size_t i = 0; i < definition.columns.size(); ++i) {
        if (IsLongValue(definition.columns[i].type)) longColumns.push_back(i);
    }
}

Table::State& Table::State::Current()
{
    if (destroyed) throw Error(ErrorNumber::NoSuchObject, {definition.name});
    if (generation == pager.Generation()) return *this;
    TableDefinition fresh = ReadDefinitionPages(pager, definition.page);
    fresh.name = definition.name;
    for (ColumnDefinition& column : fresh.columns) {
        if (const auto known = definition.ColumnNumbered(column.number))
            column.properties = definition.columns[*known].properties;
    }
    generation = pager.Generation();
    Adopt(std::move(fresh));
    return *this;
}

void Table::State::TakeCounters()
{
    const PageRef page = pager.Read(definition.page);
    definition.rowCount = counters::RowCount(page);
    definition.lastAutoNumber = counters::LastAutoNumber(page);
    for (std::size_t i = 0; i < definition.trees.size(); ++i) {
        definition.trees[i].distinctKeys = counters::DistinctKeys(page, i);
    }
}

std::vector<std::size_t> Table::State::Wanted(const ColumnMask& mask) const
{
    std::vector<std::size_t> wanted;
    for (std::size_t i = 0; i < definition.columns.size(); ++i) {
        if (mask.empty() || (i < mask.size() && mask[i])) wanted.push_back(i);
    }
    return wanted;
}

RowScan Table::State::NewScan(std::vector<std::size_t> wanted)
{
    return RowScan(pager, *rows, definition.page, codec, std::move(wanted));
}

Table::Table(Pager& pager, PageAllocator& allocator, TableDefinition definition)
    : state_(std::make_unique<State>(pager, allocator, std::move(definition)))
{
}

Table::~Table() = default;

void Table::Describe(TableDefinition definition)
{
    state_->generation = state_->pager.Generation();
    state_->Adopt(std::move(definition));
}

const TableDefinition& Table::Definition()
{
    const ReadScope scope(state_->pager);
    State& state = state_->Current();
    state.TakeCounters();
    return state.definition;
}

TableDefinition Table::ReadDefinition(Pager& pager, PageNumber page)
{
    const ReadScope scope(pager);
    return ReadDefinitionPages(pager, page);
}

std::uint32_t Table::RowCount()
{
    const ReadScope scope(state_->pager);
    return counters::RowCount(state_->pager.Read(state_->definition.page));
}

Table::Cursor::Cursor() = default;

bool Table::Cursor::Next()
{
    return state_ && state_->Next();
}

const Row& Table::Cursor::Current() const
{
    return state_->Current();
}

RowPointer Table::Cursor::Where() const
{
    return state_->Where();
}

Table::Cursor Table::Scan(const ColumnMask& columns)
{
    const ReadScope scope(state_->pager);
    State& state = state_->Current();
    Cursor cursor;
    cursor.state_ = std::make_shared<Cursor::State>(state.NewScan(state.Wanted(columns)));
    std::erase_if(state.scans, [](const auto& scan) { return scan.expired(); });
    state.scans.push_back(cursor.state_);
    return cursor;
}

bool Table::Fetch(RowPointer at, Row& row, const ColumnMask& columns)
{
    const ReadScope scope(state_->pager);
    State& state = state_->Current();
    const auto found = state.rows->Find(at);
    if (!found) return false;
    const std::vector<std::size_t> wanted = state.Wanted(columns);
    row.resize(state.definition.columns.size());
    if (wanted.size() < row.size()) std::fill(row.begin(), row.end(), Value());
    DecodeRow(state.pager, *state.codec, found->bytes, found->at.page, wanted, row);
    return true;
}

IndexTree Table::Tree(std::size_t realIndex)
{
    const ReadScope scope(state_->pager);
    return state_->Current().trees.at(realIndex);
}

}  // namespace vmlib::jet
