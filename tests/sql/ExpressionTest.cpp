// Expressions: every operator against every kind of value, and random expressions against a model.

#include <gtest/gtest.h>

#include <random>

#include "sql/Parser.h"
#include "sql/Sample.h"

namespace vmlib::sql {
namespace {

struct Case
{
    const char16_t* expression;
    const char* value;
};

void Check(std::initializer_list<Case> cases)
{
    Sample sample;
    for (const Case& one : cases)
        EXPECT_EQ(sample.Value(one.expression).substr(0, 60), one.value) << ToUtf8(one.expression);
}

/// True, False or Null.
using Truth = std::optional<bool>;

Truth And(Truth a, Truth b)
{
    if (a == false || b == false) return false;
    return a && b ? Truth(true) : std::nullopt;
}

Truth Not(Truth a)
{
    return a ? Truth(!*a) : std::nullopt;
}

Truth Or(Truth a, Truth b)
{
    return Not(And(Not(a), Not(b)));
}

Truth Xor(Truth a, Truth b)
{
    return a && b ? Truth(*a != *b) : std::nullopt;
}

/// A random expression: its text with no more parentheses than the precedence of operators asks for, and its value,
/// worked out while it is made. Conditions count as -1 and 0.
class RandomExpression
{
public:
    explicit RandomExpression(std::mt19937& random) : random_(random) {}

    struct Tree
    {
        std::string text;
        int level;  // of precedence, 1 the loosest
        std::optional<std::int64_t> value;
    };

    Tree Make(int depth)
    {
        if (depth == 0 || Below(8) == 0) return Leaf();
        switch (Below(12)) {
            case 0:
                return Prefixed("Not ", notLevel, Make(depth - 1),
                                [](std::int64_t v) { return Number(Not(Truth(v != 0))); });
            case 1:
                return Prefixed("-", signLevel, Make(depth - 1), [](std::int64_t v) { return -v; });
            case 2:
                return Joined(Make(depth - 1), " \\ ", 11, Divisor(), [](auto a, auto b) { return a / b; });
            case 3:
                return Joined(Make(depth - 1), " Mod ", 10, Divisor(), [](auto a, auto b) { return a % b; });
            case 4:
                return Joined(Make(depth - 1), " * ", 12, Divisor(), [](auto a, auto b) { return a * b; });
            case 5:
                return Joined(Make(depth - 1), " + ", 9, Make(depth - 1), [](auto a, auto b) { return a + b; });
            case 6:
                return Joined(Make(depth - 1), " - ", 9, Make(depth - 1), [](auto a, auto b) { return a - b; });
            case 7:
                return Compared(depth);
            case 8:
                return BetweenOrIn(depth);
            default:
                return Logical(depth);
        }
    }

private:
    static constexpr int notLevel = 6, comparisonLevel = 7, signLevel = 13, atom = 20;

    int Below(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }
    static std::optional<std::int64_t> Number(Truth truth)
    {
        if (!truth) return std::nullopt;
        return *truth ? -1 : 0;
    }
    static Truth TruthOf(const Tree& tree) { return tree.value ? Truth(*tree.value != 0) : std::nullopt; }
    static std::string In(const Tree& tree, int level)
    {
        return tree.level < level ? "(" + tree.text + ")" : tree.text;
    }

    Tree Leaf()
    {
        const int choice = Below(10);
        if (choice == 0) return {"Null", atom, std::nullopt};
        if (choice == 1) return {"True", atom, -1};
        if (choice == 2) return {"-7", signLevel, -7};
        return {std::to_string(choice), atom, choice};
    }
    Tree Divisor()
    {
        const int number = Below(4) + 1;
        return {std::to_string(number), atom, number};
    }

