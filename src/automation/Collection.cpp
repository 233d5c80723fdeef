#include "automation/Collection.h"

#include <algorithm>
#include <limits>

#include "automation/Convert.h"

namespace vmlib {

const MemberTable& Collection::Members()
{
    static const MemberTable table = MemberTable::Of<Collection>(u"Collection")
                                         .DefaultProperty<&Collection::Item>(u"Item", {u"Index"})
                                         .Method<&Collection::Add>(u"Add", {u"Item", u"Key", u"Before", u"After"})
                                         .Property<&Collection::Count>(u"Count")
                                         .Method<&Collection::Remove>(u"Remove", {u"Index"})
                                         .Enumerator<&Collection::NewEnum>();
    return table;
}

void Collection::Add(const Variant& item, const Optional& key, const Optional& before, const Optional& after)
{
    if (key.Given() && !key.value.IsText()) throw Error(ErrorNumber::TypeMismatch);
    if (before.Given() && after.Given()) throw Error(ErrorNumber::InvalidCall);

    Entry entry{item, std::nullopt};
    if (key.Given()) entry.key = key.value.As<Text>();
    const auto sameKey = [&](const Entry& other) { return other.key && EqualIgnoringCase(*other.key, *entry.key); };
    if (entry.key && std::any_of(entries_.begin(), entries_.end(), sameKey)) throw Error(ErrorNumber::DuplicateKey);

    std::size_t position = entries_.size();
    if (before.Given()) position = Position(before.value);
    if (after.Given()) position = Position(after.value) + 1;
    entries_.insert(entries_.begin() + static_cast<std::ptrdiff_t>(position), std::move(entry));
}

Variant Collection::Item(const Variant& index) const
{
    return entries_[Position(index)].item;
}

std::int32_t Collection::Count() const
{
    return static_cast<std::int32_t>(entries_.size());
}

void Collection::Remove(const Variant& index)
{
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(Position(index)));
}

Variant Collection::NewEnum() const
{
    std::vector<Variant> items;
    items.reserve(entries_.size());
    for (const Entry& entry : entries_) items.push_back(entry.item);
    return Array(std::move(items));
}

// Text is a key, even "1"; anything else a position from 1.
std::size_t Collection::Position(const Variant& index) const
{
    if (!index.IsText()) {
        const std::int32_t position = ToLong(index);
        if (position < 1 || position > Count()) throw Error(ErrorNumber::SubscriptOutOfRange);
        return static_cast<std::size_t>(position - 1);
    }
    const auto& key = index.As<Text>();
    const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) {
        return entry.key && EqualIgnoringCase(*entry.key, key);
    });
    if (found == entries_.end()) throw Error(ErrorNumber::InvalidCall);
    return static_cast<std::size_t>(found - entries_.begin());
}

}  // namespace vmlib
