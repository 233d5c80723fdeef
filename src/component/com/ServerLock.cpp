#include "component/com/ServerLock.h"

#include <atomic>

#include "component/com/Server.h"

namespace vmlib::com {

namespace {

std::atomic<long> locks{0};

}  // namespace

ServerLock::ServerLock()
{
    Add();
    UseClasses(thread_);
}

ServerLock::~ServerLock()
{
    LeaveClasses(thread_);
    Remove();
}

void ServerLock::Add()
{
    ++locks;
}

void ServerLock::Remove()
{
    if (--locks == 0) ReleaseClasses();
}

bool ServerLock::IsFree()
{
    return locks == 0;
}

}  // namespace vmlib::com
