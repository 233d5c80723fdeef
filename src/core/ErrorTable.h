#pragma once

#include <cstdint>

#include "core/Text.h"

namespace vmlib {

/// The text of a number as the table has it, with its places %1, %2, %3; empty when the table does not know the number.
TextView ErrorTemplate(std::int32_t number);

}  // namespace vmlib
