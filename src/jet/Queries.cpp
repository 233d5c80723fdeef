#include "jet/Queries.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/Names.h"
#include "jet/SystemTables.h"

namespace vmlib::jet {

namespace {

namespace column = system::query;

constexpr std::uint8_t startAttribute = 0, endAttribute = 255;

std::optional<Text> TextOf(const Row& row, std::size_t at)
{
    if (IsNull(row[at])) return std::nullopt;
    return TextOr(row[at], {});
}

void SetText(Row& row, std::size_t at, const std::optional<Text>& text)
{
    if (text) row[at] = ToAnsi(*text);
}

std::int32_t IdOf(const Row& row)
{
    const auto* id = std::get_if<std::int32_t>(&row[column::objectId]);
    return id != nullptr ? *id : 0;
}

QueryRow Decoded(const Row& row)
{
    QueryRow decoded;
    if (const auto* attribute = std::get_if<std::uint8_t>(&row[column::attribute])) decoded.attribute = *attribute;
    if (const auto* order = std::get_if<Bytes>(&row[column::order]); order != nullptr && order->size() == 4) {
        decoded.order = LoadBig<std::uint32_t>(order->data());
    }
    decoded.name1 = TextOf(row, column::name1);
    decoded.name2 = TextOf(row, column::name2);
    decoded.expression = TextOf(row, column::expression);
    if (const auto* flag = std::get_if<std::int16_t>(&row[column::flag])) decoded.flag = *flag;
    return decoded;
}

Row Encoded(std::int32_t id, const QueryRow& from, std::size_t columnCount)
{
    Row row(columnCount);
    row[column::objectId] = id;
    row[column::attribute] = from.attribute;
    if (from.order) {
        Bytes order(4);
        StoreBig(order.data(), *from.order);
        row[column::order] = std::move(order);
    }
    SetText(row, column::name1, from.name1);
    SetText(row, column::name2, from.name2);
    SetText(row, column::expression, from.expression);
    if (from.flag) row[column::flag] = *from.flag;
    return row;
}

void InsertRows(DatabaseFile& file, std::int32_t id, std::vector<QueryRow> rows)
{
    const auto missing = [&](std::uint8_t attribute) {
        return std::ranges::none_of(rows, [&](const QueryRow& row) { return row.attribute == attribute; });
    };
    const auto bare = [](std::uint8_t attribute) {
        QueryRow row;
        row.attribute = attribute;
        row.order = 1;
        return row;
    };
    if (missing(endAttribute)) rows.insert(rows.begin(), bare(endAttribute));
    if (missing(startAttribute)) rows.insert(rows.begin(), bare(startAttribute));
    const auto table = file.OpenTable(system::queries);
    const std::size_t columnCount = table->Definition().columns.size();
    for (const QueryRow& row : rows) table->Insert(Encoded(id, row, columnCount));
}

void DeleteRows(DatabaseFile& file, std::int32_t id)
{
    const auto table = file.OpenTable(system::queries);
    for (auto cursor = table->Scan(); cursor.Next();) {
        if (IdOf(cursor.Current()) == id) table->Delete(cursor.Where());
    }
}

// What a query has that a program made: no time out but 60 seconds, no limit of records.
Bytes PropertiesOfNewQuery()
{
    ObjectProperties properties;
    properties.own.Set({u"ODBCTimeout", static_cast<std::uint8_t>(ColumnType::Integer), true, {60, 0}, 0});
    properties.own.Set({u"MaxRecords", static_cast<std::uint8_t>(ColumnType::Long), true, {0, 0, 0, 0}, 0});
    return properties.Encode();
}

}  // namespace

std::vector<Database::StoredQuery> ReadQueries(DatabaseFile& file)
{
    const ReadScope scope(file.GetPager());
    std::vector<Database::StoredQuery> queries;
    std::map<std::int32_t, std::size_t> places;
    for (const ObjectEntry& entry : file.Objects().Objects()) {
        if (entry.type != system::queryType) continue;
        places.emplace(entry.id, queries.size());
        queries.push_back({entry.name, entry.flags, {}});
    }
    if (queries.empty()) return queries;
    const auto table = file.OpenTable(system::queries);
    for (auto cursor = table->Scan(); cursor.Next();) {
        const auto place = places.find(IdOf(cursor.Current()));
        if (place != places.end()) queries[place->second].rows.push_back(Decoded(cursor.Current()));
    }
    return queries;
}

void StoreQuery(DatabaseFile& file, const Database::StoredQuery& query)
{
    RequireName(query.name);
    const ObjectEntry* entry = file.Objects().ChildNamed(system::tablesContainer, query.name);
    if (entry != nullptr && entry->type != system::queryType) throw Error(ErrorNumber::ObjectExists, {query.name});
    std::int32_t id = 0;
    if (entry == nullptr) {
        ObjectEntry added;
        added.parent = system::tablesContainer;
        added.name = query.name;
        added.type = system::queryType;
        added.flags = query.flags;
        id = file.Objects().Add(added, PropertiesOfNewQuery());
    } else {
        id = entry->id;
        DeleteRows(file, id);
        file.Objects().SetFlags(id, query.flags);
    }
    InsertRows(file, id, query.rows);
}

void DropQuery(DatabaseFile& file, TextView name)
{
    const ObjectEntry* entry = file.Objects().Find(name, system::queryType);
    if (entry == nullptr) throw Error(ErrorNumber::NoSuchObject, {Text(name)});
    const std::int32_t id = entry->id;
    DeleteRows(file, id);
    file.Objects().Remove(id);
}

void RenameQuery(DatabaseFile& file, TextView from, TextView to)
{
    RequireName(to);
    const ObjectEntry* entry = file.Objects().Find(from, system::queryType);
    if (entry == nullptr) throw Error(ErrorNumber::NoSuchObject, {Text(from)});
    const std::int32_t id = entry->id;
    const ObjectEntry* other = file.Objects().ChildNamed(system::tablesContainer, to);
    if (other != nullptr && other->id != id) throw Error(ErrorNumber::ObjectExists, {Text(to)});
    file.Objects().Rename(id, to);
}

}  // namespace vmlib::jet
