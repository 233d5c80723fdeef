#include <cmath>
#include <limits>

#include "AutomationSupport.h"

namespace vmlib {
namespace {

struct NumberTextCase
{
    double value;
    Text english, dutch;
};

TEST(NumberToText, Doubles)
{
    const NumberTextCase cases[] = {
        {0, u"0", u"0"},
        {-0.0, u"0", u"0"},
        {4, u"4", u"4"},
        {-12.5, u"-12.5", u"-12,5"},
        {0.1 + 0.2, u"0.3", u"0,3"},
        {1.0 / 3, u"0.333333333333333", u"0,333333333333333"},
        {1.0 / 30, u"3.33333333333333E-02", u"3,33333333333333E-02"},
        {0.00001, u"0.00001", u"0,00001"},
        {1E-12, u"0.000000000001", u"0,000000000001"},
        {5E-15, u"0.000000000000005", u"0,000000000000005"},
        {5E-16, u"5E-16", u"5E-16"},
        {1.234567E-9, u"0.000000001234567", u"0,000000001234567"},
        {1.2345678E-9, u"1.2345678E-09", u"1,2345678E-09"},
        {123456789012345, u"123456789012345", u"123456789012345"},
        {1E14, u"100000000000000", u"100000000000000"},
        {1E15, u"1E+15", u"1E+15"},
        {1.5E22, u"1.5E+22", u"1,5E+22"},
        {-1.5E-300, u"-1.5E-300", u"-1,5E-300"},
        {1234567890123456.0, u"1.23456789012346E+15", u"1,23456789012346E+15"},
        // Exact ties of the sixteenth digit go away from zero, whatever the fifteenth is.
        {100000000000000.5, u"100000000000001", u"100000000000001"},
        {100000000000002.5, u"100000000000003", u"100000000000003"},
        {17.87434218258705, u"17.874342182587", u"17,874342182587"},  // a little less than a tie
        {999999999999999.5, u"1E+15", u"1E+15"},
        {std::numeric_limits<double>::max(), u"1.79769313486232E+308", u"1,79769313486232E+308"},
        {std::numeric_limits<double>::denorm_min(), u"4.94065645841247E-324", u"4,94065645841247E-324"},
    };
    for (const NumberTextCase& c : cases) {
        EXPECT_EQ(ToUtf8(NumberToText(c.value, en)), ToUtf8(c.english));
        EXPECT_EQ(ToUtf8(NumberToText(c.value, nl)), ToUtf8(c.dutch));
    }
}

TEST(NumberToText, SinglesHaveSevenDigits)
{
    EXPECT_EQ(NumberToText(654322.25F, en), u"654322.3");  // a tie
    EXPECT_EQ(NumberToText(0.1F, en), u"0.1");
    EXPECT_EQ(NumberToText(1.0F / 3, nl), u"0,3333333");
    EXPECT_EQ(NumberToText(9999999.0F, en), u"9999999");
    EXPECT_EQ(NumberToText(16777216.0F, en), u"1.677722E+07");
    EXPECT_EQ(NumberToText(3.402823466e38F, en), u"3.402823E+38");
}

TEST(NumberToText, CurrencyDropsZerosAndKeepsEveryDigit)
{
    EXPECT_EQ(CurrencyToText({12500}, nl), u"1,25");
    EXPECT_EQ(CurrencyToText({-1}, en), u"-0.0001");
    EXPECT_EQ(CurrencyToText({0}, en), u"0");
    EXPECT_EQ(CurrencyToText({std::numeric_limits<std::int64_t>::min()}, en), u"-922337203685477.5808");
}

TEST(Str, IsInvariantWithoutAZeroBeforeThePoint)
{
    const UserLocale dutch(nl);
    const std::pair<double, Text> cases[] = {
        {5, u" 5"},        {-5, u"-5"},
        {0.5, u" .5"},     {-0.5, u"-.5"},
        {0, u" 0"},        {1.0 / 30, u" 3.33333333333333E-02"},
        {1E15, u" 1E+15"}, {0.00001, u" .00001"},
    };
    for (const auto& [value, text] : cases) EXPECT_EQ(Str(value), text);
}

TEST(Val, ReadsTheLongestLeadingNumber)
{
    const UserLocale dutch(nl);
    const std::pair<const char16_t*, double> cases[] = {
        {u" 1615 198th Street", 1615198},
        {u"1. 1", 1.1},
        {u"1\t2\r\n3", 123},
        {u"1,5", 1},
        {u"1.1.1", 1.1},
        {u"1..1", 1},
        {u".1", 0.1},
        {u"-1", -1},
        {u"+1", 1},
        {u"-", 0},
        {u"L13", 0},
        {u"", 0},
        {u".", 0},
        {u"1e-3", 0.001},
        {u"1d2", 100},
        {u"1.1e +3", 1100},
        {u"1eA", 1},
        {u"1e+1+", 10},
        {u"1e-999", 0},
        {u"&HFFFF", -1},
        {u"&hff", 255},
        {u"&O177", 127},
        {u"&HFFFFFFFF&", -1},
        {u"&HFFFF&", 65535},
        {u"&H F", 15},
        {u"&H", 0},
        {u"50%", 50},
        {u"1&", 1},
    };
    for (const auto& [text, value] : cases) EXPECT_EQ(Val(text), value) << ToUtf8(text);
    EXPECT_EQ(ErrorOf([] { Val(u"123456e789"); }), 6);
    EXPECT_EQ(ErrorOf([] { Val(u"50.5%"); }), 13);
}

struct TextNumberCase
{
    const Locale& locale;
    Text text;
    double value;
    int error = noError;
};

TEST(TextToNumber, FollowsTheLocale)
{
    const TextNumberCase cases[] = {
        {en, u"", 0, 13},
        {en, u"   ", 0, 13},
        {en, u"-", 0, 13},
        {en, u".", 0, 13},
        {en, u"$", 0, 13},
        {en, u" \t12\r\n\u00A0", 12},
        {en, u"+ 0", 0},
        {en, u"+  0", 0, 13},
        {en, u"-5", -5},
        {en, u"5-", -5},
        {en, u"(5)", -5},
        {en, u"(5", 0, 13},
        {en, u"5)", 0, 13},
        {en, u"-5-", 0, 13},
        {en, u"+ +0", 0, 13},
        {en, u"-(5)", 0, 13},
        {en, u"1,000", 1000},
        {en, u"1,,000", 1000},
        {en, u"1,00,0,,", 1000},
        {en, u",1", 0, 13},
        {en, u"1.", 1},
        {en, u".5", 0.5},
        {en, u"1.1.", 0, 13},
        {en, u"1.1,1", 0, 13},
        {nl, u"1.5", 15},
        {nl, u"12.5", 125},
        {nl, u".5", 0, 13},
        {nl, u"12,5", 12.5},
        {nl, u"1.234.567,89", 1234567.89},
        {en, u"1,5", 15},
        {da, u"1.234,5", 1234.5},
        {en, u"1e1", 10},
        {en, u"1.5e-20", 1.5e-20},
        {en, u"1e+01", 10},
        {en, u"1e", 0, 13},
        {en, u"1e400", 0, 6},
        {en, u"-1e99999999999", 0, 6},
        {en, u"1e-400", 0},
        {en, u"0e400", 0},
        {en, u"$11", 11},
        {en, u"-$11", -11},
        {en, u"$-11", -11},
        {en, u"$11$$", 11},
        {en, u"$$11", 0, 13},
        {en, u"\u20AC 11", 0, 13},
        {nl, u"\u20AC 1.100,50", 1100.5},
        {da, u"kr 5", 5},
        {en, u"&H75FF", 30207},
        {en, u"&O17", 15},
        {en, u"&HFFFF", -1},
        {en, u"&HFFFF&", 65535},
        {en, u"&H80000000", -2147483648.0},
        {en, u"&HG", 0, 13},
        {en, u"&H1 2", 0, 13},
        {en, u"0x10", 0, 13},
        {en, u"FE", 0, 13},
        {en, u"\u0661", 0, 13},
        {en, u"1 2", 0, 13},
        {en, u"5 stuks", 0, 13},
        {en, Text(u"5\0", 2), 5},  // as stored with a closing zero
        {en, Text(u"5\0x", 3), 5},
        {en, Text(u"\0\u0035", 2), 0, 13},
        {en, u"9007199254740993", 9007199254740992.0},
    };
    for (const TextNumberCase& c : cases) {
        double value = 0;
        EXPECT_EQ(ErrorOf([&] { value = TextToNumber(c.text, c.locale); }), c.error) << ToUtf8(c.text);
        EXPECT_EQ(value, c.value) << ToUtf8(c.text);
        EXPECT_EQ(IsNumeric(c.text, c.locale), c.error == noError) << ToUtf8(c.text);
    }
}

TEST(TextToNumber, BlankAsThousandsSeparator)
{
    Locale french = en;
    french.decimalSeparator = u',';
    french.thousandsSeparator = u'\u00A0';
    EXPECT_EQ(TextToNumber(u"1\u00A0234,5", french), 1234.5);
    EXPECT_EQ(ErrorOf([&] { TextToNumber(u"1\u00A0", french); }), 13);
}

TEST(TextToCurrency, IsExact)
{
    EXPECT_EQ(TextToCurrency(u"922337203685477.5807", en).units, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(TextToCurrency(u"-922337203685477.5808", en).units, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(ErrorOf([] { TextToCurrency(u"922337203685477.5808", en); }), 6);
    EXPECT_EQ(ErrorOf([] { TextToCurrency(u"1e30", en); }), 6);
    EXPECT_EQ(TextToCurrency(u"0,00005", nl).units, 0);  // half to even
    EXPECT_EQ(TextToCurrency(u"0,00015", nl).units, 2);
    EXPECT_EQ(TextToCurrency(u"1,00025000001", nl).units, 10003);
    EXPECT_EQ(TextToCurrency(u"1e-9", en).units, 0);
}

TEST(IsNumeric, OfOtherTypes)
{
    for (const Variant& value : {Variant(), Variant(true), Variant(1), Variant(Currency{1})})
        EXPECT_TRUE(IsNumeric(value)) << value;
    for (const Variant& value : {Variant(Null{}), Variant(Date{1}), Variant::Missing(), Variant(Array(Bytes{})),
                                 Variant(ObjectRef()), Variant(u"")}) {
        EXPECT_FALSE(IsNumeric(value)) << value;
    }
}

TEST(Rounding, IsHalfToEvenWithARangeCheck)
{
    const std::pair<double, int> halves[] = {{0.5, 0},
                                             {1.5, 2},
                                             {2.5, 2},
                                             {-0.5, 0},
                                             {-1.5, -2},
                                             {2147483647.49, 2147483647},
                                             {-2147483648.5, -2147483647 - 1}};
    for (const auto& [value, rounded] : halves) EXPECT_EQ(ToLong(value), rounded) << value;
    for (const double outside : {2147483647.5, -2147483648.51, std::nan(""), HUGE_VAL, -1E300})
        EXPECT_EQ(ErrorOf([&] { ToLong(outside); }), 6) << outside;
    EXPECT_EQ(ErrorOf([] { NumberToCurrency(922337203685478.0); }), 6);
    EXPECT_EQ(NumberToCurrency(0.00005).units, 0);
    EXPECT_EQ(NumberToCurrency(-1.2345).units, -12345);
}

struct CoerceCase
{
    const char* reason;
    Variant from;
    VarType type;
    Variant to;
    int error = noError;
};

TEST(Coerce, ByTheTable)
{
    const CoerceCase cases[] = {
        {"Empty", {}, VarType::Long, 0},
        {"Empty", {}, VarType::Date, Date{0}},
        {"Empty", {}, VarType::String, u""},
        {"Empty", {}, VarType::Boolean, false},
        {"Null", Null{}, VarType::Long, {}, 94},
        {"Null", Null{}, VarType::String, {}, 94},
        {"Null stays in a variant", Null{}, VarType::Variant, Null{}},
        {"status code", Variant::Missing(), VarType::String, {}, 13},
        {"array", Array(Bytes{1}), VarType::String, {}, 13},
        {"Nothing", ObjectRef(), VarType::Long, {}, 91},
        {"Boolean to numbers", true, VarType::Integer, std::int16_t{-1}},
        {"Boolean to Byte", true, VarType::Byte, std::uint8_t{255}},
        {"Boolean to text", true, VarType::String, u"True"},
        {"number to Boolean", 0.001, VarType::Boolean, true},
        {"zero to Boolean", 0.0, VarType::Boolean, false},
        {"English word", u"FALSE", VarType::Boolean, false},
        {"number in text", u"2", VarType::Boolean, true},
        {"word with a closing zero", Text(u"true\0", 5), VarType::Boolean, true},
        {"other word", u"yes", VarType::Boolean, {}, 13},
        {"text is a double first", u"2.5", VarType::Long, 2},
        {"text in hexadecimal", u"&H75FF", VarType::Integer, std::int16_t{30207}},
        {"Integer range", 32768, VarType::Integer, {}, 6},
        {"Byte range", -1, VarType::Byte, {}, 6},
        {"Currency to Long", Currency{25000}, VarType::Long, 2},
        {"date to number", Date{36526.5}, VarType::Double, 36526.5},
        {"date to Long is rounded", Date{36526.5}, VarType::Long, 36526},
        {"number to date", 36526.25, VarType::Date, Date{36526.25}},
        {"last moment", 2958465.99, VarType::Date, Date{2958465.99}},
        {"behind the last day", 2958466.0, VarType::Date, {}, 6},
        {"before the first day", -657435.0, VarType::Date, {}, 6},
        {"double to Single", 1.1, VarType::Single, 1.1F},
        {"too large for Single", 1E39, VarType::Single, {}, 6},
        {"too small for Single", 1E-60, VarType::Single, 0.0F},
        {"double to Currency", 1.23456, VarType::Currency, Currency{12346}},
        {"Long to text", -7, VarType::String, u"-7"},
        {"Double to Decimal", -1.5, VarType::Decimal, DecimalNumber{0, 0, 15, 1, true}},
        {"Decimal to text", DecimalNumber{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 28, true}, VarType::String,
         u"-7.9228162514264337593543950335"},
        {"Decimal to Double", DecimalNumber{0, 0, 15, 1, false}, VarType::Double, 1.5},
        {"no array", 1, VarType::Array, {}, 13},
    };
    for (const CoerceCase& c : cases) {
        Variant to;
        EXPECT_EQ(ErrorOf([&] { to = Coerce(c.from, c.type); }), c.error) << c.reason;
        EXPECT_TRUE(c.error != noError || to == c.to) << c.reason << ": " << to;
    }
}

TEST(Coerce, WordsOfTheUsersLanguage)
{
    const UserLocale dutch(nl);
    EXPECT_EQ(ToText(true), u"Waar");
    EXPECT_FALSE(ToBoolean(u"onwaar"));
    EXPECT_TRUE(ToBoolean(u"True"));
    EXPECT_EQ(ToText(1.5), u"1,5");
    EXPECT_EQ(ToDouble(u"1,5"), 1.5);
}

}  // namespace
}  // namespace vmlib
