// Text to a date: the text is cut into numbers, names of months, and one time; then the numbers are tried as day, month
// and year in the order of the locale, then in the other orders. What fits no order is no date.

#include <chrono>
#include <vector>

#include "automation/Convert.h"
#include "automation/NumberText.h"
#include "core/Error.h"

namespace vmlib {
namespace {

constexpr std::size_t longestNumber = 4;

bool IsDigit(char16_t character)
{
    return character >= u'0' && character <= u'9';
}

bool IsLetter(char16_t character)
{
    return UpperCase(character) != LowerCase(character);
}

int CurrentYear()
{
    const auto today = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
    return static_cast<int>(std::chrono::year_month_day(today).year());
}

struct Number
{
    int value = 0;
    std::size_t digits = 0;
    // Decides where the locale's order does not: such a number can be nothing else.
    bool IsYear() const { return digits > 2 || value > 31; }
};

struct Parts
{
    std::vector<Number> numbers;
    std::size_t monthAt = 0;  // how many numbers stand before the name of the month
    int month = 0;            // 0: no name
    bool hasTime = false;
    int hour = 0, minute = 0, second = 0;
    enum class Half
    {
        None,
        Morning,
        Afternoon
    } half = Half::None;
};

// Cuts the text into its parts; false when something in it belongs to no date.
class DateScanner
{
public:
    DateScanner(TextView text, const Locale& locale) : rest_(text), locale_(locale) {}

    bool Scan(Parts& parts)
    {
        bool separated = true;  // a separator stands between two parts only, and only one
        while (SkipBlanks(), !rest_.empty()) {
            const char16_t next = rest_.front();
            if (IsDigit(next)) {
                if (!NumberOrTime(parts)) return false;
                separated = false;
            } else if (IsLetter(next)) {
                if (!Word(parts)) return false;
                separated = false;
            } else {
                if (separated || !IsSeparator(next)) return false;
                rest_.remove_prefix(1);
                separated = true;
                SkipBlanks();
                if (rest_.empty()) return false;
            }
        }
        return true;
    }

private:
    void SkipBlanks()
    {
        while (!rest_.empty() && (rest_.front() == u' ' || rest_.front() == u'\t' || rest_.front() == 0x00A0))
            rest_.remove_prefix(1);
    }

    bool IsSeparator(char16_t character) const
    {
        return character == u'-' || character == u'/' || character == u',' || character == u'.' ||
               character == locale_.dateSeparator;
    }

    bool SeparatesTime(std::size_t at) const
    {
        if (at + 1 >= rest_.size() || !IsDigit(rest_[at + 1])) return false;
        const char16_t character = rest_[at];
        if (character == locale_.dateSeparator) return false;
        return character == u':' || character == u'.' || character == locale_.timeSeparator;
    }

    bool ReadNumber(Number& number)
    {
        number = {};
        while (number.digits < rest_.size() && IsDigit(rest_[number.digits])) {
            if (number.digits == longestNumber) return false;
            number.value = number.value * 10 + (rest_[number.digits++] - u'0');
        }
        rest_.remove_prefix(number.digits);
        return number.digits > 0;
    }

    bool NumberOrTime(Parts& parts)
    {
        Number number;
        if (!ReadNumber(number)) return false;
        if (!SeparatesTime(0)) {
            parts.numbers.push_back(number);
            return true;
        }
        if (parts.hasTime || number.digits > 2) return false;
        parts.hasTime = true;
        parts.hour = number.value;
        for (int* part : {&parts.minute, &parts.second}) {
            if (!SeparatesTime(0)) return true;
            rest_.remove_prefix(1);
            if (!ReadNumber(number) || number.digits > 2) return false;
            *part = number.value;
        }
        return !SeparatesTime(0);
    }

    bool Word(Parts& parts)
    {
        std::size_t length = 0;
        while (length < rest_.size() && IsLetter(rest_[length])) ++length;
        const TextView word = rest_.substr(0, length);
        rest_.remove_prefix(length);
        if (IsHalf(word, u"AM", u"A")) return SetHalf(parts, Parts::Half::Morning);
        if (IsHalf(word, u"PM", u"P")) return SetHalf(parts, Parts::Half::Afternoon);
        if (const int month = MonthNamed(word)) {
            if (parts.month != 0) return false;
            parts.month = month;
            parts.monthAt = parts.numbers.size();
            return true;
        }
        return IsDayName(word);  // says nothing new
    }

    static bool IsHalf(TextView word, TextView name, TextView letter)
    {
        return EqualIgnoringCase(word, name) || EqualIgnoringCase(word, letter);
    }

    // "5 PM" is a time without minutes.
    static bool SetHalf(Parts& parts, Parts::Half half)
    {
        if (parts.half != Parts::Half::None) return false;
        if (!parts.hasTime) {
            if (parts.numbers.empty()) return false;
            parts.hasTime = true;
            parts.hour = parts.numbers.back().value;
            parts.numbers.pop_back();
        }
        parts.half = half;
        return true;
    }

    int MonthNamed(TextView word) const
    {
        for (const Locale* locale : {&locale_, &Locale::English()}) {
            for (std::size_t i = 0; i < 12; ++i) {
                if (EqualIgnoringCase(word, locale->monthNames[i]) ||
                    EqualIgnoringCase(word, locale->shortMonthNames[i])) {
                    return static_cast<int>(i) + 1;
                }
            }
        }
        return 0;
    }

