#include "platform/posix/RegistryValue.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "core/ByteOrder.h"
#include "platform/RegistryStore.h"

// The right side of a value in export form:
//
//   "text"                 text (type 1), its closing zero not written
//   dword:0000000a         number (type 4)
//   hex:01,02              bytes (type 3)
//   hex(1):61,00,00,00     bytes of the type in brackets, a hexadecimal number
//
// Where a byte may begin, "\" at the end of a line goes on in the next one.
namespace vmlib::posix {

namespace {

constexpr std::uint32_t typeBinary = 3;

int HexDigit(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string Hex(std::uint32_t number, int digitCount)
{
    char digits[16];
    std::snprintf(digits, sizeof digits, "%0*x", digitCount, static_cast<unsigned>(number));
    return digits;
}

Bytes BytesOfText(TextView text)
{
    Bytes bytes(text.size() * 2);
    for (std::size_t i = 0; i < text.size(); ++i)
        StoreLittle(bytes.data() + 2 * i, static_cast<std::uint16_t>(text[i]));
    return bytes;
}

/// An odd byte at the end is no character.
Text TextOfBytes(const Bytes& bytes)
{
    Text text(bytes.size() / 2, u'\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char16_t>(LoadLittle<std::uint16_t>(bytes.data() + 2 * i));
    return text;
}

/// Control characters of both sets and what editors take for a line end.
bool IsControl(char16_t c)
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029;
}

/// Without its closing zero, if quotes can hold it: an editor that a user changes another line with keeps it as it is.
std::optional<Text> QuotableText(const StoredValue& value)
{
    if (value.type != registryText || value.data.size() < 2 || value.data.size() % 2 != 0) return std::nullopt;
    Text text = TextOfBytes(value.data);
    if (text.back() != u'\0') return std::nullopt;
    text.pop_back();
    if (std::any_of(text.begin(), text.end(), IsControl) || FromUtf8(ToUtf8(text)) != text) return std::nullopt;
    return text;
}

std::string PrintBytes(const std::string& prefix, const Bytes& bytes, std::size_t column, std::string_view lineEnd)
{
    constexpr std::size_t width = 80;
    std::string printed = prefix;
    column += prefix.size();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i > 0 && column + 4 > width) {  // a byte, its comma and "\"
            printed.append("\\").append(lineEnd).append("  ");
            column = 2;
        }
        printed += Hex(bytes[i], 2);
        if (i + 1 < bytes.size()) printed += ',';
        column += 3;
    }
    return printed;
}

}  // namespace

bool IsTextType(std::uint32_t type)
{
    return type == registryText || type == 2 || type == 7;
}

StoredValue ValueOfAnsi(std::uint32_t type, std::string_view data)
{
    if (!IsTextType(type)) return {type, Bytes(data.begin(), data.end())};
    Text text = FromAnsi(data);
    if (text.empty() || text.back() != u'\0') text += u'\0';
    return {type, BytesOfText(text)};
}

std::string AnsiOfValue(const StoredValue& value)
{
    if (!IsTextType(value.type)) return {value.data.begin(), value.data.end()};
    return ToAnsi(TextOfBytes(value.data));
}

StoredValue ValueOfText(TextView text)
{
    return {registryText, BytesOfText(Text(text) + u'\0')};
}

void RegistryScanner::Fail(std::size_t at, const char* what) const
{
    const auto end = text_.begin() + static_cast<std::ptrdiff_t>(at);
    throw RegistryDamage(1 + static_cast<std::size_t>(std::count(text_.begin(), end, '\n')), what);
}

void RegistryScanner::SkipBlanks()
{
    while (!AtEnd() && (text_[at_] == ' ' || text_[at_] == '\t' || text_[at_] == '\r')) ++at_;
}

bool RegistryScanner::Skip(std::string_view word)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    const std::string_view here = text_.substr(at_, word.size());
    if (!std::equal(here.begin(), here.end(), word.begin(), word.end(),
                    [&](char left, char right) { return lower(left) == lower(right); }))
        return false;
    at_ += word.size();
    return true;
}

