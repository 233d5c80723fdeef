#pragma once

#include <ctime>

#include "core/Values.h"

namespace vmlib::posix {

/// A moment as a date serial in the time zone of the process, whole seconds.
Date LocalTime(std::time_t moment);

/// The same in coordinated universal time.
Date UniversalTime(std::time_t moment);

}  // namespace vmlib::posix