    template <class Body>
    Tree Prefixed(const std::string& op, int level, const Tree& operand, const Body& body)
    {
        std::optional<std::int64_t> value;
        if (operand.value) value = body(*operand.value);
        return {op + In(operand, level), level, value};
    }
    template <class Body>
    Tree Joined(const Tree& left, const std::string& op, int level, const Tree& right, const Body& body)
    {
        std::optional<std::int64_t> value;
        if (left.value && right.value) value = body(*left.value, *right.value);
        return {In(left, level) + op + In(right, level + 1), level, value};
    }
    Tree Compared(int depth)
    {
        const Tree left = Make(depth - 1), right = Make(depth - 1);
        const auto compare = [&](const char* op, auto holds) {
            return Joined(left, op, comparisonLevel, right, [&](auto a, auto b) { return holds(a, b) ? -1 : 0; });
        };
        switch (Below(6)) {
            case 0:
                return compare(" = ", std::equal_to<>());
            case 1:
                return compare(" <> ", std::not_equal_to<>());
            case 2:
                return compare(" < ", std::less<>());
            case 3:
                return compare(" <= ", std::less_equal<>());
            case 4:
                return compare(" > ", std::greater<>());
            default:
                return compare(" >= ", std::greater_equal<>());
        }
    }
    /// value Between low And high (in either order), value In (a, b), value Is Null.
    Tree BetweenOrIn(int depth)
    {
        const Tree value = Make(depth - 1), low = Leaf(), high = Leaf();
        const std::string left = In(value, comparisonLevel);
        const auto relation = [&](const Tree& other, auto holds) {
            return value.value && other.value ? Truth(holds(*value.value, *other.value)) : std::nullopt;
        };
        const Truth is = relation(low, std::equal_to<>()), isOther = relation(high, std::equal_to<>());
        switch (Below(3)) {
            case 0:
                if (low.value && high.value) {
                    const auto [from, to] = std::minmax(*low.value, *high.value);
                    Truth inside;
                    if (value.value) inside = from <= *value.value && *value.value <= to;
                    return {left + " Between " + low.text + " And " + high.text, comparisonLevel, Number(inside)};
                }
                return {left + " Is Not Null", comparisonLevel, value.value ? -1 : 0};
            case 1:
                return {left + " In (" + low.text + ", " + high.text + ")", comparisonLevel, Number(Or(is, isOther))};
            default:
                return {left + " Not In (" + low.text + ", " + high.text + ")", comparisonLevel,
                        Number(Not(Or(is, isOther)))};
        }
    }
    Tree Logical(int depth)
    {
        struct Operation
        {
            const char* text;
            int level;
            Truth (*body)(Truth, Truth);
        };
        static constexpr Operation operations[] = {
            {" And ", 5, And},
            {" Or ", 4, Or},
            {" Xor ", 3, Xor},
            {" Eqv ", 2, [](Truth a, Truth b) { return Not(Xor(a, b)); }},
            {" Imp ", 1, [](Truth a, Truth b) { return Or(Not(a), b); }},
        };
        const Operation& operation = operations[Below(5)];
        const Tree left = Make(depth - 1), right = Make(depth - 1);
        return {In(left, operation.level) + operation.text + In(right, operation.level + 1), operation.level,
                Number(operation.body(TruthOf(left), TruthOf(right)))};
    }

