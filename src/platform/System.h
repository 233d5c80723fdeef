#pragma once

#include <optional>

#include "core/Text.h"
#include "core/Values.h"

namespace vmlib {

/// Facts about user and machine.
class System
{
public:
    virtual ~System() = default;

    /// The logged-on user (VMLIB_USER, else the login name of the process's user); no value when it cannot be read.
    virtual std::optional<Text> UserName() = 0;
    /// The temporary folder with a trailing "\" (TMPDIR, else /tmp), as path text; no value when there is none.
    virtual std::optional<Text> TemporaryFolder() = 0;
    /// Names of the user's locale for numbers and for dates ("nl_NL.UTF-8"): LC_ALL, else LC_NUMERIC or LC_TIME, else
    /// LANG.
    virtual Text NumberLocaleName() = 0;
    virtual Text DateLocaleName() = 0;
    virtual Date Now() = 0;  // local time
};

}  // namespace vmlib
