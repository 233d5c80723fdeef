// The Windows case table for Latin, Greek, Cyrillic and Armenian letters and the forms derived from Latin: each letter
// has at most one partner, one UTF-16 unit long. Letters whose partner would need a rule (sharp s, dotless i, long s,
// the micro sign) stay as they are.

#include <array>
#include <cstdint>

#include "core/Text.h"

namespace vmlib {
namespace {

// Lower-case letters first .. last, every `step`-th: the capital is `distance` units before (or, negative, behind).
struct Run
{
    char16_t first, last;
    int step;
    int distance;
};

constexpr Run runs[] = {
    {0x0061, 0x007A, 1, 32},    // a-z
    {0x00E0, 0x00F6, 1, 32},    // Latin-1
    {0x00F8, 0x00FE, 1, 32},    //
    {0x00FF, 0x00FF, 1, -121},  // y with diaeresis, capital U+0178
    {0x0101, 0x012F, 2, 1},     // Latin Extended-A
    {0x0133, 0x0137, 2, 1},     //
    {0x013A, 0x0148, 2, 1},     //
    {0x014B, 0x0177, 2, 1},     //
    {0x017A, 0x017E, 2, 1},     //
    {0x0183, 0x0185, 2, 1},     // Latin Extended-B
    {0x0188, 0x0188, 1, 1},     //
    {0x018C, 0x018C, 1, 1},     //
    {0x0192, 0x0192, 1, 1},     //
    {0x0199, 0x0199, 1, 1},     //
    {0x01A1, 0x01A5, 2, 1},     //
    {0x01A8, 0x01A8, 1, 1},     //
    {0x01AD, 0x01AD, 1, 1},     //
    {0x01B0, 0x01B0, 1, 1},     //
    {0x01B4, 0x01B6, 2, 1},     //
    {0x01B9, 0x01B9, 1, 1},     //
    {0x01BD, 0x01BD, 1, 1},     //
    {0x01C6, 0x01C6, 1, 2},     // dz with caron, lj, nj; the title forms between stay
    {0x01C9, 0x01C9, 1, 2},     //
    {0x01CC, 0x01CC, 1, 2},     //
    {0x01CE, 0x01DC, 2, 1},     //
    {0x01DD, 0x01DD, 1, 79},    //
    {0x01DF, 0x01EF, 2, 1},     //
    {0x01F3, 0x01F3, 1, 2},     //
    {0x01F5, 0x01F5, 1, 1},     //
    {0x01FB, 0x0217, 2, 1},     //
    {0x0253, 0x0253, 1, 210},   // letters whose capitals stand in Latin Extended-B
    {0x0254, 0x0254, 1, 206},   //
    {0x0256, 0x0257, 1, 205},   //
    {0x0259, 0x0259, 1, 202},   //
    {0x025B, 0x025B, 1, 203},   //
    {0x0260, 0x0260, 1, 205},   //
    {0x0263, 0x0263, 1, 207},   //
    {0x0268, 0x0268, 1, 209},   //
    {0x0269, 0x0269, 1, 211},   //
    {0x026F, 0x026F, 1, 211},   //
    {0x0272, 0x0272, 1, 213},   //
    {0x0283, 0x0283, 1, 218},   //
    {0x0288, 0x0288, 1, 218},   //
    {0x028A, 0x028B, 1, 217},   //
    {0x0292, 0x0292, 1, 219},   //
    {0x03AC, 0x03AC, 1, 38},    // Greek
    {0x03AD, 0x03AF, 1, 37},    //
    {0x03B1, 0x03C1, 1, 32},    //
    {0x03C3, 0x03CB, 1, 32},    //
    {0x03CC, 0x03CC, 1, 64},    //
    {0x03CD, 0x03CE, 1, 63},    //
    {0x03E3, 0x03EF, 2, 1},     //
    {0x0430, 0x044F, 1, 32},    // Cyrillic
    {0x0451, 0x045C, 1, 80},    //
    {0x045E, 0x045F, 1, 80},    //
    {0x0461, 0x0481, 2, 1},     //
    {0x0491, 0x04BF, 2, 1},     //
    {0x04C2, 0x04C4, 2, 1},     //
    {0x04C8, 0x04C8, 1, 1},     //
    {0x04CC, 0x04CC, 1, 1},     //
    {0x04D1, 0x04EB, 2, 1},     //
    {0x04EF, 0x04F5, 2, 1},     //
    {0x04F9, 0x04F9, 1, 1},     //
    {0x0561, 0x0586, 1, 48},    // Armenian
    {0x1E01, 0x1E95, 2, 1},     // Latin Extended Additional
    {0x1EA1, 0x1EF9, 2, 1},     //
    {0x2170, 0x217F, 1, 16},    // Roman numerals
    {0x24D0, 0x24E9, 1, 26},    // circled letters
    {0xFF41, 0xFF5A, 1, 32},    // fullwidth letters
};

constexpr bool Contains(const Run& run, int letter)
{
    return letter >= run.first && letter <= run.last && (letter - run.first) % run.step == 0;
}

constexpr char16_t SearchUpper(char16_t character)
{
    for (const Run& run : runs) {
        if (Contains(run, character)) return static_cast<char16_t>(character - run.distance);
    }
    return character;
}

constexpr char16_t SearchLower(char16_t character)
{
    for (const Run& run : runs) {
        if (Contains(run, character + run.distance)) return static_cast<char16_t>(character + run.distance);
    }
    return character;
}

// Names of members, tables and fields are compared through this part millions of times a second.
constexpr std::size_t tableSize = 0x180;

template <char16_t (*search)(char16_t)>
constexpr std::array<char16_t, tableSize> Table()
{
    std::array<char16_t, tableSize> table{};
    for (std::size_t i = 0; i < tableSize; ++i) table[i] = search(static_cast<char16_t>(i));
    return table;
}

constexpr auto upperTable = Table<SearchUpper>();
constexpr auto lowerTable = Table<SearchLower>();

}  // namespace

char16_t UpperCase(char16_t character)
{
    return character < tableSize ? upperTable[character] : SearchUpper(character);
}

char16_t LowerCase(char16_t character)
{
    return character < tableSize ? lowerTable[character] : SearchLower(character);
}

Text UpperCase(TextView text)
{
    Text result(text);
    for (char16_t& character : result) character = UpperCase(character);
    return result;
}

Text LowerCase(TextView text)
{
    Text result(text);
    for (char16_t& character : result) character = LowerCase(character);
    return result;
}

bool EqualIgnoringCase(TextView left, TextView right)
{
    if (left.size() != right.size()) return false;
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (left[i] != right[i] && UpperCase(left[i]) != UpperCase(right[i])) return false;
    }
    return true;
}

int CompareIgnoringCase(TextView left, TextView right)
{
    for (std::size_t i = 0; i < left.size() && i < right.size(); ++i) {
        const int difference = UpperCase(left[i]) - UpperCase(right[i]);
        if (difference != 0) return difference;
    }
    return left.size() < right.size() ? -1 : left.size() > right.size() ? 1 : 0;
}

bool StartsWithIgnoringCase(TextView text, TextView start)
{
    return text.size() >= start.size() && EqualIgnoringCase(text.substr(0, start.size()), start);
}

std::size_t NameHash::operator()(TextView name) const
{
    // FNV-1a over the capitals.
    std::uint64_t hash = 14695981039346656037U;
    for (const char16_t character : name) hash = (hash ^ UpperCase(character)) * 1099511628211U;
    return static_cast<std::size_t>(hash);
}

}  // namespace vmlib
