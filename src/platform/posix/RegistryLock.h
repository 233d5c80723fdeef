#pragma once

#include <sys/types.h>

#include <string>

#include "core/Text.h"
#include "platform/posix/Descriptor.h"

namespace vmlib::posix {

/// The folder that a native path ends in, "." when it names none.
std::string FolderOf(const std::string& path);

/// The path that a chain of links ends at, which need not be there. @throws FileError when the chain does not end
std::string BehindLinks(std::string path, TextView messagePath);

/// Makes the folders that a file needs, and puts their names on the disk. @throws FileError
void MakeFolderOf(const std::string& path, mode_t permissions, TextView messagePath);

/// The right to replace a file, of one process and thread at a time. The lock is on a file of its own beside it (NAME.lock,
/// empty, which stays), as the file itself is another one after each change. The kernel drops it with its process.
class RegistryLock
{
public:
    /// @param permissions  of the file: who may write that may lock
    /// @throws FileError, SharingViolation when another one keeps it for 10 seconds
    RegistryLock(const std::string& path, mode_t permissions, TextView messagePath);
    ~RegistryLock();
    RegistryLock(const RegistryLock&) = delete;
    RegistryLock& operator=(const RegistryLock&) = delete;

private:
    Descriptor descriptor_;
};

}  // namespace vmlib::posix
