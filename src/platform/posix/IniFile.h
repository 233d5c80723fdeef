#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "core/Text.h"

// Settings files as the platform's profile functions read them:
//
//   ; a comment: a line whose first sign is ";"
//   [Intl]                   begins a section; blanks around its name are dropped
//   sDecimal = ","           key and value, blanks around both and one pair of equal quotes around the value dropped
//   sThousand                no "=": no key
//   [intl]                   the same name once more: never reached, nor is a key's second line
//
// Lines end with CR, LF or both. Blanks are all that C counts as white space, and 1A, the end mark of old editors. What
// stands before the first section belongs to none. Bytes are code page 1252; a value ends at its first zero byte.
namespace vmlib::posix {

/// The value of a key, "" when nothing follows the "="; no value without such a section and key, or when one of the names
/// is empty. Takes time linear in the size.
std::optional<Text> IniValue(std::string_view bytes, TextView section, TextView key);

/// The whole number that a text begins with, behind blanks and a sign: decimal digits, hexadecimal ones behind 0x, octal
/// ones behind 0o, binary ones behind 0b (small letters). 0 without any; what is too large wraps to 32 bits.
std::int32_t LeadingNumber(TextView text);

}  // namespace vmlib::posix
