#pragma once

#include "sql/Syntax.h"

namespace vmlib::sql {

/// One statement of the Jet dialect; ";" behind it is optional.
/// @throws Error 3129 for an unknown first word, 3075 with position in expressions, 3131 to 3145, 3290 ... for clauses, 3142 for rest behind ";"
Statement Parse(TextView sql);

/// An expression alone, as Find criteria, Filter, default values and validation rules have it.
ExpressionRef ParseExpression(TextView text);

}  // namespace vmlib::sql
