// Text to numbers in the locale. A text is blanks, then at most one sign, opening parenthesis and currency sign in any
// order, the digits with their separators and exponent, and behind them blanks, a sign if there was none in front, the
// closing parenthesis, currency signs.

#include <algorithm>

#include "automation/Convert.h"
#include "automation/NumberText.h"
#include "automation/RadixNumber.h"
#include "core/Error.h"

namespace vmlib {
namespace {

constexpr char16_t noBreakSpace = 0x00A0;

bool IsDigit(char16_t character)
{
    return character >= u'0' && character <= u'9';
}

bool IsBlank(char16_t character)
{
    return character == u' ' || (character >= u'\t' && character <= u'\r') || character == noBreakSpace;
}

bool IsSign(char16_t character)
{
    return character == u'+' || character == u'-';
}

class NumberParser
{
public:
    NumberParser(TextView text, const Locale& locale) : rest_(text), locale_(locale) {}

    std::optional<DecimalDigits> Parse()
    {
        SkipBlanks();
        if (const auto number = ParseRadixNumber(rest_)) return AfterRadix(*number);
        Front();
        if (!Digits() || !Exponent() || !Back()) return std::nullopt;
        return DecimalDigits::Of(negative_, std::move(digits_), exponent_);
    }

private:
    bool AtEnd() const { return rest_.empty(); }
    char16_t Next() const { return rest_.empty() ? u'\0' : rest_.front(); }
    void Skip(std::size_t count = 1) { rest_.remove_prefix(count); }

    bool SkipIf(TextView start)
    {
        if (start.empty() || !rest_.starts_with(start)) return false;
        Skip(start.size());
        return true;
    }

    void SkipBlanks()
    {
        while (!AtEnd() && IsBlank(Next())) Skip();
    }

    std::optional<DecimalDigits> AfterRadix(const RadixNumber& number)
    {
        Skip(number.length);
        SkipBlanks();
        if (!AtEnd()) return std::nullopt;
        const long long value = number.value;
        return DecimalDigits::Of(value < 0, std::to_string(value < 0 ? -value : value), 0);
    }

    void Sign()
    {
        hasSign_ = true;
        negative_ = Next() == u'-';
        Skip();
    }

    void Front()
    {
        bool hasCurrency = false;
        for (;;) {
            if (IsSign(Next()) && !hasSign_ && !inParentheses_) {
                Sign();
                if (Next() == u' ') Skip();
            } else if (Next() == u'(' && !hasSign_ && !inParentheses_) {
                inParentheses_ = negative_ = true;
                Skip();
            } else if (!hasCurrency && SkipIf(locale_.currencySign)) {
                hasCurrency = true;
                SkipBlanks();
            } else {
                return;
            }
        }
    }

    bool Digits()
    {
        const bool blankSeparates = IsBlank(locale_.thousandsSeparator);
        bool behindPoint = false;
        for (; !AtEnd(); Skip()) {
            const char16_t next = Next();
            if (IsDigit(next)) {
                digits_ += static_cast<char>(next);
                if (behindPoint) --exponent_;
            } else if (next == locale_.decimalSeparator && !behindPoint) {
                behindPoint = true;
            } else if (next != locale_.thousandsSeparator || behindPoint || digits_.empty() ||
                       (blankSeparates && !(rest_.size() > 1 && IsDigit(rest_[1])))) {
                break;
            }
        }
        if (blankSeparates && !AtEnd() && Next() == locale_.thousandsSeparator) return false;
        return !digits_.empty();
    }

    bool Exponent()
    {
        const char16_t letter = LowerCase(Next());
        if (letter != u'e' && letter != u'd') return true;
        Skip();
        const bool negative = Next() == u'-';
        if (IsSign(Next())) Skip();
        if (!IsDigit(Next())) return false;
        int exponent = 0;
        for (; IsDigit(Next()); Skip()) exponent = std::min(exponent * 10 + (Next() - u'0'), 100000);
        exponent_ += negative ? -exponent : exponent;
        return true;
    }

    bool Back()
    {
        bool closed = !inParentheses_;
        while (!AtEnd()) {
            if (IsBlank(Next())) {
                Skip();
            } else if (IsSign(Next()) && !hasSign_ && !inParentheses_) {
                Sign();
            } else if (Next() == u')' && !closed) {
                closed = true;
                Skip();
            } else if (!SkipIf(locale_.currencySign)) {
                return false;
            }
        }
        return closed;
    }

    TextView rest_;
    const Locale& locale_;
    std::string digits_;
    int exponent_ = 0;
    bool hasSign_ = false;
    bool negative_ = false;
    bool inParentheses_ = false;
};

}  // namespace

std::optional<DecimalDigits> ParseNumber(TextView text, const Locale& locale)
{
    return NumberParser(UpToZero(text), locale).Parse();
}

double TextToNumber(TextView text, const Locale& locale)
{
    const auto number = ParseNumber(text, locale);
    if (!number) throw Error(ErrorNumber::TypeMismatch);
    return number->ToDouble();
}

Currency TextToCurrency(TextView text, const Locale& locale)
{
    const auto number = ParseNumber(text, locale);
    if (!number) throw Error(ErrorNumber::TypeMismatch);
    return number->ToCurrency();
}

}  // namespace vmlib
