#include "platform/windows/FileMoves.h"

#include <cstdio>
#include <random>
#include <vector>

#include "platform/Retry.h"
#include "platform/WriteBacks.h"
#include "platform/windows/FileLocks.h"
#include "platform/windows/SystemFailure.h"
#include "platform/windows/Wide.h"
#include "platform/windows/WindowsOpenFile.h"

namespace vmlib::windows {

namespace {

/// What a copy has from its source where there was no file before it.
constexpr DWORD keptAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

/// Somebody who has the target of a rename open is ERROR_ACCESS_DENIED to Windows, and so are missing rights. Rights are
/// looked at first when a file is opened, so opening it tells.
bool HasRightToDelete(const Text& path)
{
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const Handle file(
        ::CreateFileW(Wide(path), DELETE, shareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file || ::GetLastError() != ERROR_ACCESS_DENIED;
}

/// Renames, and says how that went.
DWORD MoveOnto(const Text& from, const Text& to, bool replaces, std::chrono::milliseconds patience)
{
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (replaces ? MOVEFILE_REPLACE_EXISTING : 0);
    DWORD error = ERROR_SUCCESS;
    RetryFor(patience, [&] {
        error = ::MoveFileExW(Wide(from), Wide(to), flags) ? ERROR_SUCCESS : ::GetLastError();
        if (error == ERROR_ACCESS_DENIED && replaces && HasRightToDelete(to)) error = ERROR_SHARING_VIOLATION;
        return !IsInUse(error);
    });
    return error;
}

/// A file that is deleted again unless it takes its name.
class UnfinishedCopy
{
public:
    explicit UnfinishedCopy(const Text& target) : target_(target)
    {
        std::random_device random;
        for (;;) {
            char digits[8];
            std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(random() & 0xFFFF));
            path_ = target + Text(unfinishedCopyMark) + FromUtf8(digits);
            file_ = Handle(
                ::CreateFileW(Wide(path_), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
            if (file_) return;
            if (::GetLastError() != ERROR_FILE_EXISTS) throw LastFailure(target);
        }
    }
    ~UnfinishedCopy()
    {
        file_.Close();
        if (path_.empty()) return;
        ::SetFileAttributesW(Wide(path_), FILE_ATTRIBUTE_NORMAL);
        ::DeleteFileW(Wide(path_));
    }
    UnfinishedCopy(const UnfinishedCopy&) = delete;
    UnfinishedCopy& operator=(const UnfinishedCopy&) = delete;

    void Fill(HANDLE source)
    {
        std::vector<char> buffer(std::size_t{1} << 20);
        for (;;) {
            DWORD count = 0, written = 0;
            if (!::ReadFile(source, buffer.data(), static_cast<DWORD>(buffer.size()), &count, nullptr))
                throw LastFailure(target_);
            if (count == 0) break;
            if (!::WriteFile(file_.Get(), buffer.data(), count, &written, nullptr)) throw LastFailure(target_);
            if (written != count) throw FileError(FileFault::DiskFull, target_);
        }
        if (!::FlushFileBuffers(file_.Get())) throw LastFailure(target_);
        file_.Close();
    }

    /// False when somebody else has taken a name that was free.
    bool TakeName(bool replaces, DWORD attributes, std::chrono::milliseconds patience)
    {
        if (replaces)
            CopyRights(target_, path_);
        else if (attributes & keptAttributes)
            ::SetFileAttributesW(Wide(path_), attributes & keptAttributes);
        const DWORD error = MoveOnto(path_, target_, replaces, patience);
        if (!replaces && (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS)) return false;
        if (error != ERROR_SUCCESS) throw SystemFailure(error, target_);
        path_.clear();
        return true;
    }

private:
    Text target_, path_;
    Handle file_;
};

/// The source of a copy: what this process keeps of it in memory is written, and nobody writes its pages meanwhile.
Handle HoldForCopy(const Text& path, std::chrono::milliseconds patience)
{
    Handle source;
    RetryFor(patience, [&] {
        source = Handle(::CreateFileW(Wide(path), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        return source || !IsInUse(::GetLastError());
    });
    if (!source) throw LastFailure(path);
    WriteBacks::CallFor(IdentityOf(source.Get(), path));
    LockMode held = LockMode::None;
    const auto lock = [&] { return TryLock(source.Get(), FileLock::Reading, LockMode::Shared, held); };
    if (!RetryFor(copyPatience, lock)) throw FileError(FileFault::SharingViolation, path);
    return source;
}

}  // namespace

void CopyRights(const Text& from, const Text& to)
{
    // Word for word, with what the file has inherited: these functions derive nothing anew from a folder.
    DWORD size = 0;
    constexpr SECURITY_INFORMATION all =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    ::GetFileSecurityW(Wide(from), all, nullptr, 0, &size);
    std::vector<std::uint8_t> rights(size);
    if (size == 0 || !::GetFileSecurityW(Wide(from), all, rights.data(), size, &size)) return;
    ::SetFileSecurityW(Wide(to), DACL_SECURITY_INFORMATION, rights.data());
    ::SetFileSecurityW(Wide(to), OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION, rights.data());
}

std::optional<DWORD> AttributesOf(const Text& path)
{
    const DWORD attributes = ::GetFileAttributesW(Wide(path));
    if (attributes != INVALID_FILE_ATTRIBUTES) return attributes;
    const DWORD error = ::GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return std::nullopt;
    const FileError failure = SystemFailure(error, path);
    // A drive or a server that is not there holds no file either, and there is none of a name that cannot be.
    const FileFault fault = failure.Fault();
    if (fault == FileFault::PathNotFound || fault == FileFault::NotFound || fault == FileFault::InvalidName)
        return std::nullopt;
    throw failure;
}

void RequireReplaceable(const Text& path, std::chrono::milliseconds patience)
{
    const auto attributes = AttributesOf(path);
    if (attributes && (*attributes & FILE_ATTRIBUTE_DIRECTORY))
        throw FileError(FileFault::AccessDenied, path, "not a file");
    if (attributes && (*attributes & FILE_ATTRIBUTE_READONLY))
        throw FileError(FileFault::AccessDenied, path, "read-only");
    Handle held;
    RetryFor(patience, [&] {
        held =
            Handle(::CreateFileW(Wide(path), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        return held || !IsInUse(::GetLastError());
    });
    if (!held) throw LastFailure(path);
}

bool CopyTo(const Text& from, const Text& to, Target target, std::chrono::milliseconds patience)
{
    const Handle source = HoldForCopy(from, patience);
    const bool replaces = target == Target::Replaced;
    if (replaces) RequireReplaceable(to, patience);
    UnfinishedCopy copy(to);
    copy.Fill(source.Get());
    const DWORD attributes = target == Target::LikeSource ? AttributesOf(from).value_or(0) : 0;
    return copy.TakeName(replaces, attributes, patience);
}

void TakeName(const Text& from, const Text& to, std::chrono::milliseconds patience)
{
    {
        const Handle source(::CreateFileW(Wide(from), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!source || !::FlushFileBuffers(source.Get())) throw LastFailure(from);
    }
    CopyRights(to, from);
    // ReplaceFile has a moment, and error codes, in which neither file has the name; this has none.
    const DWORD error = MoveOnto(from, to, true, patience);
    if (error != ERROR_SUCCESS) throw SystemFailure(error, to);
}

bool OnOneVolume(const Text& left, const Text& right)
{
    const auto volumeOf = [](const Text& path) {
        wchar_t volume[MAX_PATH + 1] = {};
        return ::GetVolumePathNameW(Wide(path), volume, MAX_PATH) ? FromWide(volume) : Text();
    };
    return EqualIgnoringCase(volumeOf(left), volumeOf(right));
}

}  // namespace vmlib::windows
