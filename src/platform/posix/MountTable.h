#pragma once

#include <optional>
#include <string>

#include "core/Text.h"

namespace vmlib::posix {

/// What the system has mounted where, as far as it tells network names.
///
///     //server/archief on /mnt/archief (cifs)     /mnt/archief/2024 is \\server\archief\2024
///     server:/export/kas on /srv/kas (nfs4)       /srv/kas is \\server\export\kas
class MountTable
{
public:
    /// @param path  a file in the form of the kernel's mountinfo; read at each call, as mounts come and go
    explicit MountTable(std::string path = "/proc/self/mountinfo") : path_(std::move(path)) {}

    /// The network name of an absolute native folder; no value when the mount that holds it is none of a file server.
    std::optional<Text> NetworkName(const std::string& folder) const;

private:
    std::string path_;
};

}  // namespace vmlib::posix
