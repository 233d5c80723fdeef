#pragma once

#include "automation/MemberTable.h"
#include "platform/Platform.h"

/// Facts of the system, and programs that it starts. No error reaches the caller.
namespace vmlib {

/// The Windows folder, without "\" at the end.
Text WinDir(Platform& platform);

/// One key of an INI file: as a number when NUMERIC is not 0, else as text.
/// @param nDefault    of a number that is missing
/// @param DefaultStr  of a text that is missing
/// @param ReturnStr   out: the text, at most 254 characters; kept when it is ""
/// @param NUMERIC     out: the number, cut to 16 bits
void PrivIniRead(Platform& platform, const Text& SectionName, const Text& KeyName, std::int16_t nDefault,
                 const Text& DefaultStr, Text& ReturnStr, std::int16_t& NUMERIC, const Text& IniFileName);

/// Which family the system is of; both stay as they are where that cannot be told.
void VmdLib_BepaalOS(Platform& platform, bool& bWinNt, bool& bWin95);

/// "2.1.37" of an application object with Major, Minor and Revision; "" when one cannot be read.
Text VmdLib_GetVersie(const ObjectRef& Prog);

/// Starts a program and waits until it ends. @return  -1, or 0 when it could not be started
std::int32_t SyncShell(Platform& platform, const Text& PathName, std::int16_t WindowStyle);

/// True when the Insert key is toggled on and not held down.
bool VmdLib_GetInsert(Platform& platform);

/// Trimmed, then 30 characters exactly: cut, or padded with blanks.
Text fld(const Text& sIn);

}  // namespace vmlib
