#include "platform/posix/UserList.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/posix/FileLocks.h"
#include "platform/posix/HeldFile.h"

namespace vmlib::posix {

namespace {

constexpr off_t mostUsers = mostListedUsers, userBytes = listedUserBytes, ownBytes = ownUserBytes;
constexpr ByteRange gate{ownBytes + 256, 1};
constexpr std::chrono::milliseconds gatePatience{2000};  // others hold it for a few system calls

/// Empty when the list is there and cannot be opened so.
Descriptor OpenList(const std::string& path, int flags)
{
    constexpr int always = O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW;
    return Descriptor(::open(path.c_str(), flags | always, 0666));
}

NativePath ListOf(const DriveMap& drives, TextView database)
{
    return drives.Resolve(UserListPath(drives.FullPath(database)));
}

off_t PlaceOf(off_t user)
{
    return user * static_cast<off_t>(std::tuple_size_v<UserRecord>);
}

bool IsThere(int list, off_t user)
{
    return HeldByAnother(list, {userBytes + user, 1});
}

/// As Windows spells it: without the domain, in capitals.
Text ComputerName()
{
    char name[256] = {};
    ::gethostname(name, sizeof name - 1);
    const std::string_view full = name;
    return UpperCase(FromUtf8(full.substr(0, full.find('.'))));
}

/// A list that somebody else's killed process left and that this user may not write. False when it stays.
bool RemoveLeft(const std::string& path)
{
    const Descriptor list = OpenList(path, O_RDONLY);
    if (!list || !SetLock(list.Number(), F_RDLCK, gate) || HasLocks(list.Number())) return false;
    return ::unlink(path.c_str()) == 0;
}

/// The list with its gate held, made where it was missing.
Descriptor Enter(const std::string& path, TextView database)
{
    Descriptor list;
    const bool entered = RetryFor(gatePatience, [&] {
        list = OpenList(path, O_RDWR | O_CREAT);
        if (!list && errno == EACCES && RemoveLeft(path)) return false;
        struct stat facts;
        if (!list || ::fstat(list.Number(), &facts) != 0) {
            const int error = errno;
            throw FileError(FileFault::NotListed, database, error == ENOSPC ? "disk full" : "no .ldb can be made");
        }
        if (!S_ISREG(facts.st_mode)) throw FileError(FileFault::NotListed, database, "the .ldb is not a file");
        return SetLock(list.Number(), F_WRLCK, gate) && StillNamed(path, facts);
    });
    if (!entered) throw FileError(FileFault::NotListed, database, "the .ldb is held");
    return list;
}

void TakePlace(int list, TextView database, const UserRecord& record)
{
    for (off_t user = 0; user < mostUsers; ++user) {
        // The mark comes first: a place without it is that of a program on Windows.
        if (!SetLock(list, F_WRLCK, {ownBytes + user, 1})) continue;
        if (SetLock(list, F_WRLCK, {userBytes + user, 1})) {
            if (::pwrite(list, record.data(), record.size(), PlaceOf(user)) == static_cast<ssize_t>(record.size()))
                return;
            throw FileError(FileFault::NotListed, database, "the .ldb cannot be written");
        }
        SetLock(list, F_UNLCK, {ownBytes + user, 1});
    }
    throw FileError(FileFault::NotListed, database, "255 users share it");
}

}  // namespace

std::unique_ptr<UserListPlace> UserListPlace::Take(const DriveMap& drives, TextView database, TextView user)
{
    const std::string path = ListOf(drives, database).path;
    // From here on a failure leaves as the destructor does.
    std::unique_ptr<UserListPlace> place(new UserListPlace(Enter(path, database), path));
    TakePlace(place->list_.Number(), database, ToUserRecord({ComputerName(), Text(user)}));
    SetLock(place->list_.Number(), F_UNLCK, gate);
    return place;
}

UserListPlace::~UserListPlace()
{
    const int list = list_.Number();
    const auto leave = [&] {
        if (!RetryFor(gatePatience, [&] { return SetLock(list, F_WRLCK, gate); })) return;
        struct stat facts;
        if (!HasLocks(list) && ::fstat(list, &facts) == 0 && StillNamed(path_, facts)) ::unlink(path_.c_str());
    };
    try {
        leave();
    } catch (const FileError&) {
        // Left as a killed process leaves it.
    }
}

std::optional<DatabaseUser> FirstUser(const DriveMap& drives, TextView database)
{
    const Descriptor list = OpenList(ListOf(drives, database).path, O_RDONLY);
    if (!list || !HasLocks(list.Number())) return std::nullopt;
    for (off_t user = 0; user < mostUsers; ++user) {
        if (!IsThere(list.Number(), user)) continue;
        UserRecord record{};
        const ssize_t size = ::pread(list.Number(), record.data(), record.size(), PlaceOf(user));
        return size == static_cast<ssize_t>(record.size()) ? std::optional(FromUserRecord(record)) : std::nullopt;
    }
    return std::nullopt;
}

bool HasWindowsUsers(const DriveMap& drives, TextView database)
{
    const NativePath path = ListOf(drives, database);
    if (!path.exists) return false;
    const Descriptor list = OpenList(path.path, O_RDONLY);
    if (!list || !HeldByAnother(list.Number(), {0, ownBytes})) return false;
    for (off_t user = 0; user < mostUsers; ++user)
        if (IsThere(list.Number(), user) && !HeldByAnother(list.Number(), {ownBytes + user, 1})) return true;
    constexpr off_t behind = userBytes + mostUsers;
    return HeldByAnother(list.Number(), {0, userBytes}) || HeldByAnother(list.Number(), {behind, ownBytes - behind});
}

}  // namespace vmlib::posix
