#include <gmock/gmock.h>

#include "platform/posix/CommandLine.h"
#include "platform/posix/HelpViewer.h"
#include "platform/posix/PosixFiles.h"
#include "support/FakePorts.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {
namespace {

/// A system without the first of the openers.
struct OtherOpener : FakeProcesses
{
    std::int32_t Start(TextView line, std::int16_t style) override
    {
        return line.starts_with(u"xdg") ? throw Error(ErrorNumber::FileNotFound) : FakeProcesses::Start(line, style);
    }
};

TEST(HelpViewerTest, OpensTheDocumentBesideTheHelpFile)
{
    const TemporaryFolder folder;
    posix::PosixFiles files;
    std::filesystem::create_directories(folder.Native("map.pdf"));
    std::filesystem::create_directories(folder.Native("map>x.y"));
    std::filesystem::create_directories(folder.Native("a\\\\\"b\\"));
    for (const char* name : {"Main.PDF", "main.html", "order.htm", "order.Html", "v1.2.pdf", "a\\\\\"b\\/-x y\".pdf"})
        folder.Write(name, "x");
    const Text hidden = folder.Path(u"map>x.y\\lang document");  // without an extension, but for its folder
    for (const char* ending : {"", ".hlp", ".htm"}) folder.Write("map>x.y/lang document" + std::string(ending), "x");
    files.MapDrive(u'H', folder.Native("a\\\\\"b\\").string());  // path text has no other way to "\" in a name
    const std::pair<Text, std::string> cases[] = {
        {folder.Path(u"main.hlp"), "Main.PDF"},
        {folder.Path(u"MAIN") + Text(u"\0x", 2), "Main.PDF"},
        {u" \"" + folder.Path(u"main.hlp") + u"\" > tweede", "Main.PDF"},
        {folder.Path(u"order.hlp>tweede"), "order.Html"},
        {folder.Path(u"v1.2.chm"), "v1.2.pdf"},
        {u"H:-x y\".hlp", "a\\\\\"b\\/-x y\".pdf"},
        {hidden, "map>x.y/lang document.htm"},
        {*files.ShortPath(hidden + u".hlp"), "map>x.y/lang document.htm"},
        {folder.Path(u"geen.hlp"), ""},
        {folder.Path(u"map.hlp"), ""},
        {u"Q:\\main.hlp", ""},
        {u"\"", ""},
    };
    for (const auto& [file, document] : cases) {
        FakeProcesses processes;
        OtherOpener others;
        const std::size_t count = document.empty() ? 0 : 1;
        EXPECT_EQ(posix::ShowHelp(files, processes, file, 1), count == 1) << ToUtf8(file);
        EXPECT_EQ(posix::ShowHelp(files, others, file, 3), count == 1) << ToUtf8(file);
        ASSERT_EQ(processes.started.size(), count) << ToUtf8(file);
        if (count == 0) continue;
        const Text native = FromUtf8(folder.Native(document).string());
        const auto arguments = [](const FakeProcesses& p) { return posix::SplitArguments(p.started.at(0).first); };
        EXPECT_THAT(arguments(processes), testing::ElementsAre(u"xdg-open", native));
        EXPECT_THAT(arguments(others), testing::ElementsAre(u"gio", u"open", native));
        EXPECT_TRUE(posix::ShowHelp(files, processes, file, 2) && processes.started.size() == 1) << "nothing to quit";
    }
    OtherOpener none;
    none.finds = false;
    EXPECT_FALSE(posix::ShowHelp(files, none, cases[0].first, 1));
}

}  // namespace
}  // namespace vmlib::test
