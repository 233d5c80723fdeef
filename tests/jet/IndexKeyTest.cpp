#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "core/Error.h"
#include "jet/IndexTree.h"

namespace vmlib::jet {
namespace {

std::string Hex(std::string_view bytes)
{
    std::string text;
    char digits[4];
    for (const char byte : bytes) {
        std::snprintf(digits, sizeof digits, text.empty() ? "%02X" : " %02X",
                      static_cast<unsigned>(static_cast<unsigned char>(byte)));
        text += digits;
    }
    return text;
}

/// A table with one column, the only one of its index.
struct OneColumn
{
    TableDefinition table;
    TreeDefinition tree;

    explicit OneColumn(ColumnType type, bool descending = false, std::uint16_t langid = generalOrder)
    {
        ColumnDefinition column;
        column.name = u"Veld";
        column.type = type;
        column.locale.langid = langid;
        table.columns.push_back(column);
        tree.columns.push_back({0, descending});
    }

    Key Of(const Value& value) const { return *IndexKey::Of(table, tree, {value}); }
};

Bytes Counting(std::size_t count)
{
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i + 1);
    return bytes;
}

TEST(IndexKey, OfOneValue)
{
    constexpr bool descending = true;
    const Guid guid{{0xFF, 0x94, 0x96, 0x6F, 0x8B, 0x86, 0x11, 0xD0, 0xB4, 0x2D, 0x00, 0xC0, 0x4F, 0xC9, 0x64, 0xFF}};
    const struct
    {
        const char* name;
        ColumnType type;
        Value value;
        bool descending;
        const char* expected;
    } cases[] = {
        {"zero", ColumnType::Long, std::int32_t{0}, false, "7F 80 00 00 00"},
        {"negative sorts first", ColumnType::Long, std::int32_t{-1}, false, "7F 7F FF FF FF"},
        {"descending inverts", ColumnType::Long, std::int32_t{0}, descending, "80 7F FF FF FF"},
        {"a container's id, as the catalogue has it", ColumnType::Long, std::int32_t{0x0F000001}, false,
         "7F 8F 00 00 01"},
        {"Null", ColumnType::Long, Null{}, false, "00"},
        {"Null is last in descending order", ColumnType::Text, Null{}, descending, "FF"},
        {"Integer", ColumnType::Integer, std::int16_t{258}, false, "7F 81 02"},
        {"Byte has no sign", ColumnType::Byte, std::uint8_t{0x80}, false, "7F 80"},
        {"True", ColumnType::Boolean, true, false, "7F 00"},
        {"False", ColumnType::Boolean, false, false, "7F FF"},
        {"Currency", ColumnType::Currency, Currency{10000}, false, "7F 80 00 00 00 00 00 27 10"},
        {"Single", ColumnType::Single, 1.0f, false, "7F BF 80 00 00"},
        {"negative Single", ColumnType::Single, -1.0f, false, "7F 40 7F FF FF"},
        {"Double", ColumnType::Double, 2.0, false, "7F C0 00 00 00 00 00 00 00"},
        {"Date before the era", ColumnType::Date, Date{-2.0}, false, "7F 3F FF FF FF FF FF FF FF"},
        {"order column of a stored query", ColumnType::Binary, Bytes{0, 0, 0, 1}, false,
         "7F 00 00 00 01 00 00 00 00 04"},
        {"one full group", ColumnType::Binary, Counting(8), false, "7F 01 02 03 04 05 06 07 08 08"},
        {"two groups", ColumnType::Binary, Counting(9), false,
         "7F 01 02 03 04 05 06 07 08 09 09 00 00 00 00 00 00 00 01"},
        {"09 between groups stays, also in descending order", ColumnType::Binary, Counting(16), descending,
         "80 FE FD FC FB FA F9 F8 F7 09 F6 F5 F4 F3 F2 F1 F0 EF F7"},
        {"GUID in printed order", ColumnType::Guid, guid, false,
         "7F 6F 96 94 FF 86 8B D0 11 09 B4 2D 00 C0 4F C9 64 FF 08"},
        {"text as a genuine file has it", ColumnType::Text, std::string("AaronB"), false, "7F 60 60 75 72 70 61 00"},
        {"case does not count", ColumnType::Text, std::string("aARONb"), false, "7F 60 60 75 72 70 61 00"},
        {"trailing blanks do not count", ColumnType::Text, std::string("AaronB  "), false, "7F 60 60 75 72 70 61 00"},
        {"leading blanks do", ColumnType::Text, std::string(" a b"), false, "7F 11 60 11 61 00"},
        {"blanks only are empty", ColumnType::Text, std::string("   "), false, "7F 00"},
        {"accent at the end", ColumnType::Text, std::string("caf\xE9"), false, "7F 62 60 67 66 02 24 00"},
        {"accent in front", ColumnType::Text, std::string("\xE9t"), false, "7F 66 77 04 00"},
        {"only letters that can carry an accent have a slot", ColumnType::Text, std::string("btb\xE9"), false,
         "7F 61 77 61 66 04 00"},
        {"sharp s is two letters", ColumnType::Text, std::string("\xDF\xE4"), false, "7F 76 76 60 02 26 00"},
        {"descending text", ColumnType::Text, std::string("AaronB"), descending, "80 9F 9F 8A 8D 8F 9E FF"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(Hex(OneColumn(each.type, each.descending).Of(each.value)), each.expected) << each.name;
    }
}

TEST(IndexKey, DutchTakesYWithDiaeresisForIj)
{
    const OneColumn dutch(ColumnType::Text, false, dutchOrder);
    const OneColumn general(ColumnType::Text, false, generalOrder);
    EXPECT_EQ(dutch.Of(std::string("\xFFs")), dutch.Of(std::string("ijs")));
    EXPECT_EQ(dutch.Of(std::string("\x9Fs")), dutch.Of(std::string("IJs")));
    EXPECT_NE(general.Of(std::string("\xFFs")), general.Of(std::string("ijs")));
    EXPECT_EQ(Hex(general.Of(std::string("\xFF"))), "7F 7D 06 00");
    EXPECT_EQ(dutch.Of(std::string("Prijzen")), general.Of(std::string("PRIJZEN")));
}

TEST(IndexKey, KeysAscendWithTheValues)
{
    const auto expectAscending = [](ColumnType type, const std::vector<Value>& values) {
        const OneColumn up(type);
        const OneColumn down(type, true);
        for (std::size_t i = 1; i < values.size(); ++i) {
            EXPECT_LT(up.Of(values[i - 1]), up.Of(values[i])) << "type " << static_cast<int>(type) << " value " << i;
            EXPECT_GT(down.Of(values[i - 1]), down.Of(values[i]))
                << "type " << static_cast<int>(type) << " value " << i;
        }
    };
    const double tiny = std::numeric_limits<double>::denorm_min();
    expectAscending(ColumnType::Double, {Null{}, -1e308, -1.5, -tiny, 0.0, tiny, 1.0, 1.5, 1e308});
    expectAscending(ColumnType::Single, {Null{}, -3e38f, -1.0f, 0.0f, 1e-30f, 1.0f});
    expectAscending(ColumnType::Integer,
                    {Null{}, std::int16_t{-32768}, std::int16_t{-1}, std::int16_t{0}, std::int16_t{32767}});
    expectAscending(ColumnType::Currency, {Currency{INT64_MIN}, Currency{-1}, Currency{0}, Currency{INT64_MAX}});
    expectAscending(ColumnType::Byte,
                    {Null{}, std::uint8_t{0}, std::uint8_t{127}, std::uint8_t{128}, std::uint8_t{255}});
    expectAscending(ColumnType::Binary, {Null{}, Counting(1), Bytes{1, 0}, Counting(2), Counting(7), Counting(8),
                                         Counting(9), Counting(17), Bytes{2}});
    // As the manual orders them: signs, digits, letters; accents only where all letters are equal.
    const auto text = [](const char* ansi) { return Value(std::string(ansi)); };
    expectAscending(ColumnType::Text, {Null{}, text(""), text("-"), text("0"), text("9"), text("a"), text("\xE0"),
                                       text("\xE9"), text("resume"), text("resum\xE9"), text("r\xE9sum\xE9"),
                                       text("resumes"), text("Z"), text("\xD8")});
}

TEST(IndexKey, OfSeveralColumns)
{
    TableDefinition table;
    for (std::uint16_t number = 0; number < 3; ++number) {
        ColumnDefinition column;
        column.type = number == 1 ? ColumnType::Text : ColumnType::Long;
        column.number = static_cast<std::uint16_t>(10 - number);  // the index names columns by number, not by position
        column.locale.langid = generalOrder;
        table.columns.push_back(column);
    }
    TreeDefinition tree;
    tree.columns = {{9, false}, {10, true}};
    const Row row{std::int32_t{1}, std::string("b"), std::int32_t{3}};
    EXPECT_EQ(Hex(*IndexKey::Of(table, tree, row)), "7F 61 00 80 7F FF FF FE");

    const Value first[] = {std::string("b")};
    EXPECT_EQ(Hex(IndexKey::Prefix(table, tree, first)), "7F 61 00");

    const Row half{std::int32_t{1}, Null{}, std::int32_t{3}};
    const Row none{Null{}, Null{}, std::int32_t{3}};
    EXPECT_TRUE(IndexKey::HasNull(table, tree, half));
    EXPECT_FALSE(IndexKey::AllNull(table, tree, half));
    EXPECT_EQ(Hex(*IndexKey::Of(table, tree, none)), "00 FF");
    EXPECT_EQ(*IndexKey::Of(table, tree, none), IndexKey::OfNulls(tree));
    tree.ignoreNulls = true;
    EXPECT_TRUE(IndexKey::Of(table, tree, half).has_value());
    EXPECT_FALSE(IndexKey::Of(table, tree, none).has_value());
}

TEST(IndexKey, LongKeysAreCutWithACheckSum)
{
    // Check sums by the second implementation of the tests (tests/tools/jetcheck.py).
    Key alike = "\x7F" + std::string(300, 'a');
    IndexKey::CutLong(alike);
    EXPECT_EQ(alike.size(), 255u);
    EXPECT_EQ(Hex(alike.substr(251)), "61 61 D8 9F");

    Key counting;
    for (int i = 0; i < 256; ++i) counting += static_cast<char>(i);
    Key whole = counting.substr(0, 255);
    IndexKey::CutLong(whole);
    EXPECT_EQ(whole, counting.substr(0, 255)) << "255 bytes are not too many";
    IndexKey::CutLong(counting);
    EXPECT_EQ(Hex(counting.substr(251)), "FB FC F2 7C");
}

TEST(IndexKey, UnknownSortOrderIsRefusedByNumber)
{
    const OneColumn turkish(ColumnType::Text, false, 0x041F);
    EXPECT_FALSE(IndexKey::KnowsOrder(0x041F));
    try {
        turkish.Of(std::string("a"));
        FAIL();
    } catch (const Error& error) {
        EXPECT_TRUE(error.Is(ErrorNumber::NotSupported));
        EXPECT_THAT(error.what(), testing::HasSubstr("1055"));
    }
    EXPECT_EQ(Hex(turkish.Of(Null{})), "00");
    EXPECT_LT(IndexKey::CompareText("a", "b", 0x041F), 0) << "reading goes on";
}

TEST(IndexKey, TextComparesAsItsKeysDo)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string letters =
        "aAeE\xE9\xC9\xE8o\xF6\xD8\xDFs\x8C\xFF\x9F"
        "ijy\xFD -9\x01";
    for (const std::uint16_t langid : {generalOrder, dutchOrder}) {
        for (int round = 0; round < 20000; ++round) {
            const auto text = [&] {
                std::string made(random() % 5, ' ');
                for (char& each : made)
                    each = round % 4 == 0 ? static_cast<char>(random()) : letters[random() % letters.size()];
                return made;
            };
            const std::string left = text();
            const std::string right = text();
            Key leftKey;
            Key rightKey;
            IndexKey::AppendText(leftKey, left, langid);
            IndexKey::AppendText(rightKey, right, langid);
            const auto sign = [](int order) { return (order > 0) - (order < 0); };
            ASSERT_EQ(sign(IndexKey::CompareText(left, right, langid)), sign(leftKey.compare(rightKey)))
                << Hex(left) << " | " << Hex(right);
        }
    }
}

}  // namespace
}  // namespace vmlib::jet
