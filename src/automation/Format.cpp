// Format: finds out whether a picture means a number, a date or a text, and resolves the named formats.

#include <algorithm>
#include <cmath>

#include "automation/FormatParts.h"
#include "automation/NumberText.h"
#include "core/Error.h"

namespace vmlib {
namespace {

enum class PictureKind
{
    Number,
    Date,
    Text,
    Literal
};

// The first character that stands for something decides.
PictureKind KindOf(TextView picture)
{
    Text ignored;
    while (!picture.empty()) {
        if (TakeLiteral(picture, ignored)) continue;
        switch (LowerCase(picture.front())) {
            case u'0':
            case u'#':
            case u'%':
                return PictureKind::Number;
            case u'.':
            case u',':
                if (picture.size() > 1 && (picture[1] == u'0' || picture[1] == u'#')) return PictureKind::Number;
                break;
            case u'd':
            case u'm':
            case u'y':
            case u'h':
            case u'n':
            case u's':
            case u'q':
            case u'w':
            case u'c':
            case u't':
                return PictureKind::Date;
            case u'a':
                if (StartsWithIgnoringCase(picture, u"AM/PM") || StartsWithIgnoringCase(picture, u"AMPM") ||
                    StartsWithIgnoringCase(picture, u"A/P")) {
                    return PictureKind::Date;
                }
                break;
            case u'@':
            case u'&':
            case u'<':
            case u'>':
            case u'!':
                return PictureKind::Text;
            default:
                break;
        }
        picture.remove_prefix(1);
    }
    return PictureKind::Literal;
}

// @ is a character or a blank, & a character or nothing; filled from the right unless "!" stands in the picture; < and
// > change the case.
Text FormatText(Text text, TextView picture)
{
    picture = PictureSections(picture).front();
    std::vector<Text> pieces;  // empty: a place
    std::vector<bool> blanks;
    bool fromLeft = false;
    std::size_t places = 0;
    while (!picture.empty()) {
        Text literal;
        if (!TakeLiteral(picture, literal)) {
            const char16_t next = picture.front();
            picture.remove_prefix(1);
            if (next == u'!') fromLeft = true;
            if (next == u'<') text = LowerCase(text);
            if (next == u'>') text = UpperCase(text);
            if (next == u'!' || next == u'<' || next == u'>') continue;
            if (next != u'@' && next != u'&')
                literal = Text(1, next);
            else
                ++places;
            blanks.push_back(next == u'@');
        } else if (literal.empty()) {
            continue;
        } else {
            blanks.push_back(false);
        }
        pieces.push_back(literal);
    }
    const std::size_t unfilled = places > text.size() ? places - text.size() : 0;
    std::size_t used = 0;
    std::size_t place = 0;
    Text result;
    if (places == 0 && pieces.empty()) return text;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (!pieces[i].empty()) {
            result += pieces[i];
            continue;
        }
        const bool isEmpty = fromLeft ? place >= text.size() : place < unfilled;
        ++place;
        if (!isEmpty)
            result += text[used++];
        else if (blanks[i])
            result += u' ';
    }
    return result + text.substr(used);
}

struct NamedNumber
{
    TextView name, picture;
};
constexpr NamedNumber namedNumbers[] = {
    {u"Fixed", u"0.00"},
    {u"Standard", u"#,##0.00"},
    {u"Percent", u"0.00%"},
    {u"Scientific", u"0.00E+00"},
};

struct NamedDate
{
    TextView name, picture;
};
constexpr NamedDate namedDates[] = {
    {u"General Date", u"c"},   {u"Long Date", u"dddddd"}, {u"Medium Date", u"dd-mmm-yy"},
    {u"Short Date", u"ddddd"}, {u"Long Time", u"ttttt"},  {u"Medium Time", u"hh:nn AM/PM"},
    {u"Short Time", u"hh:nn"},
};

std::optional<DecimalDigits> DigitsOf(const Variant& value, const Locale& locale)
{
    if (value.IsText()) return ParseNumber(value.As<Text>(), locale);
    if (value.Holds<Currency>()) return DecimalDigits::Of(value.As<Currency>());
    if (value.Holds<DecimalNumber>()) return DecimalDigits::Of(value.As<DecimalNumber>());
    const double number = ToDouble(value);
    if (!std::isfinite(number)) throw Error(ErrorNumber::Overflow);
    return DecimalDigits::Of(number, value.Holds<float>() ? 7 : 15);
}

std::optional<Date> DateOf(const Variant& value, const Locale& locale)
{
    if (value.IsText()) return ParseDate(value.As<Text>(), locale);
    return ToDate(value);
}

std::optional<Text> NamedChoice(const Variant& value, TextView name, const Locale& locale)
{
    const auto choose = [&](const Text& yes, const Text& no) { return ToBoolean(value) ? yes : no; };
    if (EqualIgnoringCase(name, u"Yes/No")) return choose(locale.yesWord, locale.noWord);
    if (EqualIgnoringCase(name, u"True/False")) return choose(locale.trueWord, locale.falseWord);
    if (EqualIgnoringCase(name, u"On/Off")) return choose(locale.onWord, locale.offWord);
    return std::nullopt;
}

Text NumberPicture(TextView name, const Locale& locale)
{
    if (EqualIgnoringCase(name, u"Currency")) return locale.currencyPositive + u";" + locale.currencyNegative;
    for (const NamedNumber& named : namedNumbers) {
        if (EqualIgnoringCase(name, named.name)) return Text(named.picture);
    }
    return {};
}

TextView DatePicture(TextView name)
{
    for (const NamedDate& named : namedDates) {
        if (EqualIgnoringCase(name, named.name)) return named.picture;
    }
    return {};
}

Text FormatEmpty(TextView picture)
{
    const std::vector<TextView> sections = PictureSections(picture);
    Text text;
    if (sections.size() < 4) return text;
    for (TextView rest = sections[3]; !rest.empty();) {
        if (TakeLiteral(rest, text)) continue;
        text += rest.front();
        rest.remove_prefix(1);
    }
    return text;
}

}  // namespace

