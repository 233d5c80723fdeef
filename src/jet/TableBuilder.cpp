#include "jet/TableBuilder.h"

#include <algorithm>

#include "jet/DefinitionCodec.h"
#include "jet/EntrySorter.h"
#include "jet/IndexPage.h"
#include "jet/PageMap.h"
#include "jet/RowScan.h"

namespace vmlib::jet {

namespace {

constexpr std::uint8_t fixedFlag = 0x01;
constexpr std::size_t treesAtOnce = 6;  // each sorts with some MiB of memory
constexpr std::size_t leastRoom = 258;  // free bytes from which on a page is in the map of those with room
                                        // (docs/file-format.md, "Data pages")

std::span<const std::uint8_t> LongBytes(const Value& value)
{
    if (const auto* text = std::get_if<std::string>(&value))
        return {reinterpret_cast<const std::uint8_t*>(text->data()), text->size()};
    return std::get<Bytes>(value);
}

std::optional<std::size_t> PrimaryTree(const TableDefinition& table)
{
    for (const IndexDefinition& index : table.indexes)
        if (index.kind == IndexDefinition::Kind::Primary) return index.realIndex;
    return std::nullopt;
}

}  // namespace

/// A tree that is being built.
struct TableBuilder::Building
{
    std::size_t tree;
    IndexBuilder builder;
    std::set<Key> keysWithNull;  // of a unique tree: these may come repeatedly
};

TableBuilder::TableBuilder(Pager& pager, PageAllocator& allocator, const TableDefinition& from, Files& files,
                           TextView temporaryFolder)
    : pager_(pager),
      allocator_(allocator),
      files_(files),
      temporaryFolder_(temporaryFolder),
      longValues_(pager, allocator)
{
    CreateDefinition(from);
    codec_.emplace(made_);
    // Without a map of pages with room no row goes back to an earlier page: they stand in their order.
    store_.emplace(pager_, allocator_, made_.page, made_.ownedMap, 0);
    longFields_.resize(made_.columns.size());
    fieldSizes_.resize(made_.columns.size());
}

TableBuilder::~TableBuilder() = default;

void TableBuilder::CreateDefinition(const TableDefinition& from)
{
    TableDefinition wanted = from;
    wanted.page = noPage;
    std::ranges::stable_sort(wanted.columns, {}, &ColumnDefinition::number);  // numbers keep their order
    made_ = Table::Create(pager_, allocator_, wanted);
    for (std::size_t i = 0; i < made_.columns.size(); ++i) {
        ColumnDefinition& column = made_.columns[i];
        // Bits that nobody understands stay; a number that stood among the variable fields is fixed now.
        const int kept = from.columns[i].flags & ~fixedFlag;
        column.flags = static_cast<std::uint8_t>(kept | (column.fixedSize ? fixedFlag : 0));
    }
    made_.indexes = from.indexes;
    made_.trees = from.trees;
    for (TreeDefinition& tree : made_.trees) {
        for (IndexColumn& column : tree.columns)
            column.column = made_.columns[from.ColumnNumbered(column.column).value()].number;
    }
}

void TableBuilder::Fill(RowSource& rows)
{
    StartTrees(0);
    const auto primary = PrimaryTree(made_);
    if (primary)
        AddInKeyOrder(rows, *primary);
    else
        rows.ForEach({}, [&](RowPointer, const Row& row) { AddRow(row); });
    if (lastPage_ != noPage) PageMap(pager_, made_.roomMap).Add(lastPage_, allocator_);
    FinishTrees();
    FillLaterTrees();
}

/// Sorts keys with the places of their rows, then takes the rows as they come.
void TableBuilder::AddInKeyOrder(RowSource& rows, std::size_t primaryTree)
{
    const TreeDefinition& tree = made_.trees[primaryTree];
    ColumnMask mask(made_.columns.size(), false);
    for (const IndexColumn& column : tree.columns) mask[made_.ColumnNumbered(column.column).value()] = true;
    EntrySorter sorter(files_, temporaryFolder_);
    rows.ForEach(mask, [&](RowPointer at, const Row& row) {
        sorter.Add(EntryOf(IndexKey::Of(made_, tree, row).value_or(Key()), at));
    });
    Row row(made_.columns.size());
    sorter.ForEach([&](std::string_view entry) {
        if (rows.Fetch(RowOf(entry), row)) AddRow(row);
        return true;
    });
}

void TableBuilder::AddRow(const Row& row)
{
    if (!StoreLongValues(row)) return;
    codec_->Encode(row, longFields_, buffer_);
    const RowPointer at = store_->Store(buffer_.Row());
    if (at.page != lastPage_ && lastPage_ != noPage) NoteRoom(lastPage_);
    lastPage_ = at.page;
    AddKeys(at, row);
    ++rowCount_;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (!made_.columns[i].autoNumber) continue;
        if (const auto* number = std::get_if<std::int32_t>(&row[i]))
            greatestAutoNumber_ = std::max(greatestAutoNumber_, *number);
    }
}

