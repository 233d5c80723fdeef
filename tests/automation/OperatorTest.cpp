#include <limits>

#include "AutomationSupport.h"
#include "automation/Arithmetic.h"
#include "automation/TextFunctions.h"

namespace vmlib {
namespace {

using Operator = Variant (*)(const Variant&, const Variant&);

struct OperatorCase
{
    const char* reason;
    Variant left;
    Operator apply;
    Variant right;
    Variant result;
    int error = noError;
};

std::int16_t I(int value)
{
    return static_cast<std::int16_t>(value);
}

std::uint8_t B(int value)
{
    return static_cast<std::uint8_t>(value);
}

void Check(std::initializer_list<OperatorCase> cases)
{
    for (const OperatorCase& c : cases) {
        Variant result;
        EXPECT_EQ(ErrorOf([&] { result = c.apply(c.left, c.right); }), c.error) << c.reason;
        EXPECT_TRUE(c.error != noError || result == c.result) << c.reason << ": " << result;
    }
}

constexpr std::int32_t mostLong = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t mostUnits = std::numeric_limits<std::int64_t>::max();

TEST(Operators, Plus)
{
    Check({
        {"texts join", u"05", Add, u"1", u"051"},
        {"text and Empty", u"05", Add, {}, u"05"},
        {"text and number add", u"05", Add, I(1), 6.0},
        {"number and text add", I(1), Add, u"05", 6.0},
        {"no number", u"x", Add, I(1), {}, 13},
        {"Empty twice", {}, Add, {}, I(0)},
        {"Empty and number", {}, Add, 7, 7},
        {"date and number", Date{10}, Add, I(1), Date{11}},
        {"Null", Null{}, Add, u"x", Null{}},
        {"Booleans", true, Add, true, I(-2)},
        {"status code", Variant::Missing(), Add, I(1), {}, 13},
        {"status code before Null", Variant::Missing(), Add, Null{}, {}, 13},
        {"Byte widens", B(255), Add, B(1), I(256)},
        {"Integer widens", I(32767), Add, I(1), 32768},
        {"Long widens", mostLong, Add, 1, 2147483648.0},
        {"Single beside Long", 1.5F, Add, 1, 2.5},
        {"Single beside Integer", 1.5F, Add, I(1), 2.5F},
        {"Currency is exact", Currency{mostUnits - 1}, Add, Currency{1}, Currency{mostUnits}},
        {"Currency overflows", Currency{mostUnits}, Add, Currency{1}, {}, 6},
        {"Double overflows", 1.7E308, Add, 1.7E308, {}, 6},
        {"Nothing", ObjectRef(), Add, 1, {}, 91},
    });
    // To the left: "05" + 1 + "03"
    EXPECT_EQ(Add(Add(u"05", I(1)), u"03"), Variant(9.0));
}

TEST(Operators, OtherArithmetic)
{
    Check({
        {"dates differ by days", Date{10}, Subtract, Date{3.5}, 6.5},
        {"date less days", Date{10}, Subtract, 3, Date{7}},
        {"texts subtract", u"5", Subtract, u"3", 2.0},
        {"Byte goes below zero", B(1), Subtract, B(2), I(-1)},
        {"Currency, lowest", Currency{-mostUnits}, Subtract, Currency{2}, {}, 6},
        {"Long times Long widens", 65536, Multiply, 65536, 4294967296.0},
        {"Currency times Currency", Currency{15000}, Multiply, Currency{-25000}, Currency{-37500}},
        {"half to even at the fourth decimal", Currency{1}, Multiply, Currency{5000}, Currency{0}},
        {"half to even at the fourth decimal", Currency{3}, Multiply, Currency{5000}, Currency{2}},
        {"Currency times Currency overflows", Currency{mostUnits}, Multiply, Currency{10001}, {}, 6},
        {"Currency times Double", Currency{15000}, Multiply, 2.0, 3.0},
        {"Currency times Long", Currency{15000}, Multiply, 2, Currency{30000}},
        {"Integers divide to a Double", I(1), Divide, I(4), 0.25},
        {"Singles divide to a Single", 1.0F, Divide, I(4), 0.25F},
        {"by zero", 1, Divide, 0, {}, 11},
        {"zero by zero", 0, Divide, 0, {}, 6},
        {"rounds both to even", 11.5, IntegerDivide, 2.5, 6},
        {"toward zero", I(-7), IntegerDivide, I(2), I(-3)},
        {"rounded to zero", 5, IntegerDivide, 0.4, {}, 11},
        {"beyond Long", 3E9, IntegerDivide, 1, {}, 6},
        {"lowest by -1", -mostLong - 1, IntegerDivide, -1, {}, 6},
        {"remainder has the sign of the left", I(-7), Modulo, I(3), I(-1)},
        {"rounds both to even", 10.5, Modulo, 3.5, 2},
        {"lowest by -1", -mostLong - 1, Modulo, -1, 0},
        {"by zero", 5, Modulo, 0, {}, 11},
        {"power", I(2), Power, I(10), 1024.0},
        {"broken power of a negative", -8, Power, 0.5, {}, 5},
        {"negative power of zero", 0, Power, -1, {}, 5},
        {"power overflows", 10, Power, 400, {}, 6},
        {"Null divides", Null{}, Divide, 0, Null{}},
    });
    EXPECT_EQ(Negate(I(-32768)), Variant(32768));
    EXPECT_EQ(Negate(true), Variant(I(1)));
    EXPECT_EQ(Negate({}), Variant(I(0)));
    EXPECT_EQ(Negate(u"2.5"), Variant(-2.5));
    EXPECT_EQ(Negate(Null{}), Variant(Null{}));
}

TEST(Operators, Ampersand)
{
    Check({
        {"Null counts as nothing", Null{}, Concatenate, u"a", u"a"},
        {"unless both are", Null{}, Concatenate, Null{}, Null{}},
        {"Empty", {}, Concatenate, {}, u""},
        {"numbers as CStr", 0.5, Concatenate, I(-1), u"0.5-1"},
        {"status code", Variant::Missing(), Concatenate, u"a", {}, 13},
    });
}

TEST(Operators, Compare)
{
    EXPECT_EQ(Compare(1, 1.5), -1);
    EXPECT_EQ(Compare({}, 0), 0);
    EXPECT_EQ(Compare({}, u""), 0);
    EXPECT_EQ(Compare(u"", {}), 0);
    EXPECT_EQ(Compare(10, u"9"), -1);  // a number is less than any text
    EXPECT_EQ(Compare(u"9", 10), 1);
    EXPECT_EQ(Compare(u"a", u"B"), 1);
    EXPECT_EQ(Compare(u"a", u"B", true), -1);
    EXPECT_EQ(Compare(u"a", u"A", true), 0);
    EXPECT_EQ(Compare(true, false), -1);
    EXPECT_EQ(Compare(Currency{mostUnits}, Currency{mostUnits - 1}), 1);
    EXPECT_EQ(Compare(Null{}, 1), std::nullopt);
    EXPECT_EQ(ErrorOf([] { Compare(Variant::Missing(), 1); }), 13);
}

TEST(Operators, RoundingFunctionsKeepTheType)
{
    EXPECT_EQ(Int(-1.5), Variant(-2.0));
    EXPECT_EQ(Fix(-1.5), Variant(-1.0));
    EXPECT_EQ(Int(Date{-1.25}), Variant(Date{-2}));
    EXPECT_EQ(Int(Currency{-15000}), Variant(Currency{-20000}));
    EXPECT_EQ(Int(Currency{mostUnits}), Variant(Currency{9223372036854770000}));
    EXPECT_EQ(ErrorOf([] { Int(Currency{-mostUnits}); }), 6);
    EXPECT_EQ(Fix(Currency{-15000}), Variant(Currency{-10000}));
    EXPECT_EQ(Round(2.5), Variant(2.0));
    EXPECT_EQ(Round(-1.25, 1), Variant(-1.2));
    EXPECT_EQ(Round(Currency{12350}, 2), Variant(Currency{12400}));
    EXPECT_EQ(Round(u"2,5"), Variant(25.0));  // the comma is a thousands separator here
    EXPECT_EQ(Int(Null{}), Variant(Null{}));
    EXPECT_EQ(ErrorOf([] { Round(1.5, -1); }), 5);
}

TEST(TextFunctions, PositionsAndCounts)
{
    EXPECT_EQ(Left(u"abc", 9), u"abc");
    EXPECT_EQ(Left(u"abc", 0), u"");
    EXPECT_EQ(Right(u"abc", 2), u"bc");
    EXPECT_EQ(Right(u"abc", 9), u"abc");
    EXPECT_EQ(Mid(u"abc", 2), u"bc");
    EXPECT_EQ(Mid(u"abc", 2, 9), u"bc");
    EXPECT_EQ(Mid(u"abc", 2, 0), u"");
    EXPECT_EQ(Mid(u"abc", 4), u"");
    EXPECT_EQ(InStr(1, u"abcabc", u"c"), 3);
    EXPECT_EQ(InStr(4, u"abcabc", u"c"), 6);
    EXPECT_EQ(InStr(1, u"abc", u"C"), 0);
    EXPECT_EQ(InStr(1, u"abc", u"C", true), 3);
    EXPECT_EQ(InStr(1, u"", u"a"), 0);
    EXPECT_EQ(InStr(1, u"", u""), 0);
    EXPECT_EQ(InStr(2, u"abc", u""), 2);
    EXPECT_EQ(InStr(4, u"abc", u""), 0);
    EXPECT_EQ(Asc(u"\u20ACx"), 0x80);
    EXPECT_EQ(AscW(u"\u20ACx"), 0x20AC);
    EXPECT_EQ(Chr(0x80), u"\u20AC");
    EXPECT_EQ(ChrW(-1), u"\uFFFF");
    EXPECT_EQ(Space(2), u"  ");
    EXPECT_EQ(String(3, u"xy"), u"xxx");
    EXPECT_EQ(Replace(u"aXbxc", u"x", u"-"), u"aXb-c");
    EXPECT_EQ(Replace(u"aXbxc", u"x", u"-", 1, -1, true), u"a-b-c");
    EXPECT_EQ(Replace(u"aXbxc", u"x", u"-", 2, 1, true), u"-bxc");
    EXPECT_EQ(Replace(u"abc", u"", u"-"), u"abc");

    const std::pair<const char*, std::function<void()>> refused[] = {
        {"Left", [] { Left(u"abc", -1); }},
        {"Right", [] { Right(u"abc", -1); }},
        {"Mid start", [] { Mid(u"abc", 0); }},
        {"Mid count", [] { Mid(u"abc", 1, -1); }},
        {"InStr", [] { InStr(0, u"a", u"a"); }},
        {"Asc", [] { Asc(u""); }},
        {"AscW", [] { AscW(u""); }},
        {"Chr", [] { Chr(256); }},
        {"ChrW", [] { ChrW(65536); }},
        {"Space", [] { Space(-1); }},
        {"String", [] { String(1, u""); }},
        {"Replace", [] { Replace(u"a", u"a", u"", 0); }},
    };
    for (const auto& [name, call] : refused) EXPECT_EQ(ErrorOf(call), 5) << name;
}

}  // namespace
}  // namespace vmlib
