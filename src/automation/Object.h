#pragma once

#include <span>

#include "automation/Variant.h"

namespace vmlib {

/// How a member is reached; Method and Get may be or-ed when the caller wants a value and cannot know which it is.
enum class InvokeKind : std::uint16_t
{
    Method = 1,
    Get = 2,
    MethodOrGet = 3,
    Put = 4,
    PutReference = 8,
};

class MemberTable;

/// Anything that answers calls by name. A C++ class with a member table, a COM object, a client's object at the other
/// end of the rpc bridge.
class Object : public std::enable_shared_from_this<Object>
{
public:
    virtual ~Object() = default;

    /// Calls a member by name, ignoring case; "" is the default member, "_NewEnum" gives an Array of a collection's
    /// members.
    /// @param arguments  in order; the callee may write into those that it takes by reference. For Put the new value is
    /// the last one.
    /// @throws Error 438 for an unknown member, 449, 450, 13 for arguments that do not fit, else what the member raises
    virtual Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) = 0;

    /// The class name as TypeName gives it.
    virtual Text TypeName() const = 0;

    /// The list of its members, of an object that has one; null where only a call can tell. For callers that ask for
    /// numbers and parameter names before they call.
    virtual const MemberTable* TableOfMembers() const { return nullptr; }
};

/// `object.Member(arguments...)`; Nothing is error 91. By-reference arguments are written back into variables given as
/// `Variant&`.
Variant CallWith(const ObjectRef& object, TextView member, std::span<Variant> arguments);
Variant GetWith(const ObjectRef& object, TextView member, std::span<Variant> arguments);
void PutWith(const ObjectRef& object, TextView member, std::span<Variant> argumentsAndValue);

template <class... Arguments>
Variant Call(const ObjectRef& object, TextView member, Arguments&&... arguments)
{
    Variant list[sizeof...(arguments) + 1] = {Variant(arguments)...};
    const std::span<Variant> span(list, sizeof...(arguments));
    Variant result = CallWith(object, member, span);
    std::size_t i = 0;
    [[maybe_unused]] const auto writeBack = [&](auto& argument) {
        if constexpr (std::is_same_v<std::remove_reference_t<decltype(argument)>, Variant>) argument = list[i];
        ++i;
    };
    (writeBack(arguments), ...);
    return result;
}

template <class... Arguments>
Variant Get(const ObjectRef& object, TextView member, Arguments&&... arguments)
{
    Variant list[sizeof...(arguments) + 1] = {Variant(arguments)...};
    return GetWith(object, member, std::span<Variant>(list, sizeof...(arguments)));
}

template <class... Arguments>
void Put(const ObjectRef& object, TextView member, Arguments&&... argumentsAndValue)
{
    Variant list[] = {Variant(argumentsAndValue)...};
    PutWith(object, member, list);
}

/// The object in a variant; error 424 when it holds something else, 91 for Nothing.
const ObjectRef& ToObject(const Variant& value);

}  // namespace vmlib
