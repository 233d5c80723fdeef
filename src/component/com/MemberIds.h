#pragma once

#include <optional>

#include "automation/Object.h"
#include "component/com/ComApi.h"

namespace vmlib::com {

/// The numbers of an object's members: 0 for the default one, -4 for the enumerator, else counted from 1 in the order
/// of the member table, a property's get and put under one number. The type library has the same.
class MemberIds
{
public:
    /// @param object  with a member table or without; names of one without are numbered as they are asked for
    static std::optional<DISPID> IdOf(const Object& object, TextView name);
    /// "" for the default member; no value for a number that was never given.
    static std::optional<Text> NameOf(const Object& object, DISPID id);
    static DISPID IdIn(const MemberTable& table, TextView name);  // of a name that stands in it
};

}  // namespace vmlib::com
