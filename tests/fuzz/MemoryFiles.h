#pragma once

#include <map>
#include <memory>

#include "platform/Files.h"

namespace vmlib::test {

/// A Files port whose disk is memory, for one thread. Every folder exists, nothing is ever lost, and sharing modes hold
/// as on a disk; locks are given to whoever asks.
///
///     MemoryFiles files;
///     files.Put(u"Z:\\a.mdb", bytes);    // replaces what is there
class MemoryFiles : public Files
{
public:
    void Put(TextView path, Bytes contents);
    /// No value when there is no such file.
    std::optional<Bytes> Contents(TextView path) const;

    std::unique_ptr<OpenFile> Open(TextView path, const FileOpenRequest& request) override;
    std::optional<FileFacts> Facts(TextView path) override;
    FileProperties Properties(TextView path) override { throw FileError(FileFault::NotFound, path); }
    std::optional<Text> ShortPath(TextView) override { return std::nullopt; }
    std::optional<Text> NetworkName(TextView) override { return std::nullopt; }
    void Delete(TextView path) override;
    void Rename(TextView from, TextView to) override;
    void Copy(TextView from, TextView to) override;
    void Replace(TextView from, TextView to) override;
    std::pair<Text, std::uint16_t> CreateUnique(TextView folder, TextView prefix) override;
    void CreateFolder(TextView) override {}
    void SyncFolder(TextView) override {}
    void SetReadOnly(TextView path, bool readOnly) override;
    std::vector<Text> List(TextView folder, TextView pattern) override;
    Text CurrentFolder() override { return u"Z:\\"; }
    Text CurrentFolder(char16_t) override { return u"Z:\\"; }
    Text FullPath(TextView path) override;
    std::string ToNative(TextView path) override { return ToUtf8(path); }
    Text FromNative(std::string_view nativePath) override { return FromUtf8(nativePath); }
    void MapDrive(char16_t, std::string_view) override {}

private:
    class Opened;
    struct File
    {
        Bytes contents;
        std::uint64_t number = 0;
        bool readOnly = false;
        std::vector<const Opened*> openers;
    };
    using FileRef = std::shared_ptr<File>;

    std::map<Text, FileRef>::iterator Require(TextView path);
    FileRef Unused(TextView path);
    void Move(TextView from, TextView to);

    std::map<Text, FileRef> files_;  // by full path in capitals
    std::uint64_t lastNumber_ = 0;
};

}  // namespace vmlib::test