    std::mt19937& random_;
};

TEST(Expressions, RandomOnesAgreeWithAModel)
{
    Sample sample;
    std::mt19937 random(7);
    RandomExpression expressions(random);
    for (int i = 0; i < 1500; ++i) {
        const auto tree = expressions.Make(4);
        const std::string expected = tree.value ? std::to_string(*tree.value) : "Null";
        ASSERT_EQ(sample.Value(FromUtf8("(" + tree.text + ") + 0")), expected) << tree.text;
    }
}

TEST(Expressions, PrecedenceOfTheOthers)
{
    Check({
        {u"2 ^ 3 ^ 2, -2 ^ 2, 2 ^ -1, 2 * 3 ^ 2, -3 ^ 2 * 2", "64,-4,0.5,18,-18"},
        {u"10 \\ 3 * 2, 10 Mod 4 * 2, 100 \\ 7 Mod 3, 2 * 7 Mod 4, 5 Mod 3 + 1, -5 Mod 3", "1,2,2,2,3,-2"},
        {u"1 + 2 & 3 * 4, 'a' & 1 + 2, 'a' & 'b' = 'AB'", "312,a3,True"},
        {u"'ab' Like 'a' & '*', Not 'a' Like 'b', 3 - -2, - -3, 2 * -3", "True,True,5,3,-6"},
        {u"1 < 2 < 3, 3 > 2 > 1, 1 = 1 = True, 2 In (1, 2) = True", "True,False,True,True"},
    });
}

TEST(Expressions, TextsCompareAsTheFileSorts)
{
    Check({
        {u"'a' = 'A', 'a' <> 'B', 'abc' < 'ABD', '' < 'a', '10' < '9', 'a ' = 'a'", "True,True,True,True,True,True"},
        {u"'a' In ('B', 'A'), 'b' Between 'C' And 'A', 'B' Not Between 'c' And 'a'", "True,True,False"},
        {u"'a' = Null, Null <> 'a', Null Like '*', 'a' In (Null, 'A'), 'a' In (Null, 'b'), 'a' Not In (Null, 'b')",
         "Null,Null,Null,True,Null,Null"},
        {u"1 = '1'", "3464: Data type mismatch in criteria expression."},
        {u"#1/1/2000# = '1/1/2000'", "3464: Data type mismatch in criteria expression."},
        {u"'a' Between 1 And 2", "3464: Data type mismatch in criteria expression."},
        {u"IIf('a', 1, 2)", "3464: Data type mismatch in criteria expression."},
        {u"5 Like '5', 1.5 Like '1*', #1/2/2000# Like '*2000'", "True,True,True"},
    });
}

TEST(Expressions, NumbersOfDifferentTypesCompareByValue)
{
    Check({
        {u"1 = 1.0, 1.5 > 1, CCur(1.5) = 1.5, CCur(0.1) = 0.1, CSng(0.5) = 0.5, True = -1, True = 1",
         "True,True,True,True,True,True,False"},
        {u"CCur(0.1) + CCur(0.2) = 0.3, 0.1 + 0.2 = 0.3, CCur(2) > 1.9999, 3 = CCur(3)", "True,False,True,True"},
        {u"#1/1/2000# = 36526, #1/1/2000 12:00# > 36526, 36526.5 = #1/1/2000 12:00#", "True,True,True"},
        {u"3000000000 > 2, 2147483647 < 2147483648, -2147483648 = -2147483648.0", "True,True,True"},
    });
}

TEST(Expressions, TextBesideNumbers)
{
    Check({
        {u"'1' + '2', '1' + 2, 1 + '2', '1' * '3', '6' / '3', '7' Mod '4', -'5', '1' - '1'", "12,3,3,3,2,3,-5,0"},
        {u"'a' + 1", "13: Type mismatch"},
        {u"'' + 1", "13: Type mismatch"},
        {u"'a' & Null, Null & Null, 'a' + Null, 1 + Null, Null * 0, -Null, Null ^ 2",
         "a,Null,Null,Null,Null,Null,Null"},
        {u"1 & 2, 1.5 & '', (1 / 3) & '', 1e15 & '', 0.00001 & '', -1 & ''",
         "12,1.5,0.333333333333333,1E+15,0.00001,-1"},
        {u"CCur(1.5) & '', #1/2/2000# & '', {guid {00112233-4455-6677-8899-aabbccddeeff}} & ''",
         "1.5,1/2/2000,{guid {00112233-4455-6677-8899-AABBCCDDEEFF}}"},
        {u"Len(12345), Left(12345, 2), InStr(1234, 3), UCase(1.5)", "5,12,3,1.5"},
    });
}

TEST(Expressions, RoundingIsHalfToEven)
{
    Check({
        {u"7.5 \\ 2, 8.5 \\ 2, 9.5 \\ 3, 2.5 \\ 1, 3.5 \\ 1, -2.5 \\ 1, 7.5 Mod 2, 8.5 Mod 3", "4,4,3,2,4,-2,0,2"},
        {u"CInt(0.5), CInt(1.5), CLng(-0.5), CLng(2147483647.49), CByte(254.5), CByte(255.4)",
         "0,2,0,2147483647,254,255"},
        {u"CLng(2147483647.5)", "6: Overflow"},
        {u"CByte(255.5)", "6: Overflow"},
        {u"CCur(0.00005), CCur(1.00025), CCur(-0.00005), CCur('1.23455')", "0$,1.0002$,0$,1.2346$"},
        {u"CCur(2) / 3, CCur(1) * CCur(0.3333), CCur(0.0001) * 5000, CCur(0.0001) * CCur(0.5)",
         "0.666666666666667,0.3333$,0.5$,0$"},
        {u"CCur(922337203685477) + 1000", "6: Overflow"},
        {u"CCur(1e15)", "6: Overflow"},
        {u"Mid('abc', 1.5, 1), Left('abcd', 2.5), String(1.5, 'x'), Choose(1.5, 'a', 'b')", "b,ab,xx,b"},
    });
}

TEST(Expressions, DatesInAnyLocaleAreAmerican)
{
    Check({
        {u"#3/5/2024#, #13/5/2024#, #5/13/2024#, #2024-03-05#, #3/5/24#", "#45356#,#45425#,#45425#,#45356#,#45356#"},
        {u"#1/1/29#, #1/1/30#, #12:30#, #1:30 PM#, #3/5/2024 18:00#",
         "#47119#,#10959#,#0.520833333333333#,#0.5625#,"
         "#45356.75#"},
        {u"#2/29/2024# + 1 = #3/1/2024#, #3/1/2023# - 1 = #2/28/2023#, #1/1/100# < #1/1/1900#", "True,True,True"},
    });
    Sample sample;
    for (const char16_t* literal : {u"#2/30/2024#", u"#abc#", u"##", u"#1/1/10000#", u"#25:00#"})
        EXPECT_EQ(sample.ErrorOf(u"SELECT " + Text(literal)), 3075) << ToUtf8(literal);
}

TEST(Expressions, TypesOfResults)
{
    // Letters: B Boolean, I Integer, L Long, C Currency, S Single, D Double, T Date, X Text, V known row by row.
    const std::u16string_view fields[] = {u"Actief", u"Code", u"Id", u"Saldo", u"Factor", u"Korting", u"Geboren"};
    struct Row
    {
        const char16_t* op;
        const char* results[7];  // one a left side: the results with each right side
    };
    const Row rows[] = {
        {u"+", {"LLLCSDT", "LLLCSDT", "LLLCDDT", "CCCCCCT", "SSDCSDT", "DDDCDDT", "TTTTTTT"}},
        {u"-", {"LLLCSDT", "LLLCSDT", "LLLCDDT", "CCCCCCT", "SSDCSDT", "DDDCDDT", "TTTTTTD"}},
        {u"/", {"DDDDSDD", "DDDDSDD", "DDDDDDD", "DDDDDDD", "SSDDSDD", "DDDDDDD", "DDDDDDD"}},
        {u"\\", {"LLLLLLL", "LLLLLLL", "LLLLLLL", "LLLLLLL", "LLLLLLL", "LLLLLLL", "LLLLLLL"}},
        {u"^", {"DDDDDDD", "DDDDDDD", "DDDDDDD", "DDDDDDD", "DDDDDDD", "DDDDDDD", "DDDDDDD"}},
        {u"&", {"XXXXXXX", "XXXXXXX", "XXXXXXX", "XXXXXXX", "XXXXXXX", "XXXXXXX", "XXXXXXX"}},
        {u"<", {"BBBBBBB", "BBBBBBB", "BBBBBBB", "BBBBBBB", "BBBBBBB", "BBBBBBB", "BBBBBBB"}},
    };
    const auto letter = [](ValueType type) {
        using enum ValueType;
        const std::pair<ValueType, char> letters[] = {{Boolean, 'B'}, {Integer, 'I'}, {Long, 'L'}, {Currency, 'C'},
                                                      {Single, 'S'},  {Double, 'D'},  {Date, 'T'}, {Text, 'X'}};
        for (const auto& [known, mark] : letters)
            if (known == type) return mark;
        return 'V';
    };
    Sample sample;
    for (const Row& row : rows)
        for (std::size_t left = 0; left < std::size(fields); ++left) {
            std::string results;
            for (const auto right : fields) {
                const Text sql =
                    u"SELECT " + Text(fields[left]) + u" " + row.op + u" " + Text(right) + u" FROM Klanten";
                results += letter(TranslateSelect(ParseSelect(sql), sample).columns[0].type);
            }
            EXPECT_EQ(results, row.results[left]) << ToUtf8(row.op) << " after " << ToUtf8(fields[left]);
        }
}

}  // namespace
}  // namespace vmlib::sql
