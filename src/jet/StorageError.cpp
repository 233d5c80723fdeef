#include "jet/StorageError.h"

namespace vmlib::jet {

Error StorageError(const FileError& fault)
{
    switch (fault.Fault()) {
        case FileFault::DiskFull:
            return Error(ErrorNumber::EngineDiskFull);
        case FileFault::AccessDenied:
            return Error(ErrorNumber::ReadOnly);
        case FileFault::SharingViolation:
            return Error(ErrorNumber::CouldNotSaveLocked);
        default:
            return Error(ErrorNumber::DiskOrNetwork);
    }
}

}  // namespace vmlib::jet
