#include "platform/windows/UserList.h"

#include "platform/windows/FileLocks.h"
#include "platform/windows/SystemFailure.h"
#include "platform/windows/Wide.h"

namespace vmlib::windows {

namespace {

/// Nobody deletes the list while somebody has it open: the last one out can.
Handle OpenList(const Text& path, DWORD access, DWORD creation)
{
    return Handle(::CreateFileW(Wide(path), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, creation,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
}

OVERLAPPED PlaceOf(std::uint64_t user)
{
    return PlaceAt(user * std::tuple_size_v<UserRecord>);
}

Text ComputerName()
{
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    return ::GetComputerNameW(name, &length) ? FromWide(name, length) : Text();
}

bool IsThere(HANDLE list, std::uint64_t user)
{
    return AreLockedByAnother(list, listedUserBytes + user, 1);
}

}  // namespace

std::unique_ptr<UserListPlace> UserListPlace::Take(TextView database, TextView user)
{
    const Text path = UserListPath(database);
    Handle list = OpenList(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
    if (!list) throw FileError(FileFault::NotListed, database, "no .ldb can be made");
    // From here on a failure leaves as the destructor does.
    std::unique_ptr<UserListPlace> place(new UserListPlace(std::move(list), path));
    place->Enter(database, ToUserRecord({ComputerName(), Text(user)}));
    return place;
}

void UserListPlace::Enter(TextView database, const UserRecord& record)
{
    for (std::uint64_t user = 0; user < mostListedUsers; ++user) {
        // The mark comes first: a place without it is that of another program.
        if (!TryLockByte(list_.Get(), ownUserBytes + user, true)) continue;
        if (TryLockByte(list_.Get(), listedUserBytes + user, true)) {
            OVERLAPPED place = PlaceOf(user);
            DWORD count = 0;
            if (::WriteFile(list_.Get(), record.data(), static_cast<DWORD>(record.size()), &count, &place)) return;
            throw FileError(FileFault::NotListed, database, "the .ldb cannot be written");
        }
        UnlockByte(list_.Get(), ownUserBytes + user);
    }
    throw FileError(FileFault::NotListed, database, "255 users share it");
}

UserListPlace::~UserListPlace()
{
    list_.Close();
    ::DeleteFileW(Wide(path_));  // fails as long as somebody else has it open
}

std::optional<DatabaseUser> FirstUser(TextView database)
{
    const Handle list = OpenList(UserListPath(database), GENERIC_READ, OPEN_EXISTING);
    for (std::uint64_t user = 0; list && user < mostListedUsers; ++user) {
        if (!IsThere(list.Get(), user)) continue;
        UserRecord record{};
        OVERLAPPED place = PlaceOf(user);
        DWORD count = 0;
        const bool isRead =
            ::ReadFile(list.Get(), record.data(), static_cast<DWORD>(record.size()), &count, &place) != 0;
        return isRead && count == record.size() ? std::optional(FromUserRecord(record)) : std::nullopt;
    }
    return std::nullopt;
}

bool HasForeignUsers(TextView database)
{
    const Handle list = OpenList(UserListPath(database), GENERIC_READ, OPEN_EXISTING);
    if (!list) return false;
    for (std::uint64_t user = 0; user < mostListedUsers; ++user)
        if (IsThere(list.Get(), user) && !AreLockedByAnother(list.Get(), ownUserBytes + user, 1)) return true;
    constexpr std::uint64_t behind = listedUserBytes + mostListedUsers;
    return AreLockedByAnother(list.Get(), behind, ownUserBytes - behind);
}

}  // namespace vmlib::windows
