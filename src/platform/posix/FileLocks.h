#pragma once

#include <sys/types.h>

#include "platform/Files.h"
#include "platform/Retry.h"

// Locks on open files. They are open file description locks: each open of a file is an owner of its own, in one process
// as between processes, closing another descriptor of the file takes none away, and the kernel drops them with the
// process.
//
//   byte                 held (as a read lock) by
//   1 TiB                openers that share the file, and copiers
//   1 TiB + 1            those who have it exclusively and may write
//   1 TiB + 2            those who have it exclusively for reading
//   1 TiB + 16           FileLock::Reading: read lock of readers, write lock of him who writes pages
//   1 TiB + 17           FileLock::Writing
//   1 TiB + 8 GiB + n    write lock of him who edits a row of page n
//
// Documents end far below, and what does not exist can be locked. An opener first announces itself with a read lock on
// its byte, then looks whether anybody holds a byte that conflicts, and withdraws if so. Of two that come at the same
// moment both may withdraw, never both stay; they try again. A read lock needs no writable descriptor, so the rights on
// the file do not matter: no second kind of lock is needed for read-only files.
namespace vmlib::posix {

enum class Holder
{
    Shared,
    ExclusiveWrite,
    ExclusiveRead,
    Copier  // reads the file as a whole: does not mind exclusive readers
};

/// Takes the sharing lock of a holder if nobody is in the way.
bool TryShare(int descriptor, Holder holder);
/// Gives up an exclusive hold for a shared one, without a moment in which others get in between.
void ShareFromNow(int descriptor);

struct ByteRange
{
    off_t first;
    off_t count;  // 0: all that follow
};

/// Sets a lock of the type (F_RDLCK, F_WRLCK, F_UNLCK). False when another opener holds one that is in the way.
bool SetLock(int descriptor, short type, ByteRange range);
/// True when another opener holds any lock in the range; asking needs no writable descriptor.
bool HeldByAnother(int descriptor, ByteRange range);

/// True when anybody else holds any lock on any byte of the file.
bool HasLocks(int descriptor);

/// The byte that stands for a page of a database.
ByteRange ByteOfPage(std::uint32_t page);

bool TryLock(int descriptor, FileLock lock, bool exclusive);
void Unlock(int descriptor, FileLock lock);

}  // namespace vmlib::posix