    bool IsDayName(TextView word) const
    {
        for (const Locale* locale : {&locale_, &Locale::English()}) {
            for (std::size_t i = 0; i < 7; ++i) {
                if (EqualIgnoringCase(word, locale->dayNames[i]) || EqualIgnoringCase(word, locale->shortDayNames[i]))
                    return true;
            }
        }
        return false;
    }

    TextView rest_;
    const Locale& locale_;
};

bool SetTime(const Parts& parts, CalendarDate& date)
{
    date.hour = parts.hour;
    date.minute = parts.minute;
    date.second = parts.second;
    if (parts.half == Parts::Half::None) return true;
    if (date.hour > 12) return false;
    date.hour = date.hour % 12 + (parts.half == Parts::Half::Afternoon ? 12 : 0);
    return true;
}

std::optional<CalendarDate> Day(int year, int month, int day)
{
    const CalendarDate date{year, month, day, 0, 0, 0};
    return JoinDate(date) ? std::optional(date) : std::nullopt;
}

std::optional<CalendarDate> DayOrMonth(int month, const Number& number)
{
    if (!number.IsYear()) {
        if (auto date = Day(CurrentYear(), month, number.value)) return date;
    }
    return Day(FullYear(number.value), month, 1);
}

// One or two numbers beside the name of a month.
std::optional<CalendarDate> WithMonthName(const Parts& parts, const Locale& locale)
{
    const auto& numbers = parts.numbers;
    if (numbers.size() == 1) return DayOrMonth(parts.month, numbers[0]);
    if (numbers.size() != 2) return std::nullopt;
    const bool yearFirst =
        numbers[0].IsYear() || (locale.dateOrder == Locale::DateOrder::YearMonthDay && !numbers[1].IsYear());
    const Number& year = numbers[yearFirst ? 0 : 1];
    const Number& day = numbers[yearFirst ? 1 : 0];
    if (day.digits > 2) return std::nullopt;
    if (auto date = Day(FullYear(year.value), parts.month, day.value)) return date;
    return year.digits > 2 ? std::nullopt : Day(FullYear(day.value), parts.month, year.value);
}

std::optional<CalendarDate> TwoNumbers(const Number& first, const Number& second, const Locale& locale)
{
    const auto dayAndMonth = [](const Number& day, const Number& month) -> std::optional<CalendarDate> {
        if (day.digits > 2 || month.digits > 2) return std::nullopt;
        return Day(CurrentYear(), month.value, day.value);
    };
    const bool dayFirst = locale.dateOrder == Locale::DateOrder::DayMonthYear;
    if (auto date = dayFirst ? dayAndMonth(first, second) : dayAndMonth(second, first)) return date;
    if (auto date = dayFirst ? dayAndMonth(second, first) : dayAndMonth(first, second)) return date;
    const bool monthFirst = second.IsYear() || (!first.IsYear() && first.value <= 12);
    const Number& month = monthFirst ? first : second;
    const Number& year = monthFirst ? second : first;
    return month.digits > 2 ? std::nullopt : Day(FullYear(year.value), month.value, 1);
}

// Which of three numbers is the day, the month, the year.
struct Order
{
    std::size_t day, month, year;
};
constexpr Order monthDayYear{1, 0, 2};
constexpr Order dayMonthYear{0, 1, 2};
constexpr Order yearMonthDay{2, 1, 0};
constexpr Order yearDayMonth{1, 2, 0};

std::optional<CalendarDate> ThreeNumbers(const std::vector<Number>& numbers, const Locale& locale)
{
    using Orders = std::array<Order, 4>;
    Orders orders{monthDayYear, yearMonthDay, dayMonthYear, yearDayMonth};
    if (locale.dateOrder == Locale::DateOrder::DayMonthYear)
        orders = {dayMonthYear, yearMonthDay, monthDayYear, yearDayMonth};
    if (locale.dateOrder == Locale::DateOrder::YearMonthDay)
        orders = {yearMonthDay, monthDayYear, dayMonthYear, yearDayMonth};
    for (const Order& order : orders) {
        const Number& day = numbers[order.day];
        const Number& month = numbers[order.month];
        if (day.digits > 2 || month.digits > 2) continue;
        if (auto date = Day(FullYear(numbers[order.year].value), month.value, day.value)) return date;
    }
    return std::nullopt;
}

std::optional<CalendarDate> DayOf(const Parts& parts, const Locale& locale)
{
    if (parts.month != 0) return WithMonthName(parts, locale);
    const auto& numbers = parts.numbers;
    if (numbers.empty() && parts.hasTime) return CalendarDate{};
    if (numbers.size() == 2) return TwoNumbers(numbers[0], numbers[1], locale);
    if (numbers.size() == 3) return ThreeNumbers(numbers, locale);
    return std::nullopt;
}

}  // namespace

std::optional<Date> ParseDate(TextView text, const Locale& locale)
{
    Parts parts;
    if (!DateScanner(UpToZero(text), locale).Scan(parts)) return std::nullopt;
    auto date = DayOf(parts, locale);
    if (!date || !SetTime(parts, *date)) return std::nullopt;
    return JoinDate(*date);
}

Date TextToDate(TextView text, const Locale& locale)
{
    const auto date = ParseDate(text, locale);
    if (!date) throw Error(ErrorNumber::TypeMismatch);
    return *date;
}

}  // namespace vmlib
