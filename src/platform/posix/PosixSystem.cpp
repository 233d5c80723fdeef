#include "platform/posix/PosixSystem.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <vector>

#include "platform/AnsiText.h"
#include "platform/posix/IniFile.h"
#include "platform/posix/LocalTime.h"
#include "platform/posix/RegistryPaths.h"

namespace vmlib::posix {

namespace {

constexpr std::int32_t windowsNtFamily = 2;
constexpr std::uint64_t largestProfile = 64 << 20;  // bytes; what is larger is no settings file

/// An empty variable counts as none.
std::optional<std::string> Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value && *value ? std::optional<std::string>(value) : std::nullopt;
}

std::optional<std::string> LoginName()
{
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    int error;
    while ((error = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found)) == ERANGE)
        buffer.resize(buffer.size() * 2);
    if (error != 0 || !found || !found->pw_name || !*found->pw_name) return std::nullopt;
    return std::string(found->pw_name);
}

Text LocaleName(const char* category)
{
    for (const char* name : {"LC_ALL", category, "LANG"})
        if (const auto value = Environment(name)) return FromUtf8(*value);
    return {};
}

}  // namespace

std::optional<Text> PosixSystem::UserName()
{
    auto name = Environment("VMLIB_USER");
    if (!name) name = LoginName();
    return name ? std::optional(FromUtf8(*name)) : std::nullopt;
}

std::optional<Text> PosixSystem::TemporaryFolder()
{
    try {
        Text folder = files_.FromNative(Environment("TMPDIR").value_or("/tmp"));
        if (folder.back() != u'\\') folder += u'\\';
        return folder;
    } catch (const FileError&) {
        return std::nullopt;  // a name that path text cannot say
    }
}

Text PosixSystem::NumberLocaleName()
{
    return LocaleName("LC_NUMERIC");
}

Text PosixSystem::DateLocaleName()
{
    return LocaleName("LC_TIME");
}

Date PosixSystem::Now()
{
    return LocalTime(std::time(nullptr));
}

std::optional<std::int32_t> PosixSystem::PlatformFamily()
{
    return windowsNtFamily;
}

std::optional<Text> PosixSystem::WindowsFolder()
{
    try {
        const std::filesystem::path settings = RegistryPaths::OfEnvironment().machine;
        if (settings.empty()) return std::nullopt;
        Text folder = files_.FromNative(settings.has_parent_path() ? settings.parent_path().string() : ".");
        if (folder.back() == u'\\') folder.pop_back();
        return folder;
    } catch (const FileError&) {
        return std::nullopt;  // a name that path text cannot say
    }
}

Text PosixSystem::ProfileText(TextView section, TextView key, TextView defaultText, std::size_t room, TextView file)
{
    auto value = IniValue(ProfileBytes(file), AnsiText(section), AnsiText(key));
    Text answer = value ? std::move(*value) : Text(TrimRight(AnsiText(defaultText)));
    answer.resize(std::min(answer.size(), room == 0 ? 0 : room - 1));
    return answer;
}

std::int32_t PosixSystem::ProfileNumber(TextView section, TextView key, std::int32_t defaultNumber, TextView file)
{
    const auto value = IniValue(ProfileBytes(file), AnsiText(section), AnsiText(key));
    // Of the platform's functions the one for numbers asks the one for text, which gives it no sign of an empty value.
    return value && !value->empty() ? LeadingNumber(*value) : defaultNumber;
}

std::string PosixSystem::ProfileBytes(TextView file)
{
    try {
        if (file.empty()) return {};
        Text path(file);
        if (file.find_first_of(u"\\/:") == TextView::npos) {
            const auto folder = WindowsFolder();
            if (!folder) return {};
            path = *folder + u"\\" + path;
        }
        const auto opened = files_.Open(path, {});
        const std::uint64_t size = opened->Size();
        if (size > largestProfile) return {};
        std::string bytes(static_cast<std::size_t>(size), '\0');
        bytes.resize(opened->ReadAt(0, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
        return bytes;
    } catch (const FileError&) {
        return {};  // the platform, too, answers with the default
    }
}

}  // namespace vmlib::posix
