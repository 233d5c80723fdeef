#include <gmock/gmock.h>

#include "core/Error.h"
#include "platform/windows/Handle.h"
#include "platform/windows/WindowsProcesses.h"
#include "platform/windows/WindowsSystem.h"
#include "support/TemporaryFolder.h"
#include "windows/ports/Child.h"

namespace vmlib::test {
namespace {

TEST(WindowsSystemTest, FactsOfUserAndMachine)
{
    windows::WindowsSystem system;
    ::SetEnvironmentVariableW(L"VMLIB_USER", L"J\u00FCrgen");
    EXPECT_EQ(system.UserName(), Text(u"Jürgen"));
    ::SetEnvironmentVariableW(L"VMLIB_USER", nullptr);
    EXPECT_NE(system.UserName().value_or(u""), u"");
    EXPECT_TRUE(system.TemporaryFolder().value().ends_with(u'\\'));
    EXPECT_EQ(system.PlatformFamily(), 2);
    EXPECT_FALSE(system.WindowsFolder().value().ends_with(u'\\'));
    const Text locale = system.NumberLocaleName();
    EXPECT_TRUE(locale.size() == 2 || (locale.size() == 5 && locale[2] == u'_')) << ToUtf8(locale);
}

TEST(WindowsSystemTest, ProfilesFollowTheRulesOfThePlatform)
{
    const TemporaryFolder folder;
    folder.Write("v.ini", "[Intl]\r\nList = \"a;b\" \r\nEmpty=\r\neuro=\x80\r\nn=12 apples\r\nminus=-3\r\n");
    const Text file = folder.Path(u"v.ini");
    windows::WindowsSystem system;
    const auto text = [&](TextView key, std::size_t room = 100) {
        return ToUtf8(system.ProfileText(u"INTL", key, u" default  ", room, file));
    };
    EXPECT_EQ(text(u"list"), "a;b");
    EXPECT_EQ(text(u"list", 3), "a;");
    EXPECT_EQ(text(u"list", 0), "");
    EXPECT_EQ(text(u"euro"), "\xE2\x82\xAC");
    EXPECT_EQ(text(u"Empty"), "");
    EXPECT_EQ(text(u"none"), " default");
    EXPECT_EQ(text(u"none", 4), " de");
    EXPECT_EQ(text(u""), " default") << "not a list of the keys";
    EXPECT_EQ(ToUtf8(system.ProfileText(u"", u"list", u"d", 9, file)), "d") << "not a list of the sections";
    EXPECT_EQ(ToUtf8(system.ProfileText(u"intl", u"list", u"d", 9, folder.Path(u"none"))), "d");
    EXPECT_EQ(system.ProfileNumber(u"intl", u"N", 7, file), 12);
    EXPECT_EQ(system.ProfileNumber(u"intl", u"minus", 7, file), -3);
    EXPECT_EQ(system.ProfileNumber(u"intl", u"list", 7, file), 0);
    EXPECT_EQ(system.ProfileNumber(u"intl", u"none", 7, file), 7);
}

TEST(WindowsProcessesTest, AProgramIsStartedAndWaitedFor)
{
    const TemporaryFolder folder;
    windows::WindowsProcesses processes;
    const std::int32_t process =
        processes.Start(ChildCommand({u"write", folder.Path(u"seen"), u"b c", u"\u00EB"}), SW_HIDE);
    processes.WaitFor(process + 1);
    EXPECT_FALSE(std::filesystem::exists(folder.Native("seen"))) << "that was none of ours";
    processes.WaitFor(process);
    EXPECT_EQ(folder.Read("seen"), "b c\n\xC3\xAB\n");
    processes.WaitFor(process);

    folder.Write("text.exe", "no program");
    const std::pair<Text, std::int32_t> cases[] = {
        {u"", 53},
        {u"vmlib-no-such-program a", 53},
        {folder.Path(u"none\\x.exe"), 53},
        {folder.Path(u"text.exe"), 75},
        {u"x " + Text(40'000, u'x'), 7},
    };
    for (const auto& [line, expected] : cases) {
        std::int32_t number = 0;
        try {
            processes.Start(line, SW_HIDE);
        } catch (const Error& error) {
            number = error.Number();
        }
        EXPECT_EQ(number, expected) << ToUtf8(line.substr(0, 100));
    }
}

TEST(WindowsProcessesTest, EndOfTheApplicationKeepsOutputAndSkipsCleanUp)
{
    const TemporaryFolder folder;
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    const windows::Handle output(::CreateFileA(folder.Native("out").string().c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                               &inherited, CREATE_NEW, 0, nullptr));
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = start.hStdError = output.Get();
    PROCESS_INFORMATION process;
    Text line = ChildCommand({u"end"});
    ASSERT_TRUE(::CreateProcessW(nullptr, reinterpret_cast<wchar_t*>(line.data()), nullptr, nullptr, TRUE, 0, nullptr,
                                 nullptr, &start, &process));
    ::WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    ::GetExitCodeProcess(process.hProcess, &code);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    EXPECT_EQ(code, static_cast<DWORD>(endedApplicationCode));
    EXPECT_EQ(folder.Read("out"), "out");
}

}  // namespace
}  // namespace vmlib::test
