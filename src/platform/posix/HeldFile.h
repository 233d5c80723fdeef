#pragma once

#include <sys/stat.h>

#include "platform/posix/Descriptor.h"
#include "platform/posix/DriveMap.h"
#include "platform/posix/FileLocks.h"

namespace vmlib::posix {

/// A regular file that is there and whose sharing lock is held for as long as this lives.
struct HeldFile
{
    Descriptor descriptor;
    NativePath native;
    struct stat facts;
};

/// True when the owner's write bit is off, whoever asks.
bool IsReadOnly(const struct stat& facts);

/// True while the name still means the file that is open; a replacement or deletion may have come before the lock.
bool StillNamed(const std::string& nativePath, const struct stat& facts);

/// Takes hold of files by name, waiting `patience` for others to let go.
class FileHolder
{
public:
    FileHolder(const DriveMap& drives, std::chrono::milliseconds patience) : drives_(drives), patience_(patience) {}

    /// Opens a file for reading and takes its sharing lock.
    /// @throws FileError, SharingViolation when somebody stays in the way
    HeldFile Hold(TextView path, Holder holder) const;
    /// As Hold for an exclusive writer; a read-only file is AccessDenied.
    HeldFile HoldForChange(TextView path) const;
    /// As Hold for a copier: what this process keeps in memory of the file is written back first, and while this lives
    /// nobody writes pages of it.
    HeldFile HoldForCopy(TextView path) const;

private:
    const DriveMap& drives_;
    std::chrono::milliseconds patience_;
};

}  // namespace vmlib::posix
