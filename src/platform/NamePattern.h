#pragma once

#include "core/Text.h"

namespace vmlib {

/// Windows file name patterns: * any run, ? one character; "*.*" is everything, with or without a point.
bool MatchesPattern(TextView name, TextView pattern);

}  // namespace vmlib
