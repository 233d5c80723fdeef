#include <gmock/gmock.h>

#include "platform/windows/WindowsRegistry.h"
#include "windows/ports/OwnRegistry.h"

namespace vmlib::test {
namespace {

using namespace std::string_literals;

class WindowsRegistryTest : public testing::Test
{
protected:
    RegistryHandle Create(RegistryHandle key, TextView path)
    {
        RegistryHandle opened = 0;
        EXPECT_EQ(registry_.CreateKey(key, path, registryAllAccess, opened), 0);
        return opened;
    }
    /// Result, type and data.
    std::tuple<std::int32_t, std::uint32_t, std::string> Query(RegistryHandle key, TextView name)
    {
        std::uint32_t type = 0, size = 0;
        std::string room(1000, '-');
        const std::int32_t result = registry_.QueryValue(key, name, type, room, size);
        return {result, type, result == 0 ? room.substr(0, size) : ""};
    }
    std::string KeyNames(RegistryHandle key)
    {
        std::string names;
        for (std::uint32_t i = 0;; ++i) {
            Text name;
            const auto result = registry_.EnumKey(key, i, 256, name);
            if (result != registryDone) return names + std::to_string(result);
            names += ToUtf8(name) + "|";
        }
    }

    OwnRegistry roots_;
    windows::WindowsRegistry registry_;
};

TEST_F(WindowsRegistryTest, KeysHaveTheirResultCodes)
{
    Create(currentUser, u"A\\B");
    struct Row
    {
        const char* name;
        RegistryHandle key;
        Text path;
        std::int32_t open, create, remove;
    };
    const Row rows[] = {
        {"of another case, with \\ at the end", currentUser, u"a\\b\\", 0, 0, 0},
        {"missing", currentUser, u"none", 2, 0, 0},
        {"the root", currentUser, u"", 0, 0, 5},
        {"\\ first", currentUser, u"\\A", 161, 161, 161},
        {"up to the zero character", currentUser, u"Z"s + u'\0' + u"\\Y", 2, 0, 0},
        {"no handle", 0, u"A", 6, 6, 6},
    };
    for (const Row& row : rows) {
        RegistryHandle opened = -7;
        EXPECT_EQ(registry_.OpenKey(row.key, row.path, registryAllAccess, opened), row.open) << row.name;
        EXPECT_EQ(opened == -7, row.open != 0) << row.name;
        EXPECT_EQ(registry_.CreateKey(row.key, row.path, registryAllAccess, opened), row.create) << row.name;
        EXPECT_EQ(registry_.DeleteKey(row.key, row.path), row.remove) << row.name;
    }
    Create(currentUser, u"A\\b");
    Create(currentUser, u"A\\C");
    const RegistryHandle a = Create(currentUser, u"A");
    EXPECT_EQ(KeyNames(a), "b|C|259");
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"A"), 5) << "it has sub-keys";
    registry_.DeleteKey(a, u"B");
    registry_.DeleteKey(a, u"C");
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"A"), 0);
    EXPECT_EQ(registry_.SetValue(a, u"v", registryText, "1"), 1018);
    EXPECT_EQ(registry_.CloseKey(a), 0);
    EXPECT_EQ(registry_.CloseKey(currentUser), 0);
}

TEST_F(WindowsRegistryTest, HandlesHaveTheAccessTheyWereOpenedWith)
{
    registry_.SetValue(Create(currentUser, u"A\\B"), u"v", registryText, "1");
    RegistryHandle reader = 0, writer = 0;
    registry_.OpenKey(currentUser, u"A\\B", registryQuery, reader);
    registry_.OpenKey(currentUser, u"A\\B", registrySet, writer);
    EXPECT_EQ(std::get<0>(Query(reader, u"v")), 0);
    EXPECT_EQ(registry_.SetValue(reader, u"v", registryText, "2"), 5);
    EXPECT_EQ(registry_.DeleteValue(reader, u"v"), 5);
    EXPECT_EQ(std::get<0>(Query(writer, u"v")), 5);
    EXPECT_EQ(registry_.SetValue(writer, u"v", registryText, "2"), 0);
    EXPECT_EQ(registry_.DeleteValue(writer, u"v"), 0);
}

TEST_F(WindowsRegistryTest, ValuesCrossInTheCodePage)
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
        ASSERT_EQ(registry_.SetValue(key, u"v\u20AC", row.type, row.data), 0) << row.name;
        EXPECT_EQ(Query(key, u"V\u20AC"), std::tuple(0, row.type, row.read)) << row.name;
    }
    EXPECT_EQ(std::get<0>(Query(key, u"none")), 2);
}

TEST_F(WindowsRegistryTest, RoomThatIsTooSmallIsToldItsSize)
{
    const RegistryHandle key = Create(currentUser, u"A\\Name");
    registry_.SetValue(key, u"Value", registryText, "1234");
    registry_.SetValue(key, u"Wider than a later one", registryText, "");
    std::uint32_t type = 0, size = 0;
    std::string room(4, '-');
    EXPECT_EQ(registry_.QueryValue(key, u"Value", type, {}, size), 0) << "only type and size";
    EXPECT_EQ(std::pair(type, size), std::pair(registryText, 5u));
    EXPECT_EQ(registry_.QueryValue(key, u"Value", type, room, size = 0), 234);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(room, "----");
    Text name = u"before";
    EXPECT_EQ(registry_.EnumValue(key, 0, 6, name, type, {}, size = 0), 234) << "data always goes into the room";
    room.resize(5);
    EXPECT_EQ(registry_.EnumValue(key, 0, 5, name, type, room, size), 234) << "no room for the zero of the name";
    EXPECT_EQ(name, u"before");
    EXPECT_EQ(registry_.EnumValue(key, 0, 6, name, type, room, size), 0);
    EXPECT_EQ(name, u"Value");
    EXPECT_EQ(registry_.EnumValue(key, 2, 6, name, type, room, size), 259);
    EXPECT_EQ(registry_.EnumKey(Create(currentUser, u"A"), 0, 4, name), 234);
}

}  // namespace
}  // namespace vmlib::test
