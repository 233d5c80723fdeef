#pragma once

#include <cstdint>

#include "automation/MemberTable.h"
#include "platform/Platform.h"

/// Small file-system services under the document layer. None raises an error: each returns what its result held when
/// the first step failed. Long results of success and failure are -1 and 0.
namespace vmlib {

/// The user's temporary folder with a trailing "\"; "\" when there is none.
Text VmdLib_TempPath(Platform& platform);

/// Makes an empty file with a new name in the temporary folder.
/// @param sNaam  out: its path; "" on failure
/// @param Id     what follows "~" in the name, of which three characters count in all; "VMD" when left out
/// @return       the number in its name (1 to 65535); 0 on failure
std::int32_t VmdLib_TempFile(Platform& platform, Text& sNaam, const Optional& Id = {});

/// What follows the last "\", else the drive. @param nBaseOnly  not 0: cut before the first "."
Text VmdLib_ExtractFileNaam(const Text& sSpecIn, std::int16_t nBaseOnly = 0);

/// Up to and including the last "\"; of a bare name the current folder of its drive. Ends in "\".
Text VmdLib_ExtractPad(Platform& platform, const Text& sSpecIn);

/// -1 when a file can be written in the folder (a small one is made and deleted), else 0.
std::int32_t VmdLib_WriteTest(Platform& platform, Text sDirectory);

/// The logged-on user, as it is written into documents; "VMD" when it cannot be read.
Text VmdLib_LeesGebruiker(Platform& platform);

}  // namespace vmlib
