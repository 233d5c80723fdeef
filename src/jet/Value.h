#pragma once

#include <string>
#include <variant>
#include <vector>

#include "core/Text.h"
#include "core/Values.h"

namespace vmlib::jet {

/// A field's value as the file holds it: text and memo as the bytes of code page 1252 (std::string), dates and money in their own types.
/// Text (UTF-16) occurs only in what a format 4 file gives.
using Value = std::variant<Null, bool, std::uint8_t, std::int16_t, std::int32_t, Currency, float, double, Date,
                           std::string, Bytes, Guid, Text>;

/// One value a column, in the order of TableDefinition::columns.
using Row = std::vector<Value>;

inline bool IsNull(const Value& value)
{
    return std::holds_alternative<Null>(value);
}

/// The value as text, whichever of the two it is. @param otherwise  for what is no text
inline Text TextOr(const Value& value, Text otherwise)
{
    if (const auto* ansi = std::get_if<std::string>(&value)) return FromAnsi(*ansi);
    if (const auto* text = std::get_if<Text>(&value)) return *text;
    return otherwise;
}

}  // namespace vmlib::jet
