#include <gmock/gmock.h>

#include "platform/RegistryFixture.h"

namespace vmlib {
namespace {

using namespace std::string_literals;
using test::Answer;

class RegistryStoreTest : public testing::Test, protected test::RegistryFixture
{
protected:
    std::int32_t OpenResult(RegistryHandle key, TextView path, std::uint32_t access = registryAllAccess)
    {
        RegistryHandle opened = -7;
        const auto result = registry_.OpenKey(key, path, access, opened);
        EXPECT_EQ(opened == -7, result != registryDone) << "set on success only";
        return result;
    }
    std::int32_t CreateResult(RegistryHandle key, TextView path)
    {
        RegistryHandle opened;
        return registry_.CreateKey(key, path, registryAllAccess, opened);
    }
};

TEST_F(RegistryStoreTest, KeysHaveTheResultCodesOfThePlatform)
{
    ASSERT_NE(Create(currentUser, u"A\\B"), 0);
    struct Row
    {
        const char* name;
        RegistryHandle key;
        Text path;
        std::int32_t open, create, remove;
    };
    const Text longest(255, u'x');
    const Row rows[] = {
        {"of another case, with empty parts", currentUser, u"a\\\\b\\", 0, 0, 0},
        {"a parent now without sub-keys", currentUser, u"A", 0, 0, 0},
        {"missing", currentUser, u"none", 2, 0, 0},
        {"the root", currentUser, u"", 0, 0, 5},
        {"\\ first", currentUser, u"\\A", 161, 161, 161},
        {"up to the zero character", currentUser, u"Z"s + u'\0' + u"\\Y", 2, 0, 0},
        {"255 characters", currentUser, longest, 2, 0, 0},
        {"256 characters", currentUser, longest + u"x", 2, 87, 2},
        {"a line end", currentUser, u"a\nb", 2, 87, 2},
        {"what looks like the end of a section", currentUser, u"a] ; b", 2, 87, 2},
        {"no handle", 0, u"A", 6, 6, 6},
        {"not open", 4000, u"A", 6, 6, 6},
        {"the root of all users", static_cast<RegistryHandle>(0x80000003), u"A", 6, 6, 6},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(OpenResult(row.key, row.path), row.open) << row.name;
        EXPECT_EQ(CreateResult(row.key, row.path), row.create) << row.name;
        EXPECT_EQ(registry_.DeleteKey(row.key, row.path), row.remove) << row.name;
    }
    EXPECT_EQ(User(), form) << "all that was made is gone";
}

TEST_F(RegistryStoreTest, AKeyWithSubKeysStays)
{
    Create(currentUser, u"A\\B\\C");
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"A\\B"), 5);
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"A\\B\\C"), 0);
    EXPECT_EQ(KeyNames(Open(currentUser, u"A")), "B|259") << "what only C implied";
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"A\\B"), 0);
    EXPECT_EQ(KeyNames(currentUser), "A|259");
}

TEST_F(RegistryStoreTest, HandlesHaveTheAccessTheyWereOpenedWith)
{
    Create(currentUser, u"A\\B");
    registry_.SetValue(Open(currentUser, u"A"), u"v", registryText, "1");
    struct Row
    {
        std::uint32_t access;
        std::int32_t query, set, enumKey, enumValue, deleteValue;
    };
    for (const Row& row : {Row{registryQuery, 0, 5, 5, 0, 5}, Row{registrySet, 5, 0, 5, 5, 0},
                           Row{registryEnumerate, 5, 5, 0, 0, 5}, Row{registryAllAccess, 0, 0, 0, 0, 0}}) {
        const RegistryHandle key = Open(currentUser, u"A", row.access);
        Text name;
        std::uint32_t type, size;
        std::string room(9, '-');
        registry_.SetValue(Open(currentUser, u"A"), u"v", registryText, "1");
        EXPECT_EQ(Query(key, u"v").result, row.query) << row.access;
        EXPECT_EQ(registry_.EnumKey(key, 0, 9, name), row.enumKey) << row.access;
        EXPECT_EQ(registry_.EnumValue(key, 0, 9, name, type, room, size), row.enumValue) << row.access;
        EXPECT_EQ(registry_.SetValue(key, u"v", registryText, "2"), row.set) << row.access;
        EXPECT_EQ(registry_.DeleteValue(key, u"v"), row.deleteValue) << row.access;
        EXPECT_EQ(registry_.CloseKey(key), 0);
        EXPECT_EQ(registry_.CloseKey(key), 6);
    }
    EXPECT_EQ(registry_.CloseKey(classesRoot), 0);
    EXPECT_EQ(Open(currentUser, u""), currentUser);
}

