#include "registry/Primitives.h"
#include "registry/RegistryFixture.h"
#include "support/FakePorts.h"

namespace vmlib::registry {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Text key = u"Software\\Proef";

class Primitives : public RegistryTest
{
protected:
    Variant Query(const Text& name) { return RegQueryValue(store_, currentUser, key, name, u"default"); }
};

TEST_F(Primitives, WrittenValuesAreRead)
{
    RegSetKeyValue(store_, currentUser, key, u"Pad", u"C:\\Data", 1);
    EXPECT_EQ(Query(u"Pad"), Variant(u"default")) << "a missing key is not made by writing a value";

    RegCreateNewKey(store_, currentUser, key);
    struct Case
    {
        const char* what;
        Variant value;
        std::int32_t type;
        Variant stored, any;
    };
    const Variant missing(u"default");
    const Case cases[] = {
        {"text is stored with its closing zero", u"C:\\Data", 1, Text(u"C:\\Data\0", 8), u"C:\\Data"},
        {"empty text is its closing zero", u"", 1, Text(1, u'\0'), Text(1, u'\0')},
        {"a zero inside", Text(u"a\0b", 3), 1, Text(u"a\0b\0", 4), u"a"},
        {"a number as text", std::int16_t{12}, 1, Text(u"12\0", 3), u"12"},
        {"what is no text is empty", Null{}, 1, Text(1, u'\0'), Text(1, u'\0')},
        {"a number", std::int32_t{-1}, 4, std::int32_t{-1}, std::int32_t{-1}},
        {"text as a number", u"2,5", 4, std::int32_t{2}, std::int32_t{2}},
        {"what is no number is 0", u"abc", 4, std::int32_t{0}, std::int32_t{0}},
        {"no byte in the code page", u"\u4E00\u20AC", 1, Text(u"?\u20AC\0", 3), u"?\u20AC"},
        {"another type writes nothing", u"abc", 3, missing, missing},
    };
    Locale::SetUser(Locale::Dutch(), Locale::Dutch());
    for (const Case& c : cases) {
        const Text name = FromUtf8(c.what);
        RegSetKeyValue(store_, currentUser, key, name, c.value, c.type);
        EXPECT_EQ(Query(name), c.stored) << c.what;
        EXPECT_EQ(RegGetAnyStr(store_, currentUser, key, name, u"default"), c.any) << c.what;
    }
}

TEST_F(Primitives, WhatCannotBeReadLeavesTheVariableAlone)
{
    WriteUserFile(
        "[HKEY_CURRENT_USER\\Software\\Proef]\n\"Ruw\"=hex:01,02\n\"Kort\"=hex(4):05,00\n"
        "\"Lang\"=hex(4):01,00,00,00,00\n\"Tekst\"=\"5\"\n");
    RegistryHandle handle = 0;
    ASSERT_EQ(store_.OpenKey(currentUser, key, registryAllAccess, handle), 0);
    const auto query = [&](RegistryHandle from, const Text& name) {
        Variant value = u"as it was";
        const std::int32_t result = QueryValueEx(store_, from, name, value);
        return std::pair(result, value);
    };
    const Variant untouched = u"as it was";
    EXPECT_EQ(query(handle, u"Geen"), std::pair(-1, untouched));
    EXPECT_EQ(query(handle, u"Ruw"), std::pair(-1, untouched));
    EXPECT_EQ(query(0, u"Tekst"), std::pair(-1, untouched));
    EXPECT_EQ(query(handle, u"Lang"), std::pair(234, untouched)) << "more than a number";
    EXPECT_EQ(query(handle, u"Kort"), std::pair(0, Variant(std::int32_t{5})));
    EXPECT_EQ(query(handle, u"tekst"), std::pair(0, Variant(Text(u"5\0", 2))));
    EXPECT_EQ(SetValueEx(store_, handle, u"X", 3, u"x"), 0) << "another type is no failure";
    EXPECT_EQ(SetValueEx(store_, 0, u"X", 1, u"x"), 6);
}

TEST_F(Primitives, KeysAndValuesAreEnumerated)
{
    WriteUserFile(
        "[HKEY_CURRENT_USER\\Software\\Proef]\n\"Pad\"=\"C:\\\\Data\"\n\"Aantal\"=dword:00000003\n"
        "\"Ruw\"=hex:01\n\"Leeg\"=hex(1):\n[HKEY_CURRENT_USER\\Software\\Proef\\b]\n"
        "[HKEY_CURRENT_USER\\Software\\Proef\\A]\n");
    ObjectRef values, keys;
    GetAllValues(store_, currentUser, key, values);
    EXPECT_THAT(Items(values), ElementsAre(Variant(u"Pad"), Variant(u"C:\\Data"), Variant(u"Aantal"), Variant(3.0),
                                           Variant(u"Ruw"), Variant(0.0), Variant(u"Leeg"), Variant(u"")));
    GetAllSubKeys(store_, currentUser, key, keys);
    GetAllSubKeys(store_, currentUser, u"Software", keys);
    EXPECT_THAT(Items(keys), ElementsAre(Variant(u"A"), Variant(u"b"), Variant(u"Proef")))
        << "a collection that is given is added to";
    ObjectRef none;
    GetAllSubKeys(store_, currentUser, u"Software\\Geen", none);
    EXPECT_THAT(Items(none), IsEmpty());

    Text name = u"x";
    Variant value = u"x";
    bool isText = true;
    EXPECT_EQ(GetIndexedKey(store_, currentUser, key, 2, name), 259);
    EXPECT_EQ(name, u"");
    EXPECT_EQ(GetIndexedValue(store_, currentUser, key, 1, name, value, isText), 0);
    EXPECT_EQ(std::tuple(name, value, isText), std::tuple(Text(u"Aantal"), Variant(std::int32_t{3}), false));
    EXPECT_EQ(GetIndexedValue(store_, currentUser, key, 4, name, value, isText), 259);
    EXPECT_EQ(std::tuple(name, value, isText), std::tuple(Text(), Variant(u""), false));
    EXPECT_EQ(GetIndexedValue(store_, currentUser, key, -1, name, value, isText), 259);
}

TEST_F(Primitives, TextOf255BytesEndsAnEnumeration)
{
    RegCreateNewKey(store_, currentUser, key);
    RegSetKeyValue(store_, currentUser, key, u"Past", Text(254, u'x'), 1);
    RegSetKeyValue(store_, currentUser, key, u"Te lang", Text(255, u'x'), 1);
    RegSetKeyValue(store_, currentUser, key, u"Erna", u"x", 1);
    ObjectRef values;
    GetAllValues(store_, currentUser, key, values);
    EXPECT_THAT(Items(values), ElementsAre(Variant(u"Past"), Variant(Text(254, u'x'))));
    Text name;
    Variant value;
    bool isText = false;
    EXPECT_EQ(GetIndexedValue(store_, currentUser, key, 1, name, value, isText), 234);
}

TEST_F(Primitives, Deletion)
{
    RegCreateNewKey(store_, currentUser, key + u"\\Onder");
    RegSetKeyValue(store_, currentUser, key, u"Een", 1.0, 1);
    RegDelVar(store_, currentUser, key, u"EEN");
    EXPECT_EQ(Query(u"Een"), Variant(u"default"));
    RegSetKeyValue(store_, currentUser, key, u"Twee", 2.0, 1);
    RegDelKey(store_, currentUser, key);
    EXPECT_EQ(Query(u"Twee"), Variant(Text(u"2\0", 2))) << "a key with sub-keys stays";
    RegDelKey(store_, currentUser, key + u"\\Onder\\");
    RegDelKey(store_, currentUser, key);
    EXPECT_EQ(Query(u"Twee"), Variant(u"default"));
}

/// Counts the handles that are open.
class CountingStore : public vmlib::test::NoRegistry
{
public:
    std::int32_t OpenKey(RegistryHandle, TextView, std::uint32_t, RegistryHandle& opened) override
    {
        ++open;
        opened = 8;
        return registryDone;
    }
    std::int32_t CreateKey(RegistryHandle root, TextView path, std::uint32_t access, RegistryHandle& opened) override
    {
        return OpenKey(root, path, access, opened);
    }
    std::int32_t CloseKey(RegistryHandle) override
    {
        --open;
        return registryDone;
    }
    int open = 0;
};

TEST(PrimitiveHandles, AreClosedExceptThatOfADeletedValue)
{
    CountingStore store;
    Text name;
    Variant value;
    bool isText = false;
    RegQueryValue(store, currentUser, key, u"x", 0.0);
    RegSetKeyValue(store, currentUser, key, u"x", 0.0, 4);
    RegCreateNewKey(store, currentUser, key);
    GetIndexedKey(store, currentUser, key, 0, name);
    GetIndexedValue(store, currentUser, key, 0, name, value, isText);
    EXPECT_EQ(store.open, 0);
    RegDelVar(store, currentUser, key, u"x");
    EXPECT_EQ(store.open, 1);
}

}  // namespace
}  // namespace vmlib::registry
