#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/Error.h"
#include "core/Values.h"

/// The Files port. Path text is Windows text: `\` between parts, `X:` for a drive, names matched without regard to
/// case.
namespace vmlib {

enum class FileFault
{
    NotFound,          // 53
    PathNotFound,      // 76: the folder is missing
    AccessDenied,      // 75: rights, or the read-only attribute
    SharingViolation,  // 70: somebody holds the file
    Exists,            // 58
    DiskFull,          // 61
    Io,                // 57
    InvalidName,       // 52
    NotListed,         // 75: no place on the list of those who share a database
};

/// An Error of the Files port: the run-time number above, the text followed by the path, and the kind of fault for
/// those who map it further.
class FileError : public Error
{
public:
    FileError(FileFault fault, TextView path, std::string_view detail = {});
    FileFault Fault() const { return fault_; }
    const Text& Path() const { return path_; }

private:
    FileFault fault_;
    Text path_;
};

/// Who the file is on disk, whatever its name.
struct FileIdentity
{
    std::uint64_t device = 0;
    std::uint64_t file = 0;
    auto operator<=>(const FileIdentity&) const = default;
};

enum class FileAccess
{
    Read,
    ReadWrite
};

/// What others may do while the file is open. Held by another opener, in this or another process, thread or workspace:
///
///     held               Shared   Exclusive+ReadWrite   Exclusive+Read
///     Shared             yes      no                    no
///     Exclusive, write   no       no                    no
///     Exclusive, read    no       no                    yes
///
/// A lock that a killed process held is gone with it. Users on Windows who share the file through a server are in the
/// way of all but shared reading.
enum class FileSharing
{
    Shared,
    Exclusive
};

enum class FileCreation
{
    OpenExisting,
    CreateNew,        // Exists when it is there
    CreateOrTruncate  // truncated only after its exclusive lock was got
};

struct FileOpenRequest
{
    FileAccess access = FileAccess::Read;
    FileSharing sharing = FileSharing::Shared;
    FileCreation creation = FileCreation::OpenExisting;
    // Of a file that is made:
    bool temporary = false;    // its name need not outlive a power cut, and nobody else may read it
    TextView permissionsOf{};  // it gets the owner and permissions of this file
    // Of a database that is shared: the opener stands under this name on the list beside it (NAME.ldb), which programs
    // on Windows that share it keep as well.
    TextView listedAs{};
};

/// Who shares a database, as the list beside it has him.
struct DatabaseUser
{
    Text computer;
    Text user;
};

/// Locks that openers of the same file hold for moments, besides their sharing mode. Each is a byte far behind the end
/// of any file.
enum class FileLock
{
    Reading,  // shared by those who read pages, exclusive for him who writes them
    Writing,  // exclusive: he who changes the file from his first change to his commit
};

/// An open file. The destructor closes it and gives up its locks.
class OpenFile
{
public:
    virtual ~OpenFile() = default;

    /// Reads up to the end of the file; returns the number of bytes read.
    virtual std::size_t ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) = 0;
    virtual void WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes) = 0;
    virtual std::uint64_t Size() const = 0;
    virtual void Resize(std::uint64_t size) = 0;
    /// Returns when the contents are on the disk, and the name of a file that this opener made as well. Once it has
    /// failed it fails for good: the platform may have dropped what it could not write.
    virtual void Sync() = 0;
    virtual FileIdentity Identity() const = 0;
    virtual const Text& Path() const = 0;

    /// Takes a lock; waits at most `milliseconds` for it. False when somebody else has it. Locks of one opener do not
    /// nest: a second Lock of the same kind changes its mode. A file open for reading may take an exclusive lock too:
    /// it is given when nobody else holds it, and keeps writers out, though not later readers.
    virtual bool Lock(FileLock lock, bool exclusive, int milliseconds) = 0;
    virtual void Unlock(FileLock lock) = 0;

    /// An exclusive lock on one page of a database, for as long as a user edits a row of it. As the other locks it goes
    /// with a killed process. Waits at most `milliseconds`; false when another opener has it. A platform without
    /// such locks gives them all.
    virtual bool LockPage(std::uint32_t /*page*/, int /*milliseconds*/) { return true; }
    virtual void UnlockPage(std::uint32_t /*page*/) {}
    /// True when another opener has the page locked.
    virtual bool IsPageLocked(std::uint32_t /*page*/) { return false; }

    /// `writeBack` is called before this process copies the file by name, so that pages kept in memory are included. It
    /// may use this file, but neither opens nor closes any.
    virtual void OnCopy(std::function<void()> writeBack) = 0;
};

