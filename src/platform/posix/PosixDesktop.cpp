#include "platform/posix/PosixDesktop.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "platform/posix/Descriptor.h"
#include "platform/posix/TerminalQuestion.h"
#include "platform/posix/X11Keyboard.h"

namespace vmlib::posix {

namespace {

struct Terminal
{
    Descriptor own;  // closed afterwards; standard streams are not
    int input = -1;
    int output = -1;
};

bool MayAsk()
{
    const char* value = std::getenv("VMLIB_DESKTOP");
    return !value || std::string_view(value) != "none";
}

/// True when there may be a desktop whose keyboard can be asked.
bool HasKeyboard()
{
    const char* choice = std::getenv("VMLIB_DESKTOP");
    const std::string_view chosen = choice ? choice : "";
    const char* display = std::getenv("DISPLAY");
    return display && *display && chosen != "terminal" && chosen != "none";
}

/// The terminal of the process, if it is in its foreground: reading from the background would stop the process.
Terminal FindTerminal()
{
    Terminal terminal;
    terminal.own = Descriptor(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY));
    if (terminal.own)
        terminal.input = terminal.output = terminal.own.Number();
    else if (::isatty(STDIN_FILENO) && ::isatty(STDERR_FILENO))
        terminal.input = STDIN_FILENO, terminal.output = STDERR_FILENO;
    if (terminal.input >= 0 && ::tcgetpgrp(terminal.input) != ::getpgrp()) terminal.input = -1;
    return terminal;
}

void Print(int output, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(output, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// No value at the end of the input.
std::optional<std::string> ReadLine(int input)
{
    std::string line;
    for (char c;;) {
        const ssize_t count = ::read(input, &c, 1);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return std::nullopt;
        if (c == '\n') return line;
        line += c;
    }
}

}  // namespace

std::int16_t PosixDesktop::MessageBox(TextView text, std::int32_t style, TextView title)
{
    const Terminal terminal = MayAsk() ? FindTerminal() : Terminal{};
    if (terminal.input < 0) {
        Print(STDERR_FILENO, ForTerminal(title.empty() ? Text(text) : Text(title).append(u": ").append(text)) + "\n");
        return SafeAnswer(style);
    }
    for (;;) {
        Print(terminal.output, QuestionText(text, style, title));
        const auto line = ReadLine(terminal.input);
        if (!line) return SafeAnswer(style);
        if (const auto answer = AnswerOf(FromUtf8(*line), style)) return *answer;
    }
}

std::int16_t PosixDesktop::KeyState(std::int16_t key)
{
    return HasKeyboard() ? X11KeyState(key) : std::int16_t{0};
}

void PosixDesktop::SendKeys(TextView text)
{
    if (HasKeyboard()) X11TypeText(text);
}

}  // namespace vmlib::posix
