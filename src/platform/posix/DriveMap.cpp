#include "platform/posix/DriveMap.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <vector>

#include "platform/Files.h"
#include "platform/posix/ShortNames.h"

namespace vmlib::posix {

namespace {

constexpr TextView separators = u"\\/";

bool IsLetter(char16_t c)
{
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

bool HasDrive(TextView path)
{
    return path.size() >= 2 && path[1] == u':' && IsLetter(path[0]);
}

/// Splits at separators; "." parts vanish and ".." takes the part before it away.
void AppendParts(std::vector<Text>& parts, TextView path)
{
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of(separators), path.size());
        const TextView part = path.substr(0, end);
        path.remove_prefix(std::min(end + 1, path.size()));
        if (part == u"..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != u".") {
            parts.emplace_back(part);
        }
    }
}

Text Joined(const std::vector<Text>& parts)
{
    Text text;
    for (const Text& part : parts) text.append(text.empty() ? u"" : u"\\").append(part);
    return text;
}

std::string Join(const std::string& folder, const std::string& name)
{
    return folder == "/" ? folder + name : folder + "/" + name;
}

bool IsFolder(const std::string& path)
{
    struct stat facts;
    return ::stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

bool IsThere(const std::string& path)
{
    struct stat facts;
    return ::lstat(path.c_str(), &facts) == 0;
}

bool IsPlain(std::string_view name)
{
    return std::ranges::all_of(name, [](char c) { return (static_cast<unsigned char>(c) & 0x80) == 0; });
}

bool EqualPlain(std::string_view left, std::string_view right)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::ranges::equal(left, right, {}, lower, lower);
}

std::optional<std::string> FindIgnoringCase(const std::string& folder, TextView name)
{
    const std::string encoded = ToUtf8(name);
    const bool isPlain = IsPlain(encoded);
    std::optional<std::string> found;
    VisitEntries(folder, [&](std::string_view candidate) {
        // A folder may hold thousands: those in ASCII are compared without decoding them.
        const bool isSame = isPlain && IsPlain(candidate) ? EqualPlain(candidate, encoded)
                                                          : EqualIgnoringCase(FromUtf8(candidate), name);
        if (isSame && (!found || candidate < *found)) found = candidate;  // of several always the same one
    });
    return found;
}

TextView WithoutIgnoredEnd(TextView name)
{
    const std::size_t last = name.find_last_not_of(u" .");
    return last == TextView::npos ? name : name.substr(0, last + 1);
}

/// The entry of a folder that a part of a path means.
std::optional<std::string> FindEntry(const std::string& folder, TextView name)
{
    std::string exact = ToUtf8(name);
    if (IsThere(Join(folder, exact))) return exact;
    if (auto found = FindIgnoringCase(folder, name)) return found;
    if (auto found = FindByShortName(folder, name)) return found;
    const TextView shorter = WithoutIgnoredEnd(name);
    return shorter.size() < name.size() ? FindEntry(folder, shorter) : std::nullopt;
}

std::string AbsoluteNative(std::string_view path)
{
    std::error_code ignored;
    std::filesystem::path absolute(path);
    if (absolute.is_relative()) absolute = std::filesystem::current_path(ignored) / absolute;
    std::string text = absolute.lexically_normal().string();
    while (text.size() > 1 && text.back() == '/') text.pop_back();
    if (text.starts_with("//")) text.erase(0, 1);
    return text;
}

}  // namespace

bool IsWithin(const std::string& folder, const std::string& path)
{
    return folder == "/" || path == folder || path.starts_with(folder + "/");
}

