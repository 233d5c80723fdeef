#include "platform/windows/FileLocks.h"

#include "platform/windows/Handle.h"
#include "platform/windows/SystemFailure.h"

namespace vmlib::windows {

namespace {

constexpr std::uint64_t base = std::uint64_t{1} << 40;
constexpr std::uint64_t sharedByte = base, exclusiveReadByte = base + 2, firstMomentByte = base + 16;

std::uint64_t ByteOf(FileLock lock)
{
    return firstMomentByte + static_cast<std::uint64_t>(lock);
}

}  // namespace

bool TryLockBytes(HANDLE file, std::uint64_t first, std::uint64_t count, bool exclusive)
{
    OVERLAPPED place = PlaceAt(first);
    const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
    if (::LockFileEx(file, flags, 0, static_cast<DWORD>(count), static_cast<DWORD>(count >> 32), &place)) return true;
    const DWORD error = ::GetLastError();
    if (error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING) return false;
    throw SystemFailure(error, {});
}

bool TryLockByte(HANDLE file, std::uint64_t byte, bool exclusive)
{
    return TryLockBytes(file, byte, 1, exclusive);
}

void UnlockBytes(HANDLE file, std::uint64_t first, std::uint64_t count)
{
    OVERLAPPED place = PlaceAt(first);
    ::UnlockFileEx(file, 0, static_cast<DWORD>(count), static_cast<DWORD>(count >> 32), &place);
}

void UnlockByte(HANDLE file, std::uint64_t byte)
{
    UnlockBytes(file, byte, 1);
}

bool AreLockedByAnother(HANDLE file, std::uint64_t first, std::uint64_t count)
{
    if (!TryLockBytes(file, first, count, true)) return true;
    UnlockBytes(file, first, count);
    return false;
}

bool TryShare(HANDLE file, bool exclusive)
{
    const std::uint64_t own = exclusive ? exclusiveReadByte : sharedByte;
    const std::uint64_t other = exclusive ? sharedByte : exclusiveReadByte;
    if (!TryLockByte(file, own, false)) return false;
    if (!AreLockedByAnother(file, other, 1)) return true;
    UnlockByte(file, own);
    return false;
}

std::uint64_t ByteOfPage(std::uint32_t page)
{
    constexpr std::uint64_t firstPage = base + (std::uint64_t{8} << 30);
    return firstPage + page;
}

bool TryLock(HANDLE file, FileLock lock, LockMode wanted, LockMode& held)
{
    if (wanted == held) return true;
    const std::uint64_t byte = ByteOf(lock);
    // Locks of one handle are in each other's way, so a mode cannot be changed in one step.
    const LockMode before = held;
    if (before != LockMode::None) UnlockByte(file, byte);
    held = LockMode::None;
    if (wanted == LockMode::None) return true;
    if (TryLockByte(file, byte, wanted == LockMode::Exclusive)) {
        held = wanted;
        return true;
    }
    if (before == LockMode::None) return false;
    // Somebody came in between: who had the lock must not go on as if he had had it all the time.
    if (!TryLockByte(file, byte, before == LockMode::Exclusive)) throw FileError(FileFault::SharingViolation, {});
    held = before;
    return false;
}

}  // namespace vmlib::windows
