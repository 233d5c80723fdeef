#include "platform/posix/RegistryPaths.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <vector>

namespace vmlib::posix {

namespace {

std::string HomeFolder()
{
    const char* home = std::getenv("HOME");
    if (home && *home) return home;
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    while (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE)
        buffer.resize(buffer.size() * 2);
    return found && found->pw_dir ? found->pw_dir : "";
}

}  // namespace

RegistryPaths RegistryPaths::OfEnvironment()
{
    const char* configuration = std::getenv("XDG_CONFIG_HOME");
    const char* machine = std::getenv("VMLIB_MACHINE_REGISTRY");
    const bool isAbsolute = configuration && *configuration == '/';  // anything else is to be ignored
    RegistryPaths paths;
    paths.user = (isAbsolute ? std::string(configuration) : HomeFolder() + "/.config") + "/vmlib/user.reg";
    paths.machine = machine && *machine ? machine : "/etc/vmlib/machine.reg";
    std::error_code ignored;  // without a current folder a relative path stays one
    for (std::string* path : {&paths.user, &paths.machine})
        if (const auto absolute = std::filesystem::absolute(*path, ignored); !ignored) *path = absolute.string();
    return paths;
}

}  // namespace vmlib::posix
