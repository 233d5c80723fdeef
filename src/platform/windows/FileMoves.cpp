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

/// The access list of one file for another, as far as the user may. Its owner is who made it, as for any copy.
void CopyRights(const Text& from, const Text& to)
{
    PACL list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    auto* const name = reinterpret_cast<wchar_t*>(const_cast<char16_t*>(from.c_str()));
    if (::GetNamedSecurityInfoW(name, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list, nullptr,
                                &descriptor) != ERROR_SUCCESS)
        return;
    auto* const target = reinterpret_cast<wchar_t*>(const_cast<char16_t*>(to.c_str()));
    ::SetNamedSecurityInfoW(target, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, list, nullptr);
    ::LocalFree(descriptor);
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
        if (!path_.empty()) ::DeleteFileW(Wide(path_));
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

    bool TakeName(bool replaces)
    {
        if (replaces) CopyRights(target_, path_);
        const DWORD flags = MOVEFILE_WRITE_THROUGH | (replaces ? MOVEFILE_REPLACE_EXISTING : 0);
        if (::MoveFileExW(Wide(path_), Wide(target_), flags)) {
            path_.clear();
            return true;
        }
        const DWORD error = ::GetLastError();
        if (!replaces && (error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS)) return false;
        throw SystemFailure(error, target_);
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

std::optional<DWORD> AttributesOf(const Text& path)
{
    const DWORD attributes = ::GetFileAttributesW(Wide(path));
    if (attributes != INVALID_FILE_ATTRIBUTES) return attributes;
    const DWORD error = ::GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) return std::nullopt;
    const FileError failure = SystemFailure(error, path);
    // A drive or a server that is not there holds no file either.
    if (failure.Fault() == FileFault::PathNotFound || failure.Fault() == FileFault::NotFound) return std::nullopt;
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

bool CopyTo(const Text& from, const Text& to, bool replaces, std::chrono::milliseconds patience)
{
    const Handle source = HoldForCopy(from, patience);
    if (replaces) RequireReplaceable(to, patience);
    UnfinishedCopy copy(to);
    copy.Fill(source.Get());
    return copy.TakeName(replaces);
}

void TakeName(const Text& from, const Text& to)
{
    {
        const Handle source(::CreateFileW(Wide(from), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!source || !::FlushFileBuffers(source.Get())) throw LastFailure(from);
    }
    CopyRights(to, from);
    // ReplaceFile has a moment, and error codes, in which neither file has the name; this has none.
    if (!::MoveFileExW(Wide(from), Wide(to), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) throw LastFailure(to);
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
