#include "general/FileServices.h"

#include <cmath>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "automation/TextFunctions.h"
#include "registry/Primitives.h"

namespace vmlib {

namespace {

constexpr std::size_t nameRoom = 255;  // characters, the closing zero included

Date DayOf(Date moment)
{
    return {std::trunc(moment.serial)};
}

void DescribeFile(Files& files, TextView path, const FileDescription& description)
{
    const FileProperties properties = files.Properties(path);
    description.bReadOnly = properties.isReadOnly;
    description.bArchive = properties.isArchive;
    description.bHidden = properties.isHidden;
    description.bSystem = properties.isSystem;
    if (properties.isFolder || !properties.isReadable) return;  // cannot be opened to ask for more
    description.lGrootte = static_cast<std::int32_t>(static_cast<std::uint32_t>(properties.size));
    description.dtAanmaakDatum = DayOf(properties.created);
    description.dtWijzigDatum = DayOf(properties.modified);
    description.dtAccessDatum = DayOf(properties.accessed);
}

}  // namespace

void VmdLib_GetDosNaam(Platform& platform, const Text& sFilenaam, Text& sDosNaam)
{
    Text result(nameRoom, u' ');
    ResumeNext([&] {
        const auto name = platform.files.ShortPath(sFilenaam);
        if (name && !name->empty() && name->size() < nameRoom) result = *name;
    });
    sDosNaam = result;
}

void VmdLib_BepaalEigenschappen(Platform& platform, const Text& sFilenaam, FileDescription description,
                                const Text& sPakketDocumentExtentie)
{
    VmdLib_GetDosNaam(platform, sFilenaam, description.sDosNaam);
    ResumeNext([&] { DescribeFile(platform.files, sFilenaam, description); });
    description.sBestandType.clear();
    if (sPakketDocumentExtentie.empty()) return;
    ResumeNext([&] {
        const Text key = u"SOFTWARE\\Classes\\" + sPakketDocumentExtentie + u"file";
        description.sBestandType = ToText(registry::RegGetAnyStr(platform.registry, localMachine, key, u"", u""));
    });
}

Text VmdLib_GetUNCPad(Platform& platform, const Text& Directory)
{
    Text result;
    ResumeNext([&] {
        Text path = Directory;
        const auto name = platform.files.NetworkName(Left(Directory, 2));
        if (name && name->size() < nameRoom && !Trim(*name).empty()) {
            path = Text(Trim(*name)) + Text(Mid(Directory, 3));
            std::erase(path, u'\0');
        }
        result = path;
    });
    return result;
}

std::int32_t VmdLib_MaakDirectory(Platform& platform, Text sDir)
{
    if (sDir.ends_with(u'\\')) sDir.pop_back();
    return ResumeNext([&] { platform.files.CreateFolder(sDir); }) ? 0 : -1;
}

}  // namespace vmlib
