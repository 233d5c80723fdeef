#pragma once

#include <string>

#include "platform/Files.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/UserList.h"

struct stat;

namespace vmlib::posix {

FileIdentity IdentityOf(const struct stat& facts);

/// Puts the entries of a folder on the disk. @throws FileError
void SyncNativeFolder(const std::string& nativeFolder, TextView path);

/// True when this process wrote the file last, and all of it was on the disk when it was closed.
bool IsKnownSynced(const struct stat& facts);

/// An open file whose sharing lock its descriptor already holds.
class PosixOpenFile : public OpenFile
{
public:
    /// @param newIn      the native folder when this opener made the file: the first Sync puts its name on the disk too
    /// @param isScratch  Sync leaves it to the system when the bytes go to the disk (ScratchFolder.h)
    PosixOpenFile(Descriptor descriptor, Text path, FileAccess access, std::string newIn, bool isScratch = false);
    ~PosixOpenFile() override;

    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override;
    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override;
    std::uint64_t Size() const override;
    void Resize(std::uint64_t size) override;
    void Sync() override;
    FileIdentity Identity() const override { return identity_; }
    const Text& Path() const override { return path_; }
    bool Lock(FileLock lock, bool exclusive, int milliseconds) override;
    void Unlock(FileLock lock) override;
    bool LockPage(std::uint32_t page, int milliseconds) override;
    void UnlockPage(std::uint32_t page) override;
    bool IsPageLocked(std::uint32_t page) override;
    void OnCopy(std::function<void()> writeBack) override;

    /// On the list of the file's users for as long as this is open.
    void Keep(std::unique_ptr<UserListPlace> place) { place_ = std::move(place); }

private:
    void CheckWritable() const;

    Descriptor descriptor_;
    Text path_;
    FileAccess access_;
    std::string newIn_;
    std::unique_ptr<UserListPlace> place_;
    FileIdentity identity_;
    bool isScratch_;
    bool written_ = false, unsynced_ = false, syncFailed_ = false;
};

}  // namespace vmlib::posix
