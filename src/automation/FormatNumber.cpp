// Numbers to text by a picture. A section is read into pieces first: places for digits, the point, literals; then the
// number is rounded to the places behind the point, half away from zero, and its digits are dealt out from the right.

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "automation/FormatParts.h"

namespace vmlib {
namespace {

struct Piece
{
    enum class Kind
    {
        Place,  // 0 or #
        Point,
        Exponent,
        Literal
    } kind;
    bool zero = false;       // of a place: shows a digit even where there is none. Of an exponent: shows a plus sign
    Text text;               // of a literal, or of an exponent its letter
    std::size_t digits = 0;  // of an exponent
};

struct Section
{
    std::vector<Piece> pieces;
    int wholePlaces = 0;
    int decimalPlaces = 0;
    int shift = 0;  // tens by which percent signs and trailing commas move the number
    bool groups = false;
    bool hasPoint = false;
    bool hasExponent = false;
};

class SectionReader
{
public:
    explicit SectionReader(TextView picture) : rest_(picture) {}

    Section Read()
    {
        while (!rest_.empty()) {
            Text literal;
            if (TakeLiteral(rest_, literal))
                AddLiteral(literal);
            else if (!Exponent())
                Character();
        }
        EndCommas();
        return std::move(section_);
    }

private:
    void AddLiteral(TextView text) { section_.pieces.push_back({Piece::Kind::Literal, false, Text(text), 0}); }

    // E+0, e-00: needs a place in front and zeros behind.
    bool Exponent()
    {
        if (rest_.size() < 3 || LowerCase(rest_[0]) != u'e' || (rest_[1] != u'+' && rest_[1] != u'-') ||
            rest_[2] != u'0')
            return false;
        std::size_t digits = 0;
        while (2 + digits < rest_.size() && (rest_[2 + digits] == u'0' || rest_[2 + digits] == u'#')) ++digits;
        section_.pieces.push_back({Piece::Kind::Exponent, rest_[1] == u'+', Text(rest_.substr(0, 1)), digits});
        section_.hasExponent = true;
        rest_.remove_prefix(2 + digits);
        return true;
    }

    void Character()
    {
        const char16_t next = rest_.front();
        rest_.remove_prefix(1);
        if (next == u'0' || next == u'#') {
            if (commas_ > 0) section_.groups = true;
            commas_ = 0;
            ++(section_.hasPoint ? section_.decimalPlaces : section_.wholePlaces);
            section_.pieces.push_back({Piece::Kind::Place, next == u'0', {}, 0});
        } else if (next == u'.' && !section_.hasPoint) {
            EndCommas();
            section_.hasPoint = true;
            section_.pieces.push_back({Piece::Kind::Point, false, {}, 0});
        } else if (next == u',') {
            if (!section_.hasPoint && section_.wholePlaces > 0) ++commas_;
        } else {
            if (next == u'%') section_.shift += 2;
            AddLiteral(TextView(&next, 1));
        }
    }

    // Commas between places group the digits; commas behind the last place before the point divide by a thousand each.
    void EndCommas()
    {
        section_.shift -= 3 * commas_;
        commas_ = 0;
    }

    TextView rest_;
    Section section_;
    int commas_ = 0;
};

class NumberFormatter
{
public:
    NumberFormatter(DecimalDigits number, const Section& section, const Locale& locale)
        : number_(std::move(number)), section_(section), locale_(locale)
    {
    }

    Text Format()
    {
        const bool negative = number_.negative;
        number_.Shift(section_.shift);
        if (section_.hasExponent) Normalize();
        number_.RoundToDecimals(section_.decimalPlaces, DecimalDigits::Tie::AwayFromZero);
        if (section_.hasExponent && number_.pointAt > section_.wholePlaces && section_.wholePlaces > 0) Carry();

        const bool hasPlaces = section_.wholePlaces + section_.decimalPlaces > 0;
        if (negative && (!number_.IsZero() || !hasPlaces)) text_ += u'-';
        wholeLeft_ = section_.wholePlaces;
        for (const Piece& piece : section_.pieces) Append(piece);
        return text_;
    }

private:
    // The mantissa takes as many digits before the point as the picture has places there.
    void Normalize()
    {
        if (number_.IsZero()) return;
        exponent_ = number_.pointAt - section_.wholePlaces;
        number_.Shift(-exponent_);
    }

