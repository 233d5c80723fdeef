#pragma once

#include <optional>
#include <string>

#include "core/Text.h"
#include "core/Values.h"

namespace vmlib::sql {

/// "{guid {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}}" or "{xxxxxxxx-...}"; no value for anything else.
std::optional<Guid> GuidFromText(TextView text);

/// "{guid {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}}"
Text GuidToText(const Guid& guid);

/// X'..', the bytes as they stand in memory.
std::string GuidLiteral(const Guid& guid);

}  // namespace vmlib::sql
