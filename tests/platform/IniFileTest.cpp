#include <gmock/gmock.h>
#include <stdlib.h>

#include <chrono>

#include "platform/posix/IniFile.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixSystem.h"
#include "support/TemporaryFolder.h"

namespace vmlib {
namespace {

using posix::IniValue;
using posix::LeadingNumber;

// What the platform answers, by its documentation and the conformance tests of its free implementations.
TEST(IniFileTest, ValuesAreFoundByThePlatformsRules)
{
    const struct
    {
        const char* reason;
        std::string bytes;
        std::optional<Text> value;  // of key "name" in section "set"
    } cases[] = {
        {"plain", "[set]\r\nname=val\r\n", u"val"},
        {"CR alone ends a line", "[set]\rname=val\rnext=x\r", u"val"},
        {"case", "[SeT]\nNAME=Val\n", u"Val"},
        {"blanks", " [ set ] \n\t name \t= a b \x1A\n", u"a b"},
        {"quotes", "[set]\nname=\" a \"", u" a "},
        {"single quotes", "[set]\nname=' a '", u" a "},
        {"one pair only", "[set]\nname=\"\"a\"\"", u"\"a\""},
        {"unequal quotes", "[set]\nname=\"a'", u"\"a'"},
        {"empty", "[set]\nname=\n", u""},
        {"no equals sign", "[set]\nname\n", std::nullopt},
        {"comment", "[set]\n ;name=no\nname=yes;and on", u"yes;and on"},
        {"equals sign in the value", "[set]\nname==a=b", u"=a=b"},
        {"first key wins", "[set]\nname=1\nname=2\n", u"1"},
        {"first section wins", "[set]\nother=1\n[set]\nname=2\n", std::nullopt},
        {"another section's", "[other]\nname=1\n[set]\n[third]\nname=3\n", std::nullopt},
        {"before any section", "name=1\n[set]\n", std::nullopt},
        {"a section is no key", "[set=name]\nname=1\n", std::nullopt},
        {"unclosed section", "[set\nname=1\n", std::nullopt},
        {"code page", "[set]\nname=\x80\xE9\x9D", u"€é\u009D"},
        {"ends at a zero", std::string("[set]\nname='a'\0b\n", 16), u"a"},
    };
    for (const auto& c : cases) EXPECT_EQ(IniValue(c.bytes, u"set", u"name"), c.value) << c.reason;
    EXPECT_EQ(IniValue("[set]\nname=val\n", u"  set   ", u" name "), u"val");
    EXPECT_EQ(IniValue("[É]\n\xE9=val\n", u"É", u"É"), std::nullopt);  // the file is no UTF-8
    EXPECT_EQ(IniValue("[\xC9]\n\xE9=val\n", u"é", u"É"), u"val");
    EXPECT_EQ(IniValue("[set]\n;name=val\n", u"set", u";name"), std::nullopt);
    EXPECT_EQ(IniValue("[]\n=val\n", u"", u"name"), std::nullopt);
    EXPECT_EQ(IniValue("[set]\n=val\n", u"set", u" "), std::nullopt);
}

TEST(IniFileTest, NumbersAreReadFromTheFront)
{
    const std::pair<TextView, std::int32_t> cases[] = {
        {u"-1", -1},
        {u"  \t42 ", 42},
        {u"4294967297", 1},
        {u"-4294967297", -1},
        {u"2147483648", -2147483647 - 1},
        {u"42A94967297", 42},
        {u"B4294967297", 0},
        {u"0x1Fg", 31},
        {u"-0x10", -16},
        {u"0o17", 15},
        {u"0b102", 2},
        {u"010", 10},  // decimal all the same
        {u"", 0},
    };
    for (const auto& c : cases) EXPECT_EQ(LeadingNumber(c.first), c.second) << ToUtf8(c.first);
}

TEST(IniFileTest, JunkOfMegabytesTakesLinearTime)
{
    std::string junk(4 << 20, '[');
    const auto start = std::chrono::steady_clock::now();
    for (const std::string filling : {"[", "=", "\n", " ", "\"", "[x", "][", "\x93\x1F[\x80=]\n;"}) {
        for (std::size_t i = 0; i < junk.size(); ++i) junk[i] = filling[i % filling.size()];
        EXPECT_EQ(IniValue(junk, u"set", u"name"), std::nullopt);
        EXPECT_TRUE(IniValue("[set]\nname=" + junk, u"set", u"name"));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

class ProfileTest : public testing::Test
{
protected:
    ProfileTest() { ::setenv("VMLIB_MACHINE_REGISTRY", folder_.Native("windows/machine.reg").c_str(), 1); }
    ~ProfileTest() override { ::unsetenv("VMLIB_MACHINE_REGISTRY"); }

    Text TextOf(TextView key, TextView defaultText, std::size_t room, TextView file)
    {
        return system_.ProfileText(u"Intl", key, defaultText, room, file);
    }

    test::TemporaryFolder folder_;
    posix::PosixFiles files_;
    posix::PosixSystem system_{files_};
};

TEST_F(ProfileTest, NamesWithoutAFolderAreLookedForInTheWindowsFolder)
{
    EXPECT_EQ(system_.WindowsFolder(), folder_.Path(u"windows"));  // whether it is there or not
    EXPECT_EQ(TextOf(u"sDecimal", u"/", 255, u"WIN.INI"), u"/");
    std::filesystem::create_directory(folder_.Native("windows"));
    folder_.Write("windows/win.ini", "[intl]\nsDecimal=,\niDigits=2\nnone=\nlong=0123456789\n");
    EXPECT_EQ(TextOf(u"sDecimal", u"/", 255, u"WIN.INI"), u",");
    EXPECT_EQ(TextOf(u"sDecimal", u"/", 255, folder_.Path(u"windows") + u"\\WIN.INI"), u",");
    EXPECT_EQ(TextOf(u"sDecimal", u"/", 255, u".\\WIN.INI"), u"/");  // the current folder's
    ::setenv("VMLIB_MACHINE_REGISTRY", "/machine.reg", 1);
    EXPECT_EQ(system_.WindowsFolder(), u"Z:");
}

TEST_F(ProfileTest, AnswersAreCutAndDefaultsTrimmed)
{
    folder_.Write("a.ini", "[intl]\nnone=\nlong=0123456789\nnumber=-7x\nquoted=\"\"\n");
    const Text file = folder_.Path(u"A.INI");
    EXPECT_EQ(TextOf(u"long", u"", 5, file), u"0123");
    EXPECT_EQ(TextOf(u"long", u"", 1, file), u"");
    EXPECT_EQ(TextOf(u"long", u"", 0, file), u"");
    EXPECT_EQ(TextOf(u"missing", u"  one two  ", 255, file), u"  one two");
    EXPECT_EQ(TextOf(u"missing", u"default", 4, file), u"def");
    EXPECT_EQ(TextOf(u"none", u"default", 255, file), u"");

    const auto number = [&](TextView key, TextView path) { return system_.ProfileNumber(u"Intl", key, 70, path); };
    EXPECT_EQ(number(u"number", file), -7);
    EXPECT_EQ(number(u"none", file), 70);
    EXPECT_EQ(number(u"quoted", file), 70);
    // Neither a missing file nor what is no file at all is an error.
    for (const TextView path : {u"", u"Z:\\none\\a.ini", u"Z:\\dev\\zero", u"Z:\\tmp", u"Q:\\a.ini"})
        EXPECT_EQ(number(u"number", path), 70) << ToUtf8(path);
}

}  // namespace
}  // namespace vmlib
