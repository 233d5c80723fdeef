#include <gmock/gmock.h>
#include <signal.h>
#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <optional>

#include "platform/Platform.h"

namespace vmlib {
namespace {

constexpr std::int16_t capsLock = 20, numLock = 144;

/// A program in the background, which prints to a pipe.
struct Background
{
    explicit Background(const std::string& command)
        : output(::popen(("exec " + command + " 2>/dev/null").c_str(), "re"))
    {
    }
    ~Background() { ::pclose(output); }
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

    std::string ReadTo(std::string_view end) const
    {
        std::string text;
        for (int c; text.find(end) == std::string::npos && (c = std::fgetc(output)) != EOF;)
            text += static_cast<char>(c);
        return text;
    }

    FILE* output;
};

/// A desktop without a screen, and xev, which prints the keys that reach its window.
class KeyboardTest : public testing::Test
{
protected:
    void SetUp() override
    {
        for (const char* program : {"Xvfb", "xev", "xdotool"})
            if (std::system((std::string("command -v >/dev/null ") + program).c_str()) != 0)
                GTEST_SKIP() << program << " is not installed";
        server_.emplace("sh -c 'echo $$; exec Xvfb -displayfd 1 -screen 0 320x200x24 -noreset -nolisten tcp'");
        process_ = std::atoi(server_->ReadTo("\n").c_str());
        const std::string display = server_->ReadTo("\n");
        if (display.empty()) GTEST_SKIP() << "Xvfb does not start here";
        ::setenv("DISPLAY", (":" + std::to_string(std::atoi(display.c_str()))).c_str(), 1);
        ::unsetenv("VMLIB_DESKTOP");
    }
    void TearDown() override
    {
        ::unsetenv("DISPLAY");
        if (process_ > 0) ::kill(process_, SIGKILL);
    }
    static void Do(const std::string& keys) { EXPECT_EQ(std::system(("xdotool " + keys).c_str()), 0); }

    pid_t process_ = 0;
    std::optional<Background> server_;
    Desktop& desktop_ = NativePlatform().desktop;
};

TEST_F(KeyboardTest, TypedTextReachesTheWindowWithTheFocus)
{
    Background window("xev -geometry 320x200+0+0 -event keyboard -event structure");
    window.ReadTo("MapNotify");
    const auto typed = [&](TextView text) {
        desktop_.SendKeys(text);
        desktop_.SendKeys(u"\t");
        std::string received;
        const std::string events = window.ReadTo("Tab)");  // pressed ...
        window.ReadTo("Tab)");                             // ... and released
        const std::string start = "XLookupString gives 1 bytes: (";
        std::size_t at = 0, press = 0;
        while ((press = events.find("KeyPress", at)) != std::string::npos &&
               (at = events.find("XLookupString gives", press)) != std::string::npos)
            if (events.compare(at, start.size(), start) == 0)
                received += static_cast<char>(std::stoi(events.substr(at + start.size(), 2), nullptr, 16));
        return received;
    };
    EXPECT_EQ(typed(u",.:;+%"), ",.:;+%");
    EXPECT_EQ(typed(u"aB\n\u00E9\u4E2D\u0001!"), "aB\r!");  // what no key gives is left out
    Do("key Caps_Lock");
    EXPECT_EQ(typed(u"aB1,"), "aB1,");
    Do("keydown shift");
    EXPECT_EQ(typed(u",a"), ",a");
    Do("keyup shift");
    ::setenv("VMLIB_DESKTOP", "terminal", 1);
    desktop_.SendKeys(u"x");
    ::unsetenv("VMLIB_DESKTOP");
    EXPECT_EQ(typed(u"y"), "y");
    ::kill(process_, SIGTERM);  // which ends the window's program too
}

TEST_F(KeyboardTest, KeyStatesAreHeldAndToggled)
{
    EXPECT_EQ(desktop_.KeyState(insertKey), 0);
    Do("keydown Insert keydown a");
    EXPECT_EQ(desktop_.KeyState(insertKey), std::int16_t(-0x8000));
    EXPECT_EQ(desktop_.KeyState('A'), std::int16_t(-0x8000));
    EXPECT_EQ(desktop_.KeyState('B'), 0);
    Do("keyup Insert keyup a key Num_Lock");
    EXPECT_EQ(desktop_.KeyState(insertKey), 0);
    EXPECT_EQ(desktop_.KeyState(numLock), 1);
    EXPECT_EQ(desktop_.KeyState(capsLock), 0);
    ::setenv("VMLIB_DESKTOP", "none", 1);
    EXPECT_EQ(desktop_.KeyState(numLock), 0);
    ::unsetenv("VMLIB_DESKTOP");
}

TEST_F(KeyboardTest, ServersThatAreSilentOrGoneNeitherEndNorHangTheHost)
{
    const auto start = std::chrono::steady_clock::now();
    ::kill(process_, SIGSTOP);
    EXPECT_EQ(desktop_.KeyState(insertKey), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    ::kill(process_, SIGKILL);
    server_.reset();
    process_ = 0;
    EXPECT_EQ(desktop_.KeyState(insertKey), 0);
    desktop_.SendKeys(u",");
}

}  // namespace
}  // namespace vmlib
