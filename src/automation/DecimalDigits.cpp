#include "automation/DecimalDigits.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <cmath>
#include <limits>

#include "core/Error.h"

namespace vmlib {
namespace {

// Digits of d.dddE+xx with `count` digits, correctly rounded (ties to even).
struct Scientific
{
    std::string digits;
    int exponent = 0;
};

Scientific ToScientific(double magnitude, int count)
{
    std::array<char, 1100> buffer;
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude, std::chars_format::scientific, count - 1)
            .ptr;
    const char* mark = std::find<const char*>(buffer.data(), end, 'e');
    Scientific result;
    result.digits.reserve(static_cast<std::size_t>(count));
    for (const char* at = buffer.data(); at != mark; ++at) {
        if (*at != '.') result.digits += *at;
    }
    const char* exponent = mark + (mark[1] == '+' ? 2 : 1);
    std::from_chars(exponent, end, result.exponent);
    return result;
}

constexpr int exactDigits = 770;  // no double has more

}  // namespace

DecimalDigits DecimalDigits::Of(double value, int significant)
{
    assert(std::isfinite(value));
    if (value == 0) return {};
    const double magnitude = std::fabs(value);
    // Two digits more decide, unless they look like a tie; then the exact digits do.
    Scientific text = ToScientific(magnitude, significant + 2);
    if (text.digits.ends_with("50")) text = ToScientific(magnitude, exactDigits);

    DecimalDigits result{value < 0, std::move(text.digits), text.exponent + 1};
    result.RoundToDecimals(significant - result.pointAt, Tie::AwayFromZero);
    return result;
}

DecimalDigits DecimalDigits::Of(Currency value)
{
    const bool negative = value.units < 0;
    const auto units = negative ? 0 - static_cast<std::uint64_t>(value.units) : static_cast<std::uint64_t>(value.units);
    return Of(negative, std::to_string(units), -4);
}

DecimalDigits DecimalDigits::Of(const DecimalNumber& value)
{
    std::array<std::uint32_t, 3> limbs{value.high, value.middle, value.low};
    std::string digits;
    while (limbs[0] != 0 || limbs[1] != 0 || limbs[2] != 0) {
        std::uint64_t rest = 0;
        for (std::uint32_t& limb : limbs) {
            const std::uint64_t part = (rest << 32) | limb;
            limb = static_cast<std::uint32_t>(part / 10);
            rest = part % 10;
        }
        digits.insert(digits.begin(), static_cast<char>('0' + rest));
    }
    return Of(value.negative, std::move(digits), -int{value.scale});
}

DecimalDigits DecimalDigits::Of(bool negative, std::string digits, int exponent)
{
    DecimalDigits result{negative, std::move(digits), 0};
    result.pointAt = static_cast<int>(result.digits.size()) + exponent;
    result.Normalize();
    return result;
}

void DecimalDigits::Normalize()
{
    const std::size_t leading = std::min(digits.find_first_not_of('0'), digits.size());
    digits.erase(0, leading);
    pointAt -= static_cast<int>(leading);
    digits.erase(digits.find_last_not_of('0') + 1);
    if (!digits.empty()) return;
    pointAt = 0;
    negative = false;
}

int DecimalDigits::Decimals() const
{
    return std::max(0, static_cast<int>(digits.size()) - pointAt);
}

char DecimalDigits::DigitAt(int power) const
{
    const int index = pointAt - 1 - power;
    return index >= 0 && index < static_cast<int>(digits.size()) ? digits[static_cast<std::size_t>(index)] : '0';
}

void DecimalDigits::RoundToDecimals(int decimals, Tie tie)
{
    const int kept = pointAt + decimals;
    if (kept >= static_cast<int>(digits.size())) return Normalize();
    if (kept < 0) {
        digits.clear();
        return Normalize();
    }
    const auto keep = static_cast<std::size_t>(kept);
    const bool exactTie = digits[keep] == '5' && digits.find_first_not_of('0', keep + 1) == std::string::npos;
    const bool lastIsOdd = keep > 0 && (digits[keep - 1] - '0') % 2 != 0;
    const bool up = exactTie && tie == Tie::ToEven ? lastIsOdd : digits[keep] >= '5';
    digits.erase(keep);
    if (up) {
        std::size_t at = keep;
        while (at > 0 && digits[at - 1] == '9') digits[--at] = '0';
        if (at > 0) {
            ++digits[at - 1];
        } else {
            digits.insert(digits.begin(), '1');
            ++pointAt;
        }
    }
    Normalize();
}

void DecimalDigits::Shift(int power)
{
    if (!IsZero()) pointAt += power;
}

double DecimalDigits::ToDouble() const
{
    if (IsZero() || pointAt < -400) return 0;
    if (pointAt > 400) throw Error(ErrorNumber::Overflow);
    std::string text = negative ? "-0." : "0.";
    text += digits;
    text += 'e';
    text += std::to_string(pointAt);
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool outside = result.ec == std::errc::result_out_of_range || std::isinf(value);
    if (outside && pointAt > 0) throw Error(ErrorNumber::Overflow);
    return outside ? 0 : value;
}

std::optional<std::string> DecimalDigits::Integer(int decimals, std::size_t most) const
{
    DecimalDigits rounded = *this;
    rounded.RoundToDecimals(decimals, Tie::ToEven);
    rounded.Shift(decimals);
    if (rounded.pointAt > static_cast<int>(most)) return std::nullopt;
    std::string integer = rounded.digits;
    integer.resize(static_cast<std::size_t>(std::max(0, rounded.pointAt)), '0');
    return integer.empty() ? "0" : integer;
}

Currency DecimalDigits::ToCurrency() const
{
    const auto integer = Integer(4, 19);
    std::uint64_t magnitude = 0;
    if (integer) std::from_chars(integer->data(), integer->data() + integer->size(), magnitude);
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (!integer || magnitude > largest + (negative ? 1 : 0)) throw Error(ErrorNumber::Overflow);
    return {static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude)};
}

DecimalNumber DecimalDigits::ToDecimal() const
{
    // As many decimals as 28 digits leave room for.
    const int scale = std::clamp(std::min(Decimals(), 28 - std::max(pointAt, 0)), 0, 28);
    const auto integer = Integer(scale, 29);
    if (!integer) throw Error(ErrorNumber::Overflow);
    std::array<std::uint32_t, 3> limbs{};  // lowest first
    for (const char digit : *integer) {
        std::uint64_t carry = static_cast<std::uint64_t>(digit - '0');
        for (std::uint32_t& limb : limbs) {
            carry += std::uint64_t{limb} * 10;
            limb = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        if (carry != 0) throw Error(ErrorNumber::Overflow);
    }
    return {limbs[2], limbs[1], limbs[0], static_cast<std::uint8_t>(scale), negative};
}

}  // namespace vmlib
