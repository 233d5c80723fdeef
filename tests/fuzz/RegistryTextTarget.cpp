#include <algorithm>
#include <map>

#include "fuzz/FuzzTarget.h"
#include "fuzz/TextMutation.h"
#include "platform/posix/RegistryText.h"

// A file of the registry. It has meaning or names the line that has none; and a change of it changes what it says, and
// nothing else in the text.
namespace vmlib::fuzz {

using namespace posix;

namespace {

constexpr TextView root = u"HKEY_CURRENT_USER";

constexpr std::string_view texts[] = {
    "Windows Registry Editor Version 5.00\n\n; first\n[HKEY_CURRENT_USER\\A]\n  \"x\" = \"1\"\t; old\n\"x\"=\"2\"\n\n"
    "[HKCU\\B\\C]\n@=hex:01,\\\n  02 ; bytes\n[HKLM\\A]\n\"y\"=dword:0000000a\n",
    "\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER]\r\n\"a\\\\b\"=\"c\\\"d\r\ne\"\r\n"
    "[HKEY_CURRENT_USER\\A]b\\c]]\r\n\"\xC3\xAB\"=hex(1):61,00,00,00\r\n",
    "Windows Registry Editor Version 5.00\n[HKCU\\A\\B]\n[HKCU\\a]\n\"v\"=hex(7):\n[HKCU\\A\\b]\n\"V\"=\"\"",
    " \r\n",
};

const Vocabulary& Words()
{
    static const Vocabulary words = {
        {"\"1\"", "\"\"", "\"\\\\\"", "dword:0000000a", "hex:", "hex:01,\\\n  02", "hex(1):61,00", "hex(ffffffff):00",
         "-"},
        {"HKEY_CURRENT_USER", "HKCU", "HKLM", "HKEY_USERS", "HKEY"},
        {"[", "]", "[-", "\\", "\\\\", "\"", "=", "@", ";", ",", ":", "(", ")", "\n", "\r\n", "\t", " "},
        {"[HKCU\\A]\n", "[HKCU\\a\\b\\c] ; x\n", "[HKLM\\A]\n", "\"x\"=\"1\"\n", "@=\"1\"\n", "; x\n", "\n"},
        {"A", "a", "B", "C", "x", "\xC3\xAB", "\xE9", "\xEF\xBB\xBF"},
    };
    return words;
}

using Meaning = std::map<Text, std::map<Text, StoredValue>>;

KeyPath PathOf(const RegistryTree& tree, std::size_t key)
{
    KeyPath path;
    for (; key != 0; key = tree.At(key).parent) path.insert(path.begin(), tree.At(key).name);
    return path;
}

Text Upper(const KeyPath& path)
{
    Text upper;
    for (const Text& part : path) upper += u"\\" + UpperCase(part);
    return upper;
}

Meaning MeaningOf(const RegistryTree& tree)
{
    Meaning meaning;
    std::vector<std::size_t> keys = {0};
    while (!keys.empty()) {
        const RegistryTree::Key& key = tree.At(keys.back());
        auto& values = meaning[Upper(PathOf(tree, keys.back()))];
        keys.pop_back();
        for (const auto& value : key.values) values[UpperCase(value.name)] = value.stored;
        keys.insert(keys.end(), key.children.begin(), key.children.end());
    }
    return meaning;
}

RegistryText Changed(std::string text, const Meaning& expected)
{
    try {
        RegistryText changed(std::move(text), root);
        Promise(MeaningOf(changed.Tree()) == expected, "a change changes what it is meant to");
        return changed;
    } catch (const RegistryDamage&) {
        throw Broken{"what is written can be read"};
    }
}

std::string Ended(std::string text)
{
    if (!text.ends_with('\n')) text += text.find("\r\n") == text.find('\n') - 1 ? "\r\n" : "\n";
    return text;
}

void ChangeValue(const RegistryText& text, std::size_t key, TextView name, const StoredValue& stored)
{
    const KeyPath path = PathOf(text.Tree(), key);
    const RegistryTree::Value* old = text.Tree().FindValue(key, name);
    Meaning meaning = MeaningOf(text.Tree());
    meaning[Upper(path)][UpperCase(name)] = stored;
    const RegistryText after = Changed(text.WithValue(path, name, stored), meaning);
    const auto* value = after.Tree().FindValue(after.Tree().Find(path).value(), name);
    const std::string rest = after.WithoutValue(*value);
    if (old)
        Promise(text.WithoutValue(*old) == rest, "other lines stay");
    else if (!text.Tree().At(key).sections.empty())
        Promise(rest == text.Source() || rest == Ended(text.Source()), "a new value is one line");
    meaning[Upper(path)].erase(UpperCase(name));
    Changed(rest, meaning);
}

void DeleteKey(const RegistryText& text, std::size_t key)
{
    Meaning meaning = MeaningOf(text.Tree());
    meaning.erase(Upper(PathOf(text.Tree(), key)));
    Changed(text.WithoutKey(key), meaning);
}

void Run(std::string_view input)
{
    const auto lineCount = 1 + std::count(input.begin(), input.end(), '\n');
    try {
        const RegistryText text(std::string(input), root);
        Meaning meaning = MeaningOf(text.Tree());
        meaning[u"\\NEW"];
        meaning[u"\\NEW\\]"];
        if (!text.Tree().Find({u"new"})) Changed(text.WithKey({u"new", u"]"}), meaning);
        ChangeValue(text, 0, u"new \"\\", ValueOfText(u"\\\""));
        const std::size_t keyCount = MeaningOf(text.Tree()).size();
        for (std::size_t key = 0; key < std::min<std::size_t>(keyCount, 8); ++key) {
            const RegistryTree::Key& facts = text.Tree().At(key);
            ChangeValue(text, key, u"", {3, Bytes(input.size() % 60)});
            if (!facts.values.empty()) ChangeValue(text, key, facts.values.back().name, ValueOfText(u"\n"));
            if (key > 0 && facts.children.empty()) DeleteKey(text, key);
        }
    } catch (const RegistryDamage& damage) {
        Promise(damage.Line() >= 1 && static_cast<std::ptrdiff_t>(damage.Line()) <= lineCount, "damage has a line");
    }
}

std::vector<std::string> Seeds()
{
    return {std::begin(texts), std::end(texts)};
}

std::string Mutate(std::string_view input, std::mt19937& random)
{
    return MutateText(input, Words(), texts[random() % std::size(texts)], random);
}

}  // namespace

const Target registryText{"registryText", Run, Seeds, Mutate};

}  // namespace vmlib::fuzz
