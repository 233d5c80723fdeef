// Val reads the longest number at the start of a text, the same in every locale. Blanks, tabs and line ends count for
// nothing, also between digits, so they are taken out first.

#include <algorithm>

#include "automation/Convert.h"
#include "automation/DecimalDigits.h"
#include "automation/RadixNumber.h"
#include "core/Error.h"

namespace vmlib {
namespace {

int DigitValue(char16_t character)
{
    if (character >= u'0' && character <= u'9') return character - u'0';
    const char16_t letter = LowerCase(character);
    if (letter >= u'a' && letter <= u'f') return letter - u'a' + 10;
    return 99;
}

Text WithoutBlanks(TextView text)
{
    Text result;
    std::copy_if(text.begin(), text.end(), std::back_inserter(result),
                 [](char16_t c) { return c != u' ' && c != u'\t' && c != u'\r' && c != u'\n'; });
    return result;
}

class DecimalReader
{
public:
    explicit DecimalReader(TextView text) : rest_(text) {}

    double Read()
    {
        const bool negative = Next() == u'-';
        if (negative || Next() == u'+') rest_.remove_prefix(1);
        bool fraction = false;
        for (; IsDigit() || (Next() == u'.' && !fraction); rest_.remove_prefix(1)) {
            if (!IsDigit()) {
                fraction = true;
                continue;
            }
            digits_ += static_cast<char>(Next());
            if (fraction) --exponent_;
        }
        if (digits_.empty()) return 0;
        Exponent();
        if (fraction && (Next() == u'%' || Next() == u'&')) throw Error(ErrorNumber::TypeMismatch);
        return DecimalDigits::Of(negative, std::move(digits_), exponent_).ToDouble();
    }

private:
    char16_t Next() const { return rest_.empty() ? u'\0' : rest_.front(); }
    bool IsDigit() const { return Next() >= u'0' && Next() <= u'9'; }

    // A mark without digits behind it is not part of the number.
    void Exponent()
    {
        const char16_t letter = LowerCase(Next());
        if (letter != u'e' && letter != u'd') return;
        rest_.remove_prefix(1);
        const bool negative = Next() == u'-';
        if (negative || Next() == u'+') rest_.remove_prefix(1);
        int exponent = 0;
        for (; IsDigit(); rest_.remove_prefix(1)) exponent = std::min(exponent * 10 + (Next() - u'0'), 100000);
        exponent_ += negative ? -exponent : exponent;
    }

    TextView rest_;
    std::string digits_;
    int exponent_ = 0;
};

}  // namespace

std::optional<RadixNumber> ParseRadixNumber(TextView text)
{
    if (text.size() < 3 || text[0] != u'&') return std::nullopt;
    const char16_t letter = LowerCase(text[1]);
    if (letter != u'h' && letter != u'o') return std::nullopt;
    const int radix = letter == u'h' ? 16 : 8;

    std::size_t at = 2;
    std::uint64_t value = 0;
    for (; at < text.size() && DigitValue(text[at]) < radix; ++at) {
        value = value * static_cast<unsigned>(radix) + static_cast<unsigned>(DigitValue(text[at]));
        if (value > 0xFFFFFFFF) throw Error(ErrorNumber::Overflow);
    }
    if (at == 2) return std::nullopt;
    const bool asLong = at < text.size() && text[at] == u'&';
    if (asLong) ++at;
    if (value <= 0xFFFF && !asLong) return RadixNumber{static_cast<std::int16_t>(value), at};
    return RadixNumber{static_cast<std::int32_t>(value), at};
}

double Val(TextView text)
{
    const Text compact = WithoutBlanks(text);
    if (const auto number = ParseRadixNumber(compact)) return number->value;
    return DecimalReader(compact).Read();
}

}  // namespace vmlib
