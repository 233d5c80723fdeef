#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <sstream>
#include <thread>

#include "core/Error.h"
#include "platform/posix/CommandLine.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/PosixProcesses.h"
#include "support/TemporaryFolder.h"

namespace vmlib {
namespace {

TEST(CommandLineTest, ArgumentsFollowThePlatformsQuoting)
{
    const std::pair<TextView, std::vector<Text>> cases[] = {
        {u"", {}},
        {u"  a \t b  ", {u"a", u"b"}},
        {u"\"a b\" c", {u"a b", u"c"}},
        {u"\"\" x", {u"", u"x"}},
        {u"C:\\a\\\\b\\ c\\", {u"C:\\a\\\\b\\", u"c\\"}},  // "\" without a quote behind it
        {u"\"hello\\\"there\"", {u"hello\"there"}},        // an odd number before a quote
        {u"\"hello\\\\\" x", {u"hello\\", u"x"}},          // an even one
        {u"a\\\\\\\"b c", {u"a\\\"b", u"c"}},              // three
        {u"\"a\"\"b c\" d", {u"a\"b", u"c d"}},            // two quotes end the quoted part
        {u"\"a\"\"\"b c\" d", {u"a\"b c", u"d"}},          // three begin the next one
        {u"a\nb", {u"a\nb"}},                              // only blanks and tabs part arguments
    };
    for (const auto& c : cases) EXPECT_EQ(posix::SplitArguments(c.first), c.second) << ToUtf8(c.first);
}

/// Scripts that write what they see into the file "seen".
class ProcessesTest : public testing::Test
{
protected:
    ProcessesTest() { std::filesystem::create_directories(folder_.Native("my tools/sub")); }

    void WriteScript(const std::string& name, const std::string& text, mode_t mode = 0755)
    {
        folder_.Write(name, text);
        ASSERT_EQ(::chmod(folder_.Native(name).c_str(), mode), 0);
    }
    std::string Seen() { return "'" + folder_.Native("seen").string() + "'"; }
    void WriteArgumentsScript(const std::string& name, const std::string& mark)
    {
        WriteScript(name,
                    "#!/bin/sh\necho " + mark + " >" + Seen() + "\nfor a; do echo \"<$a>\" >>" + Seen() + "; done\n");
    }
    void Run(const Text& line) { processes_.WaitFor(processes_.Start(line, 1)); }
    std::int32_t ErrorOf(const Text& line)
    {
        try {
            Run(line);
            return 0;
        } catch (const Error& error) {
            return error.Number();
        }
    }

