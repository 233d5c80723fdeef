#pragma once

#include "core/Text.h"
#include "jet/Value.h"

namespace vmlib::jet {

/// A field of a system table's row in a damaged file; 0 and "" where it has none.
inline std::int32_t LongOf(const Row& row, std::size_t column)
{
    const auto* value = std::get_if<std::int32_t>(&row[column]);
    return value != nullptr ? *value : 0;
}

inline Text NameOf(const Row& row, std::size_t column)
{
    const auto* value = std::get_if<std::string>(&row[column]);
    return value != nullptr ? FromAnsi(*value) : Text();
}

}  // namespace vmlib::jet
