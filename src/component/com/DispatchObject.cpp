#include "component/com/DispatchObject.h"

#include <map>
#include <mutex>
#include <new>

#include "automation/Convert.h"
#include "automation/MemberTable.h"
#include "component/com/CallArguments.h"
#include "component/com/ComObject.h"
#include "component/com/ComVariant.h"
#include "component/com/EnumVariant.h"
#include "component/com/Exceptions.h"
#include "component/com/MemberIds.h"
#include "component/com/ServerLock.h"
#include "component/com/TableTypeInfo.h"
#include "component/com/TypeLibrary.h"

namespace vmlib::com {

namespace {

/// Asks an IDispatch whether it is a DispatchObject of this very module; another one with this code has another address
/// in the identifier.
const GUID& OwnObjectId()
{
    static const GUID id = {static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&OwnObjectId)),
                            0x2f0b,
                            0x4c11,
                            {0x9a, 0x52, 0x6e, 0x1b, 0x0d, 0x4f, 0x73, 0x28}};
    return id;
}

class DispatchObject;

/// The DispatchObject of each object that has one.
struct Living
{
    std::mutex mutex;
    std::map<const Object*, DispatchObject*> byObject;

    static Living& OfServer()
    {
        static auto* const living = new Living;
        return *living;
    }
};

class DispatchObject final : public IDispatch, public IProvideClassInfo, public ISupportErrorInfo
{
public:
    explicit DispatchObject(ObjectRef object) : object_(std::move(object)) {}

    static ComPtr<IDispatch> Of(const ObjectRef& object)
    {
        Living& living = Living::OfServer();
        const std::lock_guard lock(living.mutex);
        DispatchObject*& entry = living.byObject[object.get()];
        if (entry) return ComPtr<IDispatch>(entry);
        entry = new DispatchObject(object);
        return ComPtr<IDispatch>::Attach(entry);
    }

