#pragma once

#include "sql/Typed.h"

/// The values that a crosstab has columns for.
namespace vmlib::sql {

/// The name of the column: the value as text, whatever the user's country, with "_" for what no name may have, cut to
/// 64 characters. Null is "<>", a Boolean "-1" or "0", empty text "_".
Text HeadingOf(const Variant& value);

/// The condition that a pivot has a value, as SQLite text. The value converts to the pivot's type; a number may be
/// finer than that. @throws Error 3464, 13 for one that does not convert, 3464 for a pivot of bytes
std::string PivotIs(const Typed& pivot, const Variant& value);

}  // namespace vmlib::sql
