#pragma once

#include "automation/MemberTable.h"
#include "platform/Platform.h"

/// Names and properties of files. No error reaches the caller: an output whose step fails keeps its value.
namespace vmlib {

/// @param sDosNaam  out: the short name of the path; 255 blanks when there is none
void VmdLib_GetDosNaam(Platform& platform, const Text& sFilenaam, Text& sDosNaam);

/// What a file's properties show.
struct FileDescription
{
    Text& sDosNaam;          // as VmdLib_GetDosNaam
    Text& sBestandType;      // the registered description of the extension; "" when there is none
    std::int32_t& lGrootte;  // low 32 bits of the size in bytes
    Date& dtAanmaakDatum;    // days in coordinated universal time
    Date& dtWijzigDatum;
    Date& dtAccessDatum;
    bool& bReadOnly;
    bool& bArchive;
    bool& bHidden;
    bool& bSystem;
};

/// @param sPakketDocumentExtentie  without point: "doc" asks for the description of "docfile"
void VmdLib_BepaalEigenschappen(Platform& platform, const Text& sFilenaam, FileDescription description,
                                const Text& sPakketDocumentExtentie);

/// The path with the network name of its drive; of a local drive as it is.
Text VmdLib_GetUNCPad(Platform& platform, const Text& Directory);

/// Makes one folder. @return  -1, or 0 when it cannot be made (it is there, its parent is not, rights)
std::int32_t VmdLib_MaakDirectory(Platform& platform, Text sDir);

}  // namespace vmlib