std::vector<TextView> PictureSections(TextView picture)
{
    std::vector<TextView> sections;
    Text ignored;
    TextView rest = picture;
    TextView start = picture;
    while (!rest.empty()) {
        if (TakeLiteral(rest, ignored)) continue;
        if (rest.front() == u';') {
            sections.push_back(start.substr(0, start.size() - rest.size()));
            start = rest.substr(1);
        }
        rest.remove_prefix(1);
    }
    sections.push_back(start);
    return sections;
}

bool TakeLiteral(TextView& rest, Text& text)
{
    if (rest.front() == u'\\') {
        if (rest.size() > 1) text += rest[1];
        rest.remove_prefix(std::min<std::size_t>(2, rest.size()));
        return true;
    }
    if (rest.front() != u'"') return false;
    const std::size_t end = std::min(rest.find(u'"', 1), rest.size());
    text += rest.substr(1, end - 1);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return true;
}

Text Format(const Variant& value, TextView picture, const Locale& numbers, const Locale& dates, const WeekRule& weeks)
{
    if (value.IsObject()) return Format(DefaultValue(value), picture, numbers, dates, weeks);
    if (value.IsEmpty() || value.IsNull()) return FormatEmpty(picture);
    if (value.IsArray() || value.Holds<ErrorCode>()) throw Error(ErrorNumber::TypeMismatch);
    if (picture.empty() || EqualIgnoringCase(picture, u"General Number")) {
        if (value.IsText() || value.Holds<bool>() || (value.Holds<Date>() && picture.empty())) return ToText(value);
        const double number = ToDouble(value);
        return value.Holds<float>() ? NumberToText(value.As<float>(), numbers) : NumberToText(number, numbers);
    }
    if (auto choice = NamedChoice(value, picture, numbers)) return *choice;

    const Text numberPicture = NumberPicture(picture, numbers);
    const TextView datePicture = DatePicture(picture);
    PictureKind kind = KindOf(picture);
    if (!numberPicture.empty()) kind = PictureKind::Number;
    if (!datePicture.empty()) kind = PictureKind::Date;

    if (kind == PictureKind::Date) {
        const auto date = DateOf(value, dates);
        return date ? FormatDate(*date, datePicture.empty() ? picture : datePicture, dates, weeks) : ToText(value);
    }
    if (kind == PictureKind::Text) return FormatText(ToText(value), picture);
    const auto digits = DigitsOf(value, numbers);
    return digits ? FormatNumber(*digits, numberPicture.empty() ? picture : TextView(numberPicture), numbers)
                  : ToText(value);
}

}  // namespace vmlib
