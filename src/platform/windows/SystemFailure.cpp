#include "platform/windows/SystemFailure.h"

#include <cstdio>

namespace vmlib::windows {

namespace {

FileFault FaultOf(DWORD error)
{
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
            return FileFault::NotFound;
        case ERROR_PATH_NOT_FOUND:
        case ERROR_INVALID_DRIVE:
        case ERROR_NOT_READY:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_NET_NAME:
        case ERROR_DIRECTORY:
            return FileFault::PathNotFound;
        case ERROR_ACCESS_DENIED:
        case ERROR_WRITE_PROTECT:
        case ERROR_NETWORK_ACCESS_DENIED:
        case ERROR_PRIVILEGE_NOT_HELD:
            return FileFault::AccessDenied;
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
        case ERROR_USER_MAPPED_FILE:
        case ERROR_DELETE_PENDING:
            return FileFault::SharingViolation;
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS:
            return FileFault::Exists;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return FileFault::DiskFull;
        case ERROR_INVALID_NAME:
        case ERROR_BAD_PATHNAME:
        case ERROR_FILENAME_EXCED_RANGE:
            return FileFault::InvalidName;
        default:
            return FileFault::Io;
    }
}

}  // namespace

FileError SystemFailure(DWORD error, TextView path)
{
    const FileFault fault = FaultOf(error);
    if (fault != FileFault::Io) return FileError(fault, path);
    char detail[32];
    std::snprintf(detail, sizeof detail, "Windows error %lu", static_cast<unsigned long>(error));
    return FileError(fault, path, detail);
}

FileError LastFailure(TextView path)
{
    return SystemFailure(::GetLastError(), path);
}

bool IsInUse(DWORD error)
{
    return FaultOf(error) == FileFault::SharingViolation;
}

}  // namespace vmlib::windows
