#include "platform/posix/PosixDesktop.h"

#include <cstdlib>
#include <string_view>

#include "platform/StandardBox.h"
#include "platform/posix/HelpViewer.h"
#include "platform/posix/TerminalQuestion.h"
#include "platform/posix/WindowProcess.h"
#include "platform/posix/X11Keyboard.h"

namespace vmlib::posix {

namespace {

/// True when VMLIB_DESKTOP leaves this way open: it names it, or nothing that is known.
bool MayUse(std::string_view way)
{
    const char* value = std::getenv("VMLIB_DESKTOP");
    const std::string_view chosen = value ? value : "";
    const bool isKnown = chosen == "window" || chosen == "terminal" || chosen == "none";
    return !isKnown || chosen == way;
}

/// True when there may be a desktop with a screen and a keyboard.
bool HasScreen()
{
    const char* display = std::getenv("DISPLAY");
    return display && *display && MayUse("window");
}

}  // namespace

std::int16_t PosixDesktop::MessageBox(TextView text, std::int32_t style, TextView title)
{
    const Message message = StandardMessage(text, style, title);
    return static_cast<std::int16_t>(
        ShowForm(message, [&message](Measures& measures) { return LayOutStandardBox(message, measures); }));
}

std::int32_t PosixDesktop::ShowForm(const Message& message, const Layouter& layOut)
{
    if (HasScreen())
        if (const auto answer = ShowInWindow(layOut)) return *answer;
    if (MayUse("terminal"))
        if (const auto answer = AskAtTerminal(message)) return *answer;
    PrintMessage(message);
    return message.safeAnswer;
}

std::int16_t PosixDesktop::KeyState(std::int16_t key)
{
    return HasScreen() ? X11KeyState(key) : std::int16_t{0};
}

void PosixDesktop::SendKeys(TextView text)
{
    if (HasScreen()) X11TypeText(text);
}

std::optional<TwipsPoint> PosixDesktop::ScreenTwips()
{
    return HasScreen() ? AskScreenTwips() : std::nullopt;
}

bool PosixDesktop::OpenHelp(std::int32_t, TextView file, std::int32_t command, std::int32_t)
{
    return HasScreen() && ShowHelp(files_, processes_, file, command);
}

}  // namespace vmlib::posix
