#pragma once

#include <optional>
#include <span>
#include <string>

#include "core/Text.h"
#include "core/Values.h"

namespace vmlib::sql {

/// "{guid {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}}" or "{xxxxxxxx-...}"; no value for anything else.
std::optional<Guid> GuidFromText(TextView text);
/// Sixteen bytes as they stand in memory; no value for another count.
std::optional<Guid> GuidFromBytes(std::span<const std::uint8_t> bytes);

/// "{guid {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}}"
Text GuidToText(const Guid& guid);

/// X'..', the bytes as they stand in memory.
std::string GuidLiteral(const Guid& guid);

}  // namespace vmlib::sql
