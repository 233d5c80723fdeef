#pragma once

#include "core/Text.h"

namespace vmlib::jet {

/// A name of a table, column, index, relation or query: 1 to 64 characters of code page 1252, no leading blank, no
/// control character and none of . ! ` [ ]. @throws Error 3125
void RequireName(TextView name);

/// Names of objects equal without regard to case and trailing blanks.
bool SameName(TextView left, TextView right);

}  // namespace vmlib::jet
