#include "platform/posix/WindowsUsers.h"

#include <fcntl.h>

#include "platform/posix/Descriptor.h"
#include "platform/posix/FileLocks.h"

namespace vmlib::posix {

namespace {

Text LockFileOf(TextView path)
{
    const TextView name = path.substr(path.find_last_of(u"\\/:") + 1);  // npos + 1 is the start
    const TextView extension = name.substr(std::min(name.rfind(u'.'), name.size()));
    return Text(path.substr(0, path.size() - extension.size())) + u".ldb";
}

}  // namespace

bool HasWindowsUsers(const DriveMap& drives, TextView path)
{
    const NativePath lockFile = drives.Resolve(LockFileOf(drives.FullPath(path)));
    if (!lockFile.exists) return false;
    const Descriptor descriptor(::open(lockFile.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    return descriptor && HasLocks(descriptor.Number());
}

}  // namespace vmlib::posix
