#include "engine/Collections.h"

#include "automation/Convert.h"
#include "jet/Names.h"

namespace vmlib::engine {

const MemberTable& CollectionObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<CollectionObject>(u"Collection")
            .Property<&CollectionObject::Count>(u"Count")
            .DefaultProperty<&CollectionObject::Default, &CollectionObject::PutItem>(u"Item", {u"Item"})
            .Enumerator<&CollectionObject::NewEnum>()
            .Method<&CollectionObject::Append>(u"Append", {u"Object"})
            .Method<&CollectionObject::Delete>(u"Delete", {u"Name"})
            .Method<&CollectionObject::Refresh>(u"Refresh");
    return table;
}

std::int16_t CollectionObject::Count()
{
    return static_cast<std::int16_t>(Size());
}

ObjectRef CollectionObject::Item(const Variant& index)
{
    return At(Position(index));
}

Variant CollectionObject::Default(const Optional& index)
{
    return index.Given() ? Variant(Item(index.value)) : Whole();
}

Variant CollectionObject::Whole()
{
    throw Error(ErrorNumber::ArgumentNotOptional);
}

void CollectionObject::PutItem(const Variant& index, const Variant& value)
{
    Put(Item(index), u"", value);
}

Variant CollectionObject::NewEnum()
{
    std::vector<Variant> members;
    for (std::size_t i = 0; i < Size(); ++i) members.emplace_back(At(i));
    return Variant(Array(std::move(members)));
}

void CollectionObject::Append(const ObjectRef&)
{
    throw Error(ErrorNumber::InvalidOperation);
}

void CollectionObject::Delete(const Variant& name)
{
    const auto position = PositionOf(ToText(name));
    if (!position) throw Error(Missing());
    DeleteAt(*position);
}

void CollectionObject::DeleteAt(std::size_t)
{
    throw Error(ErrorNumber::InvalidOperation);
}

std::optional<std::size_t> CollectionObject::PositionOf(TextView name)
{
    const std::size_t size = Size();
    for (std::size_t i = 0; i < size; ++i)
        if (EqualIgnoringCase(NameAt(i), name)) return i;
    // A name may have been stored padded with blanks and be asked for trimmed, or the other way round.
    for (std::size_t i = 0; i < size; ++i)
        if (jet::SameName(NameAt(i), name)) return i;
    return std::nullopt;
}

std::size_t CollectionObject::Position(const Variant& index)
{
    if (index.IsText()) {
        const auto position = PositionOf(index.As<Text>());
        if (!position) throw Error(Missing());
        return *position;
    }
    const std::int32_t position = ToLong(index);
    if (position < 0 || static_cast<std::size_t>(position) >= Size()) throw Error(Missing());
    return static_cast<std::size_t>(position);
}

}  // namespace vmlib::engine
