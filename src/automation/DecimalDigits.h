#pragma once

#include <optional>
#include <string>

#include "automation/Variant.h"

namespace vmlib {

/// A number as decimal digits, between text and the binary types: 0.DIGITS x 10^pointAt, without zeros at either end;
/// zero has no digits. Knows rounding on decimal digits, no locale and no layout.
struct DecimalDigits
{
    bool negative = false;
    std::string digits;
    int pointAt = 0;

    /// The `significant` first digits of a finite number, ties of the exact value away from zero.
    static DecimalDigits Of(double value, int significant);
    static DecimalDigits Of(Currency value);
    static DecimalDigits Of(const DecimalNumber& value);
    /// Digits with or without leading zeros, times 10^exponent.
    static DecimalDigits Of(bool negative, std::string digits, int exponent);

    bool IsZero() const { return digits.empty(); }
    /// Count of digits behind the point.
    int Decimals() const;
    /// The digit of 10^power, '0' outside the digits.
    char DigitAt(int power) const;

    /// Cuts behind `decimals` digits after the point (negative: before it).
    enum class Tie
    {
        AwayFromZero,
        ToEven
    };
    void RoundToDecimals(int decimals, Tie tie);

    /// Times 10^power.
    void Shift(int power);

    /// @throws Error 6 when too large; what is too small is 0
    double ToDouble() const;
    Currency ToCurrency() const;
    DecimalNumber ToDecimal() const;

private:
    void Normalize();
    // The digits as an integer after a shift of `decimals`, half to even; nothing when it has more than `most` digits.
    std::optional<std::string> Integer(int decimals, std::size_t most) const;
};

}  // namespace vmlib
