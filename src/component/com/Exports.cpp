// The functions that COM and regsvr32 look for in the DLL.

#include "component/com/ClassFactory.h"
#include "component/com/Registration.h"
#include "component/com/ServerLock.h"

using namespace vmlib;

STDAPI DllGetClassObject(REFCLSID classId, REFIID wanted, void** factory)
{
    return com::MakeFactory(classId, wanted, factory);
}

STDAPI DllCanUnloadNow()
{
    return com::ServerLock::IsFree() ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer()
{
    return com::Register(HKEY_LOCAL_MACHINE);
}

STDAPI DllUnregisterServer()
{
    return com::Unregister(HKEY_LOCAL_MACHINE);
}

/// `regsvr32 /n /i:user vmlib.dll` registers for the current user; without a text, or with any other, for the machine.
STDAPI DllInstall(BOOL install, LPCWSTR text)
{
    const bool forUser = text && EqualIgnoringCase(com::FromWide(text), u"user");
    const HKEY root = forUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    return install ? com::Register(root) : com::Unregister(root);
}
