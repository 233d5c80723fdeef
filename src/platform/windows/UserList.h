#pragma once

#include <memory>
#include <optional>

#include "platform/UserRecord.h"
#include "platform/windows/Handle.h"

namespace vmlib::windows {

/// A place on the list of those who share a database, for as long as this lives.
class UserListPlace
{
public:
    /// @param database  full path
    /// @throws FileError NotListed when the list cannot be made or written, or is full
    static std::unique_ptr<UserListPlace> Take(TextView database, TextView user);
    ~UserListPlace();

private:
    UserListPlace(Handle list, Text path) : list_(std::move(list)), path_(std::move(path)) {}
    void Enter(TextView database, const UserRecord& record);

    Handle list_;
    Text path_;
};

/// The first one on the list of a database; no value for nobody.
std::optional<DatabaseUser> FirstUser(TextView database);

/// True when another program for such databases shares it. Neither does it see the page locks of this library nor can
/// this library take part in its, so while it is there a file may be read, but not opened for writing. What else it may
/// not be, share modes say.
bool HasForeignUsers(TextView database);

}  // namespace vmlib::windows
