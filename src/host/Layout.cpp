#include "host/Layout.h"

#include <algorithm>
#include <limits>

#include "host/Arguments.h"

namespace vmlib::host {

namespace {

/// Reads the keys of one JSON object and knows where it stands, for messages.
class Reader
{
public:
    Reader(const Json& json, std::string place) : json_(json), place_(std::move(place))
    {
        if (!json_.is_object()) Refuse("is no object");
    }

    [[noreturn]] void Refuse(const std::string& what) const { throw UsageError{place_ + ": " + what}; }

    Text String(const char* key, std::optional<Text> otherwise = std::nullopt)
    {
        const Json* value = Find(key, otherwise.has_value());
        if (!value) return *otherwise;
        if (!value->is_string()) Refuse(std::string(key) + " is no text");
        return FromUtf8(value->get_ref<const std::string&>());
    }

    template <class Integer>
    Integer Number(const char* key, std::optional<Integer> otherwise = std::nullopt)
    {
        const Json* value = Find(key, otherwise.has_value());
        if (!value) return *otherwise;
        const double number =
            value->is_number_integer() ? value->get<double>() : std::numeric_limits<double>::quiet_NaN();
        if (!(number >= std::numeric_limits<Integer>::min() && number <= std::numeric_limits<Integer>::max()))
            Refuse(std::string(key) + " is no whole number of " + std::to_string(sizeof(Integer) * 8) + " bits");
        return value->get<Integer>();
    }

    bool Flag(const char* key)
    {
        const Json* value = Find(key, true);
        if (!value) return false;
        if (!value->is_boolean()) Refuse(std::string(key) + " is neither true nor false");
        return value->get<bool>();
    }

    /// One entry for each element of a list; a list that may be left out is then empty.
    template <class Read>
    auto List(const char* key, bool optional, Read read) -> std::vector<decltype(read(Json(), std::string()))>
    {
        std::vector<decltype(read(Json(), std::string()))> entries;
        const Json* list = Find(key, optional);
        if (!list) return entries;
        if (!list->is_array()) Refuse(std::string(key) + " is no list");
        for (std::size_t i = 0; i < list->size(); ++i)
            entries.push_back(read((*list)[i], place_ + ", " + key + "[" + std::to_string(i) + "]"));
        return entries;
    }

    /// A key that nobody asked for is a slip of the pen and must not be lost silently.
    void Finish() const
    {
        for (const auto& [key, value] : json_.items())
            if (std::find(known_.begin(), known_.end(), key) == known_.end()) Refuse("unknown key " + key);
    }

private:
    const Json* Find(const char* key, bool optional)
    {
        known_.push_back(key);
        const auto found = json_.find(key);
        if (found != json_.end()) return &*found;
        if (!optional) Refuse(std::string(key) + " is missing");
        return nullptr;
    }