struct FileFacts
{
    std::uint64_t size = 0;
    bool isFolder = false;
    bool isReadOnly = false;  // the owner's write bit is off
    Date modified;            // local time
    FileIdentity identity;
};

/// What a file's properties show.
struct FileProperties
{
    bool isReadOnly = false, isArchive = false, isHidden = false, isSystem = false;
    bool isFolder = false;
    bool isReadable = true;  // by this user
    std::uint64_t size = 0;
    Date created, modified, accessed;  // coordinated universal time
};

/// What Copy and Replace write beside a file before it takes its name: NAME followed by this and four hexadecimal
/// digits. One that is there while nobody works on NAME was left by an interrupted process.
inline constexpr TextView unfinishedCopyMark = u"-new-";

class Files
{
public:
    virtual ~Files() = default;

    /// @throws FileError; a sharing violation is retried for a short time first
    virtual std::unique_ptr<OpenFile> Open(TextView path, const FileOpenRequest& request) = 0;

    /// The first of those who share a database, by the list beside it; no value when nobody does.
    virtual std::optional<DatabaseUser> FirstUser(TextView) { return std::nullopt; }
    /// Nothing there: no value.
    virtual std::optional<FileFacts> Facts(TextView path) = 0;
    bool Exists(TextView path);  // a file, not a folder
    /// @throws FileError when there is nothing or it cannot be asked
    virtual FileProperties Properties(TextView path) = 0;

    /// The path with each part that is longer than eight characters, a point and three by its short name, which opens
    /// the same file; the rest as given. Nothing there: no value.
    virtual std::optional<Text> ShortPath(TextView path) = 0;
    /// The network name ("\\server\share") that a drive ("K:") stands for; no value for a local one.
    virtual std::optional<Text> NetworkName(TextView drive) = 0;

    /// Deletes a file after taking its exclusive lock, so it fails while somebody has the file open; a read-only file
    /// is AccessDenied. A power cut soon after may bring the file back: nobody loses anything by that, and a sync for
    /// each test file and journal would cost more than the rest of a change.
    virtual void Delete(TextView path) = 0;
    /// Renames without replacing: Exists when `to` is there.
    virtual void Rename(TextView from, TextView to) = 0;
    /// A plain copy under a reader's lock, over an existing file only after its exclusive lock was got; the copy is
    /// complete or not there (written beside, synced, renamed). An existing `to` keeps its permissions and owner where
    /// the user may set them.
    virtual void Copy(TextView from, TextView to) = 0;
    /// Puts the contents of `from` in place of `to` in one step and syncs it; `from` is gone then. On one volume `from`
    /// itself takes the name, with owner and permissions of `to`; else it is copied beside `to` first, and goes last.
    /// A name that was free gets the permissions of any new file, as `from` may be private.
    /// `to` is the old file or the new one at every instant. Fails while somebody has `to` open.
    virtual void Replace(TextView from, TextView to) = 0;

    /// Makes an empty file with a new name in the folder: the first three characters of the prefix, four hexadecimal
    /// digits, ".tmp". Returns path and the number (1 to 65535).
    virtual std::pair<Text, std::uint16_t> CreateUnique(TextView folder, TextView prefix) = 0;
    virtual void CreateFolder(TextView path) = 0;
    /// Returns when the names in the folder of `path` (a file) are on the disk, as after a file was made there (the
    /// first OpenFile::Sync of whoever made it does so too).
    virtual void SyncFolder(TextView path) = 0;
    virtual void SetReadOnly(TextView path, bool readOnly) = 0;
    /// Names (without folder) in a folder, files and folders, that match the pattern with * and ?, sorted; "*.*"
    /// matches all.
    virtual std::vector<Text> List(TextView folder, TextView pattern) = 0;

    virtual Text CurrentFolder() = 0;                      // without trailing "\" unless a root
    virtual Text CurrentFolder(char16_t driveLetter) = 0;  // "" when there is no such drive
    /// Full path with drive, "." and ".." resolved, and with long names for the short ones that the platform derives; the
    /// file need not exist.
    virtual Text FullPath(TextView path) = 0;

    /// The two directions of the translation, for command lines. Native paths are UTF-8 bytes of the platform.
    virtual std::string ToNative(TextView path) = 0;
    virtual Text FromNative(std::string_view nativePath) = 0;
    /// Maps a drive letter to a native folder; Z: is the root of the file system from the start.
    virtual void MapDrive(char16_t letter, std::string_view nativeFolder) = 0;
};

}  // namespace vmlib
