#pragma once

#include <optional>
#include <vector>

#include "engine/Session.h"

namespace vmlib::engine {

/// The late-bound side of every collection: Count, Item by position or name, _NewEnum, Append, Delete, Refresh. Knows
/// neither the type of its members nor where they are stored.
class CollectionObject : public EngineObject<CollectionObject>
{
public:
    CollectionObject(SessionRef session, TextView typeName) : EngineObject(std::move(session)), typeName_(typeName) {}
    static const MemberTable& Members();
    Text TypeName() const override { return typeName_; }

    std::int16_t Count();
    /// A number is a position from 0, text a name without regard to case; blanks behind a name do not count. @throws
    /// Error 3265
    ObjectRef Item(const Variant& index);
    /// The default member: an item; without index what the whole collection reads as, if anything. @throws Error 449
    Variant Default(const Optional& index);
    /// `collection(index) = value` reaches the item's default property.
    void PutItem(const Variant& index, const Variant& value);
    Variant NewEnum();
    /// Stores at once. @throws what storing raises
    virtual void Append(const ObjectRef& object);
    /// Deletes by name; later items close up at once.
    void Delete(const Variant& name);
    virtual void Refresh() {}

protected:
    virtual Variant Whole();
    virtual std::size_t Size() = 0;
    virtual ObjectRef At(std::size_t position) = 0;
    virtual Text NameAt(std::size_t position) = 0;
    virtual void DeleteAt(std::size_t position);
    /// The error of an item that is not there.
    virtual ErrorNumber Missing() const { return ErrorNumber::NotInCollection; }
    std::optional<std::size_t> PositionOf(TextView name);

private:
    std::size_t Position(const Variant& index);
    Text typeName_;
};

/// A collection of objects of class T (which has `Text Name()`), loaded on first use and kept until Refresh.
template <class T>
class ListOf : public CollectionObject
{
public:
    using CollectionObject::CollectionObject;

    void Append(const ObjectRef& object) override
    {
        const auto item = std::dynamic_pointer_cast<T>(object);
        if (!item) throw Error(ErrorNumber::TypeMismatch);
        Items();  // what is stored already comes before what is added now
        Store(item);
        items_.push_back(item);
    }
    void Refresh() override { loaded_ = false; }

    std::vector<std::shared_ptr<T>>& Items()
    {
        if (!loaded_) items_ = Load();
        loaded_ = true;
        return items_;
    }
    std::shared_ptr<T> Find(TextView name)
    {
        const auto position = PositionOf(name);
        return position ? Items()[*position] : nullptr;
    }

protected:
    virtual std::vector<std::shared_ptr<T>> Load() { return {}; }
    virtual void Store(const std::shared_ptr<T>&) { throw Error(ErrorNumber::InvalidOperation); }
    virtual void Remove(const std::shared_ptr<T>&) { throw Error(ErrorNumber::InvalidOperation); }

    std::size_t Size() override { return Items().size(); }
    ObjectRef At(std::size_t position) override { return Items()[position]; }
    Text NameAt(std::size_t position) override { return Items()[position]->Name(); }
    void DeleteAt(std::size_t position) override
    {
        Remove(Items()[position]);
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(position));
    }

private:
    std::vector<std::shared_ptr<T>> items_;
    bool loaded_ = false;
};

/// A default property that is a collection: `owner` alone gives it, `owner(index)` an item of it.
inline Variant CollectionOrItem(const std::shared_ptr<CollectionObject>& collection, const Optional& index)
{
    if (!index.Given()) return Variant(ObjectRef(collection));
    return Variant(collection->Item(index.value));
}

}  // namespace vmlib::engine
