#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "jet/Database.h"

namespace vmlib::jet {

/// The objects of one file: rows of MSysObjects with their rights (MSysACEs) and properties (LvProp). Knows names, ids
/// and types; not what a table looks like, and no recordsets.
///
/// Changes need a running unit of work.
class Catalogue
{
public:
    Catalogue(Pager& pager, PageAllocator& allocator, Clock now);

    /// By name. Decoded once and again when the file changed.
    const std::vector<ObjectEntry>& Objects();
    /// Names equal as the index of the names has it: without regard to case and trailing blanks. Valid until the
    /// catalogue changes.
    const ObjectEntry* Find(TextView name, std::int16_t type);
    /// Of any type, among the children of a container.
    const ObjectEntry* ChildNamed(std::int32_t container, TextView name);

    /// Adds an object with the rights that its container gives. `entry.id` 0 takes the next number of the counter;
    /// dates are now.
    /// @return the id
    std::int32_t Add(ObjectEntry entry, const Bytes& properties);
    /// The object, its rights and its properties.
    void Remove(std::int32_t id);
    void Rename(std::int32_t id, TextView name);
    void SetFlags(std::int32_t id, std::uint32_t flags);
    /// Notes the present as the time of the last change.
    void Touch(std::int32_t id);

    /// LvProp as stored; empty when there is none.
    Bytes StoredProperties(std::int32_t id);
    void StoreProperties(std::int32_t id, const Bytes& properties);

private:
    void Load();
    std::string KeyOf(TextView name);
    const ObjectEntry* Among(TextView name, const std::function<bool(const ObjectEntry&)>& wanted);
    RowPointer PlaceOf(std::int32_t id);
    /// Changes a row of MSysObjects.
    template <class Change>
    void Alter(std::int32_t id, Change change);
    void AddRights(std::int32_t id, const ObjectEntry& entry);
    Table& TableAt(std::unique_ptr<Table>& table, PageNumber page);

    Pager& pager_;
    PageAllocator& allocator_;
    Clock now_;
    std::unique_ptr<Table> objectsTable_, acesTable_;
    std::vector<ObjectEntry> objects_;
    std::unordered_map<std::int32_t, RowPointer> places_;
    std::unordered_multimap<std::string, std::size_t> byKey_;
    std::optional<std::uint64_t> loaded_;  // generation of the pager; none: load again
};

}  // namespace vmlib::jet
