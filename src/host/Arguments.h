#pragma once

#include <string>
#include <string_view>

#include "automation/Variant.h"

namespace vmlib::host {

/// What the command line got wrong: message on standard error, exit code 2.
struct UsageError
{
    std::string message;
};

/// A whole number in decimal digits, as a person means it: no other base, nothing behind it.
/// @param what  names it in the message
/// @throws UsageError
std::int32_t WholeNumber(std::string_view text, const char* what);

/// An argument of `call`: text, or text with a type in front.
///
///     i:5 Integer   l:5 Long   y:5 Byte   f:1.5 Single   d:2.5 Double   c:2.5 Currency   b:true Boolean
///     t:2024-03-05 or t:2024-03-05T06:00:00 Date   s:text String   x:00FF String of code page bytes
///     m: missing   e: Empty   n: Null
///
/// @throws UsageError when what stands behind a type does not fit it
Variant ParseArgument(std::string_view argument);

}  // namespace vmlib::host
