#include "general/Paths.h"

#include "automation/Convert.h"
#include "automation/ResumeNext.h"

namespace vmlib {

namespace {

constexpr TextView writeTestName = u"\\LIKE-WOW.MAN";
constexpr std::size_t userNameRoom = 199;  // characters, the closing NUL included

/// What a buffer filled by the platform holds.
Text FromBuffer(TextView buffer)
{
    buffer = Trim(buffer);
    return Text(buffer.substr(0, buffer.find(u'\0')));
}

bool NamesDrive(TextView path)
{
    return path.find(u':') == 1;
}

Text CurrentFolderOf(Files& files, TextView path)
{
    Text folder;
    if (NamesDrive(path)) folder = files.CurrentFolder(path[0]);
    return folder.empty() ? files.CurrentFolder() : folder;
}

void DeleteTestFile(Files& files, TextView path)
{
    try {
        files.Delete(path);
    } catch (const FileError& error) {
        // The name is the same for everybody: another program's test of this folder may have deleted our file with its
        // own.
        if (error.Fault() != FileFault::NotFound) throw;
    }
}

void WriteTestFile(Files& files, TextView path)
{
    const std::string line = "TEST\r\n";
    auto file = files.Open(path, {FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateOrTruncate});
    try {
        file->WriteAt(0, Bytes(line.begin(), line.end()));
    } catch (const Error&) {
        file.reset();
        ResumeNext([&] { DeleteTestFile(files, path); });  // a full disk need not keep it
        throw;
    }
}

}  // namespace

Text VmdLib_TempPath(Platform& platform)
{
    Text result;
    ResumeNext([&] {
        const auto folder = platform.system.TemporaryFolder();
        result = folder ? FromBuffer(*folder) : Text(u"\\");
    });
    return result;
}

std::int32_t VmdLib_TempFile(Platform& platform, Text& sNaam, const Optional& Id)
{
    Text prefix;
    ResumeNext([&] { prefix = u"~" + (!Id.Given() ? Text(u"VMD") : Id.value.IsNull() ? Text() : ToText(Id.value)); });
    std::int32_t number = 0;
    sNaam.clear();
    ResumeNext([&] {
        const auto [path, unique] = platform.files.CreateUnique(VmdLib_TempPath(platform), prefix);
        sNaam = FromBuffer(path);
        number = unique;
    });
    return number;
}

Text VmdLib_ExtractFileNaam(const Text& sSpecIn, std::int16_t nBaseOnly)
{
    TextView result = sSpecIn;
    if (const auto slash = result.rfind(u'\\'); slash != TextView::npos)
        result.remove_prefix(slash + 1);
    else if (NamesDrive(result))
        result.remove_prefix(2);
    if (nBaseOnly != 0) result = result.substr(0, result.find(u'.'));
    return Text(result);
}

Text VmdLib_ExtractPad(Platform& platform, const Text& sSpecIn)
{
    Text result;
    ResumeNext([&] {
        const auto slash = sSpecIn.rfind(u'\\');
        Text folder = slash != Text::npos ? sSpecIn.substr(0, slash + 1) : CurrentFolderOf(platform.files, sSpecIn);
        if (!folder.ends_with(u'\\')) folder += u'\\';
        result = folder;
    });
    return result;
}

std::int32_t VmdLib_WriteTest(Platform& platform, Text sDirectory)
{
    if (sDirectory.ends_with(u'\\')) sDirectory.pop_back();
    const Text path = sDirectory + Text(writeTestName);
    const auto error = ResumeNext([&] {
        WriteTestFile(platform.files, path);
        DeleteTestFile(platform.files, path);
    });
    return error ? 0 : -1;
}

Text VmdLib_LeesGebruiker(Platform& platform)
{
    Text result;
    ResumeNext([&] {
        const auto name = platform.system.UserName();
        if (!name || name->size() >= userNameRoom) return;
        // A document stores one byte a character; the name that is compared with the stored one must be the same.
        result = FromAnsi(ToAnsi(*name));
        if (const auto nul = result.find(u'\0', 1); nul != Text::npos) result.resize(nul);
    });
    return Trim(result).empty() ? Text(u"VMD") : result;
}

}  // namespace vmlib
