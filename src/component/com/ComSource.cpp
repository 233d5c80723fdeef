#include "component/com/ComSource.h"

#include "component/com/ComObject.h"
#include "component/com/EngineIds.h"
#include "component/com/Server.h"

namespace vmlib::com {

namespace {

using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);

ComPtr<IDispatch> Create(const CLSID& classId)
{
    ComPtr<IDispatch> made;
    ::CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch,
                       reinterpret_cast<void**>(made.Put()));
    return made;
}

/// It stays loaded: it was not COM that looked for it, so COM does not ask it whether it may go.
ComPtr<IDispatch> CreateEngineBeside()
{
    const Text own = ModulePath(), path = own.substr(0, own.rfind(u'\\') + 1) + u"vmdengine.dll";
    const HINSTANCE module = ::CoLoadLibrary(const_cast<wchar_t*>(Wide(path)), TRUE);
    if (!module) return {};
    const auto getClassObject =
        reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(::GetProcAddress(module, "DllGetClassObject")));
    ComPtr<IClassFactory> factory;
    ComPtr<IDispatch> made;
    if (getClassObject &&
        SUCCEEDED(getClassObject(engineClassId, IID_IClassFactory, reinterpret_cast<void**>(factory.Put()))))
        factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(made.Put()));
    return made;
}

}  // namespace

ObjectRef CreateRegistered(TextView className)
{
    CLSID classId;
    const Text name(className);
    ComPtr<IDispatch> made;
    if (SUCCEEDED(::CLSIDFromProgID(Wide(name), &classId))) made = Create(classId);
    if (!made && EqualIgnoringCase(className, engineProgId)) made = CreateEngineBeside();
    return ToObjectRef(made.Get());
}

}  // namespace vmlib::com
