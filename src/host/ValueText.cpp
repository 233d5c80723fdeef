#include "host/ValueText.h"

#include <charconv>
#include <limits>

#include "automation/Convert.h"
#include "core/Error.h"

namespace vmlib::host {

void Mismatch(std::string_view reason)
{
    throw Error(static_cast<std::int32_t>(ErrorNumber::TypeMismatch),
                ErrorText(static_cast<std::int32_t>(ErrorNumber::TypeMismatch)) + u": " + FromUtf8(reason));
}

std::string DecimalText(const DecimalNumber& number)
{
    std::uint32_t parts[3] = {number.high, number.middle, number.low};
    std::string digits;
    while (parts[0] | parts[1] | parts[2]) {
        std::uint64_t remainder = 0;
        for (std::uint32_t& part : parts) {
            const std::uint64_t dividend = remainder << 32 | part;
            part = static_cast<std::uint32_t>(dividend / 10);
            remainder = dividend % 10;
        }
        digits.insert(digits.begin(), static_cast<char>('0' + remainder));
    }
    if (digits.size() <= number.scale) digits.insert(0, number.scale + 1u - digits.size(), '0');
    if (number.scale > 0) digits.insert(digits.size() - number.scale, ".");
    return number.negative ? "-" + digits : digits;
}

DecimalNumber DecimalFromText(std::string_view text)
{
    DecimalNumber number;
    number.negative = text.starts_with('-');
    bool behindPoint = false, hasDigit = false;
    for (const char c : text.substr(number.negative ? 1 : 0)) {
        if (c == '.' && !behindPoint) {
            behindPoint = true;
            continue;
        }
        if (c < '0' || c > '9') Mismatch("no decimal number: " + std::string(text));
        hasDigit = true;
        if (behindPoint && ++number.scale > 28) throw Error(ErrorNumber::Overflow);
        std::uint64_t carry = static_cast<std::uint64_t>(c - '0');
        for (std::uint32_t* part : {&number.low, &number.middle, &number.high}) {
            carry += static_cast<std::uint64_t>(*part) * 10;
            *part = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        if (carry) throw Error(ErrorNumber::Overflow);
    }
    if (!hasDigit) Mismatch("no decimal number: " + std::string(text));
    return number;
}

std::string IsoDate(Date date)
{
    const CalendarDate parts = SplitDate(date);
    char text[32];
    int length = std::snprintf(text, sizeof text, "%04d-%02d-%02d", parts.year, parts.month, parts.day);
    if (parts.hour || parts.minute || parts.second)
        length += std::snprintf(text + length, sizeof text - static_cast<std::size_t>(length), "T%02d:%02d:%02d",
                                parts.hour, parts.minute, parts.second);
    return std::string(text, static_cast<std::size_t>(length));
}

Date FromIsoDate(std::string_view text)
{
    constexpr std::string_view form = "0000-00-00T00:00:00";
    bool fits = text.size() == 10 || text.size() == form.size();
    for (std::size_t i = 0; fits && i < text.size(); ++i)
        fits = form[i] == '0' ? text[i] >= '0' && text[i] <= '9' : text[i] == form[i];
    if (!fits) Mismatch("a date is written 2024-03-05 or 2024-03-05T06:00:00, not " + std::string(text));
    const auto number = [&](std::size_t at, std::size_t count) {
        std::int16_t value = 0;
        if (at < text.size()) std::from_chars(text.data() + at, text.data() + at + count, value);
        return value;
    };
    const std::int16_t year = number(0, 4), month = number(5, 2), day = number(8, 2);
    const std::int16_t hour = number(11, 2), minute = number(14, 2), second = number(17, 2);
    if (year < 100) throw Error(ErrorNumber::Overflow);
    const Date date = DateSerial(year, month, day);
    const CalendarDate back = SplitDate(date);
    if (back.month != month || back.day != day || hour > 23 || minute > 59 || second > 59)
        Mismatch("no such moment: " + std::string(text));
    const double time = TimeSerial(hour, minute, second).serial;
    return Date{date.serial < 0 ? date.serial - time : date.serial + time};
}

std::string ToHex(std::string_view bytes)
{
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::optional<std::string> FromHex(std::string_view digits)
{
    if (digits.size() % 2 != 0) return std::nullopt;
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        unsigned char byte = 0;
        const auto [end, error] = std::from_chars(digits.data() + i, digits.data() + i + 2, byte, 16);
        if (error != std::errc() || end != digits.data() + i + 2) return std::nullopt;
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::string CurrencyText(Currency value)
{
    DecimalNumber number;
    number.negative = value.units < 0;
    const auto magnitude =
        number.negative ? 0 - static_cast<std::uint64_t>(value.units) : static_cast<std::uint64_t>(value.units);
    number.middle = static_cast<std::uint32_t>(magnitude >> 32);
    number.low = static_cast<std::uint32_t>(magnitude);
    number.scale = 4;
    std::string text = DecimalText(number);
    while (text.back() == '0') text.pop_back();
    if (text.back() == '.') text.pop_back();
    return text;
}

Currency FromCurrencyText(std::string_view text)
{
    DecimalNumber number = DecimalFromText(text);
    if (number.scale > 4) Mismatch("Currency has four decimals: " + std::string(text));
    std::uint64_t magnitude = static_cast<std::uint64_t>(number.middle) << 32 | number.low;
    bool overflow = number.high != 0;
    for (; number.scale < 4; ++number.scale) {
        overflow = overflow || magnitude > std::numeric_limits<std::uint64_t>::max() / 10;
        magnitude *= 10;
    }
    const auto limit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (overflow || magnitude > limit + (number.negative ? 1 : 0)) throw Error(ErrorNumber::Overflow);
    return Currency{static_cast<std::int64_t>(number.negative ? 0 - magnitude : magnitude)};
}

}  // namespace vmlib::host
