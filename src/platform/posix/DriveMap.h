#pragma once

#include <map>
#include <mutex>
#include <string>

#include "core/Text.h"

namespace vmlib::posix {

/// A path found on the file system, spelled as its entries are spelled there.
struct NativePath
{
    std::string path;           // empty when the drive is not mapped
    bool folderExists = false;  // the folder that holds the last part is there
    bool exists = false;

    std::string Folder() const;
    std::string Name() const;
};

/// True for the folder itself and what is below it; both are absolute native paths.
bool IsWithin(const std::string& folder, const std::string& path);

/// The translation between Windows path text and native paths. Safe to use from several threads.
///
///     Z:\home\anna\Kas.mdb   /home/anna/kas.MDB: Z: is the root; each part matches exactly, else without
///                            regard to case, else as a short name
///     D:rapport.doc          with D: mapped to /srv/d: /srv/d/rapport.doc, or below the current folder when
///                            that is on D:
class DriveMap
{
public:
    DriveMap();

    void Map(char16_t letter, std::string_view nativeFolder);

    /// With drive, "." and ".." resolved, no "\" at the end unless a root. `/` separates as well, as on Windows. Derived
    /// short names of what is there become the long ones: what belongs to a file is named after it, and must be found
    /// by everybody who opens the file.
    /// @throws FileError InvalidName for an empty path or one with a zero character
    Text FullPath(TextView path) const;
    /// The native path; of parts that are not there the spelling given, without the blanks and points at the end that
    /// Windows ignores.
    NativePath Resolve(TextView path) const;
    /// By the drive whose folder is nearest. @throws FileError InvalidName when a name holds "\", which path text
    /// cannot say
    Text FromNative(std::string_view nativePath) const;

    Text CurrentFolder() const;
    Text CurrentFolder(char16_t driveLetter) const;
    std::string FolderOf(char16_t letter) const;  // native; "" when not mapped

private:
    Text Absolute(TextView path) const;  // the full path with its short names

    mutable std::mutex mutex_;
    std::map<char16_t, std::string> folders_;  // absolute, "/" or without "/" at the end
};

}  // namespace vmlib::posix
