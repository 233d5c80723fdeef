#include <gmock/gmock.h>

#include <thread>

#include "general/Paths.h"
#include "platform/posix/PosixFiles.h"
#include "support/FailingFiles.h"
#include "support/FakePorts.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PathsTest : public testing::Test
{
protected:
    TemporaryFolder folder_;
    posix::PosixFiles real_;
    FailingFiles files_{real_};
    FakeSystem system_{folder_.Path() + u"\\"};
    FakeDesktop desktop_;
    Platform platform_ = PlatformOf(files_, system_, desktop_);
};

TEST_F(PathsTest, FileNamePart)
{
    struct Case
    {
        Text path;
        std::int16_t baseOnly;
        Text expected;
    };
    const Case cases[] = {
        {u"C:\\data\\rapport.versie.doc", 0, u"rapport.versie.doc"},
        {u"C:\\data\\rapport.versie.doc", 1, u"rapport"},
        {u"C:rapport.doc", 0, u"rapport.doc"},
        {u"rapport.doc", -1, u"rapport"},
        {u"rapport", 1, u"rapport"},
        {u".profiel", 1, u""},
        {u"C:\\data.map\\", 1, u""},
        {u"C:", 0, u""},
        {u"ab:c", 0, u"ab:c"},               // a drive is one letter
        {u"a:b:c", 0, u"b:c"},               // the first colon counts
        {u"\\\\server\\x\\a:b", 0, u"a:b"},  // after a backslash the drive is not looked for
        {u"", 1, u""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ToUtf8(VmdLib_ExtractFileNaam(c.path, c.baseOnly)), ToUtf8(c.expected)) << ToUtf8(c.path);
}

TEST_F(PathsTest, FolderPart)
{
    Text current = real_.CurrentFolder();
    if (!current.ends_with(u'\\')) current += u'\\';
    const std::pair<Text, Text> cases[] = {
        {u"C:\\data\\rapport.doc", u"C:\\data\\"},
        {u"C:\\", u"C:\\"},
        {u"\\rapport.doc", u"\\"},
        {u"rapport.doc", current},
        {u"Z:rapport.doc", current},  // the process stands on Z:
        {u"Q:rapport.doc", current},  // a drive that is not there
        {u"", current},
    };
    for (const auto& [path, expected] : cases)
        EXPECT_EQ(ToUtf8(VmdLib_ExtractPad(platform_, path)), ToUtf8(expected)) << ToUtf8(path);
}

TEST_F(PathsTest, WriteTestTriesAndCleansUp)
{
    EXPECT_EQ(VmdLib_WriteTest(platform_, folder_.Path()), -1);
    EXPECT_EQ(VmdLib_WriteTest(platform_, folder_.Path() + u"\\"), -1);
    EXPECT_EQ(VmdLib_WriteTest(platform_, folder_.Path() + u"\\\\nergens"), 0);
    folder_.Write("LIKE-WOW.MAN", "a longer file of this name, left by somebody");
    EXPECT_EQ(VmdLib_WriteTest(platform_, folder_.Path()), -1);
    EXPECT_THAT(folder_.Names(), IsEmpty());
}

TEST_F(PathsTest, WriteTestFailsWithAnyOfItsSteps)
{
    for (const Step step : {Step::Create, Step::Write, Step::Delete}) {
        files_.Arm({.at = 1, .fault = FileFault::AccessDenied, .steps = {step}});
        EXPECT_EQ(VmdLib_WriteTest(platform_, folder_.Path()), 0) << static_cast<int>(step);
        EXPECT_TRUE(files_.Struck());
        EXPECT_EQ(folder_.Names().empty(), step != Step::Delete);
    }
}

TEST_F(PathsTest, WriteTestsOfSeveralProgramsDoNotDisturbEachOther)
{
    std::atomic<int> failures = 0;
    const auto test = [&] {
        posix::PosixFiles files;
        Platform platform = PlatformOf(files, system_, desktop_);
        for (int i = 0; i < 50; ++i)
            if (VmdLib_WriteTest(platform, folder_.Path()) != -1) ++failures;
    };
    std::thread other(test);
    test();
    other.join();
    EXPECT_EQ(failures, 0);
}

TEST_F(PathsTest, TemporaryFileNames)
{
    struct Case
    {
        Optional id;
        std::string start;
    };
    const Case cases[] = {{{}, "~VM"},           {Variant(u"ORDERS"), "~OR"},
                          {Variant(u"o"), "~o"}, {Variant(std::int16_t{12}), "~12"},
                          {Variant(u""), "~"},   {Variant(Null{}), "~"}};
    for (const Case& c : cases) {
        Text name = u"was here";
        const std::int32_t number = VmdLib_TempFile(platform_, name, c.id);
        char digits[8];
        std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(number));
        const std::string file = c.start + digits + ".tmp";
        EXPECT_EQ(ToUtf8(name), ToUtf8(folder_.Path()) + "\\" + file);
        EXPECT_GT(number, 0);
        EXPECT_THAT(folder_.Names(), ElementsAre(file));
        EXPECT_EQ(folder_.Read(file), "");
        real_.Delete(name);
    }
}

TEST_F(PathsTest, NoTemporaryFileIsZeroAndNoName)
{
    system_.temporaryFolder = folder_.Path(u"nergens") + u"\\";
    Text name = u"was here";
    EXPECT_EQ(VmdLib_TempFile(platform_, name), 0);
    EXPECT_EQ(name, u"");
}

TEST_F(PathsTest, TemporaryFolder)
{
    const std::pair<std::optional<Text>, Text> cases[] = {{u"Z:\\tmp\\", u"Z:\\tmp\\"},
                                                          {std::nullopt, u"\\"},
                                                          {u"  C:\\t\\ ", u"C:\\t\\"},
                                                          {Text(u"C:\\t\\\0rest", 10), u"C:\\t\\"}};
    for (const auto& [reported, expected] : cases) {
        system_.temporaryFolder = reported;
        EXPECT_EQ(VmdLib_TempPath(platform_), expected);
    }
}

TEST_F(PathsTest, UserName)
{
    struct Case
    {
        const char* reason;
        std::optional<Text> reported;
        Text expected;
    };
    const Case cases[] = {
        {"as it is", u"Jan de Vries", u"Jan de Vries"},
        {"unknown", std::nullopt, u"VMD"},
        {"empty", u"", u"VMD"},
        {"blank", u"   ", u"VMD"},
        {"cut at the NUL", Text(u"jan\0x", 5), u"jan"},
        {"longest that fits the buffer with its NUL", Text(198, u'a'), Text(198, u'a')},
        {"too long for the buffer", Text(199, u'a'), u"VMD"},
        {"as a document can store it", u"\u0417\u043Eja", u"??ja"},
    };
    for (const Case& c : cases) {
        system_.userName = c.reported;
        EXPECT_EQ(ToUtf8(VmdLib_LeesGebruiker(platform_)), ToUtf8(c.expected)) << c.reason;
    }
}

}  // namespace
}  // namespace vmlib::test
