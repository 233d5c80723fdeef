#pragma once

#include "platform/Files.h"
#include "platform/windows/Api.h"

namespace vmlib::windows {

/// The FileError for an error code of Windows.
FileError SystemFailure(DWORD error, TextView path);
/// The same for the last one of this thread.
FileError LastFailure(TextView path);

/// True when somebody holds the file: worth another try.
bool IsInUse(DWORD error);

}  // namespace vmlib::windows
