#include "general/SystemFacts.h"

#include "automation/Arithmetic.h"
#include "automation/Convert.h"
#include "automation/ResumeNext.h"

namespace vmlib {

namespace {

constexpr std::size_t folderRoom = 260;  // characters, the closing zero included
constexpr std::size_t profileRoom = 255;
constexpr std::size_t fieldWidth = 30;

constexpr std::int32_t windows3Family = 0, windows95Family = 1, windowsNtFamily = 2;

}  // namespace

Text WinDir(Platform& platform)
{
    Text result;
    ResumeNext([&] {
        const auto folder = platform.system.WindowsFolder();
        if (!folder || folder->size() >= folderRoom) return;
        const auto zero = folder->find(u'\0');
        result = zero != Text::npos ? folder->substr(0, zero) : Text(Trim(*folder));
    });
    return result;
}

void PrivIniRead(Platform& platform, const Text& SectionName, const Text& KeyName, std::int16_t nDefault,
                 const Text& DefaultStr, Text& ReturnStr, std::int16_t& NUMERIC, const Text& IniFileName)
{
    System& system = platform.system;
    ResumeNext([&] {
        if (NUMERIC != 0) {
            NUMERIC = static_cast<std::int16_t>(system.ProfileNumber(SectionName, KeyName, nDefault, IniFileName));
            return;
        }
        const Text text = system.ProfileText(SectionName, KeyName, DefaultStr, profileRoom, IniFileName);
        if (!text.empty()) ReturnStr = text;
    });
}

void VmdLib_BepaalOS(Platform& platform, bool& bWinNt, bool& bWin95)
{
    ResumeNext([&] {
        const auto family = platform.system.PlatformFamily();
        if (!family || *family < windows3Family || *family > windowsNtFamily) return;
        bWinNt = *family == windowsNtFamily;
        bWin95 = *family == windows95Family;
    });
}

Text VmdLib_GetVersie(const ObjectRef& Prog)
{
    Text result;
    ResumeNext([&] {
        Variant version = Concatenate(Get(Prog, u"Major"), u".");
        version = Concatenate(version, Get(Prog, u"Minor"));
        version = Concatenate(version, u".");
        result = ToText(Concatenate(version, Get(Prog, u"Revision")));
    });
    return result;
}

std::int32_t SyncShell(Platform& platform, const Text& PathName, std::int16_t WindowStyle)
{
    const auto error = ResumeNext([&] {
        const std::int32_t process = platform.processes.Start(PathName, WindowStyle);
        platform.processes.WaitFor(process);
    });
    return error ? 0 : -1;
}

bool VmdLib_GetInsert(Platform& platform)
{
    bool toggled = false;
    ResumeNext([&] { toggled = platform.desktop.KeyState(insertKey) == 1; });
    return toggled;
}

Text fld(const Text& sIn)
{
    Text field(Trim(sIn));
    field.resize(fieldWidth, u' ');
    return field;
}

}  // namespace vmlib
