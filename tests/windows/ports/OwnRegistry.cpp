#include "windows/ports/OwnRegistry.h"

#include <array>
#include <stdexcept>
#include <utility>

#include "platform/windows/Api.h"

namespace vmlib::test {

namespace {

int living = 0;

std::wstring Base()
{
    return L"Software\\VMLib tests " + std::to_wstring(::GetCurrentProcessId());
}

const std::array<std::pair<HKEY, const wchar_t*>, 3> roots = {
    {{HKEY_CLASSES_ROOT, L"classes"}, {HKEY_LOCAL_MACHINE, L"machine"}, {HKEY_CURRENT_USER, L"user"}}};

}  // namespace

OwnRegistry::OwnRegistry()
{
    if (living++ > 0) return;
    for (const auto& [root, name] : roots) {  // the current user's last: the others' keys stand below it
        HKEY key = nullptr;
        const std::wstring path = Base() + L"\\" + name;
        if (::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
                ERROR_SUCCESS ||
            ::RegOverridePredefKey(root, key) != ERROR_SUCCESS)
            throw std::runtime_error("no registry of its own");
        ::RegCloseKey(key);
    }
}

OwnRegistry::~OwnRegistry()
{
    if (--living > 0) return;
    for (const auto& root : roots) ::RegOverridePredefKey(root.first, nullptr);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, Base().c_str());
}

}  // namespace vmlib::test
