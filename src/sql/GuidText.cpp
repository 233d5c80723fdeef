#include "sql/GuidText.h"

#include <algorithm>
#include <array>

namespace vmlib::sql {
namespace {

// Positions of the bytes in the order in which the digits print: three little-endian groups, then eight bytes as they
// stand.
constexpr std::array<std::size_t, 16> printOrder = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr TextView pattern = u"xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
constexpr char digits[] = "0123456789ABCDEF";

int DigitValue(char16_t character)
{
    if (character >= u'0' && character <= u'9') return character - u'0';
    if (character >= u'a' && character <= u'f') return character - u'a' + 10;
    if (character >= u'A' && character <= u'F') return character - u'A' + 10;
    return -1;
}

}  // namespace

std::optional<Guid> GuidFromText(TextView text)
{
    text = Trim(text);
    if (StartsWithIgnoringCase(text, u"{guid") && text.ends_with(u"}}")) text = Trim(text.substr(5, text.size() - 6));
    if (text.size() != pattern.size() + 2 || text.front() != u'{' || text.back() != u'}') return std::nullopt;
    text = text.substr(1, pattern.size());

    Guid guid;
    std::size_t count = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == u'-') {
            if (text[i] != u'-') return std::nullopt;
            continue;
        }
        const int high = DigitValue(text[i]), low = DigitValue(text[i + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        guid.bytes[printOrder[count++]] = static_cast<std::uint8_t>(high * 16 + low);
        ++i;
    }
    return guid;
}

std::optional<Guid> GuidFromBytes(std::span<const std::uint8_t> bytes)
{
    Guid guid;
    if (bytes.size() != guid.bytes.size()) return std::nullopt;
    std::copy(bytes.begin(), bytes.end(), guid.bytes.begin());
    return guid;
}

Text GuidToText(const Guid& guid)
{
    Text text = u"{guid {";
    std::size_t count = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == u'-') {
            text += u'-';
            continue;
        }
        const std::uint8_t byte = guid.bytes[printOrder[count++]];
        text += static_cast<char16_t>(digits[byte >> 4]);
        text += static_cast<char16_t>(digits[byte & 15]);
        ++i;
    }
    return text + u"}}";
}

std::string GuidLiteral(const Guid& guid)
{
    std::string text = "X'";
    for (const std::uint8_t byte : guid.bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text + "'";
}

}  // namespace vmlib::sql
