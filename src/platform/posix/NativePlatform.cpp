#include <csignal>

#include "platform/Platform.h"
#include "platform/posix/PosixDesktop.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixProcesses.h"
#include "platform/posix/PosixRegistry.h"
#include "platform/posix/PosixSystem.h"

namespace vmlib {

namespace {

/// A limit on the size of files shall be an error of the write that meets it, not the end of the process half way
/// through.
void SurviveFileSizeLimit()
{
    struct sigaction action = {};
    if (::sigaction(SIGXFSZ, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGXFSZ, &action, nullptr);
}

struct PosixPlatform
{
    PosixPlatform() { SurviveFileSizeLimit(); }

    posix::PosixFiles files;
    posix::PosixSystem system{files};
    posix::PosixProcesses processes{files};
    posix::PosixDesktop desktop{files, processes};
    posix::PosixRegistry registry{posix::RegistryPaths::OfEnvironment()};
    Platform ports{files, system, desktop, registry, processes};
};

}  // namespace

Platform& NativePlatform()
{
    // Never destroyed: objects of a host may live longer than the statics of the library.
    static auto* const platform = new PosixPlatform;
    return platform->ports;
}

}  // namespace vmlib
