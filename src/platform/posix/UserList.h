#pragma once

#include <memory>
#include <optional>

#include "platform/UserRecord.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/DriveMap.h"

namespace vmlib::posix {

/// A place on the list, for as long as this lives.
class UserListPlace
{
public:
    /// @throws FileError NotListed when the list cannot be made or written, or is full
    static std::unique_ptr<UserListPlace> Take(const DriveMap& drives, TextView database, TextView user);
    ~UserListPlace();

private:
    UserListPlace(Descriptor list, std::string path) : list_(std::move(list)), path_(std::move(path)) {}

    Descriptor list_;
    std::string path_;
};

/// Who shares the database, the first one on its list; no value for nobody.
std::optional<DatabaseUser> FirstUser(const DriveMap& drives, TextView database);

/// True when a program on Windows that shares the database through a file server on this machine has it open.
/// Databases of one folder with one name before the extension share that list, for those programs too.
///
/// Those users do not see the page locks of this process nor can it take part in theirs, so while they are there a file
/// may be read and copied, but not opened for writing, had exclusively, replaced or deleted.
bool HasWindowsUsers(const DriveMap& drives, TextView database);

}  // namespace vmlib::posix
