#include "platform/posix/IniFile.h"

#include <algorithm>
#include <string>

namespace vmlib::posix {

namespace {

bool IsBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r') || c == '\x1A';
}

std::string_view WithoutBlanks(std::string_view bytes)
{
    while (!bytes.empty() && IsBlank(bytes.front())) bytes.remove_prefix(1);
    while (!bytes.empty() && IsBlank(bytes.back())) bytes.remove_suffix(1);
    return bytes;
}

bool IsNamed(std::string_view name, std::string_view wanted)
{
    const auto upper = [](char c) { return UpperCase(FromAnsi(static_cast<unsigned char>(c))); };
    return std::equal(name.begin(), name.end(), wanted.begin(), wanted.end(),
                      [&](char left, char right) { return upper(left) == upper(right); });
}

std::string_view WithoutQuotes(std::string_view value)
{
    const bool isQuoted =
        value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.front() == value.back();
    return isQuoted ? value.substr(1, value.size() - 2) : value;
}

/// Takes the next line off the front, without blanks around it.
std::string_view TakeLine(std::string_view& rest)
{
    const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
    const std::string_view line = WithoutBlanks(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
}

/// The name of the section that a line begins; no value for any other line.
std::optional<std::string_view> SectionOf(std::string_view line)
{
    const std::size_t end = line.find(']');
    if (!line.starts_with('[') || end == std::string_view::npos) return std::nullopt;
    return WithoutBlanks(line.substr(1, end - 1));
}

}  // namespace

std::optional<Text> IniValue(std::string_view bytes, TextView section, TextView key)
{
    const std::string sectionBytes = ToAnsi(section), keyBytes = ToAnsi(key);
    const std::string_view wantedSection = WithoutBlanks(sectionBytes), wantedKey = WithoutBlanks(keyBytes);
    if (wantedSection.empty() || wantedKey.empty()) return std::nullopt;

    bool isInside = false;
    while (!bytes.empty()) {
        const std::string_view line = TakeLine(bytes);
        if (const auto name = SectionOf(line)) {
            if (isInside) return std::nullopt;
            isInside = IsNamed(*name, wantedSection);
            continue;
        }
        const std::size_t equals = isInside ? line.find('=') : std::string_view::npos;
        if (equals == std::string_view::npos || line.front() == ';') continue;
        if (!IsNamed(WithoutBlanks(line.substr(0, equals)), wantedKey)) continue;
        const std::string_view value = line.substr(equals + 1);
        return FromAnsi(WithoutQuotes(WithoutBlanks(value.substr(0, value.find('\0')))));
    }
    return std::nullopt;
}

std::int32_t LeadingNumber(TextView text)
{
    while (!text.empty() && text.front() <= u' ') text.remove_prefix(1);
    const bool isNegative = text.starts_with(u'-');
    if (isNegative || text.starts_with(u'+')) text.remove_prefix(1);
    std::uint32_t base = 10;
    if (text.starts_with(u"0x")) base = 16;
    if (text.starts_with(u"0o")) base = 8;
    if (text.starts_with(u"0b")) base = 2;
    if (base != 10) text.remove_prefix(2);

    std::uint32_t number = 0;
    for (const char16_t c : text) {
        std::uint32_t digit = base;
        if (c >= u'0' && c <= u'9') digit = static_cast<std::uint32_t>(c - u'0');
        if (UpperCase(c) >= u'A' && UpperCase(c) <= u'F') digit = static_cast<std::uint32_t>(UpperCase(c) - u'A' + 10);
        if (digit >= base) break;
        number = number * base + digit;
    }
    return static_cast<std::int32_t>(isNegative ? 0 - number : number);
}

}  // namespace vmlib::posix
