#pragma once

#include <optional>

#include "automation/Variant.h"

/// The operators of the runtime on variants. An object gives its default member first. Null makes the result Null; a
/// status code or an array is error 13, text that is no number too. Whole numbers widen instead of overflowing (Byte,
/// Integer, Long, Double); a Double, Currency or Date that overflows is error 6. Decimals are calculated as Double.
namespace vmlib {

/// Joins two texts, adds everything else; text beside a number counts as a number.
Variant Add(const Variant& left, const Variant& right);
Variant Subtract(const Variant& left, const Variant& right);
Variant Multiply(const Variant& left, const Variant& right);
/// A Double (Single beside nothing wider than a Single). Division by zero is 11, of zero by zero 6.
Variant Divide(const Variant& left, const Variant& right);
/// `\` and Mod: both operands are rounded half to even to whole numbers first.
Variant IntegerDivide(const Variant& left, const Variant& right);
Variant Modulo(const Variant& left, const Variant& right);
/// Always a Double. A negative base with a broken exponent and zero with a negative one are error 5.
Variant Power(const Variant& left, const Variant& right);
Variant Negate(const Variant& value);

/// `&`: joins both as text; Null counts as "", unless both are Null.
Variant Concatenate(const Variant& left, const Variant& right);

/// Negative, zero, positive; nothing when either is Null. Numbers, dates and Booleans by value, texts by UTF-16 unit or
/// without case; Empty is 0 beside a number and "" beside a text; a number is less than any text.
std::optional<int> Compare(const Variant& left, const Variant& right, bool ignoreCase = false);

/// To minus infinity, toward zero; the type stays, also of a date. Text gives a Double.
Variant Int(const Variant& value);
Variant Fix(const Variant& value);
/// Half to even at a decimal (0 to 22, else error 5); the type stays.
Variant Round(const Variant& value, std::int32_t decimals = 0);

}  // namespace vmlib
