#pragma once

#include "core/Text.h"

namespace vmlib::window {

/// A line in the order in which its characters stand from left to right, with Arabic letters joined. A line without
/// characters of right-to-left scripts comes back as it is, unless the whole reads from right to left: then its
/// punctuation does.
Text InVisualOrder(TextView line, bool readsRightToLeft);

}  // namespace vmlib::window
