#include <gmock/gmock.h>

#include <chrono>

#include "platform/DrawnText.h"

namespace vmlib {
namespace {

/// Letters of 10 pixels.
int WidthOf(TextView run)
{
    return 10 * static_cast<int>(run.size());
}

TEST(DrawnTextTest, LinesEndAndBreakAsDrawTextDoesIt)
{
    const struct
    {
        const char* reason;
        TextView text;
        std::optional<int> width;
        std::vector<TextView> lines;
    } cases[] = {
        {"nothing has no line", u"", 100, {}},
        {"each kind of line end", u"a\r\nb\rc\nd", std::nullopt, {u"a", u"b", u"c", u"d"}},
        {"empty lines stand", u"\r\na\r\n\r\nb", 100, {u"", u"a", u"", u"b"}},
        {"the last line end adds none", u"a\r\n", 100, {u"a"}},
        {"no width, no breaks", u"een twee drie", std::nullopt, {u"een twee drie"}},
        {"as many words as fit", u"een twee drie", 80, {u"een twee", u"drie"}},
        {"one pixel less", u"een twee drie", 79, {u"een", u"twee", u"drie"}},
        {"blanks at a break go", u"een   twee", 60, {u"een", u"twee"}},
        {"blanks at the end go when they do not fit", u"een twee   ", 80, {u"een twee"}},
        {"and stay when they do", u"een twee   ", 110, {u"een twee   "}},
        {"blanks within a line stay", u"een   twee", 100, {u"een   twee"}},
        {"blanks at the beginning count", u"  een twee", 70, {u"  een", u"twee"}},
        {"a word wider than the width is whole", u"a bestandsnaam b", 50, {u"a", u"bestandsnaam", u"b"}},
        {"at the beginning too", u"bestandsnaam", 50, {u"bestandsnaam"}},
        {"a line that was broken ends as others do", u"een twee\r\ndrie", 40, {u"een", u"twee", u"drie"}},
        {"no room at all", u"a b", 0, {u"a", u"b"}},
    };
    for (const auto& c : cases) EXPECT_EQ(DrawnLines(c.text, c.width, WidthOf), c.lines) << c.reason;
}

TEST(DrawnTextTest, SizeIsOfTheWidestLineAndOfAllLines)
{
    EXPECT_EQ(SizeOfLines(u"", 100, 13, WidthOf), (Size{0, 0}));
    EXPECT_EQ(SizeOfLines(u"\r\n", 100, 13, WidthOf), (Size{0, 13}));
    EXPECT_EQ(SizeOfLines(u"een twee\rdrie", std::nullopt, 13, WidthOf), (Size{80, 26}));
    EXPECT_EQ(SizeOfLines(u"een bestandsnaam", 50, 13, WidthOf), (Size{120, 26}));
}

TEST(DrawnTextTest, LongTextsTakeTimeInProportion)
{
    Text words, letters(1000000, u'a');
    while (words.size() < 1000000) words += u"woord ";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(DrawnLines(words, 600, WidthOf).size(), (words.size() / 6 + 9) / 10);
    EXPECT_EQ(DrawnLines(letters, 600, WidthOf).size(), 1u);
    EXPECT_EQ(DrawnLines(Text(1000000, u' '), 600, WidthOf).size(), 1u);
    EXPECT_EQ(DrawnLines(Text(1000000, u'\r'), 600, WidthOf).size(), 1000000u);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace vmlib
