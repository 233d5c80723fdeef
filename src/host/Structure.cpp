#include "host/Structure.h"

#include <algorithm>

#include "automation/Convert.h"

namespace vmlib::host {

namespace {

constexpr std::int32_t systemObject = static_cast<std::int32_t>(0x80000002);
constexpr std::int32_t descending = 1;

Text TextOf(const ObjectRef& object, TextView member)
{
    return Text(TrimRight(ToText(Get(object, member))));
}
std::int32_t LongOf(const ObjectRef& object, TextView member)
{
    return ToLong(Get(object, member));
}
bool BooleanOf(const ObjectRef& object, TextView member)
{
    return ToBoolean(Get(object, member));
}

/// Calls `read` for each object of a collection and gathers what it returns.
template <class Read>
auto Each(const ObjectRef& owner, TextView collection, Read read)
{
    const ObjectRef items = ToObject(Get(owner, collection));
    const std::int32_t count = LongOf(items, u"Count");
    std::vector<decltype(read(items))> facts;
    facts.reserve(static_cast<std::size_t>(std::max(count, 0)));
    for (std::int32_t i = 0; i < count; ++i) facts.push_back(read(ToObject(Get(items, u"Item", i))));
    return facts;
}

FieldFacts ReadField(const ObjectRef& field)
{
    return {TextOf(field, u"Name"),       ToInteger(Get(field, u"Type")), LongOf(field, u"Size"),
            LongOf(field, u"Attributes"), BooleanOf(field, u"Required"),  BooleanOf(field, u"AllowZeroLength")};
}

IndexFacts ReadIndex(const ObjectRef& index)
{
    IndexFacts facts;
    facts.name = TextOf(index, u"Name");
    facts.columns = Each(index, u"Fields", [](const ObjectRef& field) {
        return IndexFacts::Column{TextOf(field, u"Name"), (LongOf(field, u"Attributes") & descending) != 0};
    });
    facts.primary = BooleanOf(index, u"Primary");
    facts.unique = BooleanOf(index, u"Unique");
    facts.required = BooleanOf(index, u"Required");
    facts.ignoreNulls = BooleanOf(index, u"IgnoreNulls");
    facts.foreign = BooleanOf(index, u"Foreign");
    return facts;
}

TableFacts ReadTable(const ObjectRef& table)
{
    return {TextOf(table, u"Name"), LongOf(table, u"Attributes"), LongOf(table, u"RecordCount"),
            Each(table, u"Fields", ReadField), Each(table, u"Indexes", ReadIndex)};
}

RelationFacts ReadRelation(const ObjectRef& relation)
{
    return {TextOf(relation, u"Name"), TextOf(relation, u"Table"), TextOf(relation, u"ForeignTable"),
            LongOf(relation, u"Attributes"), Each(relation, u"Fields", [](const ObjectRef& field) {
                return std::pair(TextOf(field, u"Name"), TextOf(field, u"ForeignName"));
            })};
}

}  // namespace

bool TableFacts::IsSystem() const
{
    return (attributes & systemObject) != 0;
}

StructureFacts ReadStructure(const ObjectRef& database)
{
    StructureFacts facts;
    facts.tables = Each(database, u"TableDefs", ReadTable);
    facts.relations = Each(database, u"Relations", ReadRelation);
    facts.queries = Each(database, u"QueryDefs", [](const ObjectRef& query) {
        return QueryFacts{TextOf(query, u"Name"), ToText(Get(query, u"SQL"))};
    });
    return facts;
}

}  // namespace vmlib::host
