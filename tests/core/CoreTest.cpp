#include <gtest/gtest.h>

#include <numeric>
#include <unordered_map>

#include "core/Error.h"
#include "core/Text.h"

namespace vmlib {
namespace {

TEST(CodePage, EveryByteSurvivesARoundTrip)
{
    std::string bytes(256, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    const Text text = FromAnsi(bytes);
    EXPECT_EQ(ToAnsi(text), bytes);
    EXPECT_TRUE(FitsAnsi(text));
}

TEST(CodePage, BytesHaveTheirPublishedCharacters)
{
    EXPECT_EQ(FromAnsi("\x80\x81\x8A\x92\x9F\xA0\xE9\xFF"), u"\u20AC\u0081\u0160\u2019\u0178\u00A0\u00E9\u00FF");
}

struct BestFitCase
{
    const char* reason;
    Text text;
    std::string bytes;
};

TEST(CodePage, CharactersWithoutAByteTakeTheBestFit)
{
    const BestFitCase cases[] = {
        {"fullwidth forms", u"\uFF01\uFF21\uFF5E", "!A~"},
        {"wide blanks", u"\u2000\u2006\u3000", "   "},
        {"prime", u"\u2032", "'"},
        {"hyphens and minus", u"\u2010\u2011\u2212", "---"},
        {"slashes and asterisk", u"\u2044\u2215\u2217", "//*"},
        {"superscript and subscript digits", u"\u2074\u2080\u2089", "409"},
        {"Latin Extended", u"\u0100\u0101\u0106\u010F\u0180\u0142", "AaCdbl"},
        {"D with stroke is Eth", u"\u0110", "\xD0"},
        {"Greek", u"\u03B1\u03B4\u03B5\u03B2", "ade\xDF"},
        {"infinity", u"\u221E", "8"},
        {"box drawing", u"\u2500\u251C\u2524\u253C\u2551\u256C", "-+\xA6+\xA6+"},
        {"C1 controls other than the five", std::u16string(u"\u0080\u0082"), "??"},
        {"a surrogate pair is two units", u"\U0001F600", "??"},
        {"no fit", u"\u4E2D\u0416", "??"},
    };
    for (const BestFitCase& c : cases) {
        EXPECT_EQ(ToAnsi(c.text), c.bytes) << c.reason;
        EXPECT_FALSE(FitsAnsi(c.text)) << c.reason;
    }
}

struct Utf8Case
{
    const char* reason;
    std::string bytes;
    Text text;
};

TEST(Utf8, DecodesAndReplacesWhatIsMalformed)
{
    const Utf8Case cases[] = {
        {"one to four bytes", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"a\u00E9\u20AC\U0001F600"},
        {"lone tail byte", "\x80", u"\uFFFD"},
        {"overlong slash", "\xC0\xAF", u"\uFFFD\uFFFD"},
        {"overlong of three bytes", "\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
        {"surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"cut off", "a\xE2\x82", u"a\uFFFD"},
        {"cut by another character", "\xE2\x82z", u"\uFFFDz"},
        {"above the last code point", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
    };
    for (const Utf8Case& c : cases) EXPECT_EQ(FromUtf8(c.bytes), c.text) << c.reason;
}

TEST(Utf8, EncodesAndReplacesLoneSurrogates)
{
    EXPECT_EQ(ToUtf8(u"a\u00E9\u20AC\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(ToUtf8(Text{u'a', char16_t(0xD83D), u'b'}),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(ToUtf8(Text{char16_t(0xDE00)}), "\xEF\xBF\xBD");
    EXPECT_EQ(ToUtf8(Text(u"a\0b", 3)), std::string("a\0b", 3));
}

TEST(Case, LettersPairUpByTheWindowsTable)
{
    EXPECT_EQ(UpperCase(u"az\u00E0\u00F6\u00FE\u0101\u0142\u017E\u01C6\u0451\u03C9"),
              u"AZ\u00C0\u00D6\u00DE\u0100\u0141\u017D\u01C4\u0401\u03A9");
    EXPECT_EQ(LowerCase(u"AZ\u00C0\u00D6\u00DE\u0100\u0141\u017D\u01C4\u0401\u03A9"),
              u"az\u00E0\u00F6\u00FE\u0101\u0142\u017E\u01C6\u0451\u03C9");
    EXPECT_EQ(UpperCase(u"\u00FF"), u"\u0178");
    EXPECT_EQ(LowerCase(u"\u0178"), u"\u00FF");
    // Division and multiplication signs stand between the letters; sharp s and the micro sign have no partner.
    const Text stays = u"\u00F7\u00D7\u00DF\u00B5[{@`";
    EXPECT_EQ(UpperCase(stays), stays);
    EXPECT_EQ(LowerCase(stays), stays);
}

TEST(Case, UpperAndLowerUndoEachOther)
{
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const auto character = static_cast<char16_t>(unit);
        const char16_t upper = UpperCase(character);
        const char16_t lower = LowerCase(character);
        EXPECT_TRUE(upper == character || LowerCase(upper) == character) << std::hex << unit;
        EXPECT_TRUE(lower == character || UpperCase(lower) == character) << std::hex << unit;
    }
}

TEST(Case, NamesAreFoundWithoutRegardToCase)
{
    std::unordered_map<Text, int, NameHash, NameEqual> names{{u"Caf\u00E9", 1}};
    EXPECT_EQ(names.count(TextView(u"CAF\u00C9")), 1U);
    EXPECT_EQ(names.count(TextView(u"Cafe")), 0U);

    EXPECT_LT(CompareIgnoringCase(u"abc", u"ABD"), 0);
    EXPECT_GT(CompareIgnoringCase(u"abc", u"AB"), 0);
    EXPECT_EQ(CompareIgnoringCase(u"abc", u"ABC"), 0);
    EXPECT_TRUE(StartsWithIgnoringCase(u"MSysObjects", u"msys"));
    EXPECT_FALSE(StartsWithIgnoringCase(u"MSy", u"msys"));
}

TEST(Trimming, RemovesBlanksOnly)
{
    EXPECT_EQ(Trim(u"  a b \t "), u"a b \t");
    EXPECT_EQ(TrimLeft(u"\u00A0 a "), u"\u00A0 a ");
    EXPECT_EQ(TrimRight(TextView(u"a \0 ", 4)), TextView(u"a \0", 3));
    EXPECT_EQ(Trim(u"   "), u"");
}

TEST(Replacing, GoesOnBehindWhatItPutIn)
{
    EXPECT_EQ(Replaced(u"aaa", u"aa", u"a"), u"aa");
    EXPECT_EQ(Replaced(u"a.b.c", u".", u".."), u"a..b..c");
    EXPECT_EQ(Replaced(u"abc", u"", u"x"), u"abc");
}

TEST(Errors, FillTheirTextFromTheArguments)
{
    const Error error(ErrorNumber::NoSuchTable, {u"In%1fo"});
    EXPECT_EQ(error.Number(), 3078);
    EXPECT_EQ(error.Description(),
              u"The Microsoft Jet database engine cannot find the input table or query 'In%1fo'. Make sure it exists "
              u"and that its name is spelled correctly.");
    EXPECT_EQ(std::string(error.what()).substr(0, 6), "3078: ");

    // The places of this one stand in the order 2, 1.
    EXPECT_EQ(Error(ErrorNumber::NoSuchField, {u"Info", u"Versie"}).Description(),
              u"There is no field named 'Versie' in table 'Info'.");
    EXPECT_EQ(Error(ErrorNumber::TableExists).Description(), u"Table '' already exists.");
}

TEST(Errors, TextsOfNumbers)
{
    EXPECT_EQ(ErrorText(0), u"");
    EXPECT_EQ(ErrorText(5), u"Invalid procedure call or argument");
    EXPECT_EQ(ErrorText(13), u"Type mismatch");
    EXPECT_EQ(ErrorText(451),
              u"Property let procedure not defined and property get procedure did not return an object");
    EXPECT_EQ(ErrorText(3021), u"No current record.");
    EXPECT_EQ(ErrorText(3621), u"Can't change password on a shared open database.");
    for (const int unknown : {1, 77, 1000, 32755, -1})
        EXPECT_EQ(ErrorText(unknown), u"Application-defined or object-defined error");
}

}  // namespace
}  // namespace vmlib