    // 9.99 became 10.0.
    void Carry()
    {
        number_.Shift(-1);
        ++exponent_;
    }

    void Append(const Piece& piece)
    {
        switch (piece.kind) {
            case Piece::Kind::Literal:
                text_ += piece.text;
                break;
            case Piece::Kind::Point:
                AppendPoint();
                break;
            case Piece::Kind::Exponent:
                AppendExponent(piece);
                break;
            case Piece::Kind::Place:
                behindPoint_ ? AppendDecimal(piece) : AppendWhole(piece);
                break;
        }
    }

    void AppendPoint()
    {
        // A picture without a place before the point shows whole digits all the same, but no zero.
        if (section_.wholePlaces == 0) AppendWholeDigits(number_.pointAt, 0);
        text_ += locale_.decimalSeparator;
        behindPoint_ = true;
    }

    void AppendWhole(const Piece& piece)
    {
        const int power = --wholeLeft_;
        if (!started_ && number_.pointAt > power + 1) AppendWholeDigits(number_.pointAt, power + 1);
        if (started_ || piece.zero || number_.pointAt > power) {
            AppendWholeDigits(power + 1, power);
            started_ = true;
        }
    }

    // The digits of 10^(from - 1) down to 10^downTo.
    void AppendWholeDigits(int from, int downTo)
    {
        for (int power = from - 1; power >= downTo; --power) {
            text_ += static_cast<char16_t>(number_.DigitAt(power));
            if (section_.groups && power > 0 && power % 3 == 0) text_ += locale_.thousandsSeparator;
            started_ = true;
        }
    }

    void AppendDecimal(const Piece& piece)
    {
        ++decimal_;
        if (piece.zero || decimal_ <= std::max(number_.Decimals(), LastZeroPlace()))
            text_ += static_cast<char16_t>(number_.DigitAt(-decimal_));
    }

    // In ".#0" the first place shows its digit because the second does.
    int LastZeroPlace() const
    {
        int place = 0;
        int last = 0;
        bool behind = false;
        for (const Piece& piece : section_.pieces) {
            if (piece.kind == Piece::Kind::Point) behind = true;
            if (!behind || piece.kind != Piece::Kind::Place) continue;
            ++place;
            if (piece.zero) last = place;
        }
        return last;
    }

    void AppendExponent(const Piece& piece)
    {
        text_ += piece.text;
        if (exponent_ < 0)
            text_ += u'-';
        else if (piece.zero)
            text_ += u'+';
        const Text digits = Decimal(std::abs(exponent_));
        if (digits.size() < piece.digits) text_.append(piece.digits - digits.size(), u'0');
        text_ += digits;
    }

    DecimalDigits number_;
    const Section& section_;
    const Locale& locale_;
    Text text_;
    int exponent_ = 0;
    int wholeLeft_ = 0;
    int decimal_ = 0;
    bool started_ = false;
    bool behindPoint_ = false;
};

}  // namespace

Text FormatNumber(const DecimalDigits& number, TextView picture, const Locale& locale)
{
    const std::vector<TextView> sections = PictureSections(picture);
    DecimalDigits shown = number;
    std::size_t index = 0;
    if (number.negative && sections.size() > 1 && !sections[1].empty()) {
        index = 1;
        shown.negative = false;
    }
    if (number.IsZero() && sections.size() > 2 && !sections[2].empty()) index = 2;
    const Section section = SectionReader(sections[index]).Read();
    return NumberFormatter(std::move(shown), section, locale).Format();
}

}  // namespace vmlib
