#pragma once

#include "platform/Files.h"
#include "platform/System.h"

namespace vmlib::posix {

/// User and machine by environment, user database and clock.
class PosixSystem : public System
{
public:
    explicit PosixSystem(Files& files) : files_(files) {}

    std::optional<Text> UserName() override;
    std::optional<Text> TemporaryFolder() override;
    Text NumberLocaleName() override;
    Text DateLocaleName() override;
    Date Now() override;

private:
    Files& files_;
};

}  // namespace vmlib::posix