std::string_view RegistryScanner::Line() const
{
    const std::string_view rest = text_.substr(at_);
    return rest.substr(0, rest.find('\n'));
}

void RegistryScanner::EndLine(std::size_t began, const char* behind)
{
    SkipBlanks();
    if (Peek() == ';') at_ += Line().size();
    if (Peek() != '\n') Fail(began, behind);
    if (!AtEnd()) ++at_;
}

Text RegistryScanner::Quoted()
{
    const std::size_t began = at_++;
    std::string utf8;
    for (;;) {
        const std::size_t end = std::min(text_.find_first_of("\"\\", at_), text_.size());
        utf8 += text_.substr(at_, end - at_);
        at_ = end;
        if (AtEnd()) Fail(began, "no \" ends the text that begins here");
        if (text_[at_++] == '"') return FromUtf8(utf8);
        if (AtEnd() || (text_[at_] != '"' && text_[at_] != '\\'))
            Fail(at_ - 1, "\\ in a text must be written \\\\, and \" as \\\"");
        utf8 += text_[at_++];
    }
}

std::uint32_t RegistryScanner::HexNumber(std::size_t greatestDigitCount, const char* what)
{
    const std::size_t began = at_;
    std::uint32_t number = 0;
    while (!AtEnd() && HexDigit(text_[at_]) >= 0)
        number = number << 4 | static_cast<std::uint32_t>(HexDigit(text_[at_++]));
    if (at_ == began || at_ - began > greatestDigitCount) Fail(began, what);
    return number;
}

/// Goes on behind "\" at the end of a line.
void RegistryScanner::SkipToByte()
{
    SkipBlanks();
    while (Peek() == '\\') {
        ++at_;
        SkipBlanks();
        if (AtEnd() || Peek() != '\n') Fail(at_, "\\ between bytes stands at the end of a line that is not the last");
        ++at_;
        SkipBlanks();
    }
}

Bytes RegistryScanner::HexBytes()
{
    Bytes bytes;
    std::size_t end = at_;
    SkipToByte();
    if (Peek() == '\n' || Peek() == ';') {  // none
        at_ = end;
        return bytes;
    }
    for (;;) {
        bytes.push_back(static_cast<std::uint8_t>(HexNumber(2, "a byte in two hexadecimal digits is expected")));
        end = at_;
        SkipBlanks();
        if (Peek() != ',') break;
        ++at_;
        SkipToByte();
    }
    at_ = end;
    return bytes;
}

StoredValue RegistryScanner::Value()
{
    if (Peek() == '"') return ValueOfText(Quoted());
    if (Skip("dword:")) {
        SkipBlanks();
        Bytes data(4);
        StoreLittle(data.data(), HexNumber(8, "a number in at most eight hexadecimal digits is expected"));
        return {registryNumber, std::move(data)};
    }
    if (Skip("hex:")) return {typeBinary, HexBytes()};
    if (Skip("hex(")) {
        const std::uint32_t type = HexNumber(8, "a type in at most eight hexadecimal digits is expected");
        if (!Skip("):")) Fail(at_, "\"):\" is expected behind the type");
        return {type, HexBytes()};
    }
    if (Peek() == '-') Fail(at_, "a deletion is an instruction for an import and has no place here");
    Fail(at_, "\"text\", dword:, hex: or hex(type): is expected");
}

std::string PrintQuoted(TextView text)
{
    std::string printed = "\"";
    for (const char c : ToUtf8(text)) {
        if (c == '"' || c == '\\') printed += '\\';
        printed += c;
    }
    return printed + '"';
}

std::string PrintValue(const StoredValue& value, std::size_t column, std::string_view lineEnd)
{
    if (const auto text = QuotableText(value)) return PrintQuoted(*text);
    if (value.type == registryNumber && value.data.size() == 4)
        return "dword:" + Hex(LoadLittle<std::uint32_t>(value.data.data()), 8);
    if (value.type == typeBinary) return PrintBytes("hex:", value.data, column, lineEnd);
    return PrintBytes("hex(" + Hex(value.type, 1) + "):", value.data, column, lineEnd);
}

}  // namespace vmlib::posix
