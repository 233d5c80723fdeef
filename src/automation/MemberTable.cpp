#include "automation/MemberTable.h"

#include "core/Error.h"

namespace vmlib {
namespace {

bool Includes(InvokeKind kinds, InvokeKind kind)
{
    return (static_cast<unsigned>(kinds) & static_cast<unsigned>(kind)) != 0;
}

bool IsPut(InvokeKind kinds)
{
    return Includes(kinds, InvokeKind::Put) || Includes(kinds, InvokeKind::PutReference);
}

// `Property(arguments)` where the property takes none: they go to the default member of what it returns, as in
// recordset.Fields("Name").
ObjectRef ObjectIn(const Variant& result)
{
    if (!result.IsObject()) throw Error(ErrorNumber::NotACollection);
    const auto& object = result.As<ObjectRef>();
    if (!object) throw Error(ErrorNumber::ObjectNotSet);
    return object;
}

}  // namespace

void MemberTable::Add(MemberInfo info)
{
    const int index = static_cast<int>(members_.size());
    Slots& slots = byName_[info.name];
    int& slot = info.kind == InvokeKind::Put ? slots.put : info.kind == InvokeKind::Get ? slots.get : slots.method;
    assert(slot < 0 && "a member stands in its table once");
    slot = index;
    if (info.isDefault) defaultName_ = info.name;
    members_.push_back(std::move(info));
}

const MemberTable::Slots* MemberTable::FindSlots(TextView name) const
{
    const auto found = byName_.find(name.empty() ? TextView(defaultName_) : name);
    return found == byName_.end() ? nullptr : &found->second;
}

const MemberInfo* MemberTable::At(int slot) const
{
    return slot < 0 ? nullptr : &members_[static_cast<std::size_t>(slot)];
}

// Script hosts ask for a method when they do not want its value and for either when they do, so a method answers a get
// and the reverse.
const MemberInfo* MemberTable::Find(TextView name, InvokeKind kind) const
{
    const Slots* slots = FindSlots(name);
    if (!slots) return nullptr;
    if (IsPut(kind)) return At(slots->put);
    const bool methodFirst = Includes(kind, InvokeKind::Method);
    const int first = methodFirst ? slots->method : slots->get;
    return At(first >= 0 ? first : methodFirst ? slots->get : slots->method);
}

Variant MemberTable::Invoke(Object& target, TextView name, InvokeKind kind, std::span<Variant> arguments) const
{
    const Slots* slots = FindSlots(name);
    if (!slots) {
        const auto number = ErrorNumber::NoSuchMember;
        throw Error(static_cast<std::int32_t>(number), ErrorText(static_cast<std::int32_t>(number)),
                    typeName_ + u"." + Text(name));
    }
    return IsPut(kind) ? InvokePut(target, *slots, arguments) : InvokeValue(target, *slots, kind, arguments);
}

Variant MemberTable::InvokeValue(Object& target, const Slots& slots, InvokeKind kind,
                                 std::span<Variant> arguments) const
{
    const bool methodFirst = slots.method >= 0 && (Includes(kind, InvokeKind::Method) || slots.get < 0);
    const MemberInfo* member = At(methodFirst ? slots.method : slots.get);
    if (!member) throw Error(ErrorNumber::GetNotSupported);
    const bool indexesResult = member->kind == InvokeKind::Get && member->parameters.empty() && !arguments.empty();
    if (!indexesResult) return member->call(target, arguments);
    return ObjectIn(member->call(target, {}))->Invoke({}, InvokeKind::MethodOrGet, arguments);
}

Variant MemberTable::InvokePut(Object& target, const Slots& slots, std::span<Variant> arguments) const
{
    if (arguments.empty()) throw Error(ErrorNumber::WrongNumberOfArguments);
    const MemberInfo* put = At(slots.put);
    if (put && arguments.size() <= put->parameters.size()) return put->call(target, arguments);

    // `Property(index) = value` on a property that cannot take it: the value goes to the default member of what
    // Property(index) returns.
    const bool reaches = slots.get >= 0 && arguments.size() > 1;
    if (!reaches && put) throw Error(ErrorNumber::WrongNumberOfArguments);
    if (!reaches) throw Error(slots.get >= 0 ? ErrorNumber::SetNotSupported : ErrorNumber::NoSuchMember);
    const auto index = arguments.first(arguments.size() - 1);
    const Variant owner = InvokeValue(target, slots, InvokeKind::Get, index);
    if (!owner.IsObject()) throw Error(ErrorNumber::SetNotSupported);
    return ObjectIn(owner)->Invoke({}, InvokeKind::Put, arguments.last(1));
}

}  // namespace vmlib