TEST_F(RegistryStoreTest, AHandleOutlivesNoDeletion)
{
    const RegistryHandle own = Create(currentUser, u"A"), foreign = Create(currentUser, u"B");
    posix::PosixRegistry other(paths_);
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"a"), 0);
    EXPECT_EQ(other.DeleteKey(currentUser, u"B"), 0);
    Text name;
    for (const RegistryHandle key : {own, foreign}) {
        EXPECT_EQ(registry_.SetValue(key, u"v", registryText, "1"), 1018);
        EXPECT_EQ(registry_.EnumKey(key, 0, 9, name), 1018);
        EXPECT_EQ(OpenResult(key, u"C"), 1018);
        EXPECT_EQ(CreateResult(key, u"C"), 1018);
    }
    Create(currentUser, u"A");
    Create(currentUser, u"B");
    EXPECT_EQ(Query(own, u"v").result, 1018) << "another key of the name";
    EXPECT_EQ(Query(foreign, u"v").result, 1018);
    EXPECT_EQ(KeyNames(currentUser), "A|B|259");
    EXPECT_EQ(registry_.CloseKey(own), 0);
}

TEST_F(RegistryStoreTest, ValuesCrossInTheCodePage)
{
    const RegistryHandle key = Create(currentUser, u"A");
    struct Row
    {
        const char* name;
        std::uint32_t type;
        std::string data, read;
    };
    const Row rows[] = {
        {"text gets its zero", 1, "C:\\Data", "C:\\Data\0"s},
        {"text with its zero", 1, "x\0"s, "x\0"s},
        {"no text", 1, "", "\0"s},
        {"all bytes", 1, "\x80\x81\xFF\x01\n\"", "\x80\x81\xFF\x01\n\"\0"s},
        {"zeros inside", 1, "a\0b\0\0"s, "a\0b\0\0"s},
        {"variables", 2, "%\xEB%", "%\xEB%\0"s},
        {"number", 4, "\1\2\3\xFF"s, "\1\2\3\xFF"s},
        {"other bytes", 3, "\x80\0"s, "\x80\0"s},
    };
    for (const Row& row : rows) {
        ASSERT_EQ(registry_.SetValue(key, u"v", row.type, row.data), 0) << row.name;
        posix::PosixRegistry other(paths_);
        EXPECT_EQ(Query(key, u"V"), (Answer{0, row.type, row.read})) << row.name;
    }
    WriteUser("[HKCU\\A]\n\"\xD0\x96\"=\"\xD0\x96 \xE2\x82\xAC\"\n@=hex(1):61,00\n\"x\"=hex(1):\n");
    EXPECT_EQ(ValueNames(key), "?||x|259") << "no such letter in the code page";
    EXPECT_EQ(Query(key, u"\u0416").result, 2) << "asked for as ?";
    EXPECT_EQ(Query(key, u""), (Answer{0, 1, "a"})) << "as it is stored, without a zero";
    EXPECT_EQ(Query(key, u"x"), (Answer{0, 1, ""}));
}

