#include "host/HostRegistry.h"

#include <utility>

#include "core/Error.h"

namespace vmlib::host {

namespace {

/// The run-time error that says to a person what a result code of the platform says to a program.
ErrorNumber NumberOf(std::int32_t result)
{
    switch (result) {
        case registryAccessDenied:
            return ErrorNumber::PathFileAccess;
        case registryDiskFull:
            return ErrorNumber::DiskFull;
        case registryBusy:
            return ErrorNumber::PermissionDenied;
        case registryDamaged:
            return ErrorNumber::InvalidFileFormat;
        case registryInvalidParameter:
        case registryBadPath:
            return ErrorNumber::InvalidCall;
        default:
            return ErrorNumber::DeviceIo;
    }
}

}  // namespace

std::int32_t HostRegistry::Remember(std::int32_t result)
{
    switch (result) {
        case registryDone:
        case registryNotFound:
        case registryNoMoreItems:
        case registryMoreData:       // asked again with more room
        case registryInvalidHandle:  // of a key that was not opened for a reason already known
            break;
        default:
            failure_ = result;
    }
    return result;
}

void HostRegistry::ThrowFailure(RegistryHandle root)
{
    const std::int32_t result = std::exchange(failure_, registryDone);
    if (result == registryDone) return;
    const auto number = static_cast<std::int32_t>(NumberOf(result));
    const bool refusesName = result == registryInvalidParameter || result == registryBadPath;
    Text detail = refusesName ? Text(u"the store takes no such name") : Describe(root);
    if (result == registryBusy) detail += u" is in use by another program";
    throw Error(number, ErrorText(number) + (detail.empty() ? Text() : u": " + detail));
}

}  // namespace vmlib::host
