#pragma once

#include "core/Text.h"

namespace vmlib {

/// Text as it is behind the platform's single-byte functions: what code page 1252 makes of it, up to its first zero
/// character.
inline Text AnsiText(TextView text)
{
    return FromAnsi(ToAnsi(text.substr(0, text.find(u'\0'))));
}

}  // namespace vmlib
