#include "general/Help.h"

#include "automation/Convert.h"
#include "automation/ResumeNext.h"

namespace vmlib {

namespace {

// Commands of the help viewer.
constexpr std::int32_t topicCommand = 1;
constexpr std::int32_t quitCommand = 2;
constexpr std::int32_t contentsCommand = 3;
constexpr std::int32_t helpOnHelpCommand = 4;
constexpr std::int32_t forceFileCommand = 9;
constexpr std::int32_t keyCommand = 257;
constexpr std::int32_t partialKeyCommand = 261;

constexpr std::int16_t normalWithFocus = 1;

/// One step: text that is no number fails before the viewer is asked.
void AskViewer(Platform& platform, std::int32_t window, const Text& file, std::int32_t command, const Variant& data)
{
    ResumeNext([&] { platform.desktop.OpenHelp(window, file, command, ToLong(data)); });
}

// The applications have always given the viewer's data of these commands as a text. A blank is no number to the one
// conversion that the library has, so nothing is asked; that is left to the conversion, which alone decides.
constexpr TextView noData = u" ";

}  // namespace

void Help(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand, std::int32_t lContext)
{
    AskViewer(platform, hWnd, sHelpBestand, topicCommand, lContext);
}

void HelpForceFile(Platform& platform, std::int32_t hWnd, const Text& sHelpFile)
{
    AskViewer(platform, hWnd, sHelpFile, forceFileCommand, noData);
}

void HelpGet(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand, std::int32_t lCmd, std::int32_t lContext)
{
    AskViewer(platform, hWnd, sHelpBestand, lCmd, lContext);
}

void HelpKey(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand, const Text& sContext)
{
    HelpForceFile(platform, hWnd, sHelpBestand);
    AskViewer(platform, hWnd, sHelpBestand, keyCommand, sContext);
}

void HelpQuit(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand)
{
    AskViewer(platform, hWnd, sHelpBestand, quitCommand, noData);
}

void HelpSearch(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand)
{
    HelpGet(platform, hWnd, sHelpBestand, partialKeyCommand, 0);
}

void HelpOnderwerpen(Platform& platform, const Text& sHelpBestand)
{
    if (ResumeNext([&] { platform.processes.Start(u"WINHLP32.EXE " + sHelpBestand, normalWithFocus); }))
        AskViewer(platform, 0, sHelpBestand, contentsCommand, std::int32_t{0});
}

void HelpOnHelp(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand)
{
    AskViewer(platform, hWnd, sHelpBestand, helpOnHelpCommand, std::int32_t{0});
}

}  // namespace vmlib
