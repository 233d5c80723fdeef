#pragma once

#include <memory>
#include <optional>

#include "platform/Files.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/DriveMap.h"

// The list of those who share a database: the file beside it of the same name with the extension ".ldb", which programs
// on Windows that share the database through a file server keep, and this library with them. Who is on it holds locks
// on bytes of it, most of which do not exist; servers pass such locks on to the system, in both directions.
//
//   contents                                    locks
//   0    computer, 32 bytes of code page 1252,  0x10000001 + n  user n is there; the only one that this library
//        zero filled                                            holds of those below 1 TiB
//   32   user name, likewise                    0x10000000 up   the other locks of programs on Windows, on pages
//   64   the next user, of at most 255                          and tables
//                                               1 TiB + n       user n is a process with this library
//                                               1 TiB + 256     for a moment: somebody joins or leaves
//
// The last one out deletes the file. A killed process leaves it, without locks: the next one uses it and deletes it.
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
