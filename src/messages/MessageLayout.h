#pragma once

#include "messages/MessageButtons.h"
#include "platform/FormLayout.h"

namespace vmlib {

/// Positions that are no coordinates.
inline constexpr std::int32_t onScreen = -2, overOwner = -1;

struct TwipsRectangle
{
    double left = 0, top = 0, width = 0, height = 0;
};

/// Where a message form appears and how its text is aligned, as Box takes them.
struct FormPlace
{
    std::int32_t alignment = 0;
    std::int32_t horizontal = onScreen, vertical = onScreen;
    std::optional<TwipsRectangle> owner;
};

/// Places icon, text and buttons of a message form in pixels, and the window in twips.
///
///     +--------------------------------------+
///     | 12                                   |   icon at (12, 12), text from (56, 16), without icon from (12, 16)
///     |   icon  text, wrapped at two         |
///     |         thirds of the screen         |   12 at the right edge
///     |                                      |   16 below the text, or 60 where a short text stands beside an icon
///     |      [ OK ] 8 [Annuleren]            |   row in the middle, at least 12 at both sides
///     |                                   12 |
///     +--------------------------------------+
FormLayout LayOutMessage(const Message& message, const MessageButtons& buttons, const FormPlace& place,
                         Measures& measures);

}  // namespace vmlib
