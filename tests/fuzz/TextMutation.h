#pragma once

#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace vmlib::fuzz {

/// Words of a language by kind: those of one kind may stand in each other's place. The first kind is that of values;
/// numbers and quoted text count as such, too.
using Vocabulary = std::vector<std::vector<std::string_view>>;

/// Another text, not far from this one: mostly a word becomes another one of its kind, so that the text stays
/// meaningful. Else pieces are taken out, doubled, put in from the vocabulary or from another text, or a character
/// changes.
std::string MutateText(std::string_view text, const Vocabulary& vocabulary, std::string_view other,
                       std::mt19937& random);

}  // namespace vmlib::fuzz
