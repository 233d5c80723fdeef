// Code page 1252: bytes 00-7F and A0-FF are the code points of the same number, 80-9F stand in the table below. The
// five bytes without a character of their own (81, 8D, 8F, 90, 9D) are the C1 controls of that number, so that all 256
// bytes survive a round trip.
//
// The way back has a "best fit" for characters without a byte, as published for the Windows code pages: base letters,
// blanks, dashes, quotes, fullwidth forms, box drawings. It goes one way only.

#include <algorithm>
#include <array>
#include <iterator>

#include "core/Text.h"

namespace vmlib {
namespace {

constexpr std::array<char16_t, 32> upperControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

constexpr char16_t firstTableByte = 0x80;

// Bytes for the characters from `first` on; "." where a character has none.
struct BestFit
{
    char16_t first;
    std::string_view bytes;
};

constexpr BestFit bestFits[] = {
    {0x0100,
     "AaAaAaCcCcCcCcDd\xD0"
     "dEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIi..JjKk.LlLlLl..LlNnNnNn...OoOoOo"},
    {0x0154, "RrRrRrSsSsSs..TtTtTtUuUuUuUuUuUuWwYy.ZzZz"},
    {0x0180, "b........\xD0.......\x83.....I..l....OOo.........t..TUu.....z.........|..!"},
    {0x01CD, "AaIiOoUuUuUuUuUu.Aa....GgGgKkOoOo..j"},
    {0x0261, "g"},
    {0x02B9, "'\".'.......^...'\xAF\xB4`._"},
    {0x02DA, "\xB0"},
    {0x0300, "`\xB4^~\xAF\xAF..\xA8.\xB0...\""},
    {0x0327, "\xB8"},
    {0x0331, "__"},
    {0x037E, ";"},
    {0x0393, "G....T..........S..F..O"},
    {0x03B1, "a\xDF.de......\xB5...p..st.f"},
    {0x04BB, "h"},
    {0x0589, ":"},
    {0x066A, "%"},
    {0x2000, "       "},
    {0x2010, "--"},
    {0x2017, "="},
    {0x2024, "\xB7"},
    {0x2032, "'..`"},
    {0x2044, "/"},
    {0x2070, "\xB0...45678......n0123456789"},
    {0x20A1, "\xA2..\xA3..P"},
    {0x2102,
     "C....E..gHHHh.IILl.N..PPQRRR......Z...Z.K\xC5"  // cut, or the B would be a digit of the escape
     "BCeeEF.Mo"},
    {0x2205, "\xD8"},
    {0x2212, "-\xB1./\\*\xB0\xB7v...8....|.....n"},
    {0x2236, ":"},
    {0x223C, "~"},
    {0x2248, "\x98"},
    {0x2261, "=..=="},
    {0x226A, "\xAB\xBB"},
    {0x22C5, "\xB7"},
    {0x2302, "\xA6^"},
    {0x2310, "\xAC"},
    {0x2320, "()"},
    {0x2329, "<>"},
    {0x2500, "-.\xA6.........+...+...+...+...+.......\xA6.......-.......-.......+"},
    {0x2550, "-\xA6++++++++++++\xA6\xA6\xA6\xA6\xA6\xA6------+++"},
    {0x2580, "\xAF..._...\xA6...\xA6...\xA6\xA6\xA6\xA6"},
    {0x25A0, "\xA6"},
    {0x263C, "\xA4"},
    {0x2758, "|"},
    {0x3000, " "},
    {0x3008, "<>\xAB\xBB"},
    {0x301A, "[]"},
    {0x30FB, "\xB7"},
};

constexpr unsigned char noByte = '?';

constexpr bool IsByteItself(char16_t character)
{
    return character < firstTableByte || (character >= 0xA0 && character <= 0xFF);
}

// The byte that maps back to this character; nothing else has one.
bool FindOwnByte(char16_t character, unsigned char& byte)
{
    if (IsByteItself(character)) {
        byte = static_cast<unsigned char>(character);
        return true;
    }
    const auto found = std::find(upperControls.begin(), upperControls.end(), character);
    if (found == upperControls.end()) return false;
    byte = static_cast<unsigned char>(firstTableByte + (found - upperControls.begin()));
    return true;
}

unsigned char BestFitOf(char16_t character)
{
    if (character >= 0xFF01 && character <= 0xFF5E)
        return static_cast<unsigned char>(character - 0xFF01 + '!');  // fullwidth ASCII
    const auto after = std::upper_bound(std::begin(bestFits), std::end(bestFits), character,
                                        [](char16_t wanted, const BestFit& run) { return wanted < run.first; });
    if (after == std::begin(bestFits)) return noByte;
    const BestFit& run = *std::prev(after);
    const std::size_t index = static_cast<std::size_t>(character - run.first);
    return index < run.bytes.size() && run.bytes[index] != '.' ? static_cast<unsigned char>(run.bytes[index]) : noByte;
}

}  // namespace

char16_t FromAnsi(unsigned char byte)
{
    return IsByteItself(byte) ? char16_t{byte} : upperControls[byte - std::size_t{firstTableByte}];
}

unsigned char ToAnsi(char16_t character)
{
    unsigned char byte = 0;
    return FindOwnByte(character, byte) ? byte : BestFitOf(character);
}

Text FromAnsi(std::string_view bytes)
{
    Text text(bytes.size(), u'\0');
    std::transform(bytes.begin(), bytes.end(), text.begin(),
                   [](char byte) { return FromAnsi(static_cast<unsigned char>(byte)); });
    return text;
}

std::string ToAnsi(TextView text)
{
    std::string bytes(text.size(), '\0');
    std::transform(text.begin(), text.end(), bytes.begin(),
                   [](char16_t character) { return static_cast<char>(ToAnsi(character)); });
    return bytes;
}

bool FitsAnsi(TextView text)
{
    unsigned char byte = 0;
    return std::all_of(text.begin(), text.end(), [&](char16_t character) { return FindOwnByte(character, byte); });
}

}  // namespace vmlib
