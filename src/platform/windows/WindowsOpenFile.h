#pragma once

#include <array>
#include <memory>
#include <set>

#include "platform/Files.h"
#include "platform/windows/FileLocks.h"
#include "platform/windows/Handle.h"
#include "platform/windows/UserList.h"

namespace vmlib::windows {

/// Who the file behind a handle is. @throws FileError
FileIdentity IdentityOf(HANDLE file, TextView path);

/// An open file whose share mode and share byte its handle already holds.
class WindowsOpenFile : public OpenFile
{
public:
    WindowsOpenFile(Handle file, Text path, FileAccess access);
    ~WindowsOpenFile() override;

    std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) override;
    void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) override;
    std::uint64_t Size() const override;
    void Resize(std::uint64_t size) override;
    /// The names in a folder are in the journal of its file system before a handle is given out.
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

    Handle file_;
    Text path_;
    FileAccess access_;
    FileIdentity identity_;
    std::unique_ptr<UserListPlace> place_;
    std::array<LockMode, 2> held_{};       // by FileLock
    std::set<std::uint32_t> lockedPages_;  // locks of one handle are in each other's way
    bool syncFailed_ = false;
};

}  // namespace vmlib::windows
