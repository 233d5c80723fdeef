#pragma once

#include "platform/System.h"

namespace vmlib::windows {

/// Facts as Windows has them; VMLIB_USER takes the place of the logged-on user here, too.
class WindowsSystem : public System
{
public:
    std::optional<Text> UserName() override;
    std::optional<Text> TemporaryFolder() override;
    /// Of the language and region that the user has chosen ("nl_NL"), for numbers and dates alike.
    Text NumberLocaleName() override;
    Text DateLocaleName() override { return NumberLocaleName(); }
    Date Now() override;
    std::optional<std::int32_t> PlatformFamily() override;
    std::optional<Text> WindowsFolder() override;
    Text ProfileText(TextView section, TextView key, TextView defaultText, std::size_t room, TextView file) override;
    std::int32_t ProfileNumber(TextView section, TextView key, std::int32_t defaultNumber, TextView file) override;
};

}  // namespace vmlib::windows
