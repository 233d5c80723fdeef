#pragma once

#include <string>

namespace vmlib::posix {

/// Where the two roots stand, as native paths.
struct RegistryPaths
{
    std::string user;     // $XDG_CONFIG_HOME/vmlib/user.reg, else ~/.config/vmlib/user.reg
    std::string machine;  // VMLIB_MACHINE_REGISTRY, else /etc/vmlib/machine.reg

    static RegistryPaths OfEnvironment();
};

}  // namespace vmlib::posix