/// False when the row is too long to be stored and that is tolerated.
bool TableBuilder::StoreLongValues(const Row& row)
{
    for (std::size_t i = 0; i < row.size(); ++i) {
        const bool stored = IsLongValue(made_.columns[i].type) && !IsNull(row[i]);
        fieldSizes_[i] = stored ? LongValues::FieldSize(LongBytes(row[i]).size()) : 0;
    }
    try {
        codec_->SizeOf(row, fieldSizes_);
    } catch (const Error& error) {
        if (unfit_ == nullptr || !error.Is(ErrorNumber::RecordTooLarge)) throw;
        ++unfit_->tooLong;
        return false;
    }
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (!IsLongValue(made_.columns[i].type)) continue;
        longFields_[i].clear();
        if (!IsNull(row[i])) longFields_[i] = longValues_.Store(made_.columns[i], LongBytes(row[i]));
    }
    return true;
}

void TableBuilder::NoteRoom(PageNumber page)
{
    if (DataPage(pager_.Read(page), made_.page).FreeBytes() < leastRoom) return;
    PageMap(pager_, made_.roomMap).Add(page, allocator_);
}

void TableBuilder::StartTrees(std::size_t first)
{
    const std::size_t end = std::min(made_.trees.size(), first + treesAtOnce);
    for (std::size_t i = first; i < end; ++i)
        trees_.push_back(std::unique_ptr<Building>(
            new Building{i, IndexBuilder(pager_, allocator_, made_.page, files_, temporaryFolder_), {}}));
}

void TableBuilder::AddKeys(RowPointer at, const Row& row)
{
    for (const auto& building : trees_) {
        const TreeDefinition& tree = made_.trees[building->tree];
        const bool hasNull = IndexKey::HasNull(made_, tree, row);
        if (hasNull && made_.RefusesNull(building->tree)) {
            if (unfit_ == nullptr) throw Error(ErrorNumber::NullInKey);
            auto& known = unfit_->withNulls;
            if (std::ranges::find(known, building->tree) == known.end()) known.push_back(building->tree);
        }
        const auto key = IndexKey::Of(made_, tree, row);
        if (!key) continue;
        building->builder.Add(*key, at);
        if (hasNull && tree.unique && tree.columns.size() > 1) building->keysWithNull.insert(*key);
    }
}

void TableBuilder::FinishTrees()
{
    for (const auto& building : trees_) FinishTree(*building);
    trees_.clear();
}

void TableBuilder::FinishTree(Building& building)
{
    TreeDefinition& tree = made_.trees[building.tree];
    const IndexBuilder::Result built = building.builder.Finish(false, IndexKey::OfNulls(tree));
    tree.root = built.root;
    tree.ownedMap = built.ownedMap;
    tree.entryCount = tree.entryCount != 0 ? built.entries : 0;
    tree.distinctKeys = built.distinctKeys;
    if (!tree.unique || !built.hasDuplicates || !ComesTwice(building, built.firstDuplicate)) return;
    if (unfit_ == nullptr) throw Error(ErrorNumber::DuplicateValue);
    unfit_->repeated.push_back(building.tree);
}

/// Whether a key without Nulls comes twice. The builder tells the first key that does; when that one has a Null, the
/// tree is looked through.
bool TableBuilder::ComesTwice(const Building& building, const Key& firstDuplicate)
{
    if (!building.keysWithNull.contains(firstDuplicate)) return true;
    const TreeDefinition& tree = made_.trees[building.tree];
    const IndexTree written(pager_, allocator_, made_.page, tree.root, tree.ownedMap);
    const Key ofNulls = IndexKey::OfNulls(tree);
    Key last;
    for (auto at = written.First(); !at.AtEnd(); at.Next()) {
        const Key& key = at.EntryKey();
        if (key == last && key != ofNulls && !building.keysWithNull.contains(key)) return true;
        last = key;
    }
    return false;
}

/// Trees beyond those that were filled with the rows take their keys from the new rows.
void TableBuilder::FillLaterTrees()
{
    for (std::size_t first = treesAtOnce; first < made_.trees.size(); first += treesAtOnce) {
        StartTrees(first);
        std::set<std::size_t> wanted;
        for (const auto& building : trees_) {
            for (const IndexColumn& column : made_.trees[building->tree].columns)
                wanted.insert(made_.ColumnNumbered(column.column).value());
        }
        RowScan scan(pager_, *store_, made_.page, std::make_shared<const RowCodec>(made_),
                     std::vector<std::size_t>(wanted.begin(), wanted.end()));
        while (scan.Next()) AddKeys(scan.Where(), scan.Current());
        FinishTrees();
    }
}

/// A primary key that may repeat or be Null is none.
void TableBuilder::Weaken()
{
    const auto weaken = [&](std::size_t tree) {
        for (IndexDefinition& index : made_.indexes)
            if (index.kind == IndexDefinition::Kind::Primary && index.realIndex == tree)
                index.kind = IndexDefinition::Kind::Plain;
    };
    for (const std::size_t tree : unfit_->repeated) {
        made_.trees[tree].unique = false;
        weaken(tree);
    }
    for (const std::size_t tree : unfit_->withNulls) {
        made_.trees[tree].required = false;
        weaken(tree);
    }
}

const TableDefinition& TableBuilder::Finish()
{
    if (unfit_ != nullptr) Weaken();
    made_.rowCount = static_cast<std::uint32_t>(rowCount_);
    made_.lastAutoNumber = static_cast<std::uint32_t>(greatestAutoNumber_);
    WriteDefinitionPages(pager_, allocator_, made_);
    return made_;
}

}  // namespace vmlib::jet
