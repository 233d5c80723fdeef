#include "platform/posix/FileLocks.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/posix/SystemFailure.h"

namespace vmlib::posix {

namespace {

constexpr off_t base = off_t{1} << 40;

constexpr ByteRange sharedByte{base, 1};
constexpr ByteRange exclusiveWriteByte{base + 1, 1};
constexpr ByteRange exclusiveReadByte{base + 2, 1};

struct HolderBytes
{
    ByteRange own;
    ByteRange conflicting;
};

HolderBytes BytesOf(Holder holder)
{
    switch (holder) {
        case Holder::Shared:
            return {sharedByte, {base + 1, 2}};
        case Holder::ExclusiveRead:
            return {exclusiveReadByte, {base, 2}};
        case Holder::Copier:
            return {sharedByte, exclusiveWriteByte};
        case Holder::ExclusiveWrite:
            break;
    }
    return {exclusiveWriteByte, {base, 3}};
}

ByteRange ByteOf(FileLock lock)
{
    return {base + 16 + static_cast<off_t>(lock), 1};
}

struct flock Request(short type, ByteRange range)
{
    struct flock request = {};
    request.l_type = type;
    request.l_whence = SEEK_SET;
    request.l_start = range.first;
    request.l_len = range.count;
    return request;
}

bool IsWritable(int descriptor)
{
    return (::fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
}

/// Announce, look, withdraw.
bool AnnounceUnlessHeld(int descriptor, ByteRange own, ByteRange conflicting)
{
    if (HeldByAnother(descriptor, conflicting)) return false;  // do not disturb others with an announcement in vain
    if (!SetLock(descriptor, F_RDLCK, own)) return false;
    if (!HeldByAnother(descriptor, conflicting)) return true;
    SetLock(descriptor, F_UNLCK, own);
    return false;
}

}  // namespace

bool SetLock(int descriptor, short type, ByteRange range)
{
    struct flock request = Request(type, range);
    while (::fcntl(descriptor, F_OFD_SETLK, &request) != 0) {
        if (errno == EAGAIN || errno == EACCES) return false;
        if (errno != EINTR) throw SystemFailure(errno == EINVAL ? ENOLCK : errno, {});
    }
    return true;
}

bool HeldByAnother(int descriptor, ByteRange range)
{
    struct flock request = Request(F_WRLCK, range);
    if (::fcntl(descriptor, F_OFD_GETLK, &request) != 0) throw SystemFailure(errno == EINVAL ? ENOLCK : errno, {});
    return request.l_type != F_UNLCK;
}

bool TryShare(int descriptor, Holder holder)
{
    const auto [own, conflicting] = BytesOf(holder);
    return AnnounceUnlessHeld(descriptor, own, conflicting);
}

void ShareFromNow(int descriptor)
{
    SetLock(descriptor, F_RDLCK, sharedByte);
    SetLock(descriptor, F_UNLCK, {base + 1, 2});
}

bool HasLocks(int descriptor)
{
    constexpr ByteRange all{0, 0};  // no count: to the end and beyond
    return HeldByAnother(descriptor, all);
}

ByteRange ByteOfPage(std::uint32_t page)
{
    constexpr off_t firstPage = base + (off_t{8} << 30);
    return {firstPage + static_cast<off_t>(page), 1};
}

bool TryLock(int descriptor, FileLock lock, bool exclusive)
{
    const ByteRange byte = ByteOf(lock);
    if (exclusive && !IsWritable(descriptor)) return AnnounceUnlessHeld(descriptor, byte, byte);
    return SetLock(descriptor, exclusive ? F_WRLCK : F_RDLCK, byte);
}

void Unlock(int descriptor, FileLock lock)
{
    SetLock(descriptor, F_UNLCK, ByteOf(lock));
}

}  // namespace vmlib::posix
