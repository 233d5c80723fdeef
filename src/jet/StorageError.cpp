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
        case FileFault::NotListed:
            return Error(ErrorNumber::CouldNotLockFile);
        default:
            return Error(ErrorNumber::DiskOrNetwork);
    }
}

Error UnfitText(TextView table, TextView row, TextView field)
{
    const Error plain(ErrorNumber::DataConversion);
    return Error(plain.Number(), plain.Description() + u" (table " + Text(table) + u", row " + Text(row) + u", field " +
                                     Text(field) + u": text that code page 1252 cannot hold)");
}

}  // namespace vmlib::jet
