#include "jet/Table.h"

#include <algorithm>

#include "jet/Damage.h"
#include "jet/DefinitionCodec.h"
#include "jet/TableState.h"

namespace vmlib::jet {

namespace {

TableDefinition ReadPages(Pager& pager, PageNumber page)
{
    if (pager.Format() == FileFormat::Format4) return format4::ReadDefinition(pager, page);
    return ReadDefinitionPages(pager, page);
}

}  // namespace

Table::State::State(Pager& pagerOfFile, PageAllocator& allocatorOfFile, TableDefinition given)
    : pager(pagerOfFile), allocator(allocatorOfFile), generation(pagerOfFile.Generation())
{
    Adopt(std::move(given));
}

void Table::State::Adopt(TableDefinition changed)
{
    definition = std::move(changed);
    if (definition.format == FileFormat::Format4) {
        format4 = std::make_shared<const TableDefinition>(definition);
        for (auto& order : orders)
            if (order) formerOrders.push_back(std::move(order));
        orders.clear();
        orders.resize(definition.trees.size());
        return;
    }
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
    TableDefinition fresh = ReadPages(pager, definition.page);
    fresh.name = definition.name;
    fresh.properties = definition.properties;
    if (definition.system && fresh.columns.size() < definition.columns.size())
        throw Damaged(definition.page, "a system table has lost a column");
    for (ColumnDefinition& column : fresh.columns) {
        if (const auto known = definition.ColumnNumbered(column.number))
            column.properties = definition.columns[*known].properties;
    }
    generation = pager.Generation();
    Adopt(std::move(fresh));
    return *this;
}

Table::State& Table::State::ToChange()
{
    State& state = Current();
    if (state.format4) throw Error(ErrorNumber::ReadOnly);
    return state;
}

void Table::State::TakeCounters()
{
    if (format4) return;  // they do not change while it is open
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

const IndexTree& Table::State::OrderOf(std::size_t realIndex)
{
    std::unique_ptr<format4::Order>& order = orders.at(realIndex);
    if (order == nullptr) {
        const TreeDefinition& tree = definition.trees[realIndex];
        ColumnMask keyColumns(definition.columns.size(), false);
        for (const IndexColumn& column : tree.columns)
            keyColumns[definition.ColumnNumbered(column.column).value()] = true;
        auto made = std::make_unique<format4::Order>();
        format4::Scan scan(pager, format4, Wanted(keyColumns));
        while (scan.Next()) {
            if (const auto key = IndexKey::Of(definition, tree, scan.Current())) made->Add(*key, scan.Where());
        }
        order = std::move(made);
    }
    return order->Tree();
}

bool Table::State::FetchStored(RowPointer at, Row& row, const ColumnMask& columns)
{
    const format4::StoredRow found = format4::FindRow(pager, definition.page, at);
    if (found.page == nullptr) return false;
    row.assign(definition.columns.size(), Value());
    format4::DecodeRow(pager, *format4, found, Wanted(columns), row);
    return true;
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
    return ReadPages(pager, page);
}

std::uint32_t Table::RowCount()
{
    const ReadScope scope(state_->pager);
    if (state_->format4) return state_->Current().definition.rowCount;
    return counters::RowCount(state_->pager.Read(state_->definition.page));
}

Table::Cursor::Cursor() = default;

bool Table::Cursor::Next()
{
    if (state_) return state_->Next();
    return stored_ && stored_->Next();
}

const Row& Table::Cursor::Current() const
{
    return state_ ? state_->Current() : stored_->Current();
}

RowPointer Table::Cursor::Where() const
{
    return state_ ? state_->Where() : stored_->Where();
}

Table::Cursor Table::Scan(const ColumnMask& columns)
{
    const ReadScope scope(state_->pager);
    State& state = state_->Current();
    Cursor cursor;
    if (state.format4) {
        cursor.stored_ = std::make_shared<format4::Scan>(state.pager, state.format4, state.Wanted(columns));
        return cursor;
    }
    cursor.state_ = std::make_shared<Cursor::State>(state.NewScan(state.Wanted(columns)));
    std::erase_if(state.scans, [](const auto& scan) { return scan.expired(); });
    state.scans.push_back(cursor.state_);
    return cursor;
}

bool Table::Fetch(RowPointer at, Row& row, const ColumnMask& columns)
{
    const ReadScope scope(state_->pager);
    State& state = state_->Current();
    if (state.format4) return state.FetchStored(at, row, columns);
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
    State& state = state_->Current();
    return state.format4 ? state.OrderOf(realIndex) : state.trees.at(realIndex);
}

}  // namespace vmlib::jet
