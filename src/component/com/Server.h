#pragma once

#include <span>

#include "automation/ClassRegistry.h"
#include "component/com/ComApi.h"

namespace vmlib::com {

/// A class that the DLL serves.
struct ServedClass
{
    const char16_t* name;         // of the class registry, without a library's name
    const char16_t* progId;       // without a version
    const char16_t* description;  // in the registry
    GUID classId;
    GUID interfaceId;  // of its dispatch interface, "_" and the name
};

/// What one of the DLLs serves. Each DLL defines TheServer; the identifiers are the same in both bitnesses.
struct Server
{
    const char16_t* libraryName;
    const char16_t* description;
    GUID libraryId;
    std::span<const ServedClass> classes;
    /// Registers the classes, once for each thread that makes objects of them.
    void (*registerClasses)(ClassRegistry& classes);
};

const Server& TheServer();

/// The class registry of this thread: objects belong to the thread that made them, and so does what they share.
ClassRegistry& ClassesOfThread();

/// Counts what uses a thread's class registry. With the last use it is forgotten, and with it what it keeps, the engine
/// above all: on its own thread, before that ends. Where another thread gives up the last use it is left alone, as what
/// it keeps may not be called there.
void UseClasses(DWORD thread);
void LeaveClasses(DWORD thread);

/// Forgets the class registries that nothing uses, of all threads. Called when the last object is gone, so that nothing
/// which they keep is in the way of unloading.
void ReleaseClasses();

/// The module that this code is in, and its path.
HMODULE ThisModule();
Text ModulePath();

}  // namespace vmlib::com
