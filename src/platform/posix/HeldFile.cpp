#include "platform/posix/HeldFile.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/WriteBacks.h"
#include "platform/posix/PosixOpenFile.h"
#include "platform/posix/SystemFailure.h"
#include "platform/posix/UserList.h"

namespace vmlib::posix {

bool IsReadOnly(const struct stat& facts)
{
    return (facts.st_mode & S_IWUSR) == 0;
}

bool StillNamed(const std::string& nativePath, const struct stat& facts)
{
    struct stat named;
    return ::stat(nativePath.c_str(), &named) == 0 && IdentityOf(named) == IdentityOf(facts);
}

HeldFile FileHolder::Hold(TextView path, Holder holder) const
{
    HeldFile held;
    const bool got = RetryFor(patience_, [&] {
        held.native = drives_.Resolve(path);
        if (!held.native.exists)
            throw FileError(held.native.folderExists ? FileFault::NotFound : FileFault::PathNotFound, path);
        // O_NONBLOCK: opening a pipe would wait for its other end.
        held.descriptor = Descriptor(::open(held.native.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        if (!held.descriptor || ::fstat(held.descriptor.Number(), &held.facts) != 0) throw SystemFailure(errno, path);
        if (!S_ISREG(held.facts.st_mode)) throw FileError(FileFault::AccessDenied, path, "not a file");
        return TryShare(held.descriptor.Number(), holder) && StillNamed(held.native.path, held.facts) &&
               (holder == Holder::Copier || !HasWindowsUsers(drives_, path));
    });
    if (!got) throw FileError(FileFault::SharingViolation, path);
    return held;
}

HeldFile FileHolder::HoldForChange(TextView path) const
{
    HeldFile held = Hold(path, Holder::ExclusiveWrite);
    if (IsReadOnly(held.facts)) throw FileError(FileFault::AccessDenied, path, "read-only");
    return held;
}

HeldFile FileHolder::HoldForCopy(TextView path) const
{
    HeldFile held = Hold(path, Holder::Copier);
    WriteBacks::CallFor(IdentityOf(held.facts));
    if (!RetryFor(copyPatience, [&] { return TryLock(held.descriptor.Number(), FileLock::Reading, false); }))
        throw FileError(FileFault::SharingViolation, path);
    return held;
}

}  // namespace vmlib::posix
