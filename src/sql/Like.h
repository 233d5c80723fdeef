#pragma once

#include "core/Text.h"
#include "sql/Functions.h"

namespace vmlib::sql {

/// The dialect's Like: `*` any run, `?` one character, `#` one digit, `[a-c]` one of a class, `[!a-c]` one outside it,
/// `[]` nothing. Case does not matter; ranges follow the database's order. A "[" without "]" is error 93.
bool IsLike(TextView text, TextView pattern, const FunctionContext& context);

}  // namespace vmlib::sql
