#include "component/com/Server.h"

#include <map>
#include <mutex>
#include <vector>

namespace vmlib::com {

namespace {

struct OfThread
{
    std::unique_ptr<ClassRegistry> classes;
    long uses = 0;
};

struct Registries
{
    std::mutex mutex;
    std::map<DWORD, OfThread> byThread;
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
    auto& classes = registries.byThread[::GetCurrentThreadId()].classes;
    if (!classes) {
        classes = std::make_unique<ClassRegistry>();
        TheServer().registerClasses(*classes);
    }
    return *classes;
}

void UseClasses(DWORD thread)
{
    Registries& registries = OfServer();
    const std::lock_guard lock(registries.mutex);
    ++registries.byThread[thread].uses;
}

void LeaveClasses(DWORD thread)
{
    std::map<DWORD, OfThread>::node_type released;  // outside the lock, as other DLLs may call back
    Registries& registries = OfServer();
    const std::lock_guard lock(registries.mutex);
    if (--registries.byThread[thread].uses == 0 && thread == ::GetCurrentThreadId())
        released = registries.byThread.extract(thread);
}

void ReleaseClasses()
{
    std::vector<OfThread> released;
    Registries& registries = OfServer();
    const std::lock_guard lock(registries.mutex);
    for (auto entry = registries.byThread.begin(); entry != registries.byThread.end();) {
        const bool isUsed = entry->second.uses > 0;  // by a thread that has come since
        if (!isUsed) released.push_back(std::move(entry->second));
        entry = isUsed ? std::next(entry) : registries.byThread.erase(entry);
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
