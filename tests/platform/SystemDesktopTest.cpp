#include <gmock/gmock.h>
#include <pty.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>

#include "platform/Platform.h"
#include "platform/posix/LocalTime.h"
#include "platform/posix/TerminalQuestion.h"

namespace vmlib {
namespace {

/// An environment variable for the length of a test.
class Variable
{
public:
    Variable(const char* name, const char* value) : name_(name)
    {
        if (const char* before = ::getenv(name)) before_ = before;
        if (value)
            ::setenv(name, value, 1);
        else
            ::unsetenv(name);
    }
    ~Variable()
    {
        if (before_)
            ::setenv(name_, before_->c_str(), 1);
        else
            ::unsetenv(name_);
    }

private:
    const char* name_;
    std::optional<std::string> before_;
};

TEST(SystemTest, UserNameIsTheVariableElseTheLoginName)
{
    System& system = NativePlatform().system;
    {
        const Variable user("VMLIB_USER", "Jürgen");
        EXPECT_EQ(system.UserName(), Text(u"Jürgen"));
    }
    const Variable none("VMLIB_USER", "");  // empty counts as none
    const passwd* entry = ::getpwuid(::geteuid());
    ASSERT_TRUE(entry);
    EXPECT_EQ(system.UserName(), FromUtf8(entry->pw_name));
}

TEST(SystemTest, TemporaryFolderEndsInASeparator)
{
    System& system = NativePlatform().system;
    {
        const Variable folder("TMPDIR", "/var/tmp/");
        EXPECT_EQ(system.TemporaryFolder(), Text(u"Z:\\var\\tmp\\"));
    }
    const Variable none("TMPDIR", nullptr);
    EXPECT_EQ(system.TemporaryFolder(), Text(u"Z:\\tmp\\"));
}

TEST(SystemTest, LocaleNamesAreLookedUpInTheUsualOrder)
{
    System& system = NativePlatform().system;
    const Variable all("LC_ALL", nullptr), numbers("LC_NUMERIC", "nl_NL"), dates("LC_TIME", nullptr),
        language("LANG", "da_DK");
    EXPECT_EQ(system.NumberLocaleName(), u"nl_NL");
    EXPECT_EQ(system.DateLocaleName(), u"da_DK");
    const Variable over("LC_ALL", "C");
    EXPECT_EQ(system.NumberLocaleName(), u"C");
}

TEST(SystemTest, LocalTimeCountsDaysFromTheEndOf1899)
{
    const Variable zone("TZ", "CET-1");
    ::tzset();
    const struct
    {
        std::time_t moment;
        double serial;
    } cases[] = {
        {0, 25569 + 1.0 / 24},   // 1 January 1970, one o'clock in that zone
        {1709614800, 45356.25},  // 5 March 2024, six o'clock
        {-2209208400, -1.5},     // noon of 29 December 1899: day minus one, the time still counts forward
    };
    for (const auto& c : cases) EXPECT_NEAR(posix::LocalTime(c.moment).serial, c.serial, 1e-9) << c.moment;
}

TEST(DesktopTest, SafeAnswersChangeNothing)
{
    const std::int16_t expected[] = {1, 2, 3, 2, 7, 2};
    const Variable none("VMLIB_DESKTOP", "none");
    for (std::int32_t set = 0; set < 6; ++set) {
        EXPECT_EQ(StandardMessage(u"", set | 32 | 256, u"").safeAnswer, expected[set]);
        testing::internal::CaptureStderr();
        EXPECT_EQ(NativePlatform().desktop.MessageBox(u"Een vraag", set, u"Titel"), expected[set]);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "Titel: Een vraag\n");
    }
}

TEST(DesktopTest, AsksAtTheTerminalUntilTheAnswerFits)
{
    int terminal;
    const pid_t process = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_GE(process, 0);
    if (process == 0) {
        ::setenv("VMLIB_DESKTOP", "terminal", 1);
        ::_exit(NativePlatform().desktop.MessageBox(u"Opslaan?", 3, u""));
    }
    const std::string typed = "maybe\nn\n";
    EXPECT_EQ(::write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
    std::string shown;
    char buffer[256];
    for (ssize_t count; (count = ::read(terminal, buffer, sizeof buffer)) > 0;)
        shown.append(buffer, static_cast<std::size_t>(count));
    int status = 0;
    ::waitpid(process, &status, 0);
    ::close(terminal);
    EXPECT_EQ(WEXITSTATUS(status), 7);
    EXPECT_NE(shown.find("[J]a*  [N]ee  Annuleren: "), shown.rfind("[J]a*  [N]ee  Annuleren: ")) << shown;
}

TEST(DesktopTest, TerminalShowsAccessKeysAndNoControlCharacters)
{
    EXPECT_EQ(posix::QuestionText(StandardMessage(u"Weet u het\r\nzeker \u001b[2J?", 3 | 256, u"Vraag")),
              "Vraag\nWeet u het\nzeker  [2J?\n[J]a  [N]ee*  Annuleren: ");
    EXPECT_EQ(posix::QuestionText(StandardMessage(u"Klaar", 0, u"")), "Klaar\nOK: ");
}

TEST(DesktopTest, TypedAnswersAreKeysCaptionsNumbersOrTheDefault)
{
    const struct
    {
        TextView typed;
        std::int32_t style;
        std::optional<std::int16_t> answer;
    } cases[] = {
        {u"j", 4, 6},
        {u" N ", 4, 7},
        {u"nee", 4, 7},
        {u"2", 4, 7},
        {u"3", 4, std::nullopt},
        {u"x", 4, std::nullopt},
        {u"", 4, 6},
        {u"", 4 | 256, 7},
        {u"", 3 | 512, 2},
        {u"", 4 | 512, 6},
        {u"annuleren", 1, 2},
        {u"ok", 1, 1},
        {u"a", 1, std::nullopt},
        {u"Negeren", 2, 5},
        {u"o", 2, 4},
        {u"A", 2, 3},
    };
    for (const auto& c : cases)
        EXPECT_EQ(posix::AnswerOf(c.typed, StandardMessage(u"", c.style, u"")), c.answer)
            << ToUtf8(c.typed) << " of " << c.style;
}

}  // namespace
}  // namespace vmlib
