#include "jet/CheckCatalogue.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/Properties.h"

namespace vmlib::jet {
namespace {

constexpr std::int32_t rootId = 0x0F000000;
constexpr std::int32_t typeTable = 1;
constexpr std::int32_t typeQuery = 5;
constexpr std::int32_t typeRelation = 8;

std::optional<std::int64_t> NumberOf(const Value& value)
{
    if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
    if (const auto* number = std::get_if<std::int16_t>(&value)) return *number;
    if (const auto* number = std::get_if<std::uint8_t>(&value)) return *number;
    return std::nullopt;
}

Text TextOf(const Value& value)
{
    const auto* ansi = std::get_if<std::string>(&value);
    return ansi != nullptr ? FromAnsi(*ansi) : Text();
}

Bytes BytesOf(const Value& value)
{
    const auto* bytes = std::get_if<Bytes>(&value);
    return bytes != nullptr ? *bytes : Bytes();
}

std::string Id(std::int64_t id)
{
    return "object " + std::to_string(id);
}

}  // namespace

CatalogueCheck::CatalogueCheck(Pager& pager, CheckFindings& findings, PageLedger& ledger)
    : pager_(pager), findings_(findings), ledger_(ledger)
{
}

void CatalogueCheck::Run()
{
    if (!ReadObjects()) return;
    ReadTables();
    CollectNeededKeys();
    for (auto& [page, table] : tables_) {
        if (page != objectsTablePage) table->CheckRows(StartsWithIgnoringCase(FromUtf8(table->Name()), u"MSys"));
    }
    findings_.Report().tables = tables_.size();
    CheckObjects();
    CheckRights();
    CheckQueries();
    CheckRelations();
    CheckParents();
}

bool CatalogueCheck::ReadObjects()
{
    auto catalogue = std::make_unique<TableCheck>(pager_, findings_, ledger_, "MSysObjects", objectsTablePage);
    if (!catalogue->ReadDefinition()) return false;
    catalogue->CheckRows(true);
    for (const Row& row : catalogue->Rows()) {
        Object object;
        const auto id = NumberOf(catalogue->ValueOf(row, u"Id"));
        const auto type = NumberOf(catalogue->ValueOf(row, u"Type"));
        object.name = TextOf(catalogue->ValueOf(row, u"Name"));
        if (!id || !type) {
            findings_.Fault("MSysObjects: " + Printed(object.name) + " has no Id or no Type");
            continue;
        }
        object.id = static_cast<std::int32_t>(*id);
        object.type = static_cast<std::int32_t>(*type);
        object.parent = static_cast<std::int32_t>(NumberOf(catalogue->ValueOf(row, u"ParentId")).value_or(0));
        object.properties = BytesOf(catalogue->ValueOf(row, u"LvProp"));
        if (!objects_.emplace(object.id, object).second)
            findings_.Fault("MSysObjects: " + Id(object.id) + " comes twice");
    }
    tables_.emplace(objectsTablePage, std::move(catalogue));
    return true;
}

void CatalogueCheck::ReadTables()
{
    for (const auto& [id, object] : objects_) {
        const auto page = static_cast<PageNumber>(id);
        if (object.type != typeTable || page == objectsTablePage) continue;
        auto table = std::make_unique<TableCheck>(pager_, findings_, ledger_, Printed(object.name), page);
        if (table->ReadDefinition()) tables_.emplace(page, std::move(table));
    }
}

TableCheck* CatalogueCheck::TableNamed(TextView name)
{
    for (const auto& [id, object] : objects_) {
        if (object.type != typeTable || !EqualIgnoringCase(object.name, name)) continue;
        const auto found = tables_.find(static_cast<PageNumber>(id));
        return found != tables_.end() ? found->second.get() : nullptr;
    }
    return nullptr;
}

void CatalogueCheck::CheckObjects()
{
    for (const auto& entry : objects_) {
        const Object& object = entry.second;
        if (object.parent != rootId && !objects_.contains(object.parent)) {
            findings_.Fault("MSysObjects: " + Printed(object.name) + " has the parent " + Id(object.parent) +
                            ", which is not there");
        }
        findings_.Guard("MSysObjects: properties of " + Printed(object.name),
                        [&] { ObjectProperties::Decode(object.properties); });
    }
}

void CatalogueCheck::CheckRights()
{
    const TableCheck* rights = TableNamed(u"MSysACEs");
    if (rights == nullptr) return findings_.Fault("MSysACEs is missing");
    std::set<std::int32_t> known;
    for (const Row& row : rights->Rows()) {
        const auto id = static_cast<std::int32_t>(NumberOf(rights->ValueOf(row, u"ObjectId")).value_or(0));
        if (known.insert(id).second && !objects_.contains(id)) {
            findings_.Fault("MSysACEs: rights to " + Id(id) + ", which is not there");
        }
    }
    for (const auto& [id, object] : objects_) {
        if (known.contains(id)) continue;
        std::string finding = "MSysACEs: no rights to " + Printed(object.name);
        // Other programs leave them out for objects of their own kinds.
        const bool ours = object.type == typeTable || object.type == typeQuery || object.type == typeRelation;
        ours ? findings_.Fault(std::move(finding)) : findings_.Note(std::move(finding));
    }
}

/// Rows of one attribute of a query come in the order of their numbers: readers take them as they stand.
void CatalogueCheck::CheckQueries()
{
    const TableCheck* queries = TableNamed(u"MSysQueries");
    if (queries == nullptr) return findings_.Fault("MSysQueries is missing");
    std::map<std::pair<std::int32_t, std::int64_t>, std::int64_t> last;
    for (const Row& row : queries->Rows()) {
        const auto id = static_cast<std::int32_t>(NumberOf(queries->ValueOf(row, u"ObjectId")).value_or(0));
        const auto attribute = NumberOf(queries->ValueOf(row, u"Attribute")).value_or(-1);
        const Bytes stored = BytesOf(queries->ValueOf(row, u"Order"));
        const std::int64_t order = stored.size() == 4 ? LoadBig<std::uint32_t>(stored.data()) : -1;
        const auto object = objects_.find(id);
        if (object == objects_.end() || object->second.type != typeQuery) {
            findings_.Fault("MSysQueries: rows of " + Id(id) + ", which is no query");
            continue;
        }
        const auto [before, first] = last.emplace(std::pair(id, attribute), order);
        if (!first && order <= before->second) {
            findings_.Fault("MSysQueries: rows of " + Printed(object->second.name) + " with attribute " +
                            std::to_string(attribute) + " are out of order");
        }
        before->second = order;
    }
    for (const auto& [id, object] : objects_) {
        if (object.type == typeQuery && !last.contains({id, 0})) {
            findings_.Fault("MSysQueries: no rows of the query " + Printed(object.name));
        }
    }
}

}  // namespace vmlib::jet
