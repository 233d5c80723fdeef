#pragma once

#include <cstdint>
#include <optional>

#include "core/Text.h"

namespace vmlib {

/// &H and &O numbers: up to 16 bits they are a signed Integer, above or with a "&" behind a signed Long.
struct RadixNumber
{
    std::int32_t value = 0;
    std::size_t length = 0;  // of the text that was read
};

/// The number at the start of a text; nothing when it begins otherwise or has no digit. @throws Error 6 above 32 bits
std::optional<RadixNumber> ParseRadixNumber(TextView text);

}  // namespace vmlib
