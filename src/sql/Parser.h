#pragma once

#include "sql/Syntax.h"

namespace vmlib::sql {

/// One statement of the Jet dialect; ";" behind it is optional.
/// @throws Error 3129 for an unknown first word, 3075 in expressions (the text names the expression), 3130 to 3145,
/// 3290 to 3295 for clauses
///         (the text ends with the position, counted from 1, and what stands there), 3142 for rest behind ";", 3360 for
///         nesting that is too deep
Statement Parse(TextView sql);

/// A statement that must be a SELECT, as the engine gets it from a stored query or a Filter.
/// @throws what Parse throws, 3219 for any other statement
SelectStatement ParseSelect(TextView sql);

/// An expression alone, as Find criteria, Filter and default values have it; a leading "=" is skipped.
/// @throws Error 3075, 3360
ExpressionRef ParseExpression(TextView text);

/// A validation rule of a field, in which the field itself may be left out of comparisons: `>0 And <10`, `"a" Or "b"`,
/// `Is Not Null`, `In (1, 2)`, `Like "x*"`. A comparison, Between, In, Like or Is that lacks its left side gets the
/// field; a lone value is compared for equality with it. @throws Error 3075, 3360
ExpressionRef ParseFieldRule(TextView text, TextView field);

/// A list of sort items as Recordset.Sort has it: `Naam, [Id] DESC`. @throws Error 3075, 3138
std::vector<OrderItem> ParseOrder(TextView text);

}  // namespace vmlib::sql
