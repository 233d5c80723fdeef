#include "engine/ContainerObject.h"

#include <algorithm>

#include "engine/PropertyObject.h"

namespace vmlib::engine {
namespace {

constexpr std::int16_t containerObject = 3;

/// The owner as MSysObjects names him; the two that every file knows have names.
Text OwnerOf(DatabaseHandle& database, std::int32_t id)
{
    const auto table = database.Storage().OpenTable(u"MSysObjects");
    const jet::TableDefinition& definition = table->Definition();
    const auto idColumn = definition.ColumnNamed(u"Id"), ownerColumn = definition.ColumnNamed(u"Owner");
    if (!idColumn || !ownerColumn) return {};
    jet::ColumnMask wanted(definition.columns.size());
    wanted[*idColumn] = wanted[*ownerColumn] = true;
    const jet::ReadScope reading(database.Storage().GetPager());
    for (auto rows = table->Scan(wanted); rows.Next();) {
        const auto* number = std::get_if<std::int32_t>(&rows.Current()[*idColumn]);
        if (!number || *number != id) continue;
        const auto* owner = std::get_if<Bytes>(&rows.Current()[*ownerColumn]);
        if (owner && *owner == Bytes{0x03, 0x01}) return u"admin";
        if (owner && *owner == Bytes{0x02, 0x03}) return u"Engine";
        return {};
    }
    return {};
}

/// What the catalogue holds of a kind, by name.
template <class Wanted>
std::vector<jet::ObjectEntry> Entries(DatabaseHandle& database, Wanted wanted)
{
    std::vector<jet::ObjectEntry> entries;
    std::ranges::copy_if(database.Storage().Objects(), std::back_inserter(entries), wanted);
    std::ranges::stable_sort(
        entries, [](const auto& left, const auto& right) { return CompareIgnoringCase(left.name, right.name) < 0; });
    return entries;
}

class DocumentList : public ListOf<DocumentObject>
{
public:
    DocumentList(DatabaseRef database, jet::ObjectEntry container)
        : ListOf(database->TheSession(), u"Documents"), database_(std::move(database)), container_(std::move(container))
    {
    }

protected:
    std::vector<std::shared_ptr<DocumentObject>> Load() override
    {
        std::vector<std::shared_ptr<DocumentObject>> documents;
        for (auto& entry : Entries(*database_, [&](const auto& each) { return each.parent == container_.id; }))
            documents.push_back(std::make_shared<DocumentObject>(database_, container_.name, std::move(entry)));
        return documents;
    }

private:
    DatabaseRef database_;
    jet::ObjectEntry container_;
};

}  // namespace

const MemberTable& DocumentObject::Members()
{
    static const MemberTable table = MemberTable::Of<DocumentObject>(u"Document")
                                         .Property<&DocumentObject::Name>(u"Name")
                                         .Property<&DocumentObject::Container>(u"Container")
                                         .Property<&DocumentObject::Owner>(u"Owner")
                                         .Property<&DocumentObject::UserName>(u"UserName")
                                         .Property<&DocumentObject::DateCreated>(u"DateCreated")
                                         .Property<&DocumentObject::LastUpdated>(u"LastUpdated")
                                         .Property<&DocumentObject::Properties>(u"Properties", {u"Item"});
    return table;
}

Text DocumentObject::Owner()
{
    return OwnerOf(*database_, entry_.id);
}

Variant DocumentObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

ContainerObject::ContainerObject(DatabaseRef database, jet::ObjectEntry entry)
    : EngineObject(database->TheSession()),
      database_(std::move(database)),
      entry_(std::move(entry)),
      documents_(std::make_shared<DocumentList>(database_, entry_))
{
}

const MemberTable& ContainerObject::Members()
{
    static const MemberTable table = MemberTable::Of<ContainerObject>(u"Container")
                                         .Property<&ContainerObject::Name>(u"Name")
                                         .Property<&ContainerObject::Owner>(u"Owner")
                                         .Property<&ContainerObject::UserName>(u"UserName")
                                         .DefaultProperty<&ContainerObject::Documents>(u"Documents", {u"Item"})
                                         .Property<&ContainerObject::Properties>(u"Properties", {u"Item"});
    return table;
}

Text ContainerObject::Owner()
{
    return OwnerOf(*database_, entry_.id);
}

Variant ContainerObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

std::vector<std::shared_ptr<ContainerObject>> Containers::Load()
{
    std::vector<std::shared_ptr<ContainerObject>> containers;
    for (auto& entry : Entries(*database_, [](const auto& each) { return each.type == containerObject; }))
        containers.push_back(std::make_shared<ContainerObject>(database_, std::move(entry)));
    return containers;
}

}  // namespace vmlib::engine
