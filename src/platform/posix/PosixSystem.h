#pragma once

#include "platform/Files.h"
#include "platform/System.h"

namespace vmlib::posix {

/// User and machine by environment, user database and clock. Files and settings behave as in the family of Windows NT,
/// so that is the family; the Windows folder is the one that holds the machine's settings file.
class PosixSystem : public System
{
public:
    explicit PosixSystem(Files& files) : files_(files) {}

    std::optional<Text> UserName() override;
    std::optional<Text> TemporaryFolder() override;
    Text NumberLocaleName() override;
    Text DateLocaleName() override;
    Date Now() override;
    std::optional<std::int32_t> PlatformFamily() override;
    std::optional<Text> WindowsFolder() override;
    Text ProfileText(TextView section, TextView key, TextView defaultText, std::size_t room, TextView file) override;
    std::int32_t ProfileNumber(TextView section, TextView key, std::int32_t defaultNumber, TextView file) override;

private:
    /// The contents of a settings file; none when it is not there or cannot be read.
    std::string ProfileBytes(TextView file);

    Files& files_;
};

}  // namespace vmlib::posix
