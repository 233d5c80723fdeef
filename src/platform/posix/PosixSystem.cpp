#include "platform/posix/PosixSystem.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "platform/posix/LocalTime.h"

namespace vmlib::posix {

namespace {

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

}  // namespace vmlib::posix