    test::TemporaryFolder folder_;
    posix::PosixFiles files_;
    posix::PosixProcesses processes_{files_};
};

TEST_F(ProcessesTest, ProgramsAreFoundAsThePlatformReadsCommandLines)
{
    WriteArgumentsScript("my tools/Sum", "sum");
    const Text tools = folder_.Path(u"my tools");
    Run(u"  \"" + tools + u"\\SUM\" a \"b c\" ünï");
    EXPECT_EQ(folder_.Read("seen"), "sum\n<a>\n<b c>\n<ünï>\n");
    Run(tools + u"\\sum 1");  // no quotes: "...\my" is no file, "...\my tools\sum" is one
    EXPECT_EQ(folder_.Read("seen"), "sum\n<1>\n");
    Run(Replaced(tools, u"\\", u"/") + u"/sub/../sum $HOME * ;ls");  // no shell looks at it
    EXPECT_EQ(folder_.Read("seen"), "sum\n<$HOME>\n<*>\n<;ls>\n");
    files_.MapDrive(u'T', folder_.Native("my tools").string());
    Run(Text(u"t:sum 2\0 3", 10));  // text of the platform ends at a zero
    EXPECT_EQ(folder_.Read("seen"), "sum\n<2>\n");
    WriteArgumentsScript("my", "my");
    Run(tools + u"\\sum 1");  // the shortest that is a file
    EXPECT_EQ(folder_.Read("seen"), "my\n<tools\\sum>\n<1>\n");
}

TEST_F(ProcessesTest, BareNamesAreLookedForInPathAndNotInTheCurrentFolder)
{
    const char* path = ::getenv("PATH");
    const std::string before = path ? path : "/usr/bin:/bin";
    const auto current = std::filesystem::current_path();
    WriteArgumentsScript("my tools/sub/VmSum", "sub");
    WriteArgumentsScript("vmhere", "here");
    ::setenv("PATH", (".::/none:" + folder_.Native("my tools/sub").string() + ":/bin").c_str(), 1);
    std::filesystem::current_path(folder_.Native());
    EXPECT_EQ(ErrorOf(u"vmhere"), 53);
    EXPECT_EQ(ErrorOf(u"vmsum x"), 0);
    std::filesystem::current_path(current);
    ::setenv("PATH", before.c_str(), 1);
    EXPECT_EQ(folder_.Read("seen"), "sub\n<x>\n");
}

TEST_F(ProcessesTest, WhatCannotBeStartedIsAnErrorAtOnce)
{
    WriteScript("noright", "#!/bin/sh\n", 0644);
    WriteScript("text", "touch " + Seen() + "\n");
    WriteScript("nointerpreter", "#!/none/sh\n");
    const std::pair<Text, std::int32_t> cases[] = {
        {u"", 53},
        {u"\"\" x", 53},
        {folder_.Path(u"my tools"), 53},  // a folder
        {u"Q:\\x", 53},
        {u"vmlib-no-such-program a", 53},
        {folder_.Path(u"noright"), 75},
        {folder_.Path(u"text"), 75},  // a shell would run it
        {folder_.Path(u"nointerpreter"), 53},
    };
    for (const auto& c : cases) EXPECT_EQ(ErrorOf(c.first), c.second) << ToUtf8(c.first.substr(0, 200));
    EXPECT_FALSE(std::filesystem::exists(folder_.Native("seen")));
    WriteScript("yes", "#!/bin/sh\n");
    EXPECT_EQ(ErrorOf(folder_.Path(u"yes ") + Text(4 << 20, u'x')), 7);  // more than a program can be given
}

TEST_F(ProcessesTest, StreamsSignalsAndDescriptorsOfTheHostStayItsOwn)
{
    // Run in a process of its own: its standard output and input are the host's.
    WriteScript("look", "#!/bin/sh\necho printed\ncat >" + Seen() + "\nsed -n 's/^SigIgn:\\t//p' /proc/self/status >>" +
                            Seen() + "\nls -l /proc/self/fd >>" + Seen() + "\n");
    for (const char* name : {"in", "out", "err"}) folder_.Write(name, name[0] == 'i' ? "protocol" : "");
    const auto held = files_.Open(folder_.Path(u"in"), {});
    const pid_t host = ::fork();
    if (host == 0) {
        int stream = STDIN_FILENO;
        for (const char* name : {"in", "out", "err"})
            ::dup2(::open(folder_.Native(name).c_str(), O_RDWR | O_CLOEXEC), stream++);
        sigset_t all;
        sigfillset(&all);
        ::sigprocmask(SIG_SETMASK, &all, nullptr);
        for (const int signal : {SIGPIPE, SIGXFSZ, SIGCHLD}) ::signal(signal, SIG_IGN);
        ::_exit(ErrorOf(folder_.Path(u"look")) + ErrorOf(u"grep SigBlk /proc/self/status"));
    }
    int status = -1;
    ::waitpid(host, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(folder_.Read("out"), "");
    EXPECT_EQ(folder_.Read("err"), "printed\nSigBlk:\t0000000000000000\n");
    std::istringstream seen(folder_.Read("seen"));
    unsigned long ignored = 1;
    EXPECT_TRUE(seen >> std::hex >> ignored) << "it has read the host's input";
    EXPECT_EQ(ignored & 0x7FFFFFFF, 0u);  // above are the C library's own
    const std::string descriptors = seen.str();
    EXPECT_THAT(descriptors, testing::HasSubstr(folder_.Native("err").string()));
    for (const char* ours : {"in", "out"})
        EXPECT_EQ(descriptors.find(folder_.Native(ours).string() + "\n"), std::string::npos) << descriptors;
}

TEST_F(ProcessesTest, WaitingEndsWithTheProcessWhoeverCollectsIt)
{
    WriteScript("slow", "#!/bin/sh\nsleep 0.3\ntouch " + Seen() + "\n");
    for (const bool ignores : {false, true}) {
        std::filesystem::remove(folder_.Native("seen"));
        auto* const before = ::signal(SIGCHLD, ignores ? SIG_IGN : SIG_DFL);
        const std::int32_t process = processes_.Start(folder_.Path(u"slow"), 0);
        for (const std::int32_t unknown : {0, -1, 1, 2147483647}) processes_.WaitFor(unknown);
        EXPECT_FALSE(std::filesystem::exists(folder_.Native("seen")));
        std::thread second([&] { processes_.WaitFor(process); });
        processes_.WaitFor(process);
        EXPECT_TRUE(std::filesystem::exists(folder_.Native("seen"))) << ignores;
        second.join();
        ::signal(SIGCHLD, before);
    }

    // Those that nobody waits for do not stay as zombies for good.
    const std::int32_t quick = processes_.Start(u"true", 0);
    siginfo_t ended;
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(quick), &ended, WEXITED | WNOWAIT), 0);
    Run(u"true");
    EXPECT_EQ(::kill(quick, 0), -1);
}

TEST_F(ProcessesTest, EndOfTheApplicationKeepsOutputAndSkipsCleanUp)
{
    for (const bool readerHoldsInput : {false, true}) {
        const auto end = [&] {
            int input[2];  // nothing ever comes
            if (::pipe(input) != 0 || ::dup2(input[0], STDIN_FILENO) < 0) return;
            ::dup2(STDERR_FILENO, STDOUT_FILENO);
            std::atexit([] { std::puts("cleaned up"); });
            std::printf("C, ");
            std::cout << "C++";
            if (readerHoldsInput) std::thread([] { std::getchar(); }).detach();
            ::usleep(readerHoldsInput ? 100'000 : 0);
            processes_.EndApplication();
        };
        EXPECT_EXIT(end(), testing::ExitedWithCode(endedApplicationCode), "C, C\\+\\+$") << readerHoldsInput;
    }
}

}  // namespace
}  // namespace vmlib
