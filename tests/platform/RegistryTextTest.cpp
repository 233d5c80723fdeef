#include <gmock/gmock.h>

#include "core/Error.h"
#include "platform/posix/RegistryText.h"

namespace vmlib::posix {
namespace {

constexpr TextView root = u"HKEY_CURRENT_USER";
const std::string form = "Windows Registry Editor Version 5.00\n";

RegistryText Parsed(const std::string& text)
{
    return {text, root};
}

StoredValue Ansi(std::uint32_t type, std::string_view data)
{
    return ValueOfAnsi(type, data);
}

struct ValueForm
{
    const char* name;
    StoredValue value;
    std::string printed;
};

/// The right sides as the registry editor exports them.
const std::vector<ValueForm>& ValueForms()
{
    using namespace std::string_view_literals;
    static const std::vector<ValueForm> forms = {
        {"text", Ansi(1, "Data"), R"("Data")"},
        {"no text", Ansi(1, ""), R"("")"},
        {"escapes", Ansi(1, R"(C:\Data "x"; y)"), R"("C:\\Data \"x\"; y")"},
        {"code page 1252", Ansi(1, "\x80 \xEB"), "\"\xE2\x82\xAC \xC3\xAB\""},
        {"a line end in text", Ansi(1, "a\n"), "hex(1):61,00,0a,00,00,00"},
        {"a zero in text", Ansi(1, "a\0b"sv), "hex(1):61,00,00,00,62,00,00,00"},
        {"two closing zeros", Ansi(1, "a\0\0"sv), "hex(1):61,00,00,00,00,00"},
        {"half a surrogate pair", {1, {0x00, 0xD8, 0, 0}}, "hex(1):00,d8,00,00"},
        {"no closing zero", {1, {0x61, 0}}, "hex(1):61,00"},
        {"half a character", {1, {0x61}}, "hex(1):61"},
        {"text with variables", Ansi(2, "%x"), "hex(2):25,00,78,00,00,00"},
        {"number", Ansi(4, "\x0A\0\0\x80"sv), "dword:8000000a"},
        {"half a number", Ansi(4, "\x0A\0"sv), "hex(4):0a,00"},
        {"bytes", Ansi(3, "\x01\xFF"), "hex:01,ff"},
        {"no bytes", Ansi(3, ""), "hex:"},
        {"any type", Ansi(0xFFFF1234, "\x01"), "hex(ffff1234):01"},
        {"lines of 80",
         {3, Bytes(26)},
         "hex:00,00,00,00,00,00,00,00,00,00,00,00,00,00,00,00,00,00,00,00,00,00,00,\\\n"
         "  00,00,00"},
    };
    return forms;
}

TEST(RegistryText, ValuesHaveTheFormOfTheRegistryEditor)
{
    for (const ValueForm& row : ValueForms()) {
        EXPECT_EQ(PrintValue(row.value, row.name == std::string("lines of 80") ? 6 : 0, "\n"), row.printed) << row.name;
        EXPECT_EQ(RegistryScanner(row.printed).Value(), row.value) << row.name;
    }
}

struct Change
{
    const char* name;
    std::string before;
    std::function<std::string(const RegistryText&)> change;
    std::string after;
};

auto Set(TextView path, TextView name, std::string_view data)
{
    return [=](const RegistryText& text) { return text.WithValue(PartsOf(path), name, ValueOfAnsi(1, data)); };
}

auto Unset(TextView path, TextView name)
{
    return [=](const RegistryText& text) {
        return text.WithoutValue(*text.Tree().FindValue(text.Tree().Find(PartsOf(path)).value(), name));
    };
}

auto Delete(TextView path)
{
    return [=](const RegistryText& text) { return text.WithoutKey(text.Tree().Find(PartsOf(path)).value()); };
}

auto Make(TextView path)
{
    return [=](const RegistryText& text) { return text.WithKey(PartsOf(path)); };
}

const std::string twoKeys =
    form +
    "\n; first\n[HKEY_CURRENT_USER\\A] ; see [1]\n  \"x\" = \"1\"\t; old\n\"Y\"=\"2\"\n;\"z\"=\"3\"\n\n"
    "; second\n[HKCU\\B]\n@=hex:01,\\\n  02 ; bytes\n";

const std::vector<Change>& Changes()
{
    static const std::vector<Change> changes = {
        {"of nothing a file", "", Set(u"A\\B", u"n", "1"), form + "\n[HKEY_CURRENT_USER\\A\\B]\n\"n\"=\"1\"\n"},
        {"blanks are nothing", "\xEF\xBB\xBF \r\n", Make(u"A"),
         "\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n"},
        {"indentation, blanks and comment stay", form + "[HKCU\\A]\n  \"x\" = \"1\"\t; old\n\n", Set(u"a", u"X", "2"),
         form + "[HKCU\\A]\n  \"x\" = \"2\"\t; old\n\n"},
        {"several lines become one", form + "[HKCU\\B]\n@=hex:01,\\\n  02 ; bytes\n;\n", Set(u"B", u"", "\\"),
         form + "[HKCU\\B]\n@=\"\\\\\" ; bytes\n;\n"},
        {"text over a line end", form + "[HKCU\\B]\n\"a\"=\"1\n2\" ; x\n", Set(u"B", u"a", "3"),
         form + "[HKCU\\B]\n\"a\"=\"3\" ; x\n"},
        {"the last definition counts", form + "[HKCU\\A]\n\"x\"=\"1\"\n[HKCU\\a]\n\"X\"=\"2\"\n", Set(u"A", u"x", "3"),
         form + "[HKCU\\A]\n\"x\"=\"1\"\n[HKCU\\a]\n\"X\"=\"3\"\n"},
        {"all definitions go", form + "[HKCU\\A]\n\"x\"=\"1\"\n;\n\"X\"=hex:01,\\\n02\n\"y\"=\"2\"", Unset(u"A", u"x"),
         form + "[HKCU\\A]\n;\n\"y\"=\"2\""},
        {"a new value stands behind the last one", form + "[HKCU\\A]\n\"x\"=\"1\"\n; end\n\n[HKCU\\B]\n",
         Set(u"a", u"q\"\\", "2"), form + "[HKCU\\A]\n\"x\"=\"1\"\n\"q\\\"\\\\\"=\"2\"\n; end\n\n[HKCU\\B]\n"},
        {"a line end where the file has none", form + "[HKCU\\A]", Set(u"A", u"x", "1"),
         form + "[HKCU\\A]\n\"x\"=\"1\"\n"},
        {"lines end as in the file", "Windows Registry Editor Version 5.00\r\n[HKCU\\A]\r\n;\r\n", Set(u"a", u"x", "1"),
         "Windows Registry Editor Version 5.00\r\n[HKCU\\A]\r\n\"x\"=\"1\"\r\n;\r\n"},
        {"a new key has the spelling of its parents", form + "[HKCU\\A b]\n", Make(u"a B\\c"),
         form + "[HKCU\\A b]\n\n[HKEY_CURRENT_USER\\A b\\c]\n"},
        {"] belongs to a name", form + "[HKCU\\a]b]\n", Set(u"A]B", u"x", "1"), form + "[HKCU\\a]b]\n\"x\"=\"1\"\n"},
        {"other keys stay", twoKeys, Delete(u"a"),
         form + "\n; first\n;\"z\"=\"3\"\n\n; second\n[HKCU\\B]\n@=hex:01,\\\n  02 ; bytes\n"},
        {"comments of a section stay", form + "[HKCU\\A]\n\"x\"=\"1\"\n; licence\n\n\"y\"=\"2\" ; y\n\n; end\n",
         Delete(u"A"), form + "; licence\n\n; end\n"},
        {"names hold tabs and line ends", form + "[HKCU\\A]\n", Set(u"A", u"a\tb\nc", "1"),
         form + "[HKCU\\A]\n\"a\tb\nc\"=\"1\"\n"},
        {"all sections go", form + "\n[HKCU\\A]\n\"x\"=\"1\"\n\n[HKLM\\A]\n\n[HKCU\\A]\n", Delete(u"A"),
         form + "\n[HKLM\\A]\n\n"},
        {"a key that only a sub-key implied stays", form + "[HKCU\\A\\B\\C]\n@=\"1\"\n\n;\n", Delete(u"a\\b\\c"),
         form + "[HKEY_CURRENT_USER\\A\\B]\n\n;\n"},
        {"sections of another root mean nothing", form + "[HKLM\\A]\n\"x\"=\"1\"\n", Set(u"A", u"x", "2"),
         form + "[HKLM\\A]\n\"x\"=\"1\"\n\n[HKEY_CURRENT_USER\\A]\n\"x\"=\"2\"\n"},
        {"the root has values", form + "[HKEY_CURRENT_USER]\n", Set(u"", u"x", "1"),
         form + "[HKEY_CURRENT_USER]\n\"x\"=\"1\"\n"},
    };
    return changes;
}

TEST(RegistryText, ChangesTouchOnlyTheirLines)
{
    for (const Change& row : Changes()) EXPECT_EQ(row.change(Parsed(row.before)), row.after) << row.name;
}

struct Damage
{
    const char* name;
    std::string text;
    std::size_t line;
};

const std::vector<Damage>& Damages()
{
    using namespace std::string_literals;
    const std::string key = form + "[HKCU\\A]\n";
    static const std::vector<Damage> damages = {
        {"no form", "\n[HKCU\\A]\n", 2},
        {"another version", "REGEDIT4\n", 1},
        {"only comments", "; x\n", 1},
        {"more behind the form", "Windows Registry Editor Version 5.00x\n", 1},
        {"UTF-16", "\xFF\xFEW\0i\0"s, 1},
        {"not UTF-8", key + "; \xE9t\xE9\n", 3},
        {"a zero", key + "\n\"x\"=\"\0\"\n"s, 4},
        {"zeros of a power cut", form + "\0\0\0"s, 2},
        {"a value before the first section", form + "\"x\"=\"1\"\n", 2},
        {"no such root", form + "[HKEY_CURENT_USER\\A]\n", 2},
        {"no end of a section", form + "\n[HKCU\\A\n", 3},
        {"more behind a section", form + "[HKCU\\A] x\n", 2},
        {"a deletion of a key", form + "[-HKCU\\A]\n", 2},
        {"a deletion of a value", key + "\"x\"=-\n", 3},
        {"no =", key + "\"x\" \"1\"\n", 3},
        {"no data", key + "\"x\"=\n", 3},
        {"no quotes", key + "\"x\"=1\n", 3},
        {"a name without quotes", key + "x=\"1\"\n", 3},
        {"a single \\", key + "\n\"x\"=\"C:\\Data\"\n", 4},
        {"no closing quote", key + "\"x\"=\"1\n\n", 3},
        {"no closing quote, and another value", key + "\"x\"=\"1\n\"y\"=\"2\"\n", 3},
        {"more behind a value", key + "@=\"1\" 2\n", 3},
        {"nine digits", key + "@=dword:000000001\n", 3},
        {"no digits", key + "@=dword:\n", 3},
        {"a byte of three digits", key + "@=hex:001\n", 3},
        {"no byte behind the comma", key + "@=hex:01,\n", 3},
        {"no next line", key + "@=hex:01,\\", 3},
        {"damage in a second line", key + "@=hex:01,\\\n  0x\n", 4},
        {"no type", key + "@=hex():01\n", 3},
        {"damage under another root", form + "[HKU\\A]\n@=x\n", 3},
        {"too deep",
         form + "[HKCU" +
             [] {
                 std::string path;
                 for (int i = 0; i < 600; ++i) path += "\\a";
                 return path;
             }() +
             "]\n",
         2},
    };
    return damages;
}

TEST(RegistryText, DamageNamesItsLine)
{
    for (const Damage& row : Damages()) {
        try {
            Parsed(row.text);
            ADD_FAILURE() << row.name;
        } catch (const RegistryDamage& damage) {
            EXPECT_EQ(damage.Line(), row.line) << row.name << ": " << damage.what();
        }
    }
}

TEST(RegistryText, ALargeTextIsReadInItsOrder)
{
    std::string text = form;
    for (int i = 0; i < 100'000; ++i)
        text += (i % 10 == 0 ? "[HKCU\\k" + std::to_string(i) + "]\n" : "") + "\"v" + std::to_string(i) + "\"=\"x\"\n";
    const RegistryText parsed = Parsed(text);
    const RegistryTree::Key& key = parsed.Tree().At(parsed.Tree().Find({u"K99990"}).value());
    ASSERT_EQ(key.values.size(), 10u);
    EXPECT_EQ(key.values[9].name, u"v99999");
    const auto& children = parsed.Tree().At(0).children;
    ASSERT_EQ(children.size(), 10'000u);
    EXPECT_EQ(parsed.Tree().At(children[2]).name, u"k100") << "in the order of names";
}

}  // namespace
}  // namespace vmlib::posix
