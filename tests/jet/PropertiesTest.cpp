#include "jet/DatabaseFixture.h"

namespace vmlib::jet {
namespace {

Bytes FromHex(std::string_view text)
{
    Bytes bytes;
    std::string digits;
    for (const char character : text) {
        if (character != ' ') digits += character;
        if (digits.size() < 2) continue;
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits, nullptr, 16)));
        digits.clear();
    }
    return bytes;
}

class PropertiesTest : public DatabaseFixture
{
protected:
    /// Every LvProp value of a file.
    std::vector<Bytes> ValuesOf(const std::filesystem::path& genuine)
    {
        const auto database = workspace_->Open(CopyOf(genuine), {.readOnly = true});
        const auto table = database->OpenTable(u"MSysObjects");
        const std::size_t at = table->Definition().ColumnNamed(u"LvProp").value();
        std::vector<Bytes> values;
        for (auto cursor = table->Scan(); cursor.Next();) {
            if (const auto* value = std::get_if<Bytes>(&cursor.Current()[at])) values.push_back(*value);
        }
        return values;
    }
};

// The properties that an engine gives a query made by a program.
TEST_F(PropertiesTest, AreTheBytesOfTheFormat)
{
    ObjectProperties properties;
    properties.own.Set({u"ODBCTimeout", 3, true, {60, 0}, 0});
    properties.own.Set({u"MaxRecords", 4, true, {0, 0, 0, 0}, 0});
    EXPECT_EQ(properties.Encode(),
              FromHex("4B4B4400 1F000000 8000 0B00 4F44424354696D656F7574 0A00 4D61785265636F726473 "
                      "22000000 0000 06000000 0000 0A00 01 03 0000 0200 3C00 0C00 01 04 0100 0400 00000000"));
}

TEST_F(PropertiesTest, GenuineValuesComeBackByteForByte)
{
    std::size_t count = 0;
    for (const char* name :
         {"testV1997.mdb", "test2V1997.mdb", "indexTestV1997.mdb", "queryTestV1997.mdb", "employee.mdb"}) {
        VMLIB_GENUINE_FILE(genuine, name);
        for (const Bytes& value : ValuesOf(genuine)) {
            EXPECT_EQ(ObjectProperties::Decode(value).Encode(), value) << name << ", value " << count;
            ++count;
        }
    }
    EXPECT_GT(count, 30u);
}

TEST_F(PropertiesTest, DamageIsAnErrorAndNeverACrash)
{
    VMLIB_GENUINE_FILE(genuine, "employee.mdb");
    for (const Bytes& value : ValuesOf(genuine)) {
        for (std::size_t at = 0; at < value.size(); at += 3) {
            const std::span all(value);
            const std::int32_t cut = NumberOf(
                [&] { ObjectProperties::Decode(Bytes(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(at))); });
            EXPECT_TRUE(cut == 0 || cut == 3428);
            Bytes wrong = value;
            wrong[at] ^= 0xFF;
            const std::int32_t number = NumberOf([&] { ObjectProperties::Decode(wrong); });
            EXPECT_TRUE(number == 0 || number == 3428);
        }
    }
    EXPECT_EQ(NumberOf([] { ObjectProperties::Decode(FromHex("4D523300")); }), 3428);
    // A property and a head that are longer than what they hold: encoded again they would lose bytes.
    for (const char* list :
         {"16000000 0000 06000000 0000 0A00 00 01 0000 0100 FF 00", "0D000000 0000 07000000 0000 00"}) {
        const Bytes stored = FromHex(std::string("4B4B4400 0C000000 8000 0400 41626364") + list);
        EXPECT_EQ(NumberOf([&] { ObjectProperties::Decode(stored); }), 3428) << list;
    }
}

TEST_F(PropertiesTest, UnknownChunksAndNamesStay)
{
    const Bytes stored = FromHex("4B4B4400 0C000000 8000 0400 41426364 0A000000 7700 DEADBEEF");
    ObjectProperties properties = ObjectProperties::Decode(stored);
    EXPECT_EQ(properties.Encode(), stored);
    properties.OfField(u"F").SetBoolean(u"Required", true);
    properties.RenameField(u"f", u"G");
    const ObjectProperties again = ObjectProperties::Decode(properties.Encode());
    EXPECT_EQ(again.unknownChunks, properties.unknownChunks);
    EXPECT_EQ(again.FindField(u"G")->Boolean(u"REQUIRED"), true);
    EXPECT_EQ(again.names, (std::vector<Text>{u"ABcd", u"Required"}));
}

TEST_F(PropertiesTest, AValueThatDoesNotFitIsRefused)
{
    ObjectProperties properties;
    properties.own.SetString(u"Description", Text(70000, u'x'), 10);
    EXPECT_EQ(NumberOf([&] { properties.Encode(); }), 3001);
}

}  // namespace
}  // namespace vmlib::jet
