// Numeric functions.

#include <cmath>

#include "automation/Arithmetic.h"
#include "automation/Convert.h"
#include "core/Error.h"
#include "sql/Functions.h"

namespace vmlib::sql {
namespace {

using Arguments = std::span<const Variant>;

/// Text counts as the number that it reads as.
Variant Number(const Variant& value)
{
    return value.IsText() ? Variant(ToDouble(value)) : value;
}

bool IsNegative(const Variant& number)
{
    return Compare(number, std::int32_t{0}).value_or(0) < 0;
}

Variant CallAbs(Arguments arguments, const FunctionContext&)
{
    const Variant number = Number(arguments[0]);
    return IsNegative(number) ? Negate(number) : number;
}

Variant CallInt(Arguments arguments, const FunctionContext&)
{
    return Int(arguments[0]);
}

Variant CallFix(Arguments arguments, const FunctionContext&)
{
    return Fix(arguments[0]);
}

Variant CallSgn(Arguments arguments, const FunctionContext&)
{
    const Variant number = Number(arguments[0]);
    if (IsNegative(number)) return std::int32_t{-1};
    return std::int32_t{ToDouble(number) == 0 ? 0 : 1};
}

/// The function's value, error 5 where it has none, 6 where it is too large.
template <double (*function)(double)>
Variant Computed(Arguments arguments, const FunctionContext&)
{
    const double result = function(ToDouble(arguments[0]));
    if (std::isnan(result)) throw Error(ErrorNumber::InvalidCall);
    if (std::isinf(result)) throw Error(ErrorNumber::Overflow);
    return result;
}

double LogOfPositive(double number)
{
    return number > 0 ? std::log(number) : std::nan("");
}

constexpr FunctionInfo Unary(TextView name, decltype(FunctionInfo::body) body)
{
    return {.name = name, .fewest = 1, .most = 1, .result = ValueType::Double, .body = body};
}

constexpr FunctionInfo functions[] = {
    {.name = u"Abs", .fewest = 1, .most = 1, .ofArgument = true, .body = CallAbs},
    {.name = u"Int", .fewest = 1, .most = 1, .ofArgument = true, .body = CallInt},
    {.name = u"Fix", .fewest = 1, .most = 1, .ofArgument = true, .body = CallFix},
    {.name = u"Sgn", .fewest = 1, .most = 1, .result = ValueType::Long, .body = CallSgn},
    Unary(u"Sqr", Computed<std::sqrt>),
    Unary(u"Exp", Computed<std::exp>),
    Unary(u"Log", Computed<LogOfPositive>),
    Unary(u"Sin", Computed<std::sin>),
    Unary(u"Cos", Computed<std::cos>),
    Unary(u"Tan", Computed<std::tan>),
    Unary(u"Atn", Computed<std::atan>),
};

}  // namespace

std::span<const FunctionInfo> NumberFunctions()
{
    return functions;
}

}  // namespace vmlib::sql
