#include "platform/posix/ShortNames.h"

#include <dirent.h>

#include <algorithm>
#include <cstdint>
#include <memory>

namespace vmlib::posix {

namespace {

constexpr TextView allowedSigns = u"!#$%&'()-@^_`{}~";
constexpr TextView counters = u"123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::size_t longestBase = 8, longestExtension = 3;

bool IsAllowed(char16_t c)
{
    const bool isLetterOrDigit = (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
    const bool isAnsiOnly = c > 0xA0 && FitsAnsi(TextView(&c, 1));  // 80 to A0 are controls and the hard blank
    return isLetterOrDigit || isAnsiOnly || allowedSigns.find(c) != TextView::npos;
}

/// At most `count` characters that a short name allows.
Text Allowed(TextView text, std::size_t count)
{
    Text allowed;
    for (const char16_t c : text) {
        if (allowed.size() == count) break;
        const char16_t upper = UpperCase(c);
        if (IsAllowed(upper))
            allowed += upper;
        else if (!FitsAnsi(TextView(&c, 1)))
            allowed += u'_';
    }
    return allowed;
}

Text HashOf(TextView name)
{
    std::uint32_t hash = 2166136261u;  // FNV-1a over the bytes of the upper-case name
    for (const char16_t c : UpperCase(name))
        for (const unsigned byte : {c & 0xFFu, static_cast<unsigned>(c >> 8)}) hash = (hash ^ byte) * 16777619u;
    hash = (hash ^ (hash >> 16)) & 0xFFFF;
    Text digits;
    for (int shift = 12; shift >= 0; shift -= 4) digits += u"0123456789ABCDEF"[(hash >> shift) & 15];
    return digits;
}

/// A derived name without its counter.
struct Derived
{
    Text start;      // "JA4F3C~"
    Text extension;  // ".DOC", or nothing

    explicit Derived(TextView name)
    {
        // Points in front name no extension.
        const TextView visible = name.substr(std::min(name.find_first_not_of(u'.'), name.size()));
        const std::size_t point = visible.rfind(u'.');
        start = Allowed(visible.substr(0, point), 2) + HashOf(name) + u"~";
        if (point != TextView::npos) extension = Allowed(visible.substr(point + 1), longestExtension);
        if (!extension.empty()) extension.insert(0, 1, u'.');
    }

    Text With(char16_t counter) const { return start + counter + extension; }
    bool operator==(const Derived&) const = default;
};

/// The character behind "~" of what may be a derived name.
char16_t CounterOf(TextView name)
{
    return name[std::min(name.find(u'.'), name.size()) - 1];
}

struct Entry
{
    std::string native;
    Text upper;
};

/// The entries of a folder that get the same derived name, each with its counter.
std::vector<std::pair<Text, std::string>> ShortNamesLike(const std::string& folder, const Derived& derived)
{
    std::vector<Entry> sharers;
    std::vector<Text> taken;  // by entries whose own name is short
    for (std::string& native : EntriesOf(folder)) {
        const Text name = FromUtf8(native);
        if (!IsShortName(name)) {
            if (Derived(name) == derived) sharers.push_back({std::move(native), UpperCase(name)});
        } else if (StartsWithIgnoringCase(name, derived.start)) {
            taken.push_back(UpperCase(name));
        }
    }
    std::sort(sharers.begin(), sharers.end(), [](const Entry& left, const Entry& right) {
        return left.upper != right.upper ? left.upper < right.upper : left.native < right.native;
    });
    std::vector<std::pair<Text, std::string>> named;
    auto counter = counters.begin();
    for (Entry& sharer : sharers) {
        while (counter != counters.end() && std::count(taken.begin(), taken.end(), derived.With(*counter)) != 0)
            ++counter;
        if (counter == counters.end()) break;
        named.emplace_back(derived.With(*counter++), std::move(sharer.native));
    }
    return named;
}

}  // namespace

bool IsShortName(TextView name)
{
    const std::size_t point = std::min(name.find(u'.'), name.size());
    const TextView base = name.substr(0, point);
    const TextView extension = name.substr(std::min(point + 1, name.size()));
    const bool pointsAtNothing = point < name.size() && extension.empty();
    return !base.empty() && base.size() <= longestBase && extension.size() <= longestExtension && !pointsAtNothing &&
           std::all_of(base.begin(), base.end(), IsAllowed) &&
           std::all_of(extension.begin(), extension.end(), IsAllowed);
}

bool IsDerivedName(TextView name)
{
    const std::size_t baseEnd = std::min(name.find(u'.'), name.size());
    // At least the hash stands before the mark, one character behind it.
    return IsShortName(name) && baseEnd >= 6 && name[baseEnd - 2] == u'~';
}

std::optional<Text> ShortNameOf(const std::string& folder, const std::string& entry)
{
    const Text name = FromUtf8(entry);
    if (IsShortName(name)) return name;
    for (auto& [shortName, native] : ShortNamesLike(folder, Derived(name)))
        if (native == entry) return std::move(shortName);
    return std::nullopt;
}

std::optional<std::string> FindByShortName(const std::string& folder, TextView shortName)
{
    if (!IsDerivedName(shortName)) return std::nullopt;
    for (const std::string& native : EntriesOf(folder)) {
        const Text name = FromUtf8(native);
        if (IsShortName(name)) continue;
        const Derived derived(name);
        if (!EqualIgnoringCase(shortName, derived.With(CounterOf(shortName)))) continue;
        for (auto& [candidate, entry] : ShortNamesLike(folder, derived))
            if (EqualIgnoringCase(candidate, shortName)) return std::move(entry);
        return std::nullopt;
    }
    return std::nullopt;
}

void VisitEntries(const std::string& folder, const std::function<void(std::string_view)>& visit)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(folder.c_str()), ::closedir);
    if (!directory) return;
    while (const dirent* entry = ::readdir(directory.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") visit(name);
    }
}

std::vector<std::string> EntriesOf(const std::string& folder)
{
    std::vector<std::string> names;
    VisitEntries(folder, [&](std::string_view name) { names.emplace_back(name); });
    return names;
}

}  // namespace vmlib::posix