TEST_F(RegistryStoreTest, RoomThatIsTooSmallIsToldItsSize)
{
    const RegistryHandle key = Create(currentUser, u"A\\Name");
    registry_.SetValue(key, u"Value", registryText, "1234");
    std::uint32_t type = 0, size = 0;
    std::string room(4, '-');
    EXPECT_EQ(registry_.QueryValue(key, u"Value", type, {}, size), 0) << "only type and size";
    EXPECT_EQ(type, registryText);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(registry_.QueryValue(key, u"Value", type, room, size = 0), 234);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(room, "----");
    Text name = u"before";
    EXPECT_EQ(registry_.EnumValue(key, 0, 6, name, type, {}, size = 0), 234) << "data always goes into the room";
    EXPECT_EQ(size, 5u);
    room.resize(5);
    EXPECT_EQ(registry_.EnumValue(key, 0, 5, name, type, room, size), 234) << "no room for the zero of the name";
    EXPECT_EQ(name, u"before");
    EXPECT_EQ(registry_.EnumValue(key, 0, 6, name, type, room, size), 0);
    EXPECT_EQ(name, u"Value");
    const RegistryHandle parent = Open(currentUser, u"A");
    EXPECT_EQ(registry_.EnumKey(parent, 0, 4, name), 234);
    EXPECT_EQ(registry_.EnumKey(parent, 0, 5, name), 0);
    EXPECT_EQ(name, u"Name");
    EXPECT_EQ(registry_.SetValue(key, Text(16'383, u'x'), registryText, ""), 0);
    EXPECT_EQ(registry_.SetValue(key, Text(16'384, u'x'), registryText, ""), 87);
}

TEST_F(RegistryStoreTest, EnumerationsHaveTheirOrder)
{
    WriteUser(
        "[HKCU\\b\\x]\n[HKCU\\A]\n[HKCU\\c]\n\"2\"=\"\"\n\"1\"=\"\"\n[HKCU\\B]\n[HKCU\\C]\n\"0\"=\"\"\n\"2\"=\"x\"\n");
    EXPECT_EQ(KeyNames(currentUser), "A|b|c|259") << "by name, in the first spelling";
    EXPECT_EQ(ValueNames(Open(currentUser, u"C")), "2|1|0|259") << "as they were made";
}

TEST_F(RegistryStoreTest, ClassesArePartOfTheMachine)
{
    EXPECT_EQ(KeyNames(classesRoot), "259") << "no file yet";
    EXPECT_EQ(Query(classesRoot, u"").result, 2);
    const RegistryHandle type = Create(classesRoot, u".vmd");
    EXPECT_EQ(registry_.SetValue(type, u"", registryText, "VMD.Document"), 0);
    EXPECT_EQ(Query(Open(localMachine, u"Software\\CLASSES\\.vmd"), u"").data, "VMD.Document\0"s);
    EXPECT_EQ(folder_.Read("machine.reg"),
              form + "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\.vmd]\n@=\"VMD.Document\"\n");
    EXPECT_EQ(registry_.DeleteKey(classesRoot, u".VMD"), 0);
    EXPECT_EQ(OpenResult(localMachine, u"SOFTWARE\\Classes"), 0);
}

TEST_F(RegistryStoreTest, ProvidedValuesAreAnsweredUntilOneIsStored)
{
    Text separator = u",";
    registry_.Provide(currentUser, u"Control Panel\\International", u"sDecimal", [&] { return separator; });
    registry_.Provide(classesRoot, u".vmd", u"", [] { return Text(u"VMD.Document"); });
    const RegistryHandle key = Open(currentUser, u"control panel\\international");
    EXPECT_EQ(Query(key, u"SDECIMAL"), (Answer{0, 1, ",\0"s}));
    separator = u".";
    EXPECT_EQ(Query(key, u"sDecimal"), (Answer{0, 1, ".\0"s}));
    EXPECT_EQ(KeyNames(currentUser), "Control Panel|259");
    EXPECT_EQ(ValueNames(key), "sDecimal|259");
    EXPECT_EQ(Query(Open(localMachine, u"Software\\Classes\\.vmd"), u"").data, "VMD.Document\0"s);
    EXPECT_EQ(registry_.DeleteValue(key, u"sDecimal"), 5);
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"Control Panel\\International"), 5);
    EXPECT_NE(Create(currentUser, u"Control Panel\\International"), 0);
    EXPECT_TRUE(folder_.Names().empty()) << "nothing is stored for it";

    EXPECT_EQ(registry_.SetValue(key, u"sdecimal", registryText, "."), 0) << "stored, though it is answered so";
    EXPECT_EQ(User(), form + "[HKEY_CURRENT_USER\\Control Panel\\International]\n\"sdecimal\"=\".\"\n");
    separator = u",";
    EXPECT_EQ(Query(key, u"sDecimal"), (Answer{0, 1, ".\0"s}));
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"Control Panel\\International"), 0);
    EXPECT_EQ(Query(key, u"sDecimal"), (Answer{0, 1, ",\0"s})) << "the key is still there";
}

}  // namespace
}  // namespace vmlib
