#pragma once

#include "platform/Desktop.h"
#include "platform/Files.h"
#include "platform/Processes.h"
#include "platform/RegistryStore.h"
#include "platform/System.h"

namespace vmlib {

/// The ports that a part of the library works on; tests put their own in.
struct Platform
{
    Files& files;
    System& system;
    Desktop& desktop;
    RegistryStore& registry;
    Processes& processes;
};

/// The platform that this build was made for; lives as long as the process.
Platform& NativePlatform();

}  // namespace vmlib
