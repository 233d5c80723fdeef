#include "platform/windows/WindowsRegistry.h"

#include <algorithm>
#include <vector>

#include "platform/AnsiText.h"
#include "platform/windows/Wide.h"

namespace vmlib::windows {

namespace {

constexpr DWORD longestKeyName = 256, longestValueName = 16'384;  // the closing zero included

HKEY KeyOf(RegistryHandle handle)
{
    return HandleOf<HKEY>(handle);
}

RegistryHandle NumberOf(HKEY key)
{
    return static_cast<RegistryHandle>(reinterpret_cast<std::intptr_t>(key));
}

/// Elsewhere than in the functions that open, Windows may take such a path.
bool IsBadPath(const Text& path)
{
    return path.starts_with(u'\\');
}

/// A handle need not have the right that this asks for.
void Flush(HKEY key)
{
    HKEY readable = nullptr;
    if (::RegOpenKeyExW(key, L"", 0, KEY_QUERY_VALUE, &readable) != ERROR_SUCCESS) return;
    ::RegFlushKey(readable);
    ::RegCloseKey(readable);
}

bool IsText(DWORD type)
{
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

/// The data of a value, as the single-byte functions show it.
std::int32_t ReadData(HKEY key, const Text& name, DWORD& type, std::string& data)
{
    std::vector<BYTE> bytes(512);
    for (;;) {
        auto size = static_cast<DWORD>(bytes.size());
        const LSTATUS result = ::RegQueryValueExW(key, Wide(name), nullptr, &type, bytes.data(), &size);
        if (result == ERROR_MORE_DATA) {
            bytes.resize(std::max<std::size_t>(size, bytes.size() * 2));
            continue;
        }
        if (result != ERROR_SUCCESS) return result;
        bytes.resize(size);
        break;
    }
    if (IsText(type))
        data = ToAnsi(FromWide(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t)));
    else
        data.assign(bytes.begin(), bytes.end());
    return registryDone;
}

std::int32_t CopyData(const std::string& data, std::span<char> room, std::uint32_t& size)
{
    size = static_cast<std::uint32_t>(data.size());
    if (data.size() > room.size()) return registryMoreData;
    std::copy(data.begin(), data.end(), room.begin());
    return registryDone;
}

std::int32_t CopyName(const Text& from, std::size_t room, Text& name)
{
    Text ansi = FromAnsi(ToAnsi(from));
    if (ansi.size() >= room) return registryMoreData;
    name = std::move(ansi);
    return registryDone;
}

}  // namespace

std::int32_t WindowsRegistry::OpenKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened)
{
    HKEY found = nullptr;
    const Text name = AnsiText(path);
    if (IsBadPath(name)) return registryBadPath;
    const LSTATUS result = ::RegOpenKeyExW(KeyOf(key), Wide(name), 0, access, &found);
    if (result == ERROR_SUCCESS) opened = NumberOf(found);
    return result;
}

std::int32_t WindowsRegistry::CreateKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened)
{
    HKEY found = nullptr;
    const Text name = AnsiText(path);
    if (IsBadPath(name)) return registryBadPath;
    const LSTATUS result = ::RegCreateKeyExW(KeyOf(key), Wide(name), 0, nullptr, REG_OPTION_NON_VOLATILE, access,
                                             nullptr, &found, nullptr);
    if (result == ERROR_SUCCESS) opened = NumberOf(found);
    return result;
}

std::int32_t WindowsRegistry::CloseKey(RegistryHandle key)
{
    return ::RegCloseKey(KeyOf(key));
}

std::int32_t WindowsRegistry::DeleteKey(RegistryHandle key, TextView path)
{
    const Text name = AnsiText(path);
    if (IsBadPath(name)) return registryBadPath;
    if (name.empty()) return registryAccessDenied;  // it would be the key itself
    return ::RegDeleteKeyW(KeyOf(key), Wide(name));
}

std::int32_t WindowsRegistry::DeleteValue(RegistryHandle key, TextView name)
{
    return ::RegDeleteValueW(KeyOf(key), Wide(AnsiText(name)));
}

std::int32_t WindowsRegistry::SetValue(RegistryHandle key, TextView name, std::uint32_t type, const std::string& data)
{
    const Text valueName = AnsiText(name);
    LSTATUS result;
    if (IsText(type)) {
        Text text = FromAnsi(data);
        if (text.empty() || text.back() != u'\0') text += u'\0';
        result = ::RegSetValueExW(KeyOf(key), Wide(valueName), 0, type, reinterpret_cast<const BYTE*>(text.data()),
                                  static_cast<DWORD>(text.size() * sizeof(char16_t)));
    } else {
        result = ::RegSetValueExW(KeyOf(key), Wide(valueName), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                                  static_cast<DWORD>(data.size()));
    }
    if (result == ERROR_SUCCESS) Flush(KeyOf(key));
    return result;
}

std::int32_t WindowsRegistry::QueryValue(RegistryHandle key, TextView name, std::uint32_t& type, std::span<char> room,
                                         std::uint32_t& size)
{
    std::string data;
    DWORD found = 0;
    if (const std::int32_t result = ReadData(KeyOf(key), AnsiText(name), found, data); result != registryDone)
        return result;
    type = found;
    size = static_cast<std::uint32_t>(data.size());
    return room.empty() ? registryDone : CopyData(data, room, size);
}

std::int32_t WindowsRegistry::EnumKey(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name)
{
    wchar_t found[longestKeyName];
    DWORD length = longestKeyName;
    const LSTATUS result = ::RegEnumKeyExW(KeyOf(key), index, found, &length, nullptr, nullptr, nullptr, nullptr);
    return result == ERROR_SUCCESS ? CopyName(FromWide(found, length), nameRoom, name) : result;
}

std::int32_t WindowsRegistry::EnumValue(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name,
                                        std::uint32_t& type, std::span<char> room, std::uint32_t& size)
{
    std::vector<wchar_t> found(longestValueName);
    DWORD length = longestValueName, foundType = 0;
    const LSTATUS listed =
        ::RegEnumValueW(KeyOf(key), index, found.data(), &length, nullptr, &foundType, nullptr, nullptr);
    if (listed != ERROR_SUCCESS) return listed;
    const Text valueName = FromWide(found.data(), length);
    std::string data;
    if (const std::int32_t result = ReadData(KeyOf(key), valueName, foundType, data); result != registryDone)
        return result;
    type = foundType;
    if (const std::int32_t result = CopyData(data, room, size); result != registryDone) return result;
    return CopyName(valueName, nameRoom, name);
}

}  // namespace vmlib::windows
