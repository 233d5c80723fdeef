#include "component/com/ClassFactory.h"

#include <new>

#include "component/com/DispatchObject.h"
#include "component/com/Exceptions.h"
#include "component/com/ServerLock.h"

namespace vmlib::com {

namespace {

class ClassFactory final : public Counted<IClassFactory>
{
public:
    explicit ClassFactory(const ServedClass& served) : served_(served) {}

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID wanted, void** object) override
    {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        try {
            const ServerLock lock;  // what a failure leaves behind goes now, not with the next object
            const auto made = ToDispatch(ClassesOfThread().Create(served_.progId));
            return made ? made->QueryInterface(wanted, object) : E_UNEXPECTED;
        } catch (const Error& error) {
            Raise(error, served_.name, nullptr);
            return E_FAIL;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        } catch (...) {
            return E_UNEXPECTED;
        }
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override
    {
        if (lock)
            ServerLock::Add();
        else
            ServerLock::Remove();
        return S_OK;
    }

private:
    ServerLock lock_;
    const ServedClass& served_;
};

}  // namespace

HRESULT MakeFactory(REFCLSID classId, REFIID wanted, void** factory)
{
    if (!factory) return E_POINTER;
    *factory = nullptr;
    for (const ServedClass& served : TheServer().classes) {
        if (served.classId != classId) continue;
        auto* const made = new (std::nothrow) ClassFactory(served);
        if (!made) return E_OUTOFMEMORY;
        const HRESULT result = made->QueryInterface(wanted, factory);
        made->Release();
        return result;
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace vmlib::com
