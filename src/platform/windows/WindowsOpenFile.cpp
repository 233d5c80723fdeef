#include "platform/windows/WindowsOpenFile.h"

#include <algorithm>

#include "platform/Retry.h"
#include "platform/WriteBacks.h"
#include "platform/windows/SystemFailure.h"

namespace vmlib::windows {

namespace {

constexpr std::size_t mostAtOnce = std::size_t{1} << 24;

DWORD Portion(std::size_t size)
{
    return static_cast<DWORD>(std::min(size, mostAtOnce));
}

}  // namespace

FileIdentity IdentityOf(HANDLE file, TextView path)
{
    BY_HANDLE_FILE_INFORMATION facts;
    if (!::GetFileInformationByHandle(file, &facts)) throw LastFailure(path);
    return {facts.dwVolumeSerialNumber, (std::uint64_t{facts.nFileIndexHigh} << 32) | facts.nFileIndexLow};
}

WindowsOpenFile::WindowsOpenFile(Handle file, Text path, FileAccess access)
    : file_(std::move(file)), path_(std::move(path)), access_(access), identity_(IdentityOf(file_.Get(), path_))
{
}

WindowsOpenFile::~WindowsOpenFile()
{
    WriteBacks::Set(*this, nullptr);
}

std::size_t WindowsOpenFile::ReadAt(std::uint64_t offset, std::span<std::uint8_t> into)
{
    std::size_t done = 0;
    while (done < into.size()) {
        OVERLAPPED place = PlaceAt(offset + done);
        DWORD count = 0;
        if (!::ReadFile(file_.Get(), into.data() + done, Portion(into.size() - done), &count, &place)) {
            if (::GetLastError() == ERROR_HANDLE_EOF) break;
            throw LastFailure(path_);
        }
        if (count == 0) break;
        done += count;
    }
    return done;
}

void WindowsOpenFile::CheckWritable() const
{
    if (access_ != FileAccess::ReadWrite) throw FileError(FileFault::AccessDenied, path_, "open for reading");
}

void WindowsOpenFile::WriteAt(std::uint64_t offset, std::span<const std::uint8_t> bytes)
{
    CheckWritable();
    std::size_t done = 0;
    while (done < bytes.size()) {
        OVERLAPPED place = PlaceAt(offset + done);
        DWORD count = 0;
        if (!::WriteFile(file_.Get(), bytes.data() + done, Portion(bytes.size() - done), &count, &place))
            throw LastFailure(path_);
        done += count;
    }
}

std::uint64_t WindowsOpenFile::Size() const
{
    LARGE_INTEGER size;
    if (!::GetFileSizeEx(file_.Get(), &size)) throw LastFailure(path_);
    return static_cast<std::uint64_t>(size.QuadPart);
}

void WindowsOpenFile::Resize(std::uint64_t size)
{
    CheckWritable();
    LARGE_INTEGER end;
    end.QuadPart = static_cast<LONGLONG>(size);
    if (!::SetFilePointerEx(file_.Get(), end, nullptr, FILE_BEGIN) || !::SetEndOfFile(file_.Get()))
        throw LastFailure(path_);
}

void WindowsOpenFile::Sync()
{
    if (syncFailed_) throw FileError(FileFault::Io, path_, "an earlier write did not reach the disk");
    if (access_ != FileAccess::ReadWrite || ::FlushFileBuffers(file_.Get())) return;
    syncFailed_ = true;
    throw LastFailure(path_);
}

bool WindowsOpenFile::Lock(FileLock lock, bool exclusive, int milliseconds)
{
    LockMode& held = held_[static_cast<std::size_t>(lock)];
    const LockMode wanted = exclusive ? LockMode::Exclusive : LockMode::Shared;
    return RetryFor(std::chrono::milliseconds(milliseconds), [&] { return TryLock(file_.Get(), lock, wanted, held); });
}

void WindowsOpenFile::Unlock(FileLock lock)
{
    TryLock(file_.Get(), lock, LockMode::None, held_[static_cast<std::size_t>(lock)]);
}

bool WindowsOpenFile::LockPage(std::uint32_t page, int milliseconds)
{
    if (lockedPages_.contains(page)) return true;
    const auto lock = [&] { return TryLockByte(file_.Get(), ByteOfPage(page), true); };
    if (!RetryFor(std::chrono::milliseconds(milliseconds), lock)) return false;
    lockedPages_.insert(page);
    return true;
}

void WindowsOpenFile::UnlockPage(std::uint32_t page)
{
    if (lockedPages_.erase(page) > 0) UnlockByte(file_.Get(), ByteOfPage(page));
}

bool WindowsOpenFile::IsPageLocked(std::uint32_t page)
{
    return !lockedPages_.contains(page) && AreLockedByAnother(file_.Get(), ByteOfPage(page), 1);
}

void WindowsOpenFile::OnCopy(std::function<void()> writeBack)
{
    WriteBacks::Set(*this, std::move(writeBack));
}

}  // namespace vmlib::windows
