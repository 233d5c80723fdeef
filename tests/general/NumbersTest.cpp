#include <gmock/gmock.h>

#include <cmath>

#include "ScriptedPlatform.h"
#include "general/Numbers.h"

namespace vmlib::test {
namespace {

TEST(Numbers, RoundingGoesThroughText)
{
    struct Case
    {
        const char* reason;
        double value;
        std::int16_t places;
        double expected;
    };
    const Case cases[] = {
        {"as people see it", 2.675, 2, 2.68},
        {"100.99999999999999 would be 100", 1.005, 2, 1.01},
        {"half away from zero", -2.5, 0, -3},
        {"less than half", 2.4999, 0, 2},
        {"nothing before the point", -0.05, 1, -0.1},
        {"zero comes out", -0.004, 2, 0},
        {"zero goes in", 0, 2, 0},
        {"more places than the zeros behind the text", 2.0 / 3, 12, 0.666666666667},
        {"15 digits are all there are", 123456789012345.67, 2, 123456789012346.0},
        {"negative places cut digits off", 1234, -1, 123},
        {"no digit stays", 4, -1, 0},
        {"fewer digits than none", 1234, -5, 0},
        {"a whole power of ten keeps its exponent", 1E20, 2, 1E20},
        {"another number in exponent form loses it", 1.5E20, 2, 1.5},
        {"the number is too large to multiply", 1E308, 5, 1E303},
        {"the power is too large", 5, 400, 0},
        {"the power is too small", 5, -400, 0},
        {"the text is too large to read back", 1.7976931348623157E308, 0, 1},
    };
    for (const Case& c : cases) EXPECT_EQ(VmdLib_Afrond(c.value, c.places), c.expected) << c.reason;
    for (const double none : {std::nan(""), HUGE_VAL, -HUGE_VAL}) EXPECT_TRUE(std::isfinite(VmdLib_Afrond(none, 2)));
}

TEST(Numbers, Bookmarks)
{
    EXPECT_EQ(VmdLib_MaakBookMark(5), Variant(u" 5"));
    EXPECT_EQ(VmdLib_MaakBookMark(-5), Variant(u"-5"));
}

using NumbersTest = ScriptedPlatform;

TEST_F(NumbersTest, TheSeparatorIsLookedUp)
{
    struct Case
    {
        const char* reason;
        std::optional<std::string> registry;
        std::optional<Text> settings;  // sDecimal of WIN.INI
        Text comma, point;             // what "1,2,3" and "1.2.3" become
        Text typed;                    // by the decimal key
    };
    const std::string zero(1, '\0');
    const Case cases[] = {
        {"as it is stored", ",;" + zero, u".", u"1,2,3", u"1,2.3", u","},
        {"any other separator counts as a point", "'", {}, u"1.2,3", u"1.2.3", u"'"},
        {"empty is not unknown", zero, u",", u"1.2,3", u"1.2.3", u""},
        {"no registry", {}, u",", u"1,2,3", u"1,2.3", u","},
        {"the slash counts as none", "/" + zero, u".", u"1.2,3", u"1.2.3", u"."},
        {"the file's text is taken whole", {}, u",,", u"1.2,3", u"1.2.3", u",,"},
        {"an empty one of the file is none", {}, u"", u"1,2,3", u"1.2.3", u""},
        {"nothing known", {}, {}, u"1,2,3", u"1.2.3", u""},
    };
    for (const Case& c : cases) {
        registry_.values.clear();
        system_.profile.clear();
        desktop_.typed.clear();
        if (c.registry) registry_.values[{currentUser, u"Control Panel\\International", u"sDecimal"}] = *c.registry;
        if (c.settings) system_.profile[u"Z:\\windows\\WIN.INI|Intl|sDecimal"] = *c.settings;
        for (auto [text, expected] : {std::pair(Text(u"1,2,3"), c.comma), std::pair(Text(u"1.2.3"), c.point)}) {
            VmdLib_CheckDecimaal(platform_, text);
            EXPECT_EQ(ToUtf8(text), ToUtf8(expected)) << c.reason;
        }
        for (const auto key : std::initializer_list<std::int16_t>{110, 190, 0}) VmdLib_PuntNaarKomma(platform_, key);
        EXPECT_EQ(ToUtf8(desktop_.typed), ToUtf8(c.typed)) << c.reason;
    }
}

TEST_F(NumbersTest, WhatIsNumeric)
{
    const auto isNumeric = [&](const Variant& value) { return VmdLib_IsNumeric(platform_, value); };
    for (const Variant& number : {Variant(std::int16_t{0}), Variant(std::int32_t{-5}), Variant(1.5F), Variant(-1.5),
                                  Variant(Currency{1}), Variant(DecimalNumber{}), Variant(std::uint8_t{1})}) {
        EXPECT_TRUE(isNumeric(number)) << static_cast<int>(number.Type());
    }
    for (const Variant& other : {Variant(), Variant(Null{}), Variant(true), Variant(Date{1}), Variant(ObjectRef()),
                                 Variant::Missing(), Variant(Array(Bytes{1})), Variant(u"")}) {
        EXPECT_FALSE(isNumeric(other)) << static_cast<int>(other.Type());
    }
    EXPECT_EQ(registry_.opened, 0);
    for (const Text text : {u"12", u"12,5", u"12.5", u"."}) EXPECT_TRUE(isNumeric(text)) << ToUtf8(text);
    EXPECT_EQ(registry_.opened, 4) << "the settings are asked for every text";
    for (const Text text : {u"1.234,5", u"1,2,3", u"-12", u" 12", u"1e5", u"\u0661"})
        EXPECT_FALSE(isNumeric(text)) << ToUtf8(text);
}

}  // namespace
}  // namespace vmlib::test
