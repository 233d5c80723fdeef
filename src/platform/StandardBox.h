#pragma once

#include "platform/FormLayout.h"
#include "platform/Message.h"

namespace vmlib {

/// The standard message box where the platform has none of its own: icon, text beside it, buttons below. In the middle
/// of the screen; Escape and Close press Cancel, or OK where it is the only button.
FormLayout LayOutStandardBox(const Message& message, Measures& measures);

}  // namespace vmlib
