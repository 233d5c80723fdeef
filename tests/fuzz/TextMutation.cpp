#include "fuzz/TextMutation.h"

#include <algorithm>
#include <cctype>

namespace vmlib::fuzz {

namespace {

constexpr std::size_t greatestSize = 1200;

struct Piece
{
    std::size_t at = 0, count = 0;
};

bool IsWordCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0;
}

std::string_view Of(std::string_view text, Piece piece)
{
    return text.substr(piece.at, piece.count);
}

bool IsQuote(char c)
{
    return c == '\'' || c == '"' || c == '#';
}

/// Words, quoted texts and single characters; no blanks.
std::vector<Piece> TokensOf(std::string_view text)
{
    std::vector<Piece> tokens;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = at + 1;
        if (IsQuote(text[at])) {
            end = std::min(text.size(), text.find(text[at], end));
            end += end < text.size() ? 1 : 0;
        } else if (IsWordCharacter(text[at])) {
            while (end < text.size() && IsWordCharacter(text[end])) ++end;
        }
        if (std::isspace(static_cast<unsigned char>(text[at])) == 0) tokens.push_back({at, end - at});
        at = end;
    }
    return tokens;
}

const std::vector<std::string_view>* KindOf(std::string_view token, const Vocabulary& vocabulary)
{
    for (const auto& kind : vocabulary)
        if (std::find(kind.begin(), kind.end(), token) != kind.end()) return &kind;
    const bool isValue = IsQuote(token.front()) || std::isdigit(static_cast<unsigned char>(token.front())) != 0;
    return isValue ? &vocabulary.front() : nullptr;
}

template <class List>
const auto& Any(const List& list, std::mt19937& random)
{
    return list[random() % list.size()];
}

/// False when the chosen word is of no kind.
bool ReplaceAlike(std::string& text, const Vocabulary& vocabulary, std::mt19937& random)
{
    const std::vector<Piece> tokens = TokensOf(text);
    if (tokens.empty()) return false;
    const Piece token = Any(tokens, random);
    const auto* kind = KindOf(Of(text, token), vocabulary);
    if (kind != nullptr) text.replace(token.at, token.count, Any(*kind, random));
    return kind != nullptr;
}

/// Some words, or now and then any characters.
Piece RandomPiece(std::string_view text, std::mt19937& random)
{
    Piece piece;
    if (text.empty()) return piece;
    piece.at = random() % text.size();
    piece.count = 1 + random() % std::min<std::size_t>(text.size() - piece.at, random() % 4 == 0 ? 40 : 6);
    if (random() % 5 == 0) return piece;
    while (piece.at > 0 && IsWordCharacter(text[piece.at - 1]) && IsWordCharacter(text[piece.at])) {
        --piece.at;
        ++piece.count;
    }
    const auto end = [&] { return piece.at + piece.count; };
    while (end() < text.size() && IsWordCharacter(text[end() - 1]) && IsWordCharacter(text[end()])) ++piece.count;
    return piece;
}

}  // namespace

std::string MutateText(std::string_view text, const Vocabulary& vocabulary, std::string_view other,
                       std::mt19937& random)
{
    std::string result(text);
    if (random() % 4 != 0)
        for (int attempt = 0; attempt < 5; ++attempt)
            if (ReplaceAlike(result, vocabulary, random)) return result;

    const Piece piece = RandomPiece(text, random);
    const std::string copy(Of(text, RandomPiece(text, random)));
    switch (random() % 7) {
        case 0:
            result.erase(piece.at, piece.count);
            break;
        case 1:
            result.insert(piece.at, copy);
            break;
        case 2:
            result.replace(piece.at, piece.count, copy);
            break;
        case 3:
            result.replace(piece.at, random() % 2 == 0 ? piece.count : 0, Any(Any(vocabulary, random), random));
            break;
        case 4:
            result.replace(piece.at, piece.count, Of(other, RandomPiece(other, random)));
            break;
        case 5:
            if (!result.empty()) result[random() % result.size()] = static_cast<char>(random());
            break;
        default:
            for (std::size_t n = 1 << random() % 8; n > 0 && result.size() < greatestSize; --n)
                result.insert(piece.at, copy);
    }
    if (result.size() > greatestSize) result.resize(greatestSize);
    return result;
}

}  // namespace vmlib::fuzz
