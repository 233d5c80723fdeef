#pragma once

#include <chrono>
#include <functional>

namespace vmlib {

/// Tries until it works or the time is over, with growing random pauses. At least one try.
bool RetryFor(std::chrono::milliseconds patience, const std::function<bool()>& attempt);

/// How long an open, a delete or a copy waits for others to let go of the file.
inline constexpr std::chrono::milliseconds sharingPatience{300};
/// How long a copy waits until nobody writes pages of its source.
inline constexpr std::chrono::milliseconds copyPatience{5000};

}  // namespace vmlib
