#pragma once

#include <cstdint>
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

    /// The family of the operating system by the platform's number: 1 Windows 95, 2 Windows NT and what behaves as it
    /// does; no value when it cannot be told.
    virtual std::optional<std::int32_t> PlatformFamily() = 0;
    /// The folder of the system's own settings files, as path text without "\" at the end; no value when there is none.
    virtual std::optional<Text> WindowsFolder() = 0;

    /// One key of an INI-style file in code page 1252, by the platform's rules: sections and keys without regard to case,
    /// blanks around names and values dropped, one pair of quotes around a value too. A file without folder is looked
    /// for in the Windows folder. Nothing there: the default.
    /// @param room  characters of the answer, the closing zero included; a longer answer is cut
    virtual Text ProfileText(TextView section, TextView key, TextView defaultText, std::size_t room, TextView file) = 0;
    /// The leading whole number of the value, 0 for text without one.
    virtual std::int32_t ProfileNumber(TextView section, TextView key, std::int32_t defaultNumber, TextView file) = 0;
};

}  // namespace vmlib
