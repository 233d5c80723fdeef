#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/NewFile.h"
#include "jet/SalvageCatalogue.h"
#include "jet/SalvageFields.h"
#include "jet/SystemTables.h"

// What belongs to objects: their rights, and the rows of stored queries.
namespace vmlib::jet {

namespace {

namespace object = system::object;
namespace ace = system::ace;
namespace query = system::query;

constexpr std::int32_t allRights = 0xFFFFF, rightsOfRelationMaker = 0xF00FE;
constexpr std::uint8_t startAttribute = 0, endAttribute = 255;

/// Where a row stands among those of its query: 0 and 255 come first (docs/file-format.md, "Stored queries").
struct QueryRowKey
{
    std::int32_t id;
    int rank;
    std::uint32_t order;
    auto operator<=>(const QueryRowKey&) const = default;
};

int RankOf(std::uint8_t attribute)
{
    if (attribute == startAttribute) return 0;
    return attribute == endAttribute ? 1 : attribute + 1;
}

std::optional<QueryRowKey> PlaceOf(const Row& row)
{
    const auto* id = std::get_if<std::int32_t>(&row[query::objectId]);
    const auto* attribute = std::get_if<std::uint8_t>(&row[query::attribute]);
    const auto* order = std::get_if<Bytes>(&row[query::order]);
    if (id == nullptr || attribute == nullptr || order == nullptr || order->size() != 4) return std::nullopt;
    return QueryRowKey{*id, RankOf(*attribute), LoadBig<std::uint32_t>(order->data())};
}

Row BareRow(std::size_t columnCount, std::int32_t id, std::uint8_t attribute)
{
    Row row(columnCount);
    row[query::objectId] = id;
    row[query::attribute] = attribute;
    row[query::order] = Bytes{0, 0, 0, 1};
    return row;
}

}  // namespace

void SalvageCatalogue::TidyQueries()
{
    SalvagedTable& counts = *queries_.counts;
    std::map<std::int32_t, std::map<QueryRowKey, Row>> rows;
    for (Row& row : queries_.rows) {
        const auto key = PlaceOf(row);
        if (!key || !rows[key->id].emplace(*key, std::move(row)).second) ++counts.lostRows;
    }
    std::set<std::int32_t> ids;
    std::vector<std::int32_t> empty;
    for (const Row& row : objects_.rows) {
        if (std::get<std::int16_t>(row[object::type]) != system::queryType) continue;
        const std::int32_t id = LongOf(row, object::id);
        ids.insert(id);
        if (rows.contains(id)) continue;
        empty.push_back(id);
        counts.Note("the query " + ToUtf8(NameOf(row, object::name)) + " has no text any more");
    }
    for (const std::int32_t id : empty) {
        RemoveObject(id);
        ids.erase(id);
    }
    queries_.rows.clear();
    for (auto& [id, ofOne] : rows) {
        if (!ids.contains(id)) {
            counts.lostRows += ofOne.size();
            counts.Note("rows of a query whose name is lost");
            continue;
        }
        const std::size_t columns = queries_.definition.columns.size();
        for (const std::uint8_t attribute : {startAttribute, endAttribute}) {
            Row bare = BareRow(columns, id, attribute);
            ofOne.emplace(*PlaceOf(bare), std::move(bare));
        }
        for (auto& each : ofOne) queries_.rows.push_back(std::move(each.second));
    }
}

void SalvageCatalogue::TidyRights()
{
    std::map<std::int32_t, std::int16_t> types;
    for (const Row& row : objects_.rows)
        types.emplace(LongOf(row, object::id), std::get<std::int16_t>(row[object::type]));
    std::set<std::int32_t> known;
    std::erase_if(rights_.rows, [&](const Row& row) {
        const bool good = !IsNull(row[ace::objectId]) && types.contains(LongOf(row, ace::objectId));
        if (good) known.insert(LongOf(row, ace::objectId));
        return !good;
    });
    const std::size_t columns = rights_.definition.columns.size();
    for (Row row : RightsOfNewFile()) {
        const std::int32_t id = LongOf(row, ace::objectId);
        row.resize(columns);
        if (!known.contains(id)) rights_.rows.push_back(std::move(row));
        types.erase(id);
    }
    for (const auto& [id, type] : types) {
        const bool ours = type == system::tableType || type == system::queryType || type == system::relationType;
        if (known.contains(id) || !ours) continue;
        for (const Bytes& sid : {system::usersSid, system::adminSid}) {
            const bool isMaker = sid == system::adminSid && type == system::relationType;
            Row& row = rights_.rows.emplace_back(columns);
            row[ace::objectId] = id;
            row[ace::sid] = sid;
            row[ace::acm] = isMaker ? rightsOfRelationMaker : allRights;
            row[ace::inheritable] = false;
        }
    }
}

}  // namespace vmlib::jet
