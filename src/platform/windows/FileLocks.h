#pragma once

#include "platform/Files.h"
#include "platform/windows/Api.h"

// The share mode of an opener says most of who may be there with whom. What it cannot say, that somebody who has a file
// exclusively for reading and somebody who shares it keep each other out, locks on bytes far behind the end of any file
// say; and so do the locks for moments. Of bytes that do not exist nothing has to be read past a lock.
//
//   byte          held by
//   1 TiB         openers that share the file (shared)
//   1 TiB + 2     those who have it exclusively for reading (shared)
//   1 TiB + 16    FileLock::Reading
//   1 TiB + 17    FileLock::Writing
//   1 TiB + 8 GiB + n   him who edits a row of page n
//
// Who comes announces himself, looks whether the other byte is held, and withdraws if so. Of two that come at the same
// moment both may withdraw, never both stay; they try again.
namespace vmlib::windows {

/// Announces a shared opener or an exclusive reader; false when the other kind is there.
bool TryShare(HANDLE file, bool exclusive);

enum class LockMode
{
    None,
    Shared,
    Exclusive
};

/// Takes a lock, or changes its mode; false when somebody else has it.
/// @param held  in and out: the mode that this opener has it in
bool TryLock(HANDLE file, FileLock lock, LockMode wanted, LockMode& held);

/// The byte that stands for a page of a database.
std::uint64_t ByteOfPage(std::uint32_t page);

/// A byte of the file, for a moment or for as long as the handle is open; false when somebody else has it.
bool TryLockByte(HANDLE file, std::uint64_t byte, bool exclusive);
void UnlockByte(HANDLE file, std::uint64_t byte);
/// True when another handle has any of the bytes. Asking is trying, so of two that ask at once one may see the other.
bool AreLockedByAnother(HANDLE file, std::uint64_t first, std::uint64_t count);

}  // namespace vmlib::windows
