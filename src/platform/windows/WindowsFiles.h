#pragma once

#include <chrono>

#include "platform/Files.h"
#include "platform/Retry.h"

namespace vmlib::windows {

/// Files by the wide functions of Windows. Path text is what Windows takes, so both translations only change the
/// encoding, and drives are those of the system. A temporary file is as private as its folder, which on Windows is the
/// user's own.
class WindowsFiles : public Files
{
public:
    explicit WindowsFiles(std::chrono::milliseconds patience = sharingPatience) : patience_(patience) {}

    std::unique_ptr<OpenFile> Open(TextView path, const FileOpenRequest& request) override;
    std::optional<DatabaseUser> FirstUser(TextView path) override;
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
    /// The file systems of Windows write names through their journal; there is nothing to wait for.
    void SyncFolder(TextView) override {}
    void SetReadOnly(TextView path, bool readOnly) override;
    std::vector<Text> List(TextView folder, TextView pattern) override;
    Text CurrentFolder() override;
    Text CurrentFolder(char16_t driveLetter) override;
    Text FullPath(TextView path) override;
    std::string ToNative(TextView path) override { return ToUtf8(FullPath(path)); }
    Text FromNative(std::string_view nativePath) override { return FullPath(FromUtf8(nativePath)); }
    /// Drives are the system's: nothing happens.
    void MapDrive(char16_t, std::string_view) override {}

private:
    std::unique_ptr<OpenFile> TryOpen(const Text& path, const FileOpenRequest& request);

    std::chrono::milliseconds patience_;
};

}  // namespace vmlib::windows
