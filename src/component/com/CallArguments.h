#pragma once

#include <optional>
#include <vector>

#include "automation/MemberTable.h"
#include "component/com/ComApi.h"

namespace vmlib::com {

/// The position of a member's parameter, which is its number too; no value when there is none of that name.
std::optional<DISPID> ParameterNamed(const Object& object, TextView member, TextView parameter);

/// The arguments of one call of IDispatch::Invoke, put into the order of the parameters.
class CallArguments
{
public:
    CallArguments(const Object& object, TextView member, InvokeKind kind, DISPPARAMS& parameters);

    /// Reads them, and says what is wrong with their number, their names and their types.
    /// @param badArgument  gets the index in rgvarg of the one that is to blame; may be null
    HRESULT Check(UINT* badArgument);
    /// For Object::Invoke; those left out are Missing.
    std::span<Variant> Values() { return values_; }
    /// What the call changed goes back to the caller's variables.
    HRESULT WriteBack(UINT* badArgument);

private:
    HRESULT Place(UINT* badArgument);
    HRESULT PlaceNamed(UINT index, UINT firstPositional, UINT* badArgument);
    const Variant* ValueOf(std::size_t parameter) const;
    HRESULT CheckCount() const;
    HRESULT CheckTypes(UINT* badArgument) const;

    const MemberInfo* member_;  // null for an object that has no list of members
    InvokeKind kind_;
    DISPPARAMS& parameters_;
    std::vector<Variant> values_, before_;
    std::vector<std::optional<UINT>> sources_;  // of each value its index in rgvarg
};

}  // namespace vmlib::com
