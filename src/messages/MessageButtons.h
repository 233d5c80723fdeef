#pragma once

#include <array>
#include <optional>

#include "platform/Message.h"

namespace vmlib {

/// The buttons of a message form and what the keyboard and the window menu do with them.
struct MessageButtons
{
    std::vector<MessageButton> list;    // one to three, from left to right
    std::size_t focus = 0;              // has the keyboard when the form appears
    std::optional<std::size_t> cancel;  // Escape presses it
    bool canClose = true;               // the window menu has Close
    std::int32_t safeAnswer = 0;        // where nobody can answer
};

/// @param captions  the caller's: those before the first empty one are the buttons; without any the style decides
MessageButtons ButtonsOf(std::int32_t style, const std::array<TextView, 3>& captions);

}  // namespace vmlib
