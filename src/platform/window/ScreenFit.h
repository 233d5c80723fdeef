#pragma once

#include "platform/DrawnText.h"

namespace vmlib::window {

/// The lines that DrawText would draw, but a word that is wider than the width is broken, too: outside the screen
/// nobody could read its end.
std::vector<TextView> FittingLines(TextView text, int width, const RunWidth& widthOf);

/// The layout, made smaller where its client area is larger than `room`: the buttons stay in view at the bottom, and the
/// text ends above them. A layout that fits comes back as it is.
FormLayout FittedTo(FormLayout layout, Size room, int lineHeight, const RunWidth& widthOf);

}  // namespace vmlib::window
