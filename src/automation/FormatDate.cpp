// Dates to text: by a picture, and as CStr makes them.

#include <algorithm>
#include <cmath>
#include <utility>

#include "automation/FormatParts.h"

namespace vmlib {
namespace {

Text Padded(int number, std::size_t digits)
{
    Text text = Decimal(number);
    if (text.size() < digits) text.insert(0, digits - text.size(), u'0');
    return text;
}

struct HalfMark
{
    TextView mark, morning, afternoon;
};
// Longest first. The last one takes the words of the mark itself.
constexpr HalfMark halfMarks[] = {
    {u"AM/PM", u"AM", u"PM"},
    {u"AMPM", u"AM", u"PM"},
    {u"A/P", u"A", u"P"},
};

class DateFormatter
{
public:
    DateFormatter(Date date, TextView picture, const Locale& locale, const WeekRule& weeks)
        : date_(WholeSeconds(date)),
          parts_(SplitDate(date)),
          rest_(picture),
          locale_(locale),
          weeks_(weeks),
          twelveHours_(HasHalfMark(picture))
    {
    }

    Text Format()
    {
        while (!rest_.empty()) {
            if (TakeLiteral(rest_, text_) || Half() || Field()) continue;
            const char16_t next = rest_.front();
            text_ += next == u'/' ? locale_.dateSeparator : next == u':' ? locale_.timeSeparator : next;
            rest_.remove_prefix(1);
        }
        return text_;
    }

private:
    // The day that the parts belong to, which rounding to seconds may have made the next one.
    static Date WholeSeconds(Date date)
    {
        CalendarDate day = SplitDate(date);
        day.hour = day.minute = day.second = 0;
        return *JoinDate(day);
    }

    static bool HasHalfMark(TextView picture)
    {
        Text ignored;
        while (!picture.empty()) {
            if (TakeLiteral(picture, ignored)) continue;
            for (const HalfMark& half : halfMarks) {
                if (StartsWithIgnoringCase(picture, half.mark)) return true;
            }
            picture.remove_prefix(1);
        }
        return false;
    }

    bool Half()
    {
        for (const HalfMark& half : halfMarks) {
            if (!StartsWithIgnoringCase(rest_, half.mark)) continue;
            const bool lower = rest_.front() == u'a';
            const TextView word = parts_.hour < 12 ? half.morning : half.afternoon;
            text_ += lower ? LowerCase(word) : Text(word);
            rest_.remove_prefix(half.mark.size());
            return true;
        }
        return false;
    }

    // A run of one letter, as long as the letter allows.
    bool Field()
    {
        const char16_t letter = LowerCase(rest_.front());
        const std::size_t longest = LongestRun(letter);
        if (longest == 0) return false;
        std::size_t count = 1;
        while (count < longest && count < rest_.size() && LowerCase(rest_[count]) == letter) ++count;
        if (letter == u'y' && count == 3) count = 2;
        rest_.remove_prefix(count);
        const bool afterHour = std::exchange(afterHour_, letter == u'h');
        if (letter == u't') {
            if (count == longest)
                Append(locale_.time);
            else
                text_.append(count, u't');
        } else if (letter == u'm' && afterHour && count <= 2) {
            text_ += Padded(parts_.minute, count);
        } else {
            AppendField(letter, count);
        }
        return true;
    }

    static std::size_t LongestRun(char16_t letter)
    {
        switch (letter) {
            case u'd':
                return 6;
            case u't':
                return 5;
            case u'm':
            case u'y':
                return 4;
            case u'h':
            case u'n':
            case u's':
            case u'w':
                return 2;
            case u'q':
            case u'c':
                return 1;
            default:
                return 0;
        }
    }

    void AppendField(char16_t letter, std::size_t count)
    {
        switch (letter) {
            case u'c':
                text_ += DateToText(*JoinDate(parts_), locale_);
                break;
            case u'd':
                AppendDay(count);
                break;
            case u'm':
                AppendMonth(count);
                break;
            case u'y':
                AppendYear(count);
                break;
            case u'q':
                text_ += Decimal((parts_.month + 2) / 3);
                break;
            case u'w':
                text_ += Decimal(count == 1 ? Weekday(date_, weeks_.firstWeekday) : WeekOfYear(date_, weeks_));
                break;
            case u'h':
                text_ += Padded(twelveHours_ ? (parts_.hour + 11) % 12 + 1 : parts_.hour, count);
                break;
            case u'n':
                text_ += Padded(parts_.minute, count);
                break;
            default:
                text_ += Padded(parts_.second, count);
                break;
        }
    }

    void AppendDay(std::size_t count)
    {
        const auto weekday = static_cast<std::size_t>(Weekday(date_) - 1);
        if (count <= 2)
            text_ += Padded(parts_.day, count);
        else if (count == 3)
            text_ += locale_.shortDayNames[weekday];
        else if (count == 4)
            text_ += locale_.dayNames[weekday];
        else
            Append(count == 5 ? locale_.shortDate : locale_.longDate);
    }

    void AppendMonth(std::size_t count)
    {
        const auto month = static_cast<std::size_t>(parts_.month - 1);
        if (count <= 2)
            text_ += Padded(parts_.month, count);
        else
            text_ += (count == 3 ? locale_.shortMonthNames : locale_.monthNames)[month];
    }

    void AppendYear(std::size_t count)
    {
        if (count == 1)
            text_ += Decimal(DayOfYear(date_));
        else
            text_ += count == 2 ? Padded(parts_.year % 100, 2) : Padded(parts_.year, 4);
    }

    void Append(TextView picture)
    {
        const auto moment = JoinDate(parts_);
        text_ += FormatDate(*moment, picture, locale_);
    }

    Date date_;
    CalendarDate parts_;
    TextView rest_;
    const Locale& locale_;
    const WeekRule& weeks_;
    bool twelveHours_;
    bool afterHour_ = false;
    Text text_;
};

}  // namespace

Text FormatDate(Date date, TextView picture, const Locale& locale, const WeekRule& weeks)
{
    return DateFormatter(date, picture, locale, weeks).Format();
}

Text DateToText(Date value, const Locale& locale)
{
    const CalendarDate parts = SplitDate(value);
    const bool hasTime = parts.hour != 0 || parts.minute != 0 || parts.second != 0;
    const bool hasDay = parts.year != 1899 || parts.month != 12 || parts.day != 30;
    if (!hasDay) return FormatDate(value, locale.time, locale);
    const Text day = FormatDate(value, locale.shortDate, locale);
    return hasTime ? day + u" " + FormatDate(value, locale.time, locale) : day;
}

}  // namespace vmlib
