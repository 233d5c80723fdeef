// What PosixFiles tells about files and names without opening them.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "platform/posix/LocalTime.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/ShortNames.h"
#include "platform/posix/SystemFailure.h"

namespace vmlib::posix {

namespace {

bool IsUsable(TextView path)
{
    return !path.empty() && path.find(u'\0') == TextView::npos;
}

/// When the file was made, where the file system remembers it; else the earliest moment that it knows.
std::time_t CreationTime(const std::string& nativePath, const struct stat& facts)
{
    struct statx more;
    if (::statx(AT_FDCWD, nativePath.c_str(), 0, STATX_BTIME, &more) == 0 && (more.stx_mask & STATX_BTIME) != 0 &&
        more.stx_btime.tv_sec != 0)
        return more.stx_btime.tv_sec;
    return std::min({facts.st_mtim.tv_sec, facts.st_ctim.tv_sec, facts.st_atim.tv_sec});
}

/// The path behind all links; itself when it cannot be followed.
std::string RealPath(const std::string& nativePath)
{
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(nativePath.c_str(), nullptr), std::free);
    return real ? real.get() : nativePath;
}

}  // namespace

std::optional<FileFacts> PosixFiles::Facts(TextView path)
{
    if (!IsUsable(path)) return std::nullopt;
    const NativePath native = drives_.Resolve(path);
    struct stat facts;
    if (!native.exists || ::stat(native.path.c_str(), &facts) != 0) return std::nullopt;
    return FileFacts{static_cast<std::uint64_t>(facts.st_size), S_ISDIR(facts.st_mode), IsReadOnly(facts),
                     LocalTime(facts.st_mtim.tv_sec), IdentityOf(facts)};
}

FileProperties PosixFiles::Properties(TextView path)
{
    const NativePath native = Existing(path);
    struct stat facts;
    if (::stat(native.path.c_str(), &facts) != 0) throw SystemFailure(errno, path);
    FileProperties properties;
    properties.isReadOnly = IsReadOnly(facts);
    properties.isArchive = S_ISREG(facts.st_mode);  // nothing here tells backup programs what they have saved
    properties.isHidden = native.Name().starts_with('.');
    properties.isFolder = S_ISDIR(facts.st_mode);
    properties.isReadable = ::faccessat(AT_FDCWD, native.path.c_str(), R_OK, AT_EACCESS) == 0;
    properties.size = static_cast<std::uint64_t>(facts.st_size);
    properties.created = UniversalTime(CreationTime(native.path, facts));
    properties.modified = UniversalTime(facts.st_mtim.tv_sec);
    properties.accessed = UniversalTime(facts.st_atim.tv_sec);
    return properties;
}

std::optional<Text> PosixFiles::ShortPath(TextView path)
{
    if (!IsUsable(path) || !drives_.Resolve(path).exists) return std::nullopt;
    const bool hasDrive = path.size() >= 2 && path[1] == u':';
    Text shortPath(path.substr(0, hasDrive ? 2 : 0));
    for (std::size_t start = shortPath.size(); start < path.size();) {
        const std::size_t end = std::min(path.find_first_of(u"\\/", start), path.size());
        const TextView part = path.substr(start, end - start);
        if (part.empty() || part == u"." || part == u".." || IsShortName(part)) {
            shortPath.append(part);
        } else {
            const NativePath native = drives_.Resolve(path.substr(0, end));
            shortPath.append(ShortNameOf(native.Folder(), native.Name()).value_or(Text(part)));
        }
        if (end < path.size()) shortPath += path[end];
        start = end + 1;
    }
    return shortPath;
}

std::optional<Text> PosixFiles::NetworkName(TextView drive)
{
    if (drive.size() != 2 || drive[1] != u':') return std::nullopt;
    const std::string folder = drives_.FolderOf(drive[0]);
    if (folder.empty()) return std::nullopt;
    return mounts_.NetworkName(RealPath(folder));
}

}  // namespace vmlib::posix
