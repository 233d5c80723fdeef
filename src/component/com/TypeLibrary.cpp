#include "component/com/TypeLibrary.h"

#include "component/com/Server.h"

namespace vmlib::com {

namespace {

const ServedClass* Find(TextView className)
{
    for (const ServedClass& served : TheServer().classes)
        if (EqualIgnoringCase(served.name, className)) return &served;
    return nullptr;
}

ComPtr<ITypeInfo> InfoOf(const GUID& id)
{
    ComPtr<ITypeInfo> info;
    if (const auto library = LoadOwnTypeLibrary()) library->GetTypeInfoOfGuid(id, info.Put());
    return info;
}

}  // namespace

std::optional<GUID> InterfaceIdOf(TextView className)
{
    const ServedClass* const served = Find(className);
    return served ? std::optional(served->interfaceId) : std::nullopt;
}

ComPtr<ITypeInfo> InterfaceInfo(TextView className)
{
    const ServedClass* const served = Find(className);
    return served ? InfoOf(served->interfaceId) : ComPtr<ITypeInfo>();
}

ComPtr<ITypeInfo> ClassInfo(TextView className)
{
    const ServedClass* const served = Find(className);
    return served ? InfoOf(served->classId) : ComPtr<ITypeInfo>();
}

ComPtr<ITypeLib> LoadOwnTypeLibrary()
{
    ComPtr<ITypeLib> library;
    ::LoadTypeLibEx(Wide(ModulePath()), REGKIND_NONE, library.Put());
    return library;
}

}  // namespace vmlib::com
