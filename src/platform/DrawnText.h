#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "platform/FormLayout.h"

namespace vmlib {

/// Width of a run of characters on one line, in pixels; grows with the run.
using RunWidth = std::function<int(TextView run)>;

/// The lines that DrawText would draw: a line ends at CR, LF or both, and the last line end adds none. With a width, a
/// line that is wider is broken at a blank; the blanks around the break go, and a word that is wider than the width
/// stands on a line of its own, whole.
/// Views into `text`; takes a number of measurements that grows with the text, not with its square.
std::vector<TextView> DrawnLines(TextView text, std::optional<int> width, const RunWidth& widthOf);

/// As wide as the widest line, as high as the lines; no height for an empty text.
Size SizeOfLines(TextView text, std::optional<int> width, int lineHeight, const RunWidth& widthOf);

}  // namespace vmlib