std::string NativePath::Folder() const
{
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

std::string NativePath::Name() const
{
    return path.substr(path.rfind('/') + 1);
}

DriveMap::DriveMap()
{
    folders_[u'Z'] = "/";
}

void DriveMap::Map(char16_t letter, std::string_view nativeFolder)
{
    if (!IsLetter(letter)) throw FileError(FileFault::InvalidName, TextView(&letter, 1), "drives are A to Z");
    const std::lock_guard lock(mutex_);
    if (nativeFolder.empty())
        folders_.erase(UpperCase(letter));
    else
        folders_[UpperCase(letter)] = AbsoluteNative(nativeFolder);
}

std::string DriveMap::FolderOf(char16_t letter) const
{
    const std::lock_guard lock(mutex_);
    const auto found = folders_.find(UpperCase(letter));
    return found == folders_.end() ? std::string() : found->second;
}

Text DriveMap::FullPath(TextView path) const
{
    Text full = Absolute(path);
    if (full.find(u'~') == Text::npos || !HasDrive(full)) return full;
    std::vector<Text> parts;
    AppendParts(parts, TextView(full).substr(2));
    std::string folder = FolderOf(full[0]);
    for (Text& part : parts) {
        const auto entry = folder.empty() ? std::nullopt : FindEntry(folder, part);
        if (!entry) break;
        const Text name = FromUtf8(*entry);
        if (IsDerivedName(part) && name.find(u'\\') == Text::npos) part = name;
        folder = Join(folder, *entry);
    }
    return full.substr(0, 2) + u"\\" + Joined(parts);
}

Text DriveMap::Absolute(TextView path) const
{
    if (path.empty() || path.find(u'\0') != TextView::npos) throw FileError(FileFault::InvalidName, path);
    std::vector<Text> parts;
    Text root;
    const bool isNetworkName =
        path.size() >= 2 && separators.find(path[0]) != TextView::npos && separators.find(path[1]) != TextView::npos;
    if (isNetworkName) {
        root = u"\\\\";
    } else {
        const bool hasDrive = HasDrive(path);
        const char16_t drive = UpperCase(hasDrive ? path[0] : CurrentFolder()[0]);
        const TextView rest = hasDrive ? path.substr(2) : path;
        if (rest.empty() || separators.find(rest[0]) == TextView::npos)
            if (const Text folder = CurrentFolder(drive); !folder.empty())
                AppendParts(parts, TextView(folder).substr(2));
        root = Text(1, drive) + u":\\";
        path = rest;
    }
    AppendParts(parts, path);
    return root + Joined(parts);
}

NativePath DriveMap::Resolve(TextView path) const
{
    const Text full = Absolute(path);
    if (!HasDrive(full)) return {};  // a network name: no such drive here
    NativePath result;
    result.path = FolderOf(full[0]);
    if (result.path.empty()) return {};
    std::vector<Text> parts;
    AppendParts(parts, TextView(full).substr(2));

    // Mostly every part but perhaps the last is there as it is spelled: asked at once.
    bool found = true;
    result.folderExists = true;
    std::size_t first = 0;
    for (const std::size_t count : {parts.size(), parts.size() - std::min<std::size_t>(parts.size(), 1)}) {
        std::string spelled = result.path;
        for (std::size_t i = 0; i < count; ++i) spelled = Join(spelled, ToUtf8(parts[i]));
        if (count == 0 || !IsThere(spelled)) continue;
        result.path = std::move(spelled);
        first = count;
        break;
    }
    for (std::size_t i = first; i < parts.size(); ++i) {
        const Text& part = parts[i];
        const auto entry = found ? FindEntry(result.path, part) : std::nullopt;
        result.folderExists = found && (entry || IsFolder(result.path));
        found = entry.has_value();
        result.path = Join(result.path, entry ? *entry : ToUtf8(WithoutIgnoredEnd(part)));
    }
    result.exists = found;
    return result;
}

Text DriveMap::FromNative(std::string_view nativePath) const
{
    const std::string absolute = AbsoluteNative(nativePath);
    if (nativePath.empty() || absolute.find('\\') != std::string::npos || absolute.find('\0') != std::string::npos)
        throw FileError(FileFault::InvalidName, FromUtf8(nativePath));
    char16_t drive = u'Z';
    std::string folder;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [letter, candidate] : folders_)
            if (IsWithin(candidate, absolute) && candidate.size() > folder.size()) drive = letter, folder = candidate;
    }
    if (folder.empty()) throw FileError(FileFault::PathNotFound, FromUtf8(nativePath), "no drive holds it");
    std::string below = absolute.substr(folder == "/" ? 0 : folder.size());
    if (below.empty()) below = "/";
    return Text(1, drive) + u":" + Replaced(FromUtf8(below), u"/", u"\\");
}

Text DriveMap::CurrentFolder() const
{
    std::error_code error;
    const std::filesystem::path current = std::filesystem::current_path(error);
    return error ? Text(u"Z:\\") : FromNative(current.string());
}

Text DriveMap::CurrentFolder(char16_t driveLetter) const
{
    if (FolderOf(driveLetter).empty()) return {};
    const Text current = CurrentFolder();
    return current[0] == UpperCase(driveLetter) ? current : Text(1, UpperCase(driveLetter)) + u":\\";
}

}  // namespace vmlib::posix
