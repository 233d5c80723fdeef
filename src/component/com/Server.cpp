#include "component/com/Server.h"

#include <map>
#include <mutex>

namespace vmlib::com {

namespace {

struct Registries
{
    std::mutex mutex;
    std::map<DWORD, std::unique_ptr<ClassRegistry>> byThread;
};

Registries& OfServer()
{
    // Never destroyed: what stands in it at the end of the process must not call into other DLLs any more.
    static auto* const registries = new Registries;
    return *registries;
}

}  // namespace

ClassRegistry& ClassesOfThread()
{
    Registries& registries = OfServer();
    const std::lock_guard lock(registries.mutex);
    auto& classes = registries.byThread[::GetCurrentThreadId()];
    if (!classes) {
        classes = std::make_unique<ClassRegistry>();
        TheServer().registerClasses(*classes);
    }
    return *classes;
}

void ReleaseClasses()
{
    std::map<DWORD, std::unique_ptr<ClassRegistry>> released;  // outside the lock, as other DLLs may call back
    Registries& registries = OfServer();
    {
        const std::lock_guard lock(registries.mutex);
        released.swap(registries.byThread);
    }
}

HMODULE ThisModule()
{
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<const wchar_t*>(&ThisModule), &module);
    return module;
}

Text ModulePath()
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetModuleFileNameW(ThisModule(), path.data(), static_cast<DWORD>(path.size()));
        if (length < path.size()) return FromWide(path.c_str(), length);
        path.resize(path.size() * 2);
    }
}

}  // namespace vmlib::com
