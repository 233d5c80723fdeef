#include "platform/posix/SystemFailure.h"

#include <cerrno>
#include <system_error>

namespace vmlib::posix {

namespace {

FileFault FaultOf(int error)
{
    switch (error) {
        case ENOENT:
            return FileFault::NotFound;
        case ENOTDIR:
            return FileFault::PathNotFound;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
        case ENOTEMPTY:
            return FileFault::AccessDenied;
        case EBUSY:
        case ETXTBSY:
        case EAGAIN:
            return FileFault::SharingViolation;
        case EEXIST:
            return FileFault::Exists;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return FileFault::DiskFull;
        case ENAMETOOLONG:
        case EINVAL:
        case ELOOP:
        case EILSEQ:
            return FileFault::InvalidName;
        default:
            return FileFault::Io;
    }
}

}  // namespace

FileError SystemFailure(int error, TextView path)
{
    return FileError(FaultOf(error), path, std::generic_category().message(error));
}

}  // namespace vmlib::posix
