#pragma once

#include <optional>
#include <vector>

#include "automation/MemberTable.h"

namespace vmlib {

/// The runtime's ordered collection: Item by 1-based position or by key, Add, Count, Remove, _NewEnum.
class Collection : public AutomationClass<Collection>
{
public:
    static const MemberTable& Members();

    void Add(const Variant& item, const Optional& key = {}, const Optional& before = {}, const Optional& after = {});
    Variant Item(const Variant& index) const;
    std::int32_t Count() const;
    void Remove(const Variant& index);
    Variant NewEnum() const;

private:
    struct Entry
    {
        Variant item;
        std::optional<Text> key;
    };
    std::size_t Position(const Variant& index) const;
    std::vector<Entry> entries_;
};

}  // namespace vmlib
