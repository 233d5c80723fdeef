#include "jet/CheckCatalogue.h"

#include <algorithm>

#include "core/ByteOrder.h"
#include "jet/Properties.h"
#include "jet/SystemTables.h"

namespace vmlib::jet {
namespace {

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
    CheckSystemTables();
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
        if (object.type != system::tableType || page == objectsTablePage) continue;
        auto table = std::make_unique<TableCheck>(pager_, findings_, ledger_, Printed(object.name), page);
        if (table->ReadDefinition()) tables_.emplace(page, std::move(table));
    }
}

TableCheck* CatalogueCheck::TableNamed(TextView name)
{
    for (const auto& [id, object] : objects_) {
        if (object.type != system::tableType || !EqualIgnoringCase(object.name, name)) continue;
        const auto found = tables_.find(static_cast<PageNumber>(id));
        return found != tables_.end() ? found->second.get() : nullptr;
    }
    return nullptr;
}

/// Programs for the format look fields of system tables up by name or by place: what every file has is to be there.
void CatalogueCheck::CheckSystemTables()
{
    for (const TableDefinition& expected : system::Definitions(SortLocale{})) {
        const TableCheck* table = TableNamed(expected.name);
        if (table == nullptr) {
            findings_.Fault(Printed(expected.name) + " is missing");
            continue;
        }
        for (std::size_t at = 0; at < expected.columns.size(); ++at) {
            if (!system::HasColumn(table->Definition(), at, expected.columns[at]))
                findings_.Fault(Printed(expected.name) + ": the field " + Printed(expected.columns[at].name) +
                                " is missing, elsewhere, or of another type");
        }
    }
}

void CatalogueCheck::CheckObjects()
{
    for (const auto& entry : objects_) {
        const Object& object = entry.second;
        if (object.parent != system::rootContainer && !objects_.contains(object.parent)) {
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
    if (rights == nullptr) return;
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
        const bool ours =
            object.type == system::tableType || object.type == system::queryType || object.type == system::relationType;
        ours ? findings_.Fault(std::move(finding)) : findings_.Note(std::move(finding));
    }
}

/// Rows of one attribute of a query come in the order of their numbers: readers take them as they stand.
void CatalogueCheck::CheckQueries()
{
    const TableCheck* queries = TableNamed(u"MSysQueries");
    if (queries == nullptr) return;
    std::map<std::pair<std::int32_t, std::int64_t>, std::int64_t> last;
    for (const Row& row : queries->Rows()) {
        const auto id = static_cast<std::int32_t>(NumberOf(queries->ValueOf(row, u"ObjectId")).value_or(0));
        const auto attribute = NumberOf(queries->ValueOf(row, u"Attribute")).value_or(-1);
        const Bytes stored = BytesOf(queries->ValueOf(row, u"Order"));
        const std::int64_t order = stored.size() == 4 ? LoadBig<std::uint32_t>(stored.data()) : -1;
        const auto object = objects_.find(id);
        if (object == objects_.end() || object->second.type != system::queryType) {
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
        if (object.type == system::queryType && !last.contains({id, 0})) {
            findings_.Fault("MSysQueries: no rows of the query " + Printed(object.name));
        }
    }
}

}  // namespace vmlib::jet
