#include "platform/window/Bidi.h"

#include <fribidi.h>

#include <algorithm>
#include <vector>

namespace vmlib::window {

namespace {

constexpr char16_t firstRightToLeft = 0x0590;  // Hebrew; surrogates are above it, too

std::vector<FriBidiChar> Characters(TextView text)
{
    std::vector<FriBidiChar> characters;
    characters.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPair = (text[i] & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
        characters.push_back(isPair ? 0x10000u + ((text[i] & 0x3FFu) << 10) + (text[i + 1] & 0x3FFu) : text[i]);
        if (isPair) ++i;
    }
    return characters;
}

Text Units(const std::vector<FriBidiChar>& characters)
{
    Text text;
    for (const FriBidiChar c : characters) {
        if (c == FRIBIDI_CHAR_FILL) continue;  // where letters became one
        if (c > 0xFFFF) text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
        text += static_cast<char16_t>(c > 0xFFFF ? 0xDC00 + (c & 0x3FF) : c);
    }
    return text;
}

}  // namespace

Text InVisualOrder(TextView line, bool readsRightToLeft)
{
    const bool isPlain = std::all_of(line.begin(), line.end(), [](char16_t c) { return c < firstRightToLeft; });
    if (line.empty() || (isPlain && !readsRightToLeft)) return Text(line);
    const std::vector<FriBidiChar> logical = Characters(line);
    std::vector<FriBidiChar> visual(logical.size() + 1);
    FriBidiParType direction = readsRightToLeft ? FRIBIDI_PAR_RTL : FRIBIDI_PAR_LTR;
    const auto length = static_cast<FriBidiStrIndex>(logical.size());
    if (fribidi_log2vis(logical.data(), length, &direction, visual.data(), nullptr, nullptr, nullptr) == 0)
        return Text(line);
    visual.resize(logical.size());
    return Units(visual);
}

}  // namespace vmlib::window
