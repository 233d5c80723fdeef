#pragma once

#include <gmock/gmock.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <future>
#include <optional>
#include <string>

#include "platform/posix/WindowProcess.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {

/// A screen of 1024 by 768 pixels without a window manager, and letters with Tahoma's measures. A form is shown from a
/// thread, and driven from outside as a person would.
class ScreenTest : public testing::Test
{
protected:
    void SetUp() override
    {
        for (const char* program : {"Xvfb", "xdotool", "xprop"})
            if (std::system((std::string("command -v >/dev/null ") + program).c_str()) != 0)
                GTEST_SKIP() << program << " is not installed";
        const std::string fonts = "/usr/share/wine/fonts";
        if (!std::filesystem::exists(fonts + "/tahoma.ttf")) GTEST_SKIP() << "fonts-wine is not installed";
        folder_.Write("fonts.conf", "<fontconfig><dir>" + fonts + "</dir><cachedir>" +
                                        folder_.Native("cache").string() + "</cachedir></fontconfig>");
        ::setenv("FONTCONFIG_FILE", folder_.Native("fonts.conf").c_str(), 1);
        ::unsetenv("VMLIB_DESKTOP");
        server_ = ::popen(
            "exec sh -c 'echo $$; exec Xvfb -displayfd 1 -screen 0 1024x768x24 -noreset -nolisten tcp' "
            "2>/dev/null",
            "re");
        process_ = std::atoi(Line(server_).c_str());
        const std::string display = Line(server_);
        if (display.empty()) GTEST_SKIP() << "Xvfb does not start here";
        ::setenv("DISPLAY", (":" + std::to_string(std::atoi(display.c_str()))).c_str(), 1);
    }

    void TearDown() override
    {
        EndServer();
        EXPECT_LE(::waitpid(-1, nullptr, WNOHANG), 0) << "a child is left";
        ::unsetenv("DISPLAY");
        ::unsetenv("FONTCONFIG_FILE");
    }

    /// Not by force: a lock that it left would be in the way of other servers.
    void EndServer()
    {
        if (process_ <= 0) return;
        ::kill(process_, SIGTERM);
        ::kill(process_, SIGCONT);
        ::pclose(server_);
        process_ = 0;
    }

    static std::string Line(FILE* stream)
    {
        std::string line;
        for (int c; stream && (c = std::fgetc(stream)) != EOF && c != '\n';) line += static_cast<char>(c);
        return line;
    }

    /// The line that a command prints.
    static std::string Printed(const std::string& command)
    {
        FILE* const stream = ::popen((command + " 2>/dev/null").c_str(), "re");
        const std::string line = Line(stream);
        ::pclose(stream);
        return line;
    }

    static bool WaitUntil(const std::function<bool()>& condition)
    {
        for (int i = 0; i < 1000 && !condition(); ++i) ::usleep(20000);
        return condition();
    }

    static std::string VisibleWindow() { return Printed("xdotool search --onlyvisible --class VMLib"); }

    /// Its number, as soon as it has the keyboard.
    static std::string WaitForWindow(const std::function<bool()>& isOver = [] { return false; })
    {
        std::string window;
        const auto hasKeyboard = [&window] {
            window = VisibleWindow();
            return !window.empty() && Printed("xdotool getwindowfocus") == window;
        };
        EXPECT_TRUE(WaitUntil([&] { return isOver() || hasKeyboard(); })) << "no window with the keyboard";
        return window;
    }

    using Deeds = std::function<void(const std::string& window)>;
    static Deeds Tool(const std::string& commands)
    {
        return [command = "xdotool " + commands](const std::string&) {
            // On a busy machine it does not always reach the server, and has then done nothing.
            const bool isDone = std::system(command.c_str()) == 0 || std::system(command.c_str()) == 0;
            EXPECT_TRUE(isDone) << command;
        };
    }

    /// Shows a form, does something to it, and returns the answer.
    std::optional<std::int32_t> AnswerOf(const Desktop::Layouter& layOut, const Deeds& deeds)
    {
        auto answer = std::async(std::launch::async, [&layOut] { return posix::ShowInWindow(layOut); });
        const auto isOver = [&answer](int seconds = 0) {
            return answer.wait_for(std::chrono::seconds(seconds)) == std::future_status::ready;
        };
        const std::string window = WaitForWindow([&isOver] { return isOver(); });
        if (isOver())
            ADD_FAILURE() << "no form";
        else
            deeds(window);
        if (!isOver(20)) {
            ADD_FAILURE() << "the form stays";
            EndServer();
        }
        return answer.get();
    }

    TemporaryFolder folder_;
    FILE* server_ = nullptr;
    pid_t process_ = 0;
};

}  // namespace vmlib::test
