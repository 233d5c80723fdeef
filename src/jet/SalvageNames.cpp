#include "jet/SalvageNames.h"

#include "core/ByteOrder.h"
#include "jet/Damage.h"
#include "jet/IndexPage.h"
#include "jet/IndexTree.h"
#include "jet/TextKeys.h"

// Entries of the two indexes of MSysObjects, each with the row pointer behind it (docs/file-format.md, "Index entries"
// and "Text keys"):
//
//   Id             7F id
//   ParentIdName   7F parent 7F weights of the name, accents

namespace vmlib::jet {

namespace {

constexpr char valueMark = 0x7F;
constexpr std::size_t longKeySize = 5;  // the mark and four bytes
constexpr std::uint8_t lowestWeight = 0x10;

std::int32_t LongOfKey(std::string_view key)
{
    const auto bits = LoadBig<std::uint32_t>(reinterpret_cast<const std::uint8_t*>(key.data()) + 1);
    return static_cast<std::int32_t>(bits ^ 0x80000000u);
}

/// The character of a weight and an accent. Letters and digits come before what else may count as much.
std::optional<unsigned char> CharacterOf(const TextWeights& weights, std::uint8_t weight, std::uint8_t accent,
                                         bool capital)
{
    const auto fits = [&](std::size_t c) {
        return weights[c].first == weight && weights[c].second == 0 && weights[c].accent == accent;
    };
    const std::pair<std::size_t, std::size_t> ranges[] = {{'0', '9'},
                                                          {capital ? 'A' : 'a', capital ? 'Z' : 'z'},
                                                          {capital ? 0xC0 : 0xE0, capital ? 0xDF : 0xFF},
                                                          {0x20, 0x7E},
                                                          {0x80, 0xFF}};
    for (const auto& [first, last] : ranges) {
        for (std::size_t c = first; c <= last; ++c)
            if (fits(c)) return static_cast<unsigned char>(c);
    }
    return std::nullopt;
}

/// Half bytes behind the weights: a 0, the accents, a 0.
class Accents
{
public:
    explicit Accents(std::string_view bytes) : bytes_(bytes) {}

    std::uint8_t Next()
    {
        const std::size_t at = ++place_;
        if (ended_ || at / 2 >= bytes_.size()) return noAccent;
        const auto byte = static_cast<std::uint8_t>(bytes_[at / 2]);
        const std::uint8_t half = at % 2 == 0 ? byte >> 4 : byte & 15;
        ended_ = half == 0;
        return ended_ ? noAccent : half;
    }

private:
    std::string_view bytes_;
    std::size_t place_ = 0;
    bool ended_ = false;
};

bool CarriesAccent(const TextWeights& weights, std::uint8_t weight)
{
    const auto plain = CharacterOf(weights, weight, noAccent, false);
    return plain && weights[*plain].slots > 0;
}

}  // namespace

std::optional<std::string> TextOfKey(std::string_view key, std::uint16_t langid)
{
    const TextWeights* weights = WeightsOf(langid);
    if (weights == nullptr) return std::nullopt;
    std::size_t end = 0;
    while (end < key.size() && static_cast<std::uint8_t>(key[end]) >= lowestWeight) ++end;
    Accents accents(key.substr(end));
    std::string text;
    for (const char byte : key.substr(0, end)) {
        const auto weight = static_cast<std::uint8_t>(byte);
        const std::uint8_t accent = CarriesAccent(*weights, weight) ? accents.Next() : noAccent;
        const auto character = CharacterOf(*weights, weight, accent, text.empty());
        if (!character) return std::nullopt;
        text += static_cast<char>(*character);
    }
    Key again;
    IndexKey::AppendText(again, text, langid);
    if (text.empty() || again != key) return std::nullopt;
    return text;
}

SalvageNames::SalvageNames(Pager& pager, const SalvageSurvey& survey, std::uint16_t langid) : langid_(langid)
{
    for (PageNumber number = 1; number < survey.PageCount(); ++number) {
        if (survey.IsFree(number)) continue;
        const PageRef page = pager.Read(number);
        if (!IsOfKind(page.Data(), PageKind::IndexLeaf)) continue;
        try {
            TakeEntries(page);
        } catch (const Damaged&) {
            // Another table's, or nothing that can be read.
        }
    }
}

void SalvageNames::TakeEntries(const PageRef& page)
{
    for (const std::string& entry : IndexPage(page, objectsTablePage).Entries()) {
        const std::string_view key = std::string_view(entry).substr(0, entry.size() - indexLayout::rowPointerSize);
        const std::uint32_t place = RowOf(entry).Packed();
        if (key.size() < longKeySize || key[0] != valueMark) continue;
        if (key.size() == longKeySize)
            places_[LongOfKey(key)] = place;
        else if (key[longKeySize] == valueMark)
            keysOfNames_[place] = key.substr(longKeySize + 1);
    }
}

std::optional<Text> SalvageNames::NameOf(std::int32_t id) const
{
    const auto place = places_.find(id);
    if (place == places_.end()) return std::nullopt;
    const auto key = keysOfNames_.find(place->second);
    if (key == keysOfNames_.end()) return std::nullopt;
    const auto text = TextOfKey(key->second, langid_);
    if (!text) return std::nullopt;
    return FromAnsi(*text);
}

}  // namespace vmlib::jet
