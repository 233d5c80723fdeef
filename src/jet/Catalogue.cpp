#include "jet/Catalogue.h"

#include <algorithm>

#include "jet/Damage.h"
#include "jet/SystemTables.h"

namespace vmlib::jet {

namespace {

namespace object = system::object;
namespace ace = system::ace;

template <class T>
T FieldOr(const Row& row, std::size_t column, T otherwise)
{
    const T* value = std::get_if<T>(&row[column]);
    return value != nullptr ? *value : otherwise;
}

ColumnMask MaskOf(std::size_t count, std::initializer_list<std::size_t> columns)
{
    ColumnMask mask(count, false);
    for (const std::size_t column : columns) mask[column] = true;
    return mask;
}

ObjectEntry EntryOf(const Row& row)
{
    ObjectEntry entry;
    entry.id = FieldOr(row, object::id, std::int32_t{0});
    entry.parent = FieldOr(row, object::parentId, std::int32_t{0});
    entry.name = TextOr(row[object::name], {});
    entry.type = FieldOr(row, object::type, std::int16_t{0});
    entry.flags = static_cast<std::uint32_t>(FieldOr(row, object::flags, std::int32_t{0}));
    entry.created = FieldOr(row, object::dateCreate, Date{});
    entry.updated = FieldOr(row, object::dateUpdate, Date{});
    return entry;
}

}  // namespace

Catalogue::Catalogue(Pager& pager, PageAllocator& allocator, Clock now)
    : pager_(pager), allocator_(allocator), now_(std::move(now))
{
}

Table& Catalogue::TableAt(std::unique_ptr<Table>& table, PageNumber page)
{
    if (table == nullptr) {
        TableDefinition definition = Table::ReadDefinition(pager_, page);
        definition.name = page == objectsTablePage ? system::objects : system::aces;
        if (definition.format == FileFormat::Format3)
            system::RequireColumns(definition);
        else
            system::RequireNames(definition);
        table = std::make_unique<Table>(pager_, allocator_, std::move(definition));
    }
    return *table;
}

const std::vector<ObjectEntry>& Catalogue::Objects()
{
    const ReadScope scope(pager_);
    if (loaded_ != pager_.Generation()) Load();
    return objects_;
}

void Catalogue::Load()
{
    loaded_.reset();
    objects_.clear();
    places_.clear();
    byKey_.clear();
    const ColumnMask wanted = MaskOf(object::count, {object::id, object::parentId, object::name, object::type,
                                                     object::flags, object::dateCreate, object::dateUpdate});
    for (auto cursor = TableAt(objectsTable_, objectsTablePage).Scan(wanted); cursor.Next();) {
        objects_.push_back(EntryOf(cursor.Current()));
        places_.emplace(objects_.back().id, cursor.Where());
    }
    std::ranges::stable_sort(
        objects_, [](const auto& left, const auto& right) { return CompareIgnoringCase(left.name, right.name) < 0; });
    for (std::size_t i = 0; i < objects_.size(); ++i) byKey_.emplace(KeyOf(objects_[i].name), i);
    loaded_ = pager_.Generation();
}

std::string Catalogue::KeyOf(TextView name)
{
    const TableDefinition& table = TableAt(objectsTable_, objectsTablePage).Definition();
    Key key;
    if (FitsAnsi(name)) {
        IndexKey::AppendText(key, ToAnsi(name), table.columns[object::name].locale.langid);
        return key;
    }
    // Such a name occurs in format 4 alone; it begins as no key of text does.
    const Text upper = UpperCase(TrimRight(name));
    return "\xFF" + ToUtf8(upper);
}

const ObjectEntry* Catalogue::Among(TextView name, const std::function<bool(const ObjectEntry&)>& wanted)
{
    const ReadScope scope(pager_);
    Objects();
    const auto [first, last] = byKey_.equal_range(KeyOf(name));
    const auto found = std::find_if(first, last, [&](const auto& each) { return wanted(objects_[each.second]); });
    return found == last ? nullptr : &objects_[found->second];
}

const ObjectEntry* Catalogue::Find(TextView name, std::int16_t type)
{
    return Among(name, [&](const ObjectEntry& entry) { return entry.type == type; });
}

const ObjectEntry* Catalogue::ChildNamed(std::int32_t container, TextView name)
{
    return Among(name, [&](const ObjectEntry& entry) { return entry.parent == container; });
}

RowPointer Catalogue::PlaceOf(std::int32_t id)
{
    Objects();
    const auto found = places_.find(id);
    if (found == places_.end()) throw Error(ErrorNumber::NoSuchObject, {Decimal(id)});
    return found->second;
}

std::int32_t Catalogue::Add(ObjectEntry entry, const Bytes& properties)
{
    if (entry.id == 0) {
        entry.id = system::firstCounted;
        for (const ObjectEntry& other : Objects()) {
            if (other.id < 0) entry.id = std::max(entry.id, other.id + 1);
        }
    }
    Row row(object::count);
    row[object::id] = entry.id;
    row[object::parentId] = entry.parent;
    row[object::name] = ToAnsi(entry.name);
    row[object::type] = entry.type;
    row[object::dateCreate] = row[object::dateUpdate] = now_();
    row[object::owner] = system::adminSid;
    row[object::flags] = static_cast<std::int32_t>(entry.flags);
    if (!properties.empty()) row[object::lvProp] = properties;
    Table& objects = TableAt(objectsTable_, objectsTablePage);
    row.resize(objects.Definition().columns.size());
    objects.Insert(row);
    loaded_.reset();
    AddRights(entry.id, entry);
    return entry.id;
}

// What the container lets its children inherit: each holder of rights gets his own, the creator's go to Admin, who made
// the object. An Admin without inheritable rights of his own gets all rights on a table.
void Catalogue::AddRights(std::int32_t id, const ObjectEntry& entry)
{
    Table& aces = TableAt(acesTable_, acesTablePage);
    std::vector<std::pair<Bytes, std::int32_t>> inherited;
    std::int32_t admin = 0xFFFFF;
    bool adminInherits = false;
    for (auto cursor = aces.Scan(); cursor.Next();) {
        const Row& row = cursor.Current();
        if (FieldOr(row, ace::objectId, std::int32_t{0}) != entry.parent || !FieldOr(row, ace::inheritable, false))
            continue;
        const Bytes sid = FieldOr(row, ace::sid, Bytes());
        const auto rights = FieldOr(row, ace::acm, std::int32_t{0});
        if (sid == system::adminSid) {
            admin = rights;
            adminInherits = true;
        } else if (sid == system::creatorSid) {
            if (!adminInherits && entry.parent != system::tablesContainer) admin = rights;
        } else {
            inherited.emplace_back(sid, rights);
        }
    }
    inherited.emplace_back(system::adminSid, admin);
    for (const auto& [sid, rights] : inherited) {
        Row row(aces.Definition().columns.size());
        row[ace::objectId] = id;
        row[ace::sid] = sid;
        row[ace::acm] = rights;
        row[ace::inheritable] = false;
        aces.Insert(row);
    }
}

void Catalogue::Remove(std::int32_t id)
{
    TableAt(objectsTable_, objectsTablePage).Delete(PlaceOf(id));
    loaded_.reset();
    Table& aces = TableAt(acesTable_, acesTablePage);
    const ColumnMask mask = MaskOf(aces.Definition().columns.size(), {ace::objectId});
    for (auto cursor = aces.Scan(mask); cursor.Next();) {
        if (FieldOr(cursor.Current(), ace::objectId, std::int32_t{0}) == id) aces.Delete(cursor.Where());
    }
}

template <class Change>
void Catalogue::Alter(std::int32_t id, Change change)
{
    Table& objects = TableAt(objectsTable_, objectsTablePage);
    const RowPointer at = PlaceOf(id);
    Row row;
    if (!objects.Fetch(at, row)) throw Error(ErrorNumber::NoSuchObject, {Decimal(id)});
    change(row);
    row[object::dateUpdate] = now_();
    objects.Update(at, row);
    loaded_.reset();
}

void Catalogue::Rename(std::int32_t id, TextView name)
{
    Alter(id, [&](Row& row) { row[object::name] = ToAnsi(name); });
}

void Catalogue::SetFlags(std::int32_t id, std::uint32_t flags)
{
    Alter(id, [&](Row& row) { row[object::flags] = static_cast<std::int32_t>(flags); });
}

void Catalogue::Touch(std::int32_t id)
{
    Alter(id, [](Row&) {});
}

Bytes Catalogue::StoredProperties(std::int32_t id)
{
    const ReadScope scope(pager_);
    Row row;
    const RowPointer at = PlaceOf(id);
    Table& objects = TableAt(objectsTable_, objectsTablePage);
    if (!objects.Fetch(at, row, MaskOf(objects.Definition().columns.size(), {object::lvProp}))) return {};
    return FieldOr(row, object::lvProp, Bytes());
}

void Catalogue::StoreProperties(std::int32_t id, const Bytes& properties)
{
    Alter(id, [&](Row& row) {
        if (properties.empty()) {
            row[object::lvProp] = Null{};
        } else {
            row[object::lvProp] = properties;
        }
    });
}

}  // namespace vmlib::jet
