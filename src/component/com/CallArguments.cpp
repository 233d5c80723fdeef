#include "component/com/CallArguments.h"

#include <algorithm>

#include "automation/Convert.h"
#include "component/com/ComVariant.h"

namespace vmlib::com {

namespace {

HRESULT Blame(HRESULT fault, UINT index, UINT* badArgument)
{
    if (badArgument) *badArgument = index;
    return fault;
}

HRESULT ResultOf(const Error& error)
{
    return error.Is(ErrorNumber::Overflow) ? DISP_E_OVERFLOW : DISP_E_TYPEMISMATCH;
}

bool IsPut(InvokeKind kind)
{
    return kind == InvokeKind::Put || kind == InvokeKind::PutReference;
}

}  // namespace

std::optional<DISPID> ParameterNamed(const Object& object, TextView member, TextView parameter)
{
    const MemberTable* const table = object.TableOfMembers();
    if (!table) return std::nullopt;
    for (const InvokeKind kind : {InvokeKind::MethodOrGet, InvokeKind::Put}) {
        const MemberInfo* const info = table->Find(member, kind);
        if (!info) continue;
        const auto& parameters = info->parameters;
        const auto found = std::find_if(parameters.begin(), parameters.end(), [&](const ParameterInfo& other) {
            return EqualIgnoringCase(other.name, parameter);
        });
        if (found != parameters.end()) return static_cast<DISPID>(found - parameters.begin());
    }
    return std::nullopt;
}

CallArguments::CallArguments(const Object& object, TextView member, InvokeKind kind, DISPPARAMS& parameters)
    : member_(nullptr), kind_(kind), parameters_(parameters)
{
    if (const MemberTable* const table = object.TableOfMembers()) member_ = table->Find(member, kind);
}

HRESULT CallArguments::Check(UINT* badArgument)
{
    if (parameters_.cNamedArgs > parameters_.cArgs) return DISP_E_BADPARAMCOUNT;
    if (const HRESULT fault = Place(badArgument); FAILED(fault)) return fault;
    before_ = values_;
    if (const HRESULT fault = CheckCount(); FAILED(fault)) return fault;
    return CheckTypes(badArgument);
}

/// In rgvarg the named ones come first, then the positional ones, the last of them first. The new value of a property
/// is the first named one, and the last of the parameters.
HRESULT CallArguments::Place(UINT* badArgument)
{
    const UINT count = parameters_.cArgs, named = parameters_.cNamedArgs;
    const bool isPut = IsPut(kind_);
    if (isPut && (named == 0 || parameters_.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT)) return DISP_E_PARAMNOTOPTIONAL;
    const UINT positional = count - named;
    values_.reserve(count + 1);
    for (UINT i = 0; i < positional; ++i) {
        const UINT index = count - 1 - i;
        try {
            values_.push_back(FromVariant(parameters_.rgvarg[index]));
        } catch (const BadVarType&) {
            return Blame(DISP_E_BADVARTYPE, index, badArgument);
        }
        sources_.emplace_back(index);
    }
    for (UINT i = isPut ? 1 : 0; i < named; ++i)
        if (const HRESULT fault = PlaceNamed(i, positional, badArgument); FAILED(fault)) return fault;
    if (!isPut) return S_OK;
    try {
        values_.push_back(FromVariant(parameters_.rgvarg[0]));
    } catch (const BadVarType&) {
        return Blame(DISP_E_BADVARTYPE, 0, badArgument);
    }
    sources_.emplace_back(0);
    return S_OK;
}

HRESULT CallArguments::PlaceNamed(UINT index, UINT positional, UINT* badArgument)
{
    if (!member_) return DISP_E_NONAMEDARGS;
    const DISPID id = parameters_.rgdispidNamedArgs[index];
    const std::size_t room = member_->parameters.size() - (IsPut(kind_) ? 1 : 0);
    const auto place = static_cast<std::size_t>(id);
    const bool isTaken = place < positional || (place < sources_.size() && sources_[place]);
    if (id < 0 || place >= room || isTaken) return Blame(DISP_E_PARAMNOTFOUND, index, badArgument);
    while (values_.size() <= place) {
        values_.push_back(Variant::Missing());
        sources_.emplace_back();
    }
    try {
        values_[place] = FromVariant(parameters_.rgvarg[index]);
    } catch (const BadVarType&) {
        return Blame(DISP_E_BADVARTYPE, index, badArgument);
    }
    sources_[place] = index;
    return S_OK;
}

/// The value that a parameter gets; null when it was left out. The new value of a property is always the last one.
const Variant* CallArguments::ValueOf(std::size_t parameter) const
{
    const bool isNewValue = IsPut(kind_) && parameter + 1 == member_->parameters.size();
    if (isNewValue) return values_.empty() ? nullptr : &values_.back();
    const std::size_t others = IsPut(kind_) ? values_.size() - 1 : values_.size();
    return parameter < others ? &values_[parameter] : nullptr;
}

HRESULT CallArguments::CheckCount() const
{
    if (!member_) return S_OK;
    const auto& parameters = member_->parameters;
    // Arguments of a property without parameters, or more of a put than it takes, go on to what the property returns.
    const bool reaches = IsPut(kind_) || (member_->kind == InvokeKind::Get && parameters.empty());
    if (values_.size() > parameters.size()) return reaches ? S_OK : DISP_E_BADPARAMCOUNT;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const Variant* const value = ValueOf(i);
        if (parameters[i].optional || (value && !value->IsMissing())) continue;
        return value ? DISP_E_PARAMNOTOPTIONAL : DISP_E_BADPARAMCOUNT;
    }
    return S_OK;
}

HRESULT CallArguments::CheckTypes(UINT* badArgument) const
{
    if (!member_ || values_.size() > member_->parameters.size()) return S_OK;
    for (std::size_t i = 0; i < member_->parameters.size(); ++i) {
        const VarType type = member_->parameters[i].type;
        const bool isPlain = type != VarType::Variant && type != VarType::Object;
        const Variant* const value = ValueOf(i);
        if (!isPlain || !value || value->IsMissing() || value->IsObject()) continue;
        try {
            Coerce(*value, type);
        } catch (const Error& error) {
            if (error.Is(ErrorNumber::InvalidUseOfNull)) throw;  // which has no result code of its own
            return Blame(ResultOf(error), sources_[static_cast<std::size_t>(value - values_.data())].value_or(0),
                         badArgument);
        }
    }
    return S_OK;
}

HRESULT CallArguments::WriteBack(UINT* badArgument)
{
    HRESULT result = S_OK;
    for (std::size_t i = 0; i < values_.size(); ++i) {
        if (!sources_[i] || values_[i] == before_[i]) continue;
        try {
            com::WriteBack(values_[i], parameters_.rgvarg[*sources_[i]]);
        } catch (const Error& error) {
            result = Blame(ResultOf(error), *sources_[i], badArgument);
        } catch (const BadVarType&) {
            result = Blame(DISP_E_BADVARTYPE, *sources_[i], badArgument);
        }
    }
    return result;
}

}  // namespace vmlib::com