    const ObjectRef& Held() const { return object_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** found) override
    {
        if (!found) return E_POINTER;
        *found = nullptr;
        if (wanted == IID_IUnknown || wanted == IID_IDispatch || IsOwnInterface(wanted))
            *found = static_cast<IDispatch*>(this);
        else if (wanted == IID_IProvideClassInfo)
            *found = static_cast<IProvideClassInfo*>(this);
        else if (wanted == IID_ISupportErrorInfo)
            *found = static_cast<ISupportErrorInfo*>(this);
        else if (wanted == OwnObjectId())
            *found = this;
        if (!*found) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&references_)); }
    ULONG STDMETHODCALLTYPE Release() override
    {
        LONG left;
        {
            // Nobody may find it between its last release and its end.
            Living& living = Living::OfServer();
            const std::lock_guard lock(living.mutex);
            left = ::InterlockedDecrement(&references_);
            if (left == 0) living.byObject.erase(object_.get());
        }
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override
    {
        if (!count) return E_POINTER;
        *count = object_->TableOfMembers() ? 1 : 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override
    {
        if (!info) return E_POINTER;
        *info = nullptr;
        if (index != 0) return DISP_E_BADINDEX;
        return Guarded(nullptr, [&] {
            auto found = InterfaceInfo(object_->TypeName());
            if (const MemberTable* const table = object_->TableOfMembers(); table && !found)
                found = MakeTypeInfo(*table);
            *info = found.Detach();
            return *info ? S_OK : TYPE_E_ELEMENTNOTFOUND;
        });
    }
    HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** info) override
    {
        if (!info) return E_POINTER;
        *info = nullptr;
        return Guarded(nullptr, [&] {
            *info = ClassInfo(object_->TypeName()).Detach();
            return *info ? S_OK : TYPE_E_ELEMENTNOTFOUND;
        });
    }
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID wanted) override
    {
        return wanted == IID_IDispatch || IsOwnInterface(wanted) ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID, DISPID* ids) override
    {
        if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
        if (!names || !ids || count == 0) return E_INVALIDARG;
        return Guarded(nullptr, [&] { return FindIds(names, count, ids); });
    }

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID, WORD flags, DISPPARAMS* parameters,
                                     VARIANT* result, EXCEPINFO* exception, UINT* badArgument) override
    {
        if (reserved != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
        if (!parameters) return E_INVALIDARG;
        // An object of an apartment: from elsewhere it is reached through a proxy.
        if (::GetCurrentThreadId() != thread_) return RPC_E_WRONG_THREAD;
        const ComPtr<IDispatch> self(this);  // the host may release its last reference in the middle of the call
        return Guarded(exception, [&] { return Call(id, flags, *parameters, result, badArgument); });
    }

private:
    bool IsOwnInterface(REFIID wanted) const
    {
        const MemberTable* const table = object_->TableOfMembers();
        const auto own = table ? InterfaceIdOf(table->TypeName()) : std::nullopt;
        return own && wanted == *own;
    }

    /// Runs a call; no C++ exception leaves it.
    template <class Work>
    HRESULT Guarded(EXCEPINFO* exception, Work work)
    {
        try {
            return work();
        } catch (const Error& error) {
            return Raise(error, object_->TypeName(), exception);
        } catch (const BadVarType&) {
            return DISP_E_BADVARTYPE;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        } catch (...) {
            return E_UNEXPECTED;
        }
    }

    HRESULT FindIds(LPOLESTR* names, UINT count, DISPID* ids)
    {
        std::fill_n(ids, count, DISPID_UNKNOWN);
        const auto member = MemberIds::IdOf(*object_, FromWide(names[0]));
        if (!member) return DISP_E_UNKNOWNNAME;
        ids[0] = *member;
        HRESULT result = S_OK;
        for (UINT i = 1; i < count; ++i) {
            const auto parameter = ParameterNamed(*object_, FromWide(names[0]), FromWide(names[i]));
            if (parameter)
                ids[i] = *parameter;
            else
                result = DISP_E_UNKNOWNNAME;
        }
        return result;
    }

    HRESULT Call(DISPID id, WORD flags, DISPPARAMS& parameters, VARIANT* result, UINT* badArgument)
    {
        const auto name = MemberIds::NameOf(*object_, id);
        if (!name) return DISP_E_MEMBERNOTFOUND;
        const auto kind = KindOf(flags);
        if (!kind) return E_INVALIDARG;
        CallArguments arguments(*object_, *name, *kind, parameters);
        if (const HRESULT fault = arguments.Check(badArgument); FAILED(fault)) return fault;

        Variant answer;
        try {
            answer = object_->Invoke(*name, *kind, arguments.Values());
        } catch (...) {
            arguments.WriteBack(nullptr);  // what the member changed before it failed stays changed
            throw;
        }
        if (const HRESULT fault = arguments.WriteBack(badArgument); FAILED(fault)) return fault;
        if (!result) return S_OK;
        ::VariantInit(result);
        if (id == DISPID_NEWENUM) {
            result->punkVal = MakeEnumerator(answer).Detach();
            result->vt = VT_UNKNOWN;
        } else {
            ToVariant(answer, *result);
        }
        return S_OK;
    }

    static std::optional<InvokeKind> KindOf(WORD flags)
    {
        constexpr WORD known = DISPATCH_METHOD | DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;
        if ((flags & known) == 0 || (flags & ~known) != 0) return std::nullopt;
        if (flags & DISPATCH_PROPERTYPUT) return InvokeKind::Put;
        if (flags & DISPATCH_PROPERTYPUTREF) return InvokeKind::PutReference;
        return static_cast<InvokeKind>(flags);
    }

    ServerLock lock_;
    ObjectRef object_;
    LONG references_ = 1;
    DWORD thread_ = ::GetCurrentThreadId();
};

}  // namespace

ComPtr<IDispatch> ToDispatch(const ObjectRef& object)
{
    if (!object) return {};
    if (const auto foreign = std::dynamic_pointer_cast<ComObject>(object)) return foreign->Pointer();
    return DispatchObject::Of(object);
}

ObjectRef OwnObject(IDispatch* object)
{
    void* found = nullptr;
    if (!object || FAILED(object->QueryInterface(OwnObjectId(), &found))) return nullptr;
    ObjectRef own = static_cast<DispatchObject*>(found)->Held();
    object->Release();
    return own;
}

}  // namespace vmlib::com
