#include "jet/SalvageCatalogue.h"

#include <algorithm>

#include "jet/Damage.h"
#include "jet/DataPage.h"
#include "jet/IndexTree.h"
#include "jet/NewFile.h"
#include "jet/SalvageDefinition.h"
#include "jet/SalvageFields.h"
#include "jet/SalvageNames.h"
#include "jet/SalvageRows.h"
#include "jet/SystemTables.h"

namespace vmlib::jet {

namespace {

namespace object = system::object;

constexpr std::int32_t hiddenFlag = 2;
constexpr std::size_t objectsTable = 0, acesTable = 1, queriesTable = 2, relationshipsTable = 3;

bool HasItsColumns(const TableDefinition& table, const TableDefinition& expected)
{
    for (std::size_t at = 0; at < expected.columns.size(); ++at)
        if (!system::HasColumn(table, at, expected.columns[at])) return false;
    return true;
}

}  // namespace

SalvageCatalogue::SalvageCatalogue(Pager& pager, const SalvageSurvey& survey, const SortLocale& locale, Date now)
    : pager_(pager), survey_(survey), locale_(locale), now_(now)
{
    objects_ = ReadSystemTable(objectsTable, objectsTablePage);
    rights_ = ReadSystemTable(acesTable, acesTablePage);
    // In very old files these two have each other's page.
    const auto exchanged = std::ranges::any_of(objects_.rows, [](const Row& row) {
        return LongOf(row, object::id) == static_cast<std::int32_t>(relationshipsTablePage) &&
               EqualIgnoringCase(NameOf(row, object::name), system::queries);
    });
    queries_ = ReadSystemTable(queriesTable, exchanged ? relationshipsTablePage : queriesTablePage);
    relations_ = ReadSystemTable(relationshipsTable, exchanged ? queriesTablePage : relationshipsTablePage);
    TidyObjects();
    ReadTables();
    TidyQueries();
}

SalvagedTable& SalvageCatalogue::NewCounts(TextView name)
{
    counts_.emplace_back().name = name;
    return counts_.back();
}

/// Every file has the same columns in these tables, so their rows can be read without the definition.
SalvagedSystemTable SalvageCatalogue::ReadSystemTable(std::size_t which, PageNumber page)
{
    TableDefinition expected = system::Definitions(locale_)[which];
    expected.page = page;
    SalvagedSystemTable table;
    table.counts = &NewCounts(expected.name);
    SalvagedTable ignored;  // what a definition lacks, the expected one has
    const auto found = page < pager_.PageCount() ? SalvageDefinition(pager_, page, locale_, ignored) : std::nullopt;
    table.definition = found && HasItsColumns(*found, expected) ? *found : expected;
    table.definition.name = expected.name;
    SalvageRows rows(pager_, survey_, table.definition, *table.counts);
    rows.ForEach({}, [&](RowPointer, const Row& row) { table.rows.push_back(row); });
    return table;
}

/// Only then are definitions that no object names taken for tables: otherwise they are those of tables dropped long
/// ago.
bool SalvageCatalogue::CatalogueIsDamaged() const
{
    return !objects_.counts->LostNothing() || objects_.definition.ownedMap == 0;
}

void SalvageCatalogue::TidyObjects()
{
    const bool damaged = CatalogueIsDamaged();
    std::set<std::int32_t> ids;
    std::erase_if(objects_.rows, [&](Row& row) {
        const bool good = TidyObject(row) && ids.insert(LongOf(row, object::id)).second;
        if (!good) ++objects_.counts->lostRows;
        return !good;
    });
    AddFixedObjects();
    FindContainers();
    if (damaged) FindLostObjects();
    NameObjects();
}

/// False for a row that says of no object what it is.
bool SalvageCatalogue::TidyObject(Row& row)
{
    const auto* id = std::get_if<std::int32_t>(&row[object::id]);
    if (id == nullptr) return false;
    // Ids of tables are pages, those of other objects lie far behind them.
    const bool isPage = *id > 0 && *id < system::rootContainer;
    if (isPage) row[object::type] = system::tableType;
    if (std::get_if<std::int16_t>(&row[object::type]) == nullptr) return false;
    if (!isPage && row[object::type] == Value(system::tableType)) return false;
    try {
        if (const auto* stored = std::get_if<Bytes>(&row[object::lvProp])) ObjectProperties::Decode(*stored);
    } catch (const Error&) {
        row[object::lvProp] = Null{};
        ++objects_.counts->lostLongValues;
        objects_.counts->Note("the properties of " + ToUtf8(NameOf(row, object::name)) + " cannot be read");
    }
    return true;
}

/// Containers, the database itself and the system tables.
void SalvageCatalogue::AddFixedObjects()
{
    const std::map<std::int32_t, std::int32_t> pages = {
        {static_cast<std::int32_t>(queriesTablePage), static_cast<std::int32_t>(queries_.definition.page)},
        {static_cast<std::int32_t>(relationshipsTablePage), static_cast<std::int32_t>(relations_.definition.page)}};
    for (Row fixed : ObjectsOfNewFile(now_)) {
        std::int32_t id = LongOf(fixed, object::id);
        if (const auto other = pages.find(id); other != pages.end()) id = other->second;
        fixed[object::id] = id;
        const auto known =
            std::ranges::find_if(objects_.rows, [&](const Row& row) { return LongOf(row, object::id) == id; });
        fixed.resize(objects_.definition.columns.size());
        if (known == objects_.rows.end()) {
            objects_.rows.push_back(std::move(fixed));
        } else {
            for (const std::size_t column : {object::parentId, object::name, object::type})
                (*known)[column] = fixed[column];
        }
    }
}

/// An object whose container is gone goes where its kind belongs.
void SalvageCatalogue::FindContainers()
{
    std::set<std::int32_t> ids = {system::rootContainer};
    for (const Row& row : objects_.rows) ids.insert(LongOf(row, object::id));
    for (Row& row : objects_.rows) {
        if (ids.contains(LongOf(row, object::parentId)) && !IsNull(row[object::parentId])) continue;
        const auto type = std::get<std::int16_t>(row[object::type]);
        row[object::parentId] = type == system::tableType || type == system::queryType || type == system::linkType ||
                                        type == system::odbcLinkType
                                    ? system::tablesContainer
                                : type == system::relationType ? system::relationshipsContainer
                                                               : system::rootContainer;
    }
}

/// Definitions and queries that no object names. Their names stand in the indexes of the catalogue perhaps.
void SalvageCatalogue::FindLostObjects()
{
    const SalvageNames names(pager_, survey_, locale_.langid);
    std::set<std::int32_t> ids;
    for (const Row& row : objects_.rows) ids.insert(LongOf(row, object::id));
    const auto add = [&](std::int32_t id, std::int16_t type) {
        if (ids.insert(id).second)
            objects_.rows.push_back(NewObject(id, system::tablesContainer, names.NameOf(id), type));
    };
    for (const PageNumber page : survey_.Definitions()) {
        SalvagedTable ignored;
        if (SalvageDefinition(pager_, page, locale_, ignored)) add(static_cast<std::int32_t>(page), system::tableType);
    }
    for (const Row& row : queries_.rows) {
        if (const std::int32_t id = LongOf(row, system::query::objectId); id < 0) add(id, system::queryType);
    }
}

Row SalvageCatalogue::NewObject(std::int32_t id, std::int32_t parent, const std::optional<Text>& name,
                                std::int16_t type) const
{
    Row row(objects_.definition.columns.size());
    row[object::id] = id;
    row[object::parentId] = parent;
    if (name) row[object::name] = ToAnsi(*name);
    row[object::type] = type;
    row[object::dateCreate] = row[object::dateUpdate] = now_;
    row[object::owner] = system::adminSid;
    // Other programs mark the tables that they keep for themselves, and name them so.
    const bool isHidden = type == system::tableType && name && StartsWithIgnoringCase(*name, u"MSys");
    row[object::flags] = std::int32_t{isHidden ? hiddenFlag : 0};
    return row;
}

std::string SalvageCatalogue::KeyOf(std::int32_t parent, TextView name) const
{
    Key key;
    IndexKey::AppendText(key, ToAnsi(name), locale_.langid);
    return std::to_string(parent) + ":" + key;
}

Text SalvageCatalogue::FreeName(std::int32_t parent)
{
    for (int n = 1;; ++n) {
        Text name = u"Hersteld " + Decimal(n);
        if (!names_.contains(KeyOf(parent, name))) return name;
    }
}

/// Names are unique within a container. Objects that have one come first.
void SalvageCatalogue::NameObjects()
{
    std::vector<Row*> nameless;
    for (Row& row : objects_.rows) {
        const Text name = NameOf(row, object::name);
        const bool named = !TrimRight(name).empty() && names_.insert(KeyOf(LongOf(row, object::parentId), name)).second;
        if (!named) nameless.push_back(&row);
    }
    for (Row* row : nameless) {
        const std::int32_t parent = LongOf(*row, object::parentId);
        const Text name = FreeName(parent);
        names_.insert(KeyOf(parent, name));
        (*row)[object::name] = ToAnsi(name);
        objects_.counts->Note("an object without a name is called " + ToUtf8(name));
    }
}

std::int32_t SalvageCatalogue::AddObject(std::int32_t parent, TextView wanted, std::int16_t type)
{
    std::int32_t id = system::firstCounted;
    for (const Row& row : objects_.rows)
        if (const std::int32_t other = LongOf(row, object::id); other < 0) id = std::max(id, other + 1);
    Text name(wanted);
    if (name.empty() || !names_.insert(KeyOf(parent, name)).second) {
        name = FreeName(parent);
        names_.insert(KeyOf(parent, name));
    }
    objects_.rows.push_back(NewObject(id, parent, name, type));
    return id;
}

void SalvageCatalogue::RemoveObject(std::int32_t id)
{
    std::erase_if(objects_.rows, [&](const Row& row) { return LongOf(row, object::id) == id; });
}

bool SalvageCatalogue::IsSystemTable(const Row& row) const
{
    const std::int32_t id = LongOf(row, object::id);
    return std::ranges::any_of(
        std::initializer_list<const SalvagedSystemTable*>{&objects_, &rights_, &queries_, &relations_},
        [&](const auto* table) { return id == static_cast<std::int32_t>(table->definition.page); });
}

void SalvageCatalogue::ReadTables()
{
    std::map<std::int32_t, Text> names;
    for (const Row& row : objects_.rows) {
        if (std::get<std::int16_t>(row[object::type]) == system::tableType && !IsSystemTable(row))
            names.emplace(LongOf(row, object::id), NameOf(row, object::name));
    }
    for (const auto& [id, name] : names) {
        SalvagedTable& counts = NewCounts(name);
        const auto page = static_cast<PageNumber>(id);
        auto definition = page < pager_.PageCount() ? SalvageDefinition(pager_, page, locale_, counts) : std::nullopt;
        if (definition) {
            definition->name = name;
            tables_.push_back({std::move(*definition), &counts});
        } else {
            CountLostTable(page, counts);
            RemoveObject(id);
        }
    }
}

void SalvageCatalogue::CountLostTable(PageNumber page, SalvagedTable& counts)
{
    counts.Note("its definition cannot be read");
    for (const PageNumber number : survey_.PagesOf(page)) {
        ++counts.lostPages;
        try {
            const DataPage rows(pager_.Read(number), page);
            for (std::size_t i = 0; i < rows.SlotCount(); ++i) {
                const SlotState state = rows.At(i).state;
                counts.lostRows += state == SlotState::Row || state == SlotState::MovedAway ? 1 : 0;
            }
        } catch (const Damaged&) {
            // Counted as a page.
        }
    }
}

SalvagedSource* SalvageCatalogue::TableNamed(TextView name)
{
    const auto found = std::ranges::find_if(tables_, [&](const SalvagedSource& table) {
        return EqualIgnoringCase(TrimRight(table.definition.name), TrimRight(name));
    });
    return found != tables_.end() ? &*found : nullptr;
}

SalvagedSource* SalvageCatalogue::TableAt(PageNumber page)
{
    const auto found =
        std::ranges::find_if(tables_, [&](const SalvagedSource& table) { return table.definition.page == page; });
    return found != tables_.end() ? &*found : nullptr;
}

}  // namespace vmlib::jet
