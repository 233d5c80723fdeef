#include "core/Text.h"

#include <cstdint>

namespace vmlib {
namespace {

constexpr char16_t replacement = 0xFFFD;

constexpr bool IsHighSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsLowSurrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void AppendUtf16(Text& text, char32_t codePoint)
{
    if (codePoint < 0x10000) {
        text += static_cast<char16_t>(codePoint);
        return;
    }
    const char32_t rest = codePoint - 0x10000;
    text += static_cast<char16_t>(0xD800 + (rest >> 10));
    text += static_cast<char16_t>(0xDC00 + (rest & 0x3FF));
}

void AppendUtf8(std::string& utf8, char32_t codePoint)
{
    const auto byte = [&](char32_t value) { utf8 += static_cast<char>(static_cast<unsigned char>(value)); };
    const auto tail = [&](unsigned shift) { byte(0x80 | ((codePoint >> shift) & 0x3F)); };
    if (codePoint < 0x80) {
        byte(codePoint);
    } else if (codePoint < 0x800) {
        byte(0xC0 | (codePoint >> 6));
        tail(0);
    } else if (codePoint < 0x10000) {
        byte(0xE0 | (codePoint >> 12));
        tail(6);
        tail(0);
    } else {
        byte(0xF0 | (codePoint >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

struct Sequence
{
    char32_t codePoint;
    std::size_t length;
};

// The sequence at the start of `bytes`; of a malformed one the part that could have begun a character (at least one
// byte), as U+FFFD.
Sequence DecodeUtf8(std::string_view bytes)
{
    const auto lead = static_cast<unsigned char>(bytes[0]);
    if (lead < 0x80) return {lead, 1};
    if (lead < 0xC2 || lead > 0xF4) return {replacement, 1};

    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t codePoint = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if (i == bytes.size()) return {replacement, i};
        const auto next = static_cast<unsigned char>(bytes[i]);
        // The second byte also excludes overlong forms, surrogates and what lies above U+10FFFF.
        const unsigned lowest = i > 1 ? 0x80 : lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        const unsigned highest = i > 1 ? 0xBF : lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        if (next < lowest || next > highest) return {replacement, i};
        codePoint = (codePoint << 6) | (next & 0x3FU);
    }
    return {codePoint, length};
}

}  // namespace

Text FromUtf8(std::string_view utf8)
{
    Text text;
    text.reserve(utf8.size());
    while (!utf8.empty()) {
        const Sequence sequence = DecodeUtf8(utf8);
        AppendUtf16(text, sequence.codePoint);
        utf8.remove_prefix(sequence.length);
    }
    return text;
}

std::string ToUtf8(TextView text)
{
    std::string utf8;
    utf8.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t codePoint = text[i];
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (text[++i] - 0xDC00U);
        } else if (IsHighSurrogate(text[i]) || IsLowSurrogate(text[i])) {
            codePoint = replacement;
        }
        AppendUtf8(utf8, codePoint);
    }
    return utf8;
}

TextView TrimLeft(TextView text)
{
    const std::size_t start = text.find_first_not_of(u' ');
    return start == TextView::npos ? TextView{} : text.substr(start);
}

TextView TrimRight(TextView text)
{
    return text.substr(0, text.find_last_not_of(u' ') + 1);
}

TextView Trim(TextView text)
{
    return TrimLeft(TrimRight(text));
}

Text Replaced(TextView text, TextView what, TextView with)
{
    if (what.empty()) return Text(text);
    Text result;
    std::size_t from = 0;
    for (std::size_t at = text.find(what); at != TextView::npos; at = text.find(what, from)) {
        result += text.substr(from, at - from);
        result += with;
        from = at + what.size();
    }
    result += text.substr(from);
    return result;
}

Text Decimal(long long number)
{
    Text text;
    for (const char digit : std::to_string(number)) text += static_cast<char16_t>(digit);
    return text;
}

}  // namespace vmlib
