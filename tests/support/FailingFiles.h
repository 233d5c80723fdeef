#pragma once

#include <map>
#include <optional>
#include <random>
#include <set>

#include "platform/Files.h"

namespace vmlib::test {

/// The steps at which a change to the disk can go wrong.
enum class Step
{
    Write,
    Resize,
    Sync,
    Create,
    Delete,
    Rename,
    Copy,
    Replace
};

enum class FaultKind
{
    Fails,     // the step does nothing and throws; later steps work again
    FailsOn,   // as Fails, and all later steps too (a full disk stays full)
    CutShort,  // half of the bytes are written, then it throws; another step than Write does nothing
    PowerCut,  // this step and everything after it throws; see AfterPowerCut
};

struct Fault
{
    int at = 0;  // the n-th step counted from 1; 0 never
    FaultKind kind = FaultKind::Fails;
    FileFault fault = FileFault::Io;
    std::set<Step> steps = {Step::Write,  Step::Resize, Step::Sync, Step::Create,
                            Step::Delete, Step::Rename, Step::Copy, Step::Replace};
};

/// A Files port over another one that fails at a chosen step and knows what a power cut would leave on the disk.
///
///     for (int n = 1;; ++n) {
///         FailingFiles files(real);
///         files.Arm({.at = n, .kind = FaultKind::PowerCut});
///         ResumeNext([&] { Save(files, path); });         // objects are destroyed, their steps fail too
///         files.AfterPowerCut(Unsynced::Lost);
///         ... what a fresh opener on `real` sees is the old state or the new ...
///         if (!files.Struck()) break;
///     }
///
/// Names (rename, copy, replace) are on the disk when the step returns, as the Files port promises, except that a file
/// made by an opener that never synced it may be gone, and that a deleted file may be back as long as nothing has
/// synced its folder. Not for use by several threads.
class FailingFiles : public Files
{
public:
    explicit FailingFiles(Files& real) : real_(real) {}

    void Arm(Fault fault);
    void Disarm() { Arm({}); }
    /// True once the fault has struck.
    bool Struck() const { return struck_; }
    /// Steps counted since Arm, of the kinds armed.
    int Count() const { return count_; }
    bool PowerIsOff() const { return powerIsOff_; }

    /// What became of bytes that were written and not synced.
    enum class Unsynced
    {
        Lost,
        Kept,
        Random,  // each write kept, lost or torn at a sector of 512 bytes
    };
    /// Puts on the disk what the power cut left; all files opened through this object must be closed. Files work again
    /// afterwards.
    void AfterPowerCut(Unsynced unsynced, unsigned seed = 1);

    std::unique_ptr<OpenFile> Open(TextView path, const FileOpenRequest& request) override;
    std::optional<DatabaseUser> FirstUser(TextView path) override { return real_.FirstUser(path); }
    std::optional<FileFacts> Facts(TextView path) override;
    FileProperties Properties(TextView path) override { return real_.Properties(path); }
    std::optional<Text> ShortPath(TextView path) override { return real_.ShortPath(path); }
    std::optional<Text> NetworkName(TextView drive) override { return real_.NetworkName(drive); }
    void Delete(TextView path) override;
    void Rename(TextView from, TextView to) override;
    void Copy(TextView from, TextView to) override;
    void Replace(TextView from, TextView to) override;
    std::pair<Text, std::uint16_t> CreateUnique(TextView folder, TextView prefix) override;
    void CreateFolder(TextView path) override;
    void SyncFolder(TextView path) override;
    void SetReadOnly(TextView path, bool readOnly) override { real_.SetReadOnly(path, readOnly); }
    std::vector<Text> List(TextView folder, TextView pattern) override { return real_.List(folder, pattern); }
    Text CurrentFolder() override { return real_.CurrentFolder(); }
    Text CurrentFolder(char16_t driveLetter) override { return real_.CurrentFolder(driveLetter); }
    Text FullPath(TextView path) override { return real_.FullPath(path); }
    std::string ToNative(TextView path) override { return real_.ToNative(path); }
    Text FromNative(std::string_view nativePath) override { return real_.FromNative(nativePath); }
    void MapDrive(char16_t letter, std::string_view folder) override { real_.MapDrive(letter, folder); }

private:
    friend class FailingOpenFile;

    /// A change that only the page cache has seen: what stood there, what stands there now.
    struct Change
    {
        std::uint64_t offset = 0;
        Bytes before;  // shorter than `after` where the file grew
        Bytes after;
        std::uint64_t sizeBefore = 0;
        std::uint64_t sizeAfter = 0;
    };
    struct Pending
    {
        bool created = false;
        std::vector<Change> changes;
    };

    /// A deletion that may not be on the disk yet.
    struct Deleted
    {
        Text path;
        Bytes contents;
        Pending pending;
    };

    /// Counts a step; true when it shall be cut short, throws when it shall fail.
    bool Pass(Step step, TextView path);
    Text Key(TextView path) { return UpperCase(real_.FullPath(path)); }
    Deleted Remember(TextView path);
    bool InFolderOf(const Text& key, TextView path);
    void DeletionsAreSynced(TextView path);  // in the folder of the path
    void PutBack(const Text& path, const Pending& pending, Unsynced unsynced, std::mt19937& random);
    void BringBack(const Deleted& deleted, Unsynced unsynced, std::mt19937& random);

    Files& real_;
    Fault fault_;
    int count_ = 0;
    bool struck_ = false;
    bool powerIsOff_ = false;
    std::map<Text, Pending> pending_;  // by full path in capitals
    std::map<Text, Deleted> deleted_;
};

}  // namespace vmlib::test
