#include "platform/posix/PosixOpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <map>
#include <mutex>

#include "platform/WriteBacks.h"
#include "platform/posix/FileLocks.h"
#include "platform/posix/SystemFailure.h"

namespace vmlib::posix {

namespace {

/// Files that this process wrote and synced before it closed them, as they were then.
class SyncedFiles
{
public:
    void Note(const struct stat& facts)
    {
        const std::lock_guard lock(mutex_);
        if (states_.size() >= most) states_.clear();
        states_[IdentityOf(facts)] = StateOf(facts);
    }
    bool Holds(const struct stat& facts)
    {
        const std::lock_guard lock(mutex_);
        const auto found = states_.find(IdentityOf(facts));
        return found != states_.end() && found->second == StateOf(facts);
    }

    static SyncedFiles& OfProcess()
    {
        static SyncedFiles instance;
        return instance;
    }

private:
    using State = std::array<std::int64_t, 3>;
    static State StateOf(const struct stat& facts)
    {
        return {facts.st_size, facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec};
    }

    static constexpr std::size_t most = 64;
    std::mutex mutex_;
    std::map<FileIdentity, State> states_;
};

}  // namespace

bool IsKnownSynced(const struct stat& facts)
{
    return SyncedFiles::OfProcess().Holds(facts);
}

FileIdentity IdentityOf(const struct stat& facts)
{
    return {static_cast<std::uint64_t>(facts.st_dev), static_cast<std::uint64_t>(facts.st_ino)};
}

void SyncNativeFolder(const std::string& nativeFolder, TextView path)
{
    const Descriptor folder(::open(nativeFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // A folder that may be entered and not listed cannot be opened; file systems without this service say EINVAL.
    // Neither is a failure.
    if (!folder || ::fsync(folder.Number()) == 0) return;
    if (errno != EINVAL && errno != EROFS && errno != EBADF) throw SystemFailure(errno, path);
}

PosixOpenFile::PosixOpenFile(Descriptor descriptor, Text path, FileAccess access, std::string newIn, bool isScratch)
    : descriptor_(std::move(descriptor)),
      path_(std::move(path)),
      access_(access),
      newIn_(std::move(newIn)),
      isScratch_(isScratch)
{
    struct stat facts;
    if (::fstat(descriptor_.Number(), &facts) != 0) throw SystemFailure(errno, path_);
    identity_ = IdentityOf(facts);
}

PosixOpenFile::~PosixOpenFile()
{
    struct stat facts;
    if (written_ && !unsynced_ && ::fstat(descriptor_.Number(), &facts) == 0) SyncedFiles::OfProcess().Note(facts);
    WriteBacks::Set(*this, nullptr);
}

std::size_t PosixOpenFile::ReadAt(std::uint64_t offset, std::span<std::uint8_t> into)
{
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t count =
            ::pread(descriptor_.Number(), into.data() + done, into.size() - done, static_cast<off_t>(offset + done));
        if (count == 0) break;
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            throw SystemFailure(errno, path_);
    }
    return done;
}

void PosixOpenFile::CheckWritable() const
{
    if (access_ != FileAccess::ReadWrite) throw FileError(FileFault::AccessDenied, path_, "open for reading");
}

void PosixOpenFile::WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes)
{
    CheckWritable();
    written_ = unsynced_ = true;
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count =
            ::pwrite(descriptor_.Number(), bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
        if (count >= 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            throw SystemFailure(errno, path_);
    }
}

std::uint64_t PosixOpenFile::Size() const
{
    struct stat facts;
    if (::fstat(descriptor_.Number(), &facts) != 0) throw SystemFailure(errno, path_);
    return static_cast<std::uint64_t>(facts.st_size);
}

void PosixOpenFile::Resize(std::uint64_t size)
{
    CheckWritable();
    written_ = unsynced_ = true;
    while (::ftruncate(descriptor_.Number(), static_cast<off_t>(size)) != 0)
        if (errno != EINTR) throw SystemFailure(errno, path_);
}

void PosixOpenFile::Sync()
{
    if (syncFailed_) throw FileError(FileFault::Io, path_, "an earlier write did not reach the disk");
    if (isScratch_) return;  // and it stays unsynced: who gives it a name elsewhere must know
    if (::fdatasync(descriptor_.Number()) != 0 && errno != EINVAL) {
        syncFailed_ = true;
        throw SystemFailure(errno, path_);
    }
    unsynced_ = false;
    if (newIn_.empty()) return;
    SyncNativeFolder(newIn_, path_);
    newIn_.clear();
}

bool PosixOpenFile::Lock(FileLock lock, bool exclusive, int milliseconds)
{
    return RetryFor(std::chrono::milliseconds(milliseconds),
                    [&] { return TryLock(descriptor_.Number(), lock, exclusive); });
}

void PosixOpenFile::Unlock(FileLock lock)
{
    posix::Unlock(descriptor_.Number(), lock);
}

bool PosixOpenFile::LockPage(std::uint32_t page, int milliseconds)
{
    return RetryFor(std::chrono::milliseconds(milliseconds),
                    [&] { return SetLock(descriptor_.Number(), F_WRLCK, ByteOfPage(page)); });
}

void PosixOpenFile::UnlockPage(std::uint32_t page)
{
    SetLock(descriptor_.Number(), F_UNLCK, ByteOfPage(page));
}

bool PosixOpenFile::IsPageLocked(std::uint32_t page)
{
    return HeldByAnother(descriptor_.Number(), ByteOfPage(page));
}

void PosixOpenFile::OnCopy(std::function<void()> writeBack)
{
    WriteBacks::Set(*this, std::move(writeBack));
}

}  // namespace vmlib::posix
