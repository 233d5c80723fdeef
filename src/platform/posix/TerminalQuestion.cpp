#include "platform/posix/TerminalQuestion.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/Descriptor.h"

namespace vmlib::posix {

namespace {

struct Terminal
{
    Descriptor own;  // closed afterwards; standard streams are not
    int input = -1;
    int output = -1;
};

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

/// "&Ja" as "[J]a".
Text Marked(TextView caption)
{
    Text marked;
    for (std::size_t i = 0; i < caption.size(); ++i) {
        if (caption[i] != u'&' || i + 1 == caption.size()) {
            marked += caption[i];
            continue;
        }
        if (caption[++i] == u'&')
            marked += u'&';
        else
            marked.append(u"[").append(1, caption[i]).append(u"]");
    }
    return marked;
}

}  // namespace

std::string ForTerminal(TextView text)
{
    Text clean;
    for (const char16_t c : Replaced(text, u"\r\n", u"\n")) {
        const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
        clean += c == u'\r' ? u'\n' : isControl && c != u'\n' && c != u'\t' ? u' ' : c;
    }
    return ToUtf8(clean);
}

std::string QuestionText(const Message& message)
{
    Text question;
    if (!message.title.empty()) question.append(message.title).append(u"\n");
    question.append(message.text).append(u"\n");
    for (std::size_t i = 0; i < message.buttons.size(); ++i) {
        question.append(i == 0 ? u"" : u"  ").append(Marked(message.buttons[i].caption));
        if (message.buttons.size() > 1 && i == message.defaultButton) question.append(u"*");
    }
    return ForTerminal(question) + ": ";
}

std::optional<std::int32_t> AnswerOf(TextView line, const Message& message)
{
    const TextView typed = Trim(line);
    if (typed.empty()) return message.buttons[message.defaultButton].answer;
    for (std::size_t i = 0; i < message.buttons.size(); ++i) {
        const MessageButton& button = message.buttons[i];
        const bool isKey = typed.size() == 1 && UpperCase(typed[0]) == AccessKey(button.caption);
        const bool isCaption = EqualIgnoringCase(typed, ShownCaption(button.caption));
        if (isKey || isCaption || typed == Decimal(static_cast<long long>(i) + 1)) return button.answer;
    }
    return std::nullopt;
}

std::optional<std::int32_t> AskAtTerminal(const Message& message)
{
    const Terminal terminal = FindTerminal();
    if (terminal.input < 0) return std::nullopt;
    for (;;) {
        Print(terminal.output, QuestionText(message));
        const auto line = ReadLine(terminal.input);
        if (!line) return message.safeAnswer;
        if (const auto answer = AnswerOf(FromUtf8(*line), message)) return answer;
    }
}

void PrintMessage(const Message& message)
{
    const Text whole = message.title.empty() ? message.text : message.title + u": " + message.text;
    Print(STDERR_FILENO, ForTerminal(whole) + "\n");
}

}  // namespace vmlib::posix
