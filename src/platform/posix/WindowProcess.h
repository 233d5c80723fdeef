#pragma once

#include <optional>

#include "platform/Desktop.h"

namespace vmlib::posix {

// Windows live in a child process: what a graphics library does to its process (it ends it when the screen goes away)
// does no harm to the host, and a host with a toolkit of its own keeps it to itself. The child holds none of the host's
// files open, and ends with the host.

/// Places and shows a form, and waits for its answer; no value when there is no screen or it goes away, or when the
/// library that draws is not installed.
std::optional<std::int32_t> ShowInWindow(const Desktop::Layouter& layOut);

/// Width and height of the screen in twips.
std::optional<TwipsPoint> AskScreenTwips();

}  // namespace vmlib::posix
