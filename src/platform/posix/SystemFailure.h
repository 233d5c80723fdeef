#pragma once

#include "platform/Files.h"

namespace vmlib::posix {

/// The FileError for an errno value.
FileError SystemFailure(int error, TextView path);

}  // namespace vmlib::posix
