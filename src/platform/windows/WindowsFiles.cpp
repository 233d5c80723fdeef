#include "platform/windows/WindowsFiles.h"

#include <algorithm>
#include <cstdio>
#include <random>

#include "platform/NamePattern.h"
#include "platform/windows/FileMoves.h"
#include "platform/windows/SystemFailure.h"
#include "platform/windows/UserList.h"
#include "platform/windows/Wide.h"
#include "platform/windows/WindowsOpenFile.h"

namespace vmlib::windows {

namespace {

constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

DWORD ShareModeOf(const FileOpenRequest& request)
{
    if (request.sharing == FileSharing::Shared) return FILE_SHARE_READ | FILE_SHARE_WRITE;
    return request.access == FileAccess::ReadWrite ? 0 : FILE_SHARE_READ;
}

DWORD CreationOf(FileCreation creation)
{
    switch (creation) {
        case FileCreation::CreateNew:
            return CREATE_NEW;
        case FileCreation::CreateOrTruncate:
            return OPEN_ALWAYS;  // what is there is emptied once it is held
        case FileCreation::OpenExisting:
            break;
    }
    return OPEN_EXISTING;
}

/// The handle of a file or a folder that asks for nothing, so that nobody is in its way.
Handle OpenForFacts(const Text& path)
{
    return Handle(::CreateFileW(Wide(path), 0, shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

/// What share modes do not say of the others; the handle keeps what it takes.
bool MayStay(HANDLE file, const Text& path, const FileOpenRequest& request)
{
    const bool writes = request.access == FileAccess::ReadWrite;
    const bool isShared = request.sharing == FileSharing::Shared;
    if ((isShared || !writes) && !TryShare(file, !isShared)) return false;
    return !(isShared && writes && HasForeignUsers(path));
}

[[noreturn]] void ThrowOpening(DWORD error, const Text& path)
{
    const auto attributes = AttributesOf(path);
    if (attributes && (*attributes & FILE_ATTRIBUTE_DIRECTORY))
        throw FileError(FileFault::AccessDenied, path, "not a file");
    // Not every system tells a missing folder from a missing file.
    const Text folder = path.substr(0, path.rfind(u'\\') + 1);
    const bool hasNoFolder = error == ERROR_FILE_NOT_FOUND && !folder.empty() && !AttributesOf(folder);
    throw SystemFailure(hasNoFolder ? ERROR_PATH_NOT_FOUND : error, path);
}

/// By its last name, where it has short ones.
Text LongName(const Text& path)
{
    if (path.find(u'~') == Text::npos) return path;
    return TextFrom([&](wchar_t* into, DWORD size) { return ::GetLongPathNameW(Wide(path), into, size); });
}

/// With long names as far as the path exists.
Text WithLongNames(const Text& path)
{
    for (std::size_t end = path.size(); end != Text::npos && end > 0; end = path.rfind(u'\\', end - 1)) {
        const Text start = path.substr(0, end);
        if (const Text found = LongName(start); !found.empty()) return found + path.substr(end);
    }
    return path;
}

Text WithSeparator(Text folder)
{
    if (folder.empty() || folder.back() != u'\\') folder += u'\\';
    return folder;
}

}  // namespace

std::unique_ptr<OpenFile> WindowsFiles::Open(TextView path, const FileOpenRequest& request)
{
    const Text full = FullPath(path);
    std::unique_ptr<OpenFile> file;
    if (!RetryFor(patience_, [&] { return (file = TryOpen(full, request)) != nullptr; }))
        throw FileError(FileFault::SharingViolation, path);
    return file;
}

/// Null when somebody is in the way: worth another try.
std::unique_ptr<OpenFile> WindowsFiles::TryOpen(const Text& path, const FileOpenRequest& request)
{
    const bool truncates = request.creation == FileCreation::CreateOrTruncate;
    const bool writes = truncates || request.access == FileAccess::ReadWrite;
    // Emptied only when nobody else is there, then shared as asked for.
    const DWORD shareMode = truncates ? 0 : ShareModeOf(request);
    Handle file(::CreateFileW(Wide(path), writes ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ, shareMode, nullptr,
                              CreationOf(request.creation), FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD outcome = ::GetLastError();
    if (!file) {
        if (IsInUse(outcome)) return nullptr;
        ThrowOpening(outcome, path);
    }
    const bool creates = request.creation == FileCreation::CreateNew || (truncates && outcome != ERROR_ALREADY_EXISTS);
    if (creates && !request.permissionsOf.empty()) CopyRights(FullPath(request.permissionsOf), path);
    // A user who may do everything may write it, too, and shall not.
    FILE_BASIC_INFO facts = {};
    const bool isKnown = ::GetFileInformationByHandleEx(file.Get(), FileBasicInfo, &facts, sizeof facts) != 0;
    if (writes && isKnown && (facts.FileAttributes & FILE_ATTRIBUTE_READONLY))
        throw FileError(FileFault::AccessDenied, path, "read-only");
    if (truncates) {
        if (!::SetEndOfFile(file.Get())) throw LastFailure(path);
        if (ShareModeOf(request) != 0) {
            file.Close();
            FileOpenRequest again = request;
            again.creation = FileCreation::OpenExisting;
            return TryOpen(path, again);
        }
    }
    // A file that this call made must not be looked for a second time: it would now exist.
    const auto share = [&] { return MayStay(file.Get(), path, request); };
    if (creates ? !RetryFor(patience_, share) : !share()) return nullptr;

    auto opened = std::make_unique<WindowsOpenFile>(std::move(file), path, request.access);
    if (!request.listedAs.empty()) opened->Keep(UserListPlace::Take(path, request.listedAs));
    return opened;
}

std::optional<DatabaseUser> WindowsFiles::FirstUser(TextView path)
{
    return windows::FirstUser(FullPath(path));
}

std::optional<FileFacts> WindowsFiles::Facts(TextView path)
{
    if (path.empty() || path.find(u'\0') != TextView::npos) return std::nullopt;
    const Text full = FullPath(path);
    if (!AttributesOf(full)) return std::nullopt;
    const Handle file = OpenForFacts(full);
    BY_HANDLE_FILE_INFORMATION found;
    if (!file || !::GetFileInformationByHandle(file.Get(), &found)) throw LastFailure(path);
    FileFacts facts;
    facts.isFolder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    facts.isReadOnly = (found.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    facts.size = facts.isFolder ? 0 : (std::uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow;
    facts.modified = LocalDateOf(found.ftLastWriteTime);
    facts.identity = IdentityOf(file.Get(), path);
    return facts;
}

FileProperties WindowsFiles::Properties(TextView path)
{
    const Text full = FullPath(path);
    WIN32_FILE_ATTRIBUTE_DATA found;
    if (!::GetFileAttributesExW(Wide(full), GetFileExInfoStandard, &found)) throw LastFailure(path);
    const auto has = [&](DWORD attribute) { return (found.dwFileAttributes & attribute) != 0; };
    FileProperties properties;
    properties.isReadOnly = has(FILE_ATTRIBUTE_READONLY);
    properties.isArchive = has(FILE_ATTRIBUTE_ARCHIVE);
    properties.isHidden = has(FILE_ATTRIBUTE_HIDDEN);
    properties.isSystem = has(FILE_ATTRIBUTE_SYSTEM);
    properties.isFolder = has(FILE_ATTRIBUTE_DIRECTORY);
    const Handle reader(::CreateFileW(Wide(full), FILE_READ_DATA, shareAll, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    properties.isReadable = reader || ::GetLastError() != ERROR_ACCESS_DENIED;
    properties.size = properties.isFolder ? 0 : (std::uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow;
    properties.created = DateOf(found.ftCreationTime);
    properties.modified = DateOf(found.ftLastWriteTime);
    properties.accessed = DateOf(found.ftLastAccessTime);
    return properties;
}

std::optional<Text> WindowsFiles::ShortPath(TextView path)
{
    const Text given(path);
    const Text found =
        TextFrom([&](wchar_t* into, DWORD size) { return ::GetShortPathNameW(Wide(given), into, size); });
    return found.empty() ? std::nullopt : std::optional(found);
}

std::optional<Text> WindowsFiles::NetworkName(TextView drive)
{
    wchar_t name[1024];
    DWORD size = 1024;
    const Text local(drive);
    if (::WNetGetConnectionW(Wide(local), name, &size) != NO_ERROR) return std::nullopt;
    return FromWide(name);
}

void WindowsFiles::Delete(TextView path)
{
    // Not by DeleteFile: where somebody lets it, as virus scanners do, the file would keep its name until he closes it.
    const Text full = FullPath(path);
    DWORD error = ERROR_SUCCESS;
    RetryFor(patience_, [&] {
        const Handle held(::CreateFileW(Wide(full), DELETE, 0, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
        error = held ? ERROR_SUCCESS : ::GetLastError();
        return !IsInUse(error);
    });
    if (error != ERROR_SUCCESS) ThrowOpening(error, full);
}

void WindowsFiles::Rename(TextView from, TextView to)
{
    const Text source = FullPath(from), target = FullPath(to);
    DWORD error = ERROR_SUCCESS;
    RetryFor(patience_, [&] {
        const bool isDone = ::MoveFileExW(Wide(source), Wide(target), MOVEFILE_WRITE_THROUGH) != 0;
        error = isDone ? ERROR_SUCCESS : ::GetLastError();
        return !IsInUse(error);
    });
    if (error == ERROR_NOT_SAME_DEVICE) {
        if (!CopyTo(source, target, Target::LikeSource, patience_)) throw FileError(FileFault::Exists, to);
        Delete(from);
        return;
    }
    if (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS) throw FileError(FileFault::Exists, to);
    if (error != ERROR_SUCCESS) throw SystemFailure(error, AttributesOf(source) ? to : from);
}

void WindowsFiles::Copy(TextView from, TextView to)
{
    const Text source = FullPath(from), target = FullPath(to);
    for (int attempt = 0; attempt < 3; ++attempt)
        if (CopyTo(source, target, AttributesOf(target) ? Target::Replaced : Target::LikeSource, patience_)) return;
    throw FileError(FileFault::SharingViolation, to);
}

void WindowsFiles::Replace(TextView from, TextView to)
{
    const Text source = FullPath(from), target = FullPath(to);
    if (EqualIgnoringCase(source, target))
        throw FileError(FileFault::SharingViolation, to, "a file cannot replace itself");
    RequireReplaceable(source, patience_);
    for (int attempt = 0;; ++attempt) {
        const bool replaces = AttributesOf(target).has_value();
        if (replaces && OnOneVolume(source, target)) {
            RequireReplaceable(target, patience_);
            return TakeName(source, target, patience_);
        }
        if (CopyTo(source, target, replaces ? Target::Replaced : Target::New, patience_)) break;
        if (attempt == 2) throw FileError(FileFault::SharingViolation, to);
    }
    Delete(from);
}

std::pair<Text, std::uint16_t> WindowsFiles::CreateUnique(TextView folder, TextView prefix)
{
    const Text start = WithSeparator(FullPath(folder)) + Text(prefix.substr(0, 3));
    const unsigned first = std::random_device{}();
    for (unsigned i = 0; i < 0xFFFF; ++i) {
        const auto number = static_cast<std::uint16_t>((first + i) % 0xFFFF + 1);
        char digits[8];
        std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(number));
        const Text path = start + FromUtf8(digits) + u".tmp";
        const Handle made(
            ::CreateFileW(Wide(path), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (made) return {path, number};
        if (::GetLastError() != ERROR_FILE_EXISTS) throw LastFailure(path);
    }
    throw FileError(FileFault::Exists, folder, "all 65,535 names are taken");
}

void WindowsFiles::CreateFolder(TextView path)
{
    const Text full = FullPath(path);
    if (!::CreateDirectoryW(Wide(full), nullptr)) throw LastFailure(path);
}

void WindowsFiles::SetReadOnly(TextView path, bool readOnly)
{
    const Text full = FullPath(path);
    const auto attributes = AttributesOf(full);
    if (!attributes) throw FileError(FileFault::NotFound, path);
    const DWORD wanted =
        readOnly ? *attributes | FILE_ATTRIBUTE_READONLY : *attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
    if (!::SetFileAttributesW(Wide(full), wanted)) throw LastFailure(path);
}

std::vector<Text> WindowsFiles::List(TextView folder, TextView pattern)
{
    const Text all = WithSeparator(FullPath(folder)) + u"*";
    WIN32_FIND_DATAW entry;
    const HANDLE search = ::FindFirstFileW(Wide(all), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        if (::GetLastError() == ERROR_FILE_NOT_FOUND && AttributesOf(FullPath(folder))) return {};  // an empty root
        throw LastFailure(folder);
    }
    // Windows matches short names as well.
    std::vector<Text> names;
    do {
        const Text name = FromWide(entry.cFileName);
        if (name != u"." && name != u".." && MatchesPattern(name, pattern)) names.push_back(name);
    } while (::FindNextFileW(search, &entry));
    ::FindClose(search);
    std::sort(names.begin(), names.end());
    return names;
}

Text WindowsFiles::CurrentFolder()
{
    return TextFrom([](wchar_t* into, DWORD size) { return ::GetCurrentDirectoryW(size, into); });
}

Text WindowsFiles::CurrentFolder(char16_t driveLetter)
{
    const Text drive{driveLetter, u':'}, root{driveLetter, u':', u'\\'};
    if (::GetDriveTypeW(Wide(root)) == DRIVE_NO_ROOT_DIR) return {};
    return FullPath(drive);
}

Text WindowsFiles::FullPath(TextView path)
{
    if (path.empty() || path.find(u'\0') != TextView::npos) throw FileError(FileFault::InvalidName, path);
    const Text given(path);
    Text full =
        TextFrom([&](wchar_t* into, DWORD size) { return ::GetFullPathNameW(Wide(given), size, into, nullptr); });
    if (full.empty()) throw LastFailure(path);
    if (full.size() > 3 && full.back() == u'\\') full.pop_back();
    return WithLongNames(full);
}

}  // namespace vmlib::windows
