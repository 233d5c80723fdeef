#include "platform/posix/RegistryFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "platform/posix/FileLocks.h"
#include "platform/posix/HeldFile.h"
#include "platform/posix/PosixOpenFile.h"
#include "platform/posix/RegistryLock.h"
#include "platform/posix/SystemFailure.h"
#include "platform/posix/UnfinishedCopy.h"

// How processes share a file of the registry:
//
// 1. What stands under the name is never written in place. A change is a new file that takes the name when it is whole
//    and on the disk. So readers need no lock: what they open is one version, old or new. (They do look whether an
//    editor wrote the file in place while they read it.)
// 2. Who changes the file has the lock from before it reads what it changes until the new version has the name.
// 3. Damage is never replaced: without a text there is no edit.
namespace vmlib::posix {

namespace {

constexpr std::size_t greatestSize = std::size_t{64} << 20;
constexpr int greatestAttemptCount = 20;
constexpr std::chrono::milliseconds editorPatience{1000};

/// Two changes within one tick of the file system's clock leave the same times. Ticks are milliseconds mostly, two
/// seconds at worst.
constexpr std::int64_t settledAge = 3'000'000'000;

std::int64_t Now()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

std::int64_t Nanoseconds(const timespec& time)
{
    return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

void WriteAll(int descriptor, std::string_view bytes, TextView path)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) throw SystemFailure(errno, path);
        if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// Deletes what stands under a name at the end: the file that was not wanted, or the old one that has changed places.
class Temporary
{
public:
    explicit Temporary(std::string path) : path_(std::move(path)) {}
    ~Temporary() { ::unlink(path_.c_str()); }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

private:
    std::string path_;
};

}  // namespace

RegistryFile::RegistryFile(std::string path, TextView rootName, Permissions permissions)
    : path_(std::move(path)), rootName_(rootName), messagePath_(FromUtf8(path_)), permissions_(permissions)
{
}

RegistryFile::Version RegistryFile::VersionOf(const struct stat& facts)
{
    return {true, facts.st_dev, facts.st_ino, facts.st_size, Nanoseconds(facts.st_mtim), Nanoseconds(facts.st_ctim)};
}

RegistryFile::Opened RegistryFile::Open() const
{
    // O_NONBLOCK: opening a pipe would wait for its other end.
    Opened opened{Descriptor(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)), {}};
    if (!opened.descriptor) {
        if (errno == ENOENT || errno == ENOTDIR) return opened;
        throw SystemFailure(errno, messagePath_);
    }
    struct stat facts;
    if (::fstat(opened.descriptor.Number(), &facts) != 0) throw SystemFailure(errno, messagePath_);
    if (!S_ISREG(facts.st_mode)) throw FileError(FileFault::AccessDenied, messagePath_, "not a file");
    opened.version = VersionOf(facts);
    return opened;
}

