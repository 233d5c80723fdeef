#include "platform/posix/MountTable.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <vector>

#include "platform/posix/Descriptor.h"
#include "platform/posix/DriveMap.h"

namespace vmlib::posix {

namespace {

struct Mount
{
    std::string root;  // the folder of the mounted file system that is seen
    std::string point;
    std::string type;
    std::string source;
};

/// The whole of a file that tells no size; what could be read of it. A stream of the standard library would leave its
/// descriptor to programs started meanwhile.
std::string Contents(const std::string& path)
{
    const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string contents;
    char part[4096];
    while (descriptor) {
        const ssize_t count = ::read(descriptor.Number(), part, sizeof part);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        contents.append(part, static_cast<std::size_t>(count));
    }
    return contents;
}

/// The kernel writes blanks, line ends and "\" in names as three octal digits.
std::string Unescaped(std::string_view field)
{
    const auto isOctal = [](char c) { return c >= '0' && c <= '7'; };
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size() && std::all_of(&field[i + 1], &field[i + 1] + 3, isOctal)) {
            text += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0'));
            i += 3;
        } else {
            text += field[i];
        }
    }
    return text;
}

//   36 35 98:0 / /mnt/archief rw,noatime master:1 - cifs //server/archief rw
//            root  point              any number  -  type source
std::optional<Mount> ParseLine(const std::string& line)
{
    std::istringstream input(line);
    std::vector<std::string> fields;
    for (std::string field; input >> field;) fields.push_back(std::move(field));
    const auto separator = std::find(fields.begin(), fields.end(), "-");
    if (separator - fields.begin() < 6 || fields.end() - separator < 3) return std::nullopt;
    return Mount{Unescaped(fields[3]), Unescaped(fields[4]), separator[1], Unescaped(separator[2])};
}

/// "server/share/folder" of what is mounted; "" when no file server gives it.
std::string SourceName(const Mount& mount)
{
    std::string source = mount.source;
    if (mount.type == "nfs" || mount.type == "nfs4") {
        const std::size_t colon = source.find(":/");  // behind an address in brackets too
        return colon == std::string::npos ? std::string() : source.substr(0, colon) + source.substr(colon + 1);
    }
    if (mount.type != "cifs" && mount.type != "smb3") return {};
    std::replace(source.begin(), source.end(), '\\', '/');
    if (!source.starts_with("//")) return {};
    source.erase(0, 2);
    if (mount.root == "/") return source;
    // The folder seen is told from the share on, or from a folder behind the share that the source names.
    const std::size_t share = source.find('/');
    const std::size_t behind = share == std::string::npos ? share : source.find('/', share + 1);
    const std::string folder = behind == std::string::npos ? std::string() : source.substr(behind);
    if (!folder.empty() && IsWithin(folder, mount.root)) source.erase(behind);
    return source + mount.root;
}

}  // namespace

std::optional<Text> MountTable::NetworkName(const std::string& folder) const
{
    std::istringstream table(Contents(path_));
    std::optional<Mount> nearest;
    for (std::string line; std::getline(table, line);) {
        auto mount = ParseLine(line);
        // Of several on one point the last is on top.
        if (mount && IsWithin(mount->point, folder) && (!nearest || mount->point.size() >= nearest->point.size()))
            nearest = std::move(mount);
    }
    if (!nearest) return std::nullopt;
    std::string name = SourceName(*nearest);
    if (name.empty()) return std::nullopt;
    while (name.ends_with('/')) name.pop_back();
    name += folder.substr(nearest->point == "/" ? 0 : nearest->point.size());
    while (name.ends_with('/')) name.pop_back();
    return u"\\\\" + Replaced(FromUtf8(name), u"/", u"\\");
}

}  // namespace vmlib::posix
