#include "automation/Object.h"

#include "core/Error.h"

namespace vmlib {
namespace {

Variant InvokeOn(const ObjectRef& object, TextView member, InvokeKind kind, std::span<Variant> arguments)
{
    if (!object) throw Error(ErrorNumber::ObjectNotSet);
    // The call may drop the caller's last reference. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const ObjectRef alive = object;
    return alive->Invoke(member, kind, arguments);
}

}  // namespace

Variant CallWith(const ObjectRef& object, TextView member, std::span<Variant> arguments)
{
    return InvokeOn(object, member, InvokeKind::Method, arguments);
}

Variant GetWith(const ObjectRef& object, TextView member, std::span<Variant> arguments)
{
    return InvokeOn(object, member, InvokeKind::MethodOrGet, arguments);
}

void PutWith(const ObjectRef& object, TextView member, std::span<Variant> argumentsAndValue)
{
    InvokeOn(object, member, InvokeKind::Put, argumentsAndValue);
}

const ObjectRef& ToObject(const Variant& value)
{
    if (!value.IsObject()) throw Error(ErrorNumber::ObjectRequired);
    const auto& object = value.As<ObjectRef>();
    if (!object) throw Error(ErrorNumber::ObjectNotSet);
    return object;
}

}  // namespace vmlib
