#pragma once

#include "component/com/ComApi.h"

namespace vmlib::com {

/// What keeps the DLL loaded: its living objects, factories, and locks of LockServer.
class ServerLock
{
public:
    ServerLock() { Add(); }
    ~ServerLock() { Remove(); }
    ServerLock(const ServerLock&) = delete;
    ServerLock& operator=(const ServerLock&) = delete;

    static void Add();
    static void Remove();
    /// True when nothing keeps it.
    static bool IsFree();
};

}  // namespace vmlib::com
