#pragma once

#include <array>
#include <cstdint>

/// Weights of the characters of code page 1252 in the two sort orders that documents use.
namespace vmlib::jet {

/// How one character counts in a text key. Source: docs/file-format.md, "Text keys".
struct TextWeight
{
    std::uint8_t first = 0;
    std::uint8_t second = 0;  // of a character that counts as two letters; else 0
    std::uint8_t slots = 0;   // places that it takes among the accents: one for each of its letters that can carry one
    std::uint8_t accent =
        2;  // 2 none, 3 grave, 4 acute, 5 circumflex, 6 diaeresis, 7 tilde, 8 ring, 9 cedilla, A caron
};

inline constexpr std::uint8_t noAccent = 2;

using TextWeights = std::array<TextWeight, 256>;

/// The weights of a LANGID; null for a sort order that is not known.
const TextWeights* WeightsOf(std::uint16_t langid);

}  // namespace vmlib::jet
