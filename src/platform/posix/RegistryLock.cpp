#include "platform/posix/RegistryLock.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <vector>

#include "platform/posix/FileLocks.h"
#include "platform/posix/HeldFile.h"
#include "platform/posix/PosixOpenFile.h"
#include "platform/posix/SystemFailure.h"

namespace vmlib::posix {

namespace {

constexpr std::chrono::milliseconds lockPatience{10'000};

// Two locks on the one file, so that a process which writes again and again does not keep the others out: who wants to
// change the file waits for `change` with `next` in hand, and who just changed it has to wait for `next` first.
constexpr FileLock next = FileLock::Reading, change = FileLock::Writing;

/// Those who may write the file may read and write its lock file; a reader that could lock would keep them out.
mode_t LockPermissions(mode_t permissions)
{
    const mode_t writers = permissions & (S_IWGRP | S_IWOTH);
    return 0600 | writers | (writers << 1);
}

/// Gives a lock file just made the owner of the file and permissions whatever the user's mask.
void SetOwnerAndPermissions(int descriptor, const std::string& path, mode_t permissions)
{
    struct stat facts;
    if (::stat(path.c_str(), &facts) == 0) {
        permissions = facts.st_mode;
        if (::fchown(descriptor, facts.st_uid, facts.st_gid) != 0) errno = 0;  // then it is the user's own
    }
    if (::fchmod(descriptor, LockPermissions(permissions)) != 0) errno = 0;
}

Descriptor OpenLockFile(const std::string& path, mode_t permissions, TextView messagePath)
{
    const std::string name = path + ".lock";
    for (;;) {
        Descriptor made(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (made) {
            SetOwnerAndPermissions(made.Number(), path, permissions);
            return made;
        }
        if (errno != EEXIST) throw SystemFailure(errno, messagePath);
        Descriptor found(::open(name.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
        if (found) return found;
        if (errno != ENOENT) throw SystemFailure(errno, messagePath);
    }
}

bool IsNamed(int descriptor, const std::string& name)
{
    struct stat facts;
    return ::fstat(descriptor, &facts) == 0 && StillNamed(name, facts);
}

bool IsThere(const std::string& path)
{
    struct stat facts;
    return ::stat(path.c_str(), &facts) == 0;
}

}  // namespace

std::string FolderOf(const std::string& path)
{
    const std::size_t end = path.find_last_of('/');
    if (end == std::string::npos) return ".";
    return end == 0 ? "/" : path.substr(0, end);
}

std::string BehindLinks(std::string path, TextView messagePath)
{
    constexpr int longestChain = 40;
    for (int i = 0; i < longestChain; ++i) {
        char target[PATH_MAX];
        const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
        if (length < 0 && (errno == EINVAL || errno == ENOENT || errno == ENOTDIR)) return path;  // no link
        if (length < 0) throw SystemFailure(errno, messagePath);
        const std::string next(target, static_cast<std::size_t>(length));
        path = next.starts_with('/') ? next : FolderOf(path) + "/" + next;
    }
    throw SystemFailure(ELOOP, messagePath);
}

void MakeFolderOf(const std::string& path, mode_t permissions, TextView messagePath)
{
    std::vector<std::string> missing;  // from the inside out
    for (std::string folder = FolderOf(path); !IsThere(folder); folder = FolderOf(folder)) {
        if (!missing.empty() && missing.back() == folder) throw SystemFailure(ENOENT, messagePath);
        missing.push_back(folder);
    }
    for (auto folder = missing.rbegin(); folder != missing.rend(); ++folder) {
        if (::mkdir(folder->c_str(), permissions) != 0) {
            if (errno == EEXIST) continue;  // another process was faster
            throw SystemFailure(errno, messagePath);
        }
        SyncNativeFolder(FolderOf(*folder), messagePath);
    }
}

RegistryLock::RegistryLock(const std::string& path, mode_t permissions, TextView messagePath)
{
    const auto end = std::chrono::steady_clock::now() + lockPatience;
    do {
        descriptor_ = OpenLockFile(path, permissions, messagePath);
        for (const FileLock lock : {next, change}) {
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
            if (!RetryFor(rest, [&] { return TryLock(descriptor_.Number(), lock, true); }))
                throw FileError(FileFault::SharingViolation, messagePath);
        }
        Unlock(descriptor_.Number(), next);
    } while (!IsNamed(descriptor_.Number(), path + ".lock"));  // one that somebody deleted keeps nobody out
}

RegistryLock::~RegistryLock()
{
    // Closing is not enough while a child that another thread forked just now has the descriptor, too.
    try {
        Unlock(descriptor_.Number(), change);
    } catch (const FileError&) {
        return;  // then the lock ends with the descriptor
    }
}

}  // namespace vmlib::posix
