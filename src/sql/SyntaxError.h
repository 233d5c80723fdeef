#pragma once

#include "core/Error.h"
#include "sql/Syntax.h"

namespace vmlib::sql {

/// What a 3075 says first.
namespace reason {
inline constexpr TextView missingOperator = u"Syntax error (missing operator)";
inline constexpr TextView syntax = u"Syntax error";
inline constexpr TextView string = u"Syntax error in string";
inline constexpr TextView date = u"Syntax error in date";
inline constexpr TextView number = u"Syntax error in number";
inline constexpr TextView missingBracket = u"Missing ), ], or Item";
inline constexpr TextView extraBracket = u"Extra )";
inline constexpr TextView argumentCount = u"Wrong number of arguments used with function";
inline constexpr TextView invalidBracketing = u"Invalid bracketing of name";
}  // namespace reason

/// 3075 with the part of the text that the extent covers, cut to what a message can hold, and the position (from 1)
/// where it goes wrong: that of the extent unless another is given.
Error ExpressionError(TextView what, TextView text, Extent extent, std::optional<std::size_t> at = std::nullopt);

/// An error of a clause: the number's text, then the position (from 1) and what stands there.
Error ClauseError(ErrorNumber number, TextView text, std::size_t position);

}  // namespace vmlib::sql