    const Json& json_;
    std::string place_;
    std::vector<std::string> known_;
};

LayoutField ReadField(const Json& json, const std::string& place)
{
    Reader reader(json, place);
    LayoutField field;
    field.name = reader.String("name");
    field.type = reader.Number<std::int16_t>("type");
    field.length = reader.Number<std::int16_t>("length", std::int16_t{0});
    field.attributes = reader.Number<std::int16_t>("attributes", std::int16_t{0});
    field.zeroLength = reader.Flag("zeroLength");
    reader.Finish();
    return field;
}

LayoutIndex ReadIndex(const Json& json, const std::string& place)
{
    Reader reader(json, place);
    LayoutIndex index;
    index.name = reader.String("name");
    index.fields = reader.List("fields", false, [](const Json& name, const std::string& at) {
        if (!name.is_string()) throw UsageError{at + ": is no text"};
        return FromUtf8(name.get_ref<const std::string&>());
    });
    index.primary = reader.Number<std::int16_t>("primary", std::int16_t{0});
    index.unique = reader.Number<std::int16_t>("unique", std::int16_t{0});
    reader.Finish();
    return index;
}

LayoutTable ReadTable(const Json& json, const std::string& place)
{
    Reader reader(json, place);
    LayoutTable table;
    table.name = reader.String("name");
    table.fields = reader.List("fields", false, ReadField);
    table.indexes = reader.List("indexes", true, ReadIndex);
    reader.Finish();
    return table;
}

RelationFacts ReadRelation(const Json& json, const std::string& place)
{
    Reader reader(json, place);
    RelationFacts relation;
    relation.name = reader.String("name");
    relation.table = reader.String("table");
    relation.foreignTable = reader.String("foreignTable");
    relation.attributes = reader.Number<std::int32_t>("attributes", 0);
    relation.fields = reader.List("fields", false, [](const Json& pair, const std::string& at) {
        Reader pairReader(pair, at);
        std::pair<Text, Text> fields{pairReader.String("name"), pairReader.String("foreignName")};
        pairReader.Finish();
        return fields;
    });
    reader.Finish();
    return relation;
}

LayoutQuery ReadQuery(const Json& json, const std::string& place)
{
    Reader reader(json, place);
    LayoutQuery query;
    query.name = reader.String("name");
    query.parameters = reader.String("parameters", Text());
    query.sql = reader.String("sql");
    reader.Finish();
    return query;
}

Json TableToJson(const LayoutTable& table)
{
    Json fields = Json::array(), indexes = Json::array();
    for (const LayoutField& field : table.fields)
        fields.push_back({{"name", ToUtf8(field.name)},
                          {"type", field.type},
                          {"length", field.length},
                          {"attributes", field.attributes},
                          {"zeroLength", field.zeroLength}});
    for (const LayoutIndex& index : table.indexes) {
        Json names = Json::array();
        for (const Text& name : index.fields) names.push_back(ToUtf8(name));
        indexes.push_back({{"name", ToUtf8(index.name)},
                           {"fields", std::move(names)},
                           {"primary", index.primary},
                           {"unique", index.unique}});
    }
    return {{"name", ToUtf8(table.name)}, {"fields", std::move(fields)}, {"indexes", std::move(indexes)}};
}

}  // namespace

Json ToJson(const RelationFacts& relation)
{
    Json fields = Json::array();
    for (const auto& [name, foreignName] : relation.fields)
        fields.push_back({{"name", ToUtf8(name)}, {"foreignName", ToUtf8(foreignName)}});
    return {{"name", ToUtf8(relation.name)},
            {"table", ToUtf8(relation.table)},
            {"foreignTable", ToUtf8(relation.foreignTable)},
            {"attributes", relation.attributes},
            {"fields", std::move(fields)}};
}

Layout LayoutFromJson(const Json& json)
{
    Reader reader(json, "layout");
    Layout layout;
    layout.type = reader.String("type");
    layout.version = reader.Number<std::int16_t>("version");
    layout.tables = reader.List("tables", false, ReadTable);
    layout.relations = reader.List("relations", true, ReadRelation);
    layout.queries = reader.List("queries", true, ReadQuery);
    reader.Finish();
    return layout;
}

Json LayoutToJson(const Layout& layout)
{
    Json tables = Json::array(), relations = Json::array(), queries = Json::array();
    for (const LayoutTable& table : layout.tables) tables.push_back(TableToJson(table));
    for (const RelationFacts& relation : layout.relations) relations.push_back(ToJson(relation));
    for (const LayoutQuery& query : layout.queries)
        queries.push_back(
            {{"name", ToUtf8(query.name)}, {"parameters", ToUtf8(query.parameters)}, {"sql", ToUtf8(query.sql)}});
    return {{"type", ToUtf8(layout.type)},
            {"version", layout.version},
            {"tables", std::move(tables)},
            {"relations", std::move(relations)},
            {"queries", std::move(queries)}};
}

}  // namespace vmlib::host