std::string RegistryFile::ReadAll(int descriptor) const
{
    std::string bytes;
    for (std::size_t size = 0;;) {
        if (size == bytes.size()) bytes.resize(std::max<std::size_t>(65536, size * 2));
        if (size > greatestSize) throw RegistryDamage(1, "the file is larger than 64 MiB");
        const ssize_t count = ::read(descriptor, bytes.data() + size, bytes.size() - size);
        if (count < 0 && errno != EINTR) throw SystemFailure(errno, messagePath_);
        if (count == 0) {
            bytes.resize(size);
            return bytes;
        }
        size += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
}

std::unique_ptr<RegistryText> RegistryFile::Parsed(std::string bytes) const
{
    auto text = std::make_unique<RegistryText>(std::move(bytes), rootName_);
    for (std::size_t i = 0; i < provided_.size(); ++i) text->Provide(provided_[i].path, provided_[i].name, i);
    return text;
}

bool RegistryFile::TryLook()
{
    const std::int64_t now = Now();
    const Opened opened = Open();
    if (text_ && isSettled_ && opened.version == version_) return true;
    std::string bytes = opened.descriptor ? ReadAll(opened.descriptor.Number()) : std::string();
    struct stat facts;
    if (opened.descriptor && (::fstat(opened.descriptor.Number(), &facts) != 0 || VersionOf(facts) != opened.version))
        return false;
    if (!text_ || text_->Source() != bytes) {
        text_.reset();  // nothing to answer from if the file is damaged
        text_ = Parsed(std::move(bytes));
    }
    version_ = opened.version;
    isSettled_ = now - std::max(version_.modified, version_.changed) > settledAge;
    return true;
}

const RegistryText& RegistryFile::Look()
{
    for (int attempt = 0; attempt < greatestAttemptCount; ++attempt)
        if (TryLook()) return *text_;
    throw FileError(FileFault::SharingViolation, messagePath_);
}

void RegistryFile::Provide(ProvidedValue value)
{
    const auto same = [&](const ProvidedValue& other) {
        return EqualIgnoringCase(other.name, value.name) && IsSamePath(other.path, value.path);
    };
    std::erase_if(provided_, same);
    provided_.push_back(std::move(value));
    text_.reset();
}

void RegistryFile::Change(const Edit& edit)
{
    if (!edit(Look())) return;  // what changes nothing needs no right to write
    const std::string target = BehindLinks(path_, messagePath_);
    CheckWritable(target);
    MakeFolderOf(target, permissions_.folder, messagePath_);
    const RegistryLock lock(target, permissions_.file, messagePath_);
    for (int attempt = 0; attempt < greatestAttemptCount; ++attempt) {
        AwaitContents();
        const auto bytes = edit(Look());
        if (!bytes || TryReplace(target, *bytes)) return;
    }
    throw FileError(FileFault::SharingViolation, messagePath_);
}

/// An editor that writes in place empties the file first. What it holds then is no registry to add to.
void RegistryFile::AwaitContents()
{
    RetryFor(editorPatience, [&] {
        Look();
        return !version_.exists || version_.size > 0;
    });
}

/// The rights on the folder decide who can replace a file; those on the file must allow it as well.
void RegistryFile::CheckWritable(const std::string& target) const
{
    struct stat facts;
    if (::stat(target.c_str(), &facts) != 0) return;
    if (IsReadOnly(facts) || ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
        throw FileError(FileFault::AccessDenied, messagePath_);
}

/// Gives the new file the name. False when an editor had changed or replaced the old one up to this moment, which then
/// keeps the name.
bool RegistryFile::TakeName(const std::string& newFile, const std::string& target, const Version& old) const
{
    if (!old.exists) return RenameToFreeName(newFile, target, messagePath_);
    // The two change places, so that what is displaced can still be looked at, and put back.
    const auto exchange = [&] {
        return ::renameat2(AT_FDCWD, newFile.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) == 0;
    };
    if (!exchange()) {
        // A file system without that service.
        if (::rename(newFile.c_str(), target.c_str()) != 0) throw SystemFailure(errno, messagePath_);
        return true;
    }
    struct stat facts;
    if (::lstat(newFile.c_str(), &facts) != 0) throw SystemFailure(errno, messagePath_);
    Version displaced = VersionOf(facts);
    displaced.changed = old.changed;  // changing places counts as a change
    if (displaced == old) return true;
    // Should the name have gone meanwhile, the editor's file still takes it: it must not end as our temporary one.
    if (!exchange() && ::rename(newFile.c_str(), target.c_str()) != 0) throw SystemFailure(errno, messagePath_);
    return false;
}

bool RegistryFile::TryReplace(const std::string& target, const std::string& bytes)
{
    if (bytes.size() > greatestSize) throw FileError(FileFault::DiskFull, messagePath_);
    const Opened old = Open();
    if (old.version != version_) return false;
    auto text = Parsed(bytes);  // nothing is written that could not be read

    const std::string name = target + ".new";
    ::unlink(name.c_str());  // of a process that was killed
    const Descriptor descriptor(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!descriptor) throw SystemFailure(errno, messagePath_);
    Temporary temporary(name);
    WriteAll(descriptor.Number(), bytes, messagePath_);
    if (old.descriptor)
        CopyOwnerAndPermissions(old.descriptor.Number(), descriptor.Number());
    else if (::fchmod(descriptor.Number(), permissions_.file) != 0)
        throw SystemFailure(errno, messagePath_);
    if (::fsync(descriptor.Number()) != 0) throw SystemFailure(errno, messagePath_);

    if (Open().version != old.version) return false;  // an editor knows nothing of the lock
    if (!TakeName(name, target, old.version)) return false;
    text_ = std::move(text);
    isSettled_ = false;
    SyncNativeFolder(FolderOf(target), messagePath_);
    return true;
}

}  // namespace vmlib::posix
