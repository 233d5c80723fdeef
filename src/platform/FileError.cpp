#include "platform/Files.h"

namespace vmlib {

namespace {

ErrorNumber NumberOf(FileFault fault)
{
    switch (fault) {
        case FileFault::NotFound:
            return ErrorNumber::FileNotFound;
        case FileFault::PathNotFound:
            return ErrorNumber::PathNotFound;
        case FileFault::AccessDenied:
        case FileFault::NotListed:
            return ErrorNumber::PathFileAccess;
        case FileFault::SharingViolation:
            return ErrorNumber::PermissionDenied;
        case FileFault::Exists:
            return ErrorNumber::FileExists;
        case FileFault::DiskFull:
            return ErrorNumber::DiskFull;
        case FileFault::Io:
            return ErrorNumber::DeviceIo;
        case FileFault::InvalidName:
            return ErrorNumber::BadFileName;
    }
    return ErrorNumber::DeviceIo;
}

Text Describe(FileFault fault, TextView path, std::string_view detail)
{
    Text text = ErrorText(static_cast<std::int32_t>(NumberOf(fault)));
    if (!path.empty()) text.append(u": ").append(path);
    if (!detail.empty()) text.append(u" (").append(FromUtf8(detail)).append(u")");
    return text;
}

}  // namespace

FileError::FileError(FileFault fault, TextView path, std::string_view detail)
    : Error(static_cast<std::int32_t>(NumberOf(fault)), Describe(fault, path, detail)), fault_(fault), path_(path)
{
}

bool Files::Exists(TextView path)
{
    const auto facts = Facts(path);
    return facts && !facts->isFolder;
}

}  // namespace vmlib
