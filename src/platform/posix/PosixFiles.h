#pragma once

#include "platform/Files.h"
#include "platform/posix/DriveMap.h"
#include "platform/posix/HeldFile.h"
#include "platform/posix/MountTable.h"
#include "platform/posix/PosixOpenFile.h"

namespace vmlib::posix {

/// The Files port on a POSIX system.
class PosixFiles : public Files
{
public:
    /// @param patience  how long to wait for others to let go of a file
    /// @param mounts    where network names come from
    explicit PosixFiles(std::chrono::milliseconds patience = sharingPatience, MountTable mounts = MountTable())
        : patience_(patience), mounts_(std::move(mounts))
    {
    }

    std::unique_ptr<OpenFile> Open(TextView path, const FileOpenRequest& request) override;
    std::optional<DatabaseUser> FirstUser(TextView path) override { return posix::FirstUser(drives_, path); }
    std::optional<FileFacts> Facts(TextView path) override;
    FileProperties Properties(TextView path) override;
    std::optional<Text> ShortPath(TextView path) override;
    std::optional<Text> NetworkName(TextView drive) override;
    void Delete(TextView path) override;
    void Rename(TextView from, TextView to) override;
    void Copy(TextView from, TextView to) override;
    void Replace(TextView from, TextView to) override;
    std::pair<Text, std::uint16_t> CreateUnique(TextView folder, TextView prefix) override;
    void CreateFolder(TextView path) override;
    void SyncFolder(TextView path) override { SyncNativeFolder(drives_.Resolve(path).Folder(), path); }
    void SetReadOnly(TextView path, bool readOnly) override;
    std::vector<Text> List(TextView folder, TextView pattern) override;
    Text CurrentFolder() override { return drives_.CurrentFolder(); }
    Text CurrentFolder(char16_t driveLetter) override { return drives_.CurrentFolder(driveLetter); }
    Text FullPath(TextView path) override { return drives_.FullPath(path); }
    std::string ToNative(TextView path) override;
    Text FromNative(std::string_view nativePath) override { return drives_.FromNative(nativePath); }
    void MapDrive(char16_t letter, std::string_view nativeFolder) override { drives_.Map(letter, nativeFolder); }

private:
    std::unique_ptr<OpenFile> TryOpen(TextView path, const FileOpenRequest& request);
    NativePath Existing(TextView path) const;

    DriveMap drives_;
    std::chrono::milliseconds patience_;
    MountTable mounts_;
    FileHolder holder_{drives_, patience_};
};

}  // namespace vmlib::posix
