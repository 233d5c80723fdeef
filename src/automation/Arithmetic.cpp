// The operators find the type of their result first: the operand types have an order, and the higher one wins. Then
// they calculate in that type and go to the next wider one when the result does not fit.

#include "automation/Arithmetic.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "automation/Convert.h"
#include "automation/DecimalDigits.h"
#include "core/Error.h"

namespace vmlib {
namespace {

constexpr std::int64_t currencyUnit = 10000;

// Of an operand as a number. Text counts as Double, Boolean as Integer, Empty as what the other operand is.
enum class Rank
{
    Empty,
    Byte,
    Integer,
    Long,
    Single,
    Double,
    Currency,
    Date
};

Rank RankOf(const Variant& value)
{
    switch (value.Type()) {
        case VarType::Empty:
            return Rank::Empty;
        case VarType::Byte:
            return Rank::Byte;
        case VarType::Boolean:
        case VarType::Integer:
            return Rank::Integer;
        case VarType::Long:
            return Rank::Long;
        case VarType::Single:
            return Rank::Single;
        case VarType::Double:
        case VarType::String:
        case VarType::Decimal:
            return Rank::Double;
        case VarType::Currency:
            return Rank::Currency;
        case VarType::Date:
            return Rank::Date;
        default:
            throw Error(ErrorNumber::TypeMismatch);
    }
}

Rank Common(Rank left, Rank right)
{
    const Rank higher = std::max(left, right);
    const Rank lower = std::min(left, right);
    if (higher == Rank::Empty) return Rank::Integer;
    if (higher == Rank::Single && lower == Rank::Long) return Rank::Double;  // a Single holds no Long
    return higher;
}

// Both operands as plain values; nothing when one is Null.
struct Operands
{
    Variant left, right;
};

std::optional<Operands> Plain(const Variant& left, const Variant& right)
{
    Operands operands{DefaultValue(left), DefaultValue(right)};
    for (const Variant* value : {&operands.left, &operands.right}) {
        if (value->IsArray() || value->Holds<ErrorCode>()) throw Error(ErrorNumber::TypeMismatch);
    }
    if (operands.left.IsNull() || operands.right.IsNull()) return std::nullopt;
    return operands;
}

Variant FiniteDouble(double value)
{
    if (!std::isfinite(value)) throw Error(ErrorNumber::Overflow);
    return value;
}

// The narrowest whole type from `rank` on that holds the value.
Variant Widened(std::int64_t value, Rank rank)
{
    const auto fits = [&](auto limit) {
        using T = decltype(limit);
        return value >= std::numeric_limits<T>::min() && value <= std::numeric_limits<T>::max();
    };
    if (rank <= Rank::Byte && fits(std::uint8_t{})) return static_cast<std::uint8_t>(value);
    if (rank <= Rank::Integer && fits(std::int16_t{})) return static_cast<std::int16_t>(value);
    if (fits(std::int32_t{})) return static_cast<std::int32_t>(value);
    return static_cast<double>(value);
}

std::int64_t WholeOf(const Variant& value)
{
    return ToLong(value);
}

// A value of the calculated rank from the double that holds it.
Variant OfRank(double value, Rank rank)
{
    if (rank == Rank::Single) {
        const auto single = static_cast<float>(value);
        if (std::isfinite(single)) return single;
        return FiniteDouble(value);
    }
    if (rank != Rank::Date) return FiniteDouble(value);
    return ToDate(FiniteDouble(value));
}

Variant CurrencySum(Currency left, Currency right, bool subtract)
{
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    const std::int64_t a = left.units;
    const std::int64_t b = right.units;
    const bool over = subtract ? (b < 0 ? a > most + b : a < least + b) : (b > 0 ? a > most - b : a < least - b);
    if (over) throw Error(ErrorNumber::Overflow);
    return Currency{subtract ? a - b : a + b};
}

Variant Sum(const Variant& left, const Variant& right, bool subtract)
{
    Rank rank = Common(RankOf(left), RankOf(right));
    if (rank <= Rank::Long) {
        const std::int64_t b = WholeOf(right);
        return Widened(WholeOf(left) + (subtract ? -b : b), rank);
    }
    if (rank == Rank::Currency) return CurrencySum(ToCurrency(left), ToCurrency(right), subtract);
    if (subtract && left.Holds<Date>() && right.Holds<Date>()) rank = Rank::Double;  // a count of days
    const double b = ToDouble(right);
    return OfRank(ToDouble(left) + (subtract ? -b : b), rank);
}

// A Currency times a Currency keeps four decimals, rounded half to even.
Variant CurrencyProduct(Currency left, Currency right)
{
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    const bool negative = (left.units < 0) != (right.units < 0);
    const auto magnitude = [](std::int64_t value) {
        return value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    };
    // (a * currencyUnit + b) * c / currencyUnit = a * c + b * c / currencyUnit, where b * c may be too large for 64
    // bits only if the product is too.
    const std::uint64_t a = magnitude(left.units) / currencyUnit;
    const std::uint64_t b = magnitude(left.units) % currencyUnit;
    const std::uint64_t c = magnitude(right.units);
    const std::uint64_t cWhole = c / currencyUnit;
    const std::uint64_t cRest = c % currencyUnit;
    if (a != 0 && c > static_cast<std::uint64_t>(most) / a) throw Error(ErrorNumber::Overflow);
    const std::uint64_t rest = b * cRest;
    std::uint64_t fraction = b * cWhole + rest / currencyUnit;
    const std::uint64_t tail = rest % currencyUnit;
    if (tail > currencyUnit / 2 || (tail == currencyUnit / 2 && (a * c + fraction) % 2 != 0)) ++fraction;
    const std::uint64_t product = a * c + fraction;
    if (product > static_cast<std::uint64_t>(most)) throw Error(ErrorNumber::Overflow);
    return Currency{negative ? -static_cast<std::int64_t>(product) : static_cast<std::int64_t>(product)};
}

struct WholeOperands
{
    std::int64_t left, right;
    Rank rank;
};

std::optional<WholeOperands> Whole(const Variant& left, const Variant& right)
{
    const auto operands = Plain(left, right);
    if (!operands) return std::nullopt;
    const Rank rank = std::min(Common(RankOf(operands->left), RankOf(operands->right)), Rank::Long);
    const WholeOperands whole{WholeOf(operands->left), WholeOf(operands->right), rank};
    if (whole.right == 0) throw Error(ErrorNumber::DivisionByZero);
    return whole;
}

bool IsTextOrEmpty(const Variant& value)
{
    return value.IsText() || value.IsEmpty();
}

int Sign(int difference)
{
    return difference < 0 ? -1 : difference > 0 ? 1 : 0;
}

// Applies a function of doubles to a number and keeps its type. A Currency has more digits than a Double, so it has a
// function of its own.
template <class OfDouble, class OfCurrency>
Variant KeepingType(const Variant& value, OfDouble&& ofDouble, OfCurrency&& ofCurrency)
{
    Variant plain = DefaultValue(value);
    if (plain.IsNull()) return plain;
    switch (RankOf(plain)) {
        case Rank::Empty:
            return std::int16_t{0};
        case Rank::Byte:
        case Rank::Long:
            return plain;
        case Rank::Integer:
            return ToInteger(plain);
        case Rank::Single:
            return static_cast<float>(ofDouble(ToDouble(plain)));
        case Rank::Double:
            return ofDouble(ToDouble(plain));
        case Rank::Currency:
            return ofCurrency(plain.As<Currency>());
        default:
            return ToDate(ofDouble(plain.As<Date>().serial));
    }
}

Currency WithoutFraction(Currency value)
{
    return {value.units - value.units % currencyUnit};
}

}  // namespace

Variant Add(const Variant& left, const Variant& right)
{
    const auto operands = Plain(left, right);
    if (!operands) return Null{};
    const auto& [a, b] = *operands;
    const bool joins = IsTextOrEmpty(a) && IsTextOrEmpty(b) && (a.IsText() || b.IsText());
    if (joins) return ToText(a) + ToText(b);
    return Sum(a, b, false);
}

Variant Subtract(const Variant& left, const Variant& right)
{
    const auto operands = Plain(left, right);
    return operands ? Sum(operands->left, operands->right, true) : Null{};
}

Variant Multiply(const Variant& left, const Variant& right)
{
    const auto operands = Plain(left, right);
    if (!operands) return Null{};
    const auto& [a, b] = *operands;
    const Rank leftRank = RankOf(a);
    const Rank rightRank = RankOf(b);
    Rank rank = Common(leftRank, rightRank);
    if (rank <= Rank::Long) return Widened(WholeOf(a) * WholeOf(b), rank);
    // Unlike in a sum, a Double outranks a Currency, and a date is a number.
    const bool hasDouble = leftRank == Rank::Double || rightRank == Rank::Double || rank == Rank::Date;
    if (rank == Rank::Currency && !hasDouble) return CurrencyProduct(ToCurrency(a), ToCurrency(b));
    if (hasDouble) rank = Rank::Double;
    return OfRank(ToDouble(a) * ToDouble(b), rank);
}

Variant Divide(const Variant& left, const Variant& right)
{
    const auto operands = Plain(left, right);
    if (!operands) return Null{};
    const double dividend = ToDouble(operands->left);
    const double divisor = ToDouble(operands->right);
    if (divisor == 0) throw Error(dividend == 0 ? ErrorNumber::Overflow : ErrorNumber::DivisionByZero);
    const Rank rank = Common(RankOf(operands->left), RankOf(operands->right));
    return OfRank(dividend / divisor, rank == Rank::Single ? Rank::Single : Rank::Double);
}

Variant IntegerDivide(const Variant& left, const Variant& right)
{
    const auto whole = Whole(left, right);
    if (!whole) return Null{};
    const std::int64_t quotient = whole->left / whole->right;
    if (quotient > std::numeric_limits<std::int32_t>::max()) throw Error(ErrorNumber::Overflow);
    return Widened(quotient, whole->rank);
}

Variant Modulo(const Variant& left, const Variant& right)
{
    const auto whole = Whole(left, right);
    return whole ? Widened(whole->left % whole->right, whole->rank) : Null{};
}

Variant Power(const Variant& left, const Variant& right)
{
    const auto operands = Plain(left, right);
    if (!operands) return Null{};
    const double base = ToDouble(operands->left);
    const double exponent = ToDouble(operands->right);
    if (base == 0 && exponent < 0) throw Error(ErrorNumber::InvalidCall);
    if (base < 0 && std::trunc(exponent) != exponent) throw Error(ErrorNumber::InvalidCall);
    return FiniteDouble(std::pow(base, exponent));
}

Variant Negate(const Variant& value)
{
    Variant plain = DefaultValue(value);
    if (plain.IsNull()) return plain;
    const Rank rank = RankOf(plain);
    if (rank <= Rank::Long) return Widened(-WholeOf(plain), std::max(rank, Rank::Integer));
    if (rank == Rank::Currency) return CurrencySum({}, plain.As<Currency>(), true);
    return OfRank(-ToDouble(plain), rank);
}

Variant Concatenate(const Variant& left, const Variant& right)
{
    const Variant a = DefaultValue(left);
    const Variant b = DefaultValue(right);
    if (a.IsNull() && b.IsNull()) return Null{};
    return (a.IsNull() ? Text{} : ToText(a)) + (b.IsNull() ? Text{} : ToText(b));
}

std::optional<int> Compare(const Variant& left, const Variant& right, bool ignoreCase)
{
    const auto operands = Plain(left, right);
    if (!operands) return std::nullopt;
    const auto& [a, b] = *operands;
    if (a.IsText() != b.IsText() && !a.IsEmpty() && !b.IsEmpty()) return a.IsText() ? 1 : -1;
    if (a.IsText() || b.IsText()) {
        const Text leftText = ToText(a);
        const Text rightText = ToText(b);
        return Sign(ignoreCase ? CompareIgnoringCase(leftText, rightText) : leftText.compare(rightText));
    }
    if (a.Holds<Currency>() && b.Holds<Currency>()) {
        const std::int64_t leftUnits = a.As<Currency>().units;
        const std::int64_t rightUnits = b.As<Currency>().units;
        return leftUnits < rightUnits ? -1 : leftUnits > rightUnits ? 1 : 0;
    }
    const double leftNumber = ToDouble(a);
    const double rightNumber = ToDouble(b);
    return leftNumber < rightNumber ? -1 : leftNumber > rightNumber ? 1 : 0;
}

Variant Int(const Variant& value)
{
    return KeepingType(
        value, [](double number) { return std::floor(number); },
        [](Currency number) -> Variant {
            const Currency whole = WithoutFraction(number);
            return whole.units > number.units ? CurrencySum(whole, {currencyUnit}, true) : whole;
        });
}

Variant Fix(const Variant& value)
{
    return KeepingType(
        value, [](double number) { return std::trunc(number); }, WithoutFraction);
}

Variant Round(const Variant& value, std::int32_t decimals)
{
    if (decimals < 0 || decimals > 22) throw Error(ErrorNumber::InvalidCall);
    const double scale = std::pow(10.0, decimals);
    return KeepingType(
        value,
        [scale](double number) {
            const double scaled = number * scale;
            return std::isfinite(scaled) ? RoundHalfToEven(scaled) / scale : number;
        },
        [decimals](Currency number) {
            DecimalDigits digits = DecimalDigits::Of(number);
            digits.RoundToDecimals(decimals, DecimalDigits::Tie::ToEven);
            return digits.ToCurrency();
        });
}

}  // namespace vmlib
