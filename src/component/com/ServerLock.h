#pragma once

#include "component/com/ComApi.h"

namespace vmlib::com {

/// What keeps the DLL loaded: its living objects, factories, and locks of LockServer. One that is an object's keeps the
/// class registry of the thread that made it, too.
class ServerLock
{
public:
    ServerLock();
    ~ServerLock();
    ServerLock(const ServerLock&) = delete;
    ServerLock& operator=(const ServerLock&) = delete;

    static void Add();
    static void Remove();
    /// True when nothing keeps it.
    static bool IsFree();

private:
    DWORD thread_ = ::GetCurrentThreadId();
};

}  // namespace vmlib::com
