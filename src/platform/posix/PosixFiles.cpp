#include "platform/posix/PosixFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <random>

#include "platform/NamePattern.h"
#include "platform/posix/FileLocks.h"
#include "platform/posix/HeldFile.h"
#include "platform/posix/LocalTime.h"
#include "platform/posix/PosixOpenFile.h"
#include "platform/posix/ScratchFolder.h"
#include "platform/posix/SystemFailure.h"
#include "platform/posix/UnfinishedCopy.h"
#include "platform/posix/UserList.h"

namespace vmlib::posix {

namespace {

constexpr mode_t newFilePermissions = 0666;  // less what the user's mask takes

[[noreturn]] void ThrowMissing(const NativePath& native, TextView path)
{
    throw FileError(native.folderExists ? FileFault::NotFound : FileFault::PathNotFound, path);
}

Holder HolderOf(const FileOpenRequest& request)
{
    if (request.sharing == FileSharing::Shared) return Holder::Shared;
    return request.access == FileAccess::ReadWrite ? Holder::ExclusiveWrite : Holder::ExclusiveRead;
}

/// Takes the sharing lock; a file that is to be emptied is held exclusively until it is.
bool ShareAndTruncate(int descriptor, const FileOpenRequest& request, bool truncate, const NativePath& native,
                      const struct stat& facts)
{
    const Holder wanted = HolderOf(request);
    if (!TryShare(descriptor, truncate ? Holder::ExclusiveWrite : wanted)) return false;
    if (!StillNamed(native.path, facts)) return false;
    if (!truncate) return true;
    if (::ftruncate(descriptor, 0) != 0) throw SystemFailure(errno, {});
    if (wanted == Holder::Shared) ShareFromNow(descriptor);
    return true;
}

void GivePermissionsOf(const NativePath& model, int descriptor)
{
    const Descriptor opened(::open(model.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (opened) CopyOwnerAndPermissions(opened.Number(), descriptor);
}

/// The file itself takes the name of another one of its volume, once its contents are on the disk.
void TakeName(const HeldFile& source, const HeldFile& replaced, TextView to)
{
    if (!IsKnownSynced(source.facts) && ::fsync(source.descriptor.Number()) != 0) throw SystemFailure(errno, to);
    CopyOwnerAndPermissions(replaced.descriptor.Number(), source.descriptor.Number());
    const NativePath target = WithoutLinks(replaced.native);
    if (::rename(source.native.path.c_str(), target.path.c_str()) != 0) throw SystemFailure(errno, to);
    SyncNativeFolder(target.Folder(), to);
}

}  // namespace

NativePath PosixFiles::Existing(TextView path) const
{
    NativePath native = drives_.Resolve(path);
    if (!native.exists) ThrowMissing(native, path);
    return native;
}

std::unique_ptr<OpenFile> PosixFiles::Open(TextView path, const FileOpenRequest& request)
{
    std::unique_ptr<OpenFile> file;
    if (!RetryFor(patience_, [&] { return (file = TryOpen(path, request)) != nullptr; }))
        throw FileError(FileFault::SharingViolation, path);
    return file;
}

/// Null when somebody is in the way or the name changed hands meanwhile: worth another try.
std::unique_ptr<OpenFile> PosixFiles::TryOpen(TextView path, const FileOpenRequest& request)
{
    const NativePath native = drives_.Resolve(path);
    if (!native.exists && (!native.folderExists || request.creation == FileCreation::OpenExisting))
        ThrowMissing(native, path);
    if (native.exists && request.creation == FileCreation::CreateNew) throw FileError(FileFault::Exists, path);

    // O_NONBLOCK: opening a pipe would wait for its other end.
    int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (request.access == FileAccess::ReadWrite ? O_RDWR : O_RDONLY);
    const bool creates = !native.exists;
    const bool truncates = native.exists && request.creation == FileCreation::CreateOrTruncate;
    if (creates) flags |= O_CREAT | O_EXCL;
    if (truncates) flags = (flags & ~O_ACCMODE) | O_RDWR;
    // Temporary files hold what is in documents, and their folder may be everybody's.
    const bool isPrivate = request.temporary || !request.permissionsOf.empty();
    Descriptor descriptor(::open(native.path.c_str(), flags, isPrivate ? 0600 : newFilePermissions));
    const bool mayMake = request.creation == FileCreation::CreateOrTruncate;
    // Made or deleted by somebody else since it was looked for.
    if (!descriptor && mayMake && errno == (creates ? EEXIST : ENOENT)) return nullptr;
    struct stat facts;
    if (!descriptor || ::fstat(descriptor.Number(), &facts) != 0) throw SystemFailure(errno, path);
    if (!S_ISREG(facts.st_mode)) throw FileError(FileFault::AccessDenied, path, "not a file");
    if (!creates && (truncates || request.access == FileAccess::ReadWrite) && IsReadOnly(facts))
        throw FileError(FileFault::AccessDenied, path, "read-only");
    if (creates && !request.permissionsOf.empty())
        GivePermissionsOf(drives_.Resolve(request.permissionsOf), descriptor.Number());

    const auto share = [&] { return ShareAndTruncate(descriptor.Number(), request, truncates, native, facts); };
    // A file that this call made must not be looked for a second time while it is there: it would now exist. Gone
    // again, it has to be made anew.
    bool shared = false;
    const auto settled = [&] {
        shared = share();
        return shared || !creates || !StillNamed(native.path, facts);
    };
    RetryFor(patience_, settled);
    if (!shared) return nullptr;
    const bool readsOnly = request.access == FileAccess::Read && request.sharing == FileSharing::Shared;
    if (!creates && !readsOnly && HasWindowsUsers(drives_, path)) return nullptr;
    auto file = std::make_unique<PosixOpenFile>(std::move(descriptor), Text(path), request.access,
                                                creates && !request.temporary ? native.Folder() : std::string(),
                                                IsScratch(native.path));
    // Into a scratch folder nobody else may come.
    if (!request.listedAs.empty() && !IsScratch(native.path))
        file->Keep(UserListPlace::Take(drives_, path, request.listedAs));
    return file;
}

void PosixFiles::Delete(TextView path)
{
    const HeldFile held = holder_.HoldForChange(path);
    if (::unlink(held.native.path.c_str()) != 0) throw SystemFailure(errno, path);
}

void PosixFiles::Rename(TextView from, TextView to)
{
    const NativePath source = Existing(from);
    const NativePath target = drives_.Resolve(to);
    if (!target.folderExists) throw FileError(FileFault::PathNotFound, to);
    const bool respells = target.exists && target.path == source.path;
    if (target.exists && !respells) throw FileError(FileFault::Exists, to);
    NativePath wanted = target;
    if (respells) wanted.path = target.Folder() + "/" + ToUtf8(FullPath(to).substr(FullPath(to).rfind(u'\\') + 1));
    if (wanted.path == source.path) return;

    struct stat facts;
    if (::stat(source.path.c_str(), &facts) != 0) throw SystemFailure(errno, from);
    std::optional<HeldFile> held;
    if (S_ISREG(facts.st_mode)) held = holder_.Hold(from, Holder::ExclusiveWrite);
    const bool isScratch = IsScratch(wanted.path);
    if (held && IsScratch(source.path) && !isScratch && ::fsync(held->descriptor.Number()) != 0)
        throw SystemFailure(errno, from);
    try {
        if (!RenameToFreeName(source.path, wanted.path, from)) throw FileError(FileFault::Exists, to);
    } catch (const FileError& error) {
        // Another file system: a complete copy there first, then the old name goes.
        struct stat folder;
        if (!held || ::stat(wanted.Folder().c_str(), &folder) != 0 || folder.st_dev == facts.st_dev) throw;
        if (!UnfinishedCopy(*held, wanted, nullptr, to).TakeFreeName()) throw FileError(FileFault::Exists, to);
        if (::unlink(source.path.c_str()) != 0) throw SystemFailure(errno, from);
    }
    if (isScratch) return;
    SyncNativeFolder(wanted.Folder(), to);
    if (source.Folder() != wanted.Folder()) SyncNativeFolder(source.Folder(), from);
}

void PosixFiles::Copy(TextView from, TextView to)
{
    const HeldFile source = holder_.HoldForCopy(from);
    for (int attempt = 0; attempt < 3; ++attempt) {
        const NativePath target = drives_.Resolve(to);
        if (!target.folderExists) throw FileError(FileFault::PathNotFound, to);
        if (target.exists) {
            const HeldFile replaced = holder_.HoldForChange(to);
            UnfinishedCopy(source, WithoutLinks(replaced.native), &replaced, to).Replace();
            return;
        }
        if (UnfinishedCopy(source, target, nullptr, to).TakeFreeName()) return;
    }
    throw FileError(FileFault::SharingViolation, to);
}

void PosixFiles::Replace(TextView from, TextView to)
{
    {
        const NativePath source = Existing(from);
        const NativePath target = drives_.Resolve(to);
        if (target.exists && WithoutLinks(source).path == WithoutLinks(target).path)
            throw FileError(FileFault::SharingViolation, to, "a file cannot replace itself");
    }
    const HeldFile source = holder_.HoldForChange(from);
    for (int attempt = 0;; ++attempt) {
        const NativePath target = drives_.Resolve(to);
        if (!target.folderExists) throw FileError(FileFault::PathNotFound, to);
        if (target.exists) {
            const HeldFile replaced = holder_.HoldForChange(to);
            if (source.facts.st_dev == replaced.facts.st_dev) return TakeName(source, replaced, to);
            UnfinishedCopy(source, WithoutLinks(replaced.native), &replaced, to).Replace();
            SyncNativeFolder(WithoutLinks(replaced.native).Folder(), to);
            break;
        }
        if (UnfinishedCopy(source, target, nullptr, to, newFilePermissions).TakeFreeName()) break;
        if (attempt == 2) throw FileError(FileFault::SharingViolation, to);
    }
    if (::unlink(source.native.path.c_str()) != 0) throw SystemFailure(errno, from);
}

std::pair<Text, std::uint16_t> PosixFiles::CreateUnique(TextView folder, TextView prefix)
{
    Text start = FullPath(folder);
    if (start.back() != u'\\') start += u'\\';
    start += prefix.substr(0, 3);
    const unsigned first = std::random_device{}();
    for (unsigned i = 0; i < 0xFFFF; ++i) {
        const auto number = static_cast<std::uint16_t>((first + i) % 0xFFFF + 1);
        char digits[8];
        std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(number));
        const Text path = start + FromUtf8(digits) + u".tmp";
        const NativePath native = drives_.Resolve(path);
        if (!native.folderExists) throw FileError(FileFault::PathNotFound, folder);
        if (native.exists) continue;
        // Working copies hold documents: nobody else may read them.
        const Descriptor made(::open(native.path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (made) return {path, number};
        if (errno != EEXIST) throw SystemFailure(errno, path);
    }
    throw FileError(FileFault::Exists, folder, "all 65,535 names are taken");
}

void PosixFiles::CreateFolder(TextView path)
{
    const NativePath native = drives_.Resolve(path);
    if (native.exists) throw FileError(FileFault::Exists, path);
    if (!native.folderExists) throw FileError(FileFault::PathNotFound, path);
    if (::mkdir(native.path.c_str(), 0777) != 0) throw SystemFailure(errno, path);
}

void PosixFiles::SetReadOnly(TextView path, bool readOnly)
{
    const NativePath native = Existing(path);
    struct stat facts;
    if (::stat(native.path.c_str(), &facts) != 0) throw SystemFailure(errno, path);
    const mode_t writeBits = S_IWUSR | S_IWGRP | S_IWOTH;
    const mode_t mode = facts.st_mode & 07777;
    if (::chmod(native.path.c_str(), readOnly ? mode & ~writeBits : mode | S_IWUSR) != 0)
        throw SystemFailure(errno, path);
}

std::vector<Text> PosixFiles::List(TextView folder, TextView pattern)
{
    const NativePath native = Existing(folder);
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(native.path.c_str()), ::closedir);
    if (!directory) throw SystemFailure(errno, folder);
    std::vector<Text> names;
    while (const dirent* entry = ::readdir(directory.get())) {
        const Text name = FromUtf8(entry->d_name);
        if (name == u"." || name == u"..") continue;
        if (MatchesPattern(name, pattern)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string PosixFiles::ToNative(TextView path)
{
    const NativePath native = drives_.Resolve(path);
    if (native.path.empty()) throw FileError(FileFault::PathNotFound, path, "no such drive");
    return native.path;
}

}  // namespace vmlib::posix
