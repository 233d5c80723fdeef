#include "platform/windows/WindowsSystem.h"

#include "platform/AnsiText.h"
#include "platform/windows/Wide.h"

namespace vmlib::windows {

namespace {

Text LocalePart(LCTYPE part)
{
    wchar_t text[16] = {};
    return ::GetLocaleInfoW(LOCALE_USER_DEFAULT, part, text, 16) > 0 ? FromWide(text) : Text();
}

/// Windows takes a name that is missing as the wish for a list of all of them, and a missing file as one of its own.
struct ProfilePlace
{
    ProfilePlace(TextView inSection, TextView ofKey, TextView inFile)
        : section(AnsiText(inSection)), key(AnsiText(ofKey)), file(inFile.substr(0, inFile.find(u'\0')))
    {
    }
    bool IsComplete() const
    {
        const auto isBlank = [](const Text& name) { return name.find_first_not_of(u" \t") == Text::npos; };
        return !isBlank(section) && !isBlank(key) && !isBlank(file);
    }
    Text section, key, file;
};

}  // namespace

std::optional<Text> WindowsSystem::UserName()
{
    wchar_t name[UNLEN + 1];
    DWORD length = ::GetEnvironmentVariableW(L"VMLIB_USER", name, UNLEN + 1);
    if (length > 0 && length <= UNLEN) return FromWide(name, length);
    length = UNLEN + 1;
    if (!::GetUserNameW(name, &length) || length < 2) return std::nullopt;
    return FromWide(name, length - 1);  // with the closing zero
}

std::optional<Text> WindowsSystem::TemporaryFolder()
{
    Text folder = TextFrom([](wchar_t* into, DWORD size) { return ::GetTempPathW(size, into); });
    if (folder.empty()) return std::nullopt;
    if (folder.back() != u'\\') folder += u'\\';
    return folder;
}

Text WindowsSystem::NumberLocaleName()
{
    const Text language = LocalePart(LOCALE_SISO639LANGNAME), country = LocalePart(LOCALE_SISO3166CTRYNAME);
    return country.empty() ? language : language + u"_" + country;
}

Date WindowsSystem::Now()
{
    SYSTEMTIME local;
    FILETIME time;
    ::GetLocalTime(&local);
    ::SystemTimeToFileTime(&local, &time);
    return DateOf(time);
}

std::optional<std::int32_t> WindowsSystem::PlatformFamily()
{
    return VER_PLATFORM_WIN32_NT;  // the wide functions that this library calls are of that family
}

std::optional<Text> WindowsSystem::WindowsFolder()
{
    Text folder = TextFrom([](wchar_t* into, DWORD size) { return ::GetWindowsDirectoryW(into, size); });
    if (folder.empty()) return std::nullopt;
    if (folder.back() == u'\\') folder.pop_back();
    return folder;
}

Text WindowsSystem::ProfileText(TextView section, TextView key, TextView defaultText, std::size_t room, TextView file)
{
    const Text plain(TrimRight(AnsiText(defaultText)));
    if (room == 0) return {};
    const ProfilePlace place(section, key, file);
    if (!place.IsComplete()) return plain.substr(0, room - 1);
    Text value(room, u'\0');
    const DWORD length = ::GetPrivateProfileStringW(Wide(place.section), Wide(place.key), Wide(plain),
                                                    reinterpret_cast<wchar_t*>(value.data()), static_cast<DWORD>(room),
                                                    Wide(place.file));
    value.resize(length);
    return value;
}

std::int32_t WindowsSystem::ProfileNumber(TextView section, TextView key, std::int32_t defaultNumber, TextView file)
{
    const ProfilePlace place(section, key, file);
    if (!place.IsComplete()) return defaultNumber;
    return static_cast<std::int32_t>(
        ::GetPrivateProfileIntW(Wide(place.section), Wide(place.key), defaultNumber, Wide(place.file)));
}

}  // namespace vmlib::windows
