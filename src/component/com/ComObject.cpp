#include "component/com/ComObject.h"

#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "component/com/ComVariant.h"
#include "component/com/DispatchObject.h"
#include "component/com/Exceptions.h"

namespace vmlib::com {

namespace {

/// The ComObject of each pointer that has one, by the identity that COM gives an object.
struct Known
{
    std::mutex mutex;
    std::map<const IUnknown*, std::weak_ptr<ComObject>> byIdentity;

    static Known& OfServer()
    {
        static auto* const known = new Known;
        return *known;
    }
};

const IUnknown* IdentityOf(const ComPtr<IDispatch>& object)
{
    return object.As<IUnknown>().Get();  // alive as long as the object
}

/// What came back from the object. @throws Error 458 for a value of a type that the library does not have
Variant ValueFrom(const VARIANT& value)
{
    try {
        return FromVariant(value);
    } catch (const BadVarType&) {
        EXCEPINFO none = {};
        throw ErrorOf(DISP_E_BADVARTYPE, none);
    }
}

/// The variables that the arguments of a call refer to. They are variants, as a script's are: what takes a typed value
/// converts it, and only into a variant every host writes back.
class Variables
{
public:
    Variables(std::span<const Variant> arguments, bool byReference)
        : values_(arguments.size()), passed_(arguments.size())
    {
        const std::size_t count = arguments.size();
        for (std::size_t i = 0; i < count; ++i) {
            VARIANT& value = values_[i].Get();
            VARIANT& passed = passed_[count - 1 - i];  // the last argument comes first
            ToVariant(arguments[i], value);
            ::VariantInit(&passed);
            if (!byReference || value.vt == VT_ERROR) {
                passed = value;  // not owned: values_ clears it
            } else {
                passed.vt = VT_BYREF | VT_VARIANT;
                passed.pvarVal = &value;
            }
        }
    }

    DISPPARAMS Parameters() { return {passed_.data(), nullptr, static_cast<UINT>(passed_.size()), 0}; }

    void ReadBack(std::span<Variant> arguments)
    {
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const VARIANT& passed = passed_[arguments.size() - 1 - i];
            if (passed.vt & VT_BYREF) arguments[i] = ValueFrom(passed);
        }
    }

private:
    std::vector<OwnedVariant> values_;
    std::vector<VARIANT> passed_;
};

}  // namespace

ObjectRef ToObjectRef(IDispatch* object)
{
    if (!object) return nullptr;
    if (ObjectRef own = OwnObject(object)) return own;
    const ComPtr<IDispatch> pointer(object);
    Known& known = Known::OfServer();
    const std::lock_guard lock(known.mutex);
    auto& entry = known.byIdentity[IdentityOf(pointer)];
    if (auto alive = entry.lock()) return alive;
    auto made = std::make_shared<ComObject>(pointer);
    entry = made;
    return made;
}

ComObject::~ComObject()
{
    Known& known = Known::OfServer();
    const std::lock_guard lock(known.mutex);
    const auto entry = known.byIdentity.find(IdentityOf(object_));
    if (entry != known.byIdentity.end() && entry->second.expired()) known.byIdentity.erase(entry);
}

DISPID ComObject::IdOf(TextView member) const
{
    if (member.empty()) return DISPID_VALUE;
    Text name(member);
    auto* wide = reinterpret_cast<wchar_t*>(name.data());
    DISPID id = DISPID_UNKNOWN;
    const HRESULT result = object_->GetIDsOfNames(IID_NULL, &wide, 1, LOCALE_USER_DEFAULT, &id);
    EXCEPINFO none = {};
    if (FAILED(result)) throw ErrorOf(result, none);
    return id;
}

Variant ComObject::Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments)
{
    if (EqualIgnoringCase(member, u"_NewEnum")) return Enumerate();
    const bool isPut = kind == InvokeKind::Put || kind == InvokeKind::PutReference;
    const DISPID id = IdOf(member);
    Variables variables(arguments, !isPut);
    DISPPARAMS parameters = variables.Parameters();
    DISPID newValue = DISPID_PROPERTYPUT;
    if (isPut) {
        parameters.rgdispidNamedArgs = &newValue;
        parameters.cNamedArgs = 1;
    }
    OwnedVariant result;
    EXCEPINFO exception = {};
    UINT badArgument = 0;
    const HRESULT outcome = object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, static_cast<WORD>(kind), &parameters,
                                            isPut ? nullptr : &result, &exception, &badArgument);
    std::optional<Error> error;
    if (FAILED(outcome)) error = ErrorOf(outcome, exception);  // first of all, as it frees what the exception holds
    if (!isPut) variables.ReadBack(arguments);                 // what was changed before a failure stays changed
    if (error) throw Error(*error);
    return ValueFrom(result.Get());
}

Variant ComObject::Enumerate()
{
    DISPPARAMS none = {};
    OwnedVariant result;
    EXCEPINFO exception = {};
    const HRESULT outcome =
        object_->Invoke(DISPID_NEWENUM, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET, &none,
                        &result, &exception, nullptr);
    if (FAILED(outcome)) throw ErrorOf(outcome, exception);
    const VARIANT& value = result.Get();
    const bool isObject = value.vt == VT_UNKNOWN || value.vt == VT_DISPATCH;
    const auto enumerator = isObject ? ComPtr<IUnknown>(value.punkVal).As<IEnumVARIANT>() : ComPtr<IEnumVARIANT>();
    if (!enumerator) throw Error(ErrorNumber::NotACollection);
    std::vector<Variant> items;
    for (;;) {
        OwnedVariant item;
        ULONG fetched = 0;
        if (enumerator->Next(1, &item, &fetched) != S_OK || fetched == 0) break;
        items.push_back(ValueFrom(item.Get()));
    }
    return Variant(Array(std::move(items)));
}

Text ComObject::TypeName() const
{
    ComPtr<ITypeInfo> info;
    const auto provider = object_.As<IProvideClassInfo>();
    if (!provider || FAILED(provider->GetClassInfo(info.Put()))) {
        UINT count = 0;
        if (FAILED(object_->GetTypeInfoCount(&count)) || count == 0 ||
            FAILED(object_->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.Put())))
            return u"Object";
    }
    BSTR found = nullptr;
    if (FAILED(info->GetDocumentation(MEMBERID_NIL, &found, nullptr, nullptr, nullptr))) return u"Object";
    Text name = FromBstr(found);
    ::SysFreeString(found);
    if (name.starts_with(u'_')) name.erase(0, 1);  // as VB shows the names of its interfaces
    return name;
}

}  // namespace vmlib::com
