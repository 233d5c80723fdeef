#pragma once

#include "platform/Platform.h"

/// Help files, shown by the platform's help viewer. No error reaches the caller: what cannot be shown is not shown.
///
/// hWnd is the window that asks, by its handle. The name of the help file is handed over as it is given: where the
/// viewer's call takes single bytes the desktop converts it, elsewhere a file that is there shall open.
namespace vmlib {

/// One topic, by its number.
void Help(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand, std::int32_t lContext);

/// Asks for nothing: the viewer's data would be the text " " as a number, which it is not.
void HelpForceFile(Platform& platform, std::int32_t hWnd, const Text& sHelpFile);

/// Any command of the viewer with any data.
void HelpGet(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand, std::int32_t lCmd, std::int32_t lContext);

/// The key of a number; a keyword that is no number shows nothing.
void HelpKey(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand, const Text& sContext);

/// Asks for nothing, as HelpForceFile.
void HelpQuit(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand);

/// The list of keywords.
void HelpSearch(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand);

/// The contents, by starting the viewer's program; where that is not there the desktop shows them.
void HelpOnderwerpen(Platform& platform, const Text& sHelpBestand);

/// How to use help.
void HelpOnHelp(Platform& platform, std::int32_t hWnd, const Text& sHelpBestand);

}  // namespace vmlib
