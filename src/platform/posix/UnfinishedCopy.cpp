#include "platform/posix/UnfinishedCopy.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/xattr.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "platform/posix/PosixOpenFile.h"
#include "platform/posix/ScratchFolder.h"
#include "platform/posix/SystemFailure.h"

namespace vmlib::posix {

namespace {

std::string FourDigits(unsigned number)
{
    char digits[8];
    std::snprintf(digits, sizeof digits, "%04X", number & 0xFFFFu);
    return digits;
}

void WriteAll(int descriptor, const char* bytes, std::size_t count, TextView path)
{
    while (count > 0) {
        const ssize_t written = ::write(descriptor, bytes, count);
        if (written < 0 && errno != EINTR) throw SystemFailure(errno, path);
        if (written <= 0) continue;
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

/// Access lists and other extended attributes, where the file system has them.
void CopyAttributes(int from, int to)
{
    std::vector<char> names(65536), value(65536);
    const ssize_t length = ::flistxattr(from, names.data(), names.size());
    for (const char* name = names.data(); name < names.data() + std::max<ssize_t>(length, 0);
         name += std::char_traits<char>::length(name) + 1) {
        const ssize_t size = ::fgetxattr(from, name, value.data(), value.size());
        if (size < 0 || ::fsetxattr(to, name, value.data(), static_cast<std::size_t>(size), 0) != 0) continue;
    }
}

}  // namespace

/// Owner first, as a change of owner may clear permission bits; a user who may not give the file away keeps at least
/// the group.
void CopyOwnerAndPermissions(int from, int to)
{
    struct stat facts;
    if (::fstat(from, &facts) != 0) return;
    if (::fchown(to, facts.st_uid, facts.st_gid) != 0 && ::fchown(to, static_cast<uid_t>(-1), facts.st_gid) != 0)
        errno = 0;
    CopyAttributes(from, to);
    if (::fchmod(to, facts.st_mode & 07777) != 0) errno = 0;
}

UnfinishedCopy::UnfinishedCopy(const HeldFile& source, const NativePath& target, const HeldFile* replaced,
                               TextView path, std::optional<mode_t> permissions)
    : target_(target), path_(path)
{
    try {
        Create(replaced ? 0600 : permissions.value_or(source.facts.st_mode & 0777));
        CopyBytes(source.descriptor.Number());
        if (replaced) CopyOwnerAndPermissions(replaced->descriptor.Number(), descriptor_.Number());
        if (!IsScratch(target_.path) && ::fsync(descriptor_.Number()) != 0) throw SystemFailure(errno, path_);
    } catch (...) {
        if (!temporary_.empty()) ::unlink(temporary_.c_str());
        throw;
    }
}

UnfinishedCopy::~UnfinishedCopy()
{
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void UnfinishedCopy::Create(mode_t mode)
{
    std::random_device random;
    for (;;) {
        const std::string name = target_.path + ToUtf8(unfinishedCopyMark) + FourDigits(random());
        descriptor_ = Descriptor(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
        if (descriptor_) {
            temporary_ = name;
            return;
        }
        if (errno == ENOENT) throw FileError(FileFault::PathNotFound, path_);
        if (errno != EEXIST && errno != EINTR) throw SystemFailure(errno, path_);
    }
}

void UnfinishedCopy::CopyBytes(int source)
{
    std::vector<char> buffer(std::size_t{1} << 20);
    for (off_t offset = 0;;) {
        const ssize_t count = ::pread(source, buffer.data(), buffer.size(), offset);
        if (count == 0) return;
        if (count < 0 && errno != EINTR) throw SystemFailure(errno, path_);
        if (count < 0) continue;
        WriteAll(descriptor_.Number(), buffer.data(), static_cast<std::size_t>(count), path_);
        offset += count;
    }
}

void UnfinishedCopy::Replace()
{
    if (::rename(temporary_.c_str(), target_.path.c_str()) != 0) throw SystemFailure(errno, path_);
    temporary_.clear();
}

bool UnfinishedCopy::TakeFreeName()
{
    if (!RenameToFreeName(temporary_, target_.path, path_)) return false;
    temporary_.clear();
    if (!IsScratch(target_.path)) SyncNativeFolder(target_.Folder(), path_);
    return true;
}

bool RenameToFreeName(const std::string& from, const std::string& to, TextView path)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
    if (errno == EEXIST) return false;
    if (errno != EINVAL && errno != ENOSYS) throw SystemFailure(errno, path);
    // A file system without that service: a second name takes the place only when it is free.
    if (::link(from.c_str(), to.c_str()) != 0) {
        if (errno == EEXIST) return false;
        throw SystemFailure(errno, path);
    }
    if (::unlink(from.c_str()) != 0) throw SystemFailure(errno, path);
    return true;
}

NativePath WithoutLinks(NativePath path)
{
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.path.c_str(), nullptr), std::free);
    if (real) path.path = real.get();
    return path;
}

}  // namespace vmlib::posix
