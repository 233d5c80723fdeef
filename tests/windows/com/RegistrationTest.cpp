#include <optional>

#include "component/com/LibraryIds.h"
#include "windows/com/Client.h"

namespace vmlib::com::test {
namespace {

constexpr wchar_t progId[] = L"Software\\Classes\\VMLib.MBF\\CLSID";
constexpr wchar_t classKey[] = L"Software\\Classes\\CLSID\\{5F57CF12-4759-4C52-9F24-F3EF92C08A4D}";

std::optional<Text> Read(const std::wstring& key)
{
    wchar_t text[300] = {};
    DWORD size = sizeof text;
    const LSTATUS result = ::RegGetValueW(HKEY_CURRENT_USER, key.c_str(), L"", RRF_RT_REG_SZ, nullptr, text, &size);
    return result == ERROR_SUCCESS ? std::optional(FromWide(text)) : std::nullopt;
}

void Write(const std::wstring& key, const wchar_t* text)
{
    const auto size = static_cast<DWORD>((std::wcslen(text) + 1) * sizeof(wchar_t));
    ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), L"", REG_SZ, text, size), ERROR_SUCCESS);
}

TEST(RegistrationTest, WhatOthersHaveMadeOfTheKeysStays)
{
    const LoadedDll library(L"vmlib.dll");
    const auto install = library.Get<HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR)>("DllInstall");
    const std::wstring ours = classKey, others = ours + L"\\Others";
    ASSERT_EQ(install(TRUE, L"User"), S_OK);
    EXPECT_EQ(Read(progId), u"{5F57CF12-4759-4C52-9F24-F3EF92C08A4D}");
    EXPECT_EQ(Read(ours + L"\\ProgID"), u"VMLib.MBF.1");

    Write(progId, L"{00000000-0000-0000-0000-00000000ABCD}");
    Write(others, L"theirs");
    EXPECT_EQ(install(FALSE, L"user"), S_OK);
    EXPECT_EQ(Read(progId), u"{00000000-0000-0000-0000-00000000ABCD}");
    EXPECT_EQ(Read(others), u"theirs");
    EXPECT_EQ(Read(ours + L"\\InprocServer32"), std::nullopt);
    EXPECT_EQ(Read(L"Software\\Classes\\VMLib.MBF.1\\CLSID"), std::nullopt);
    EXPECT_EQ(Read(L"Software\\Classes\\VMLib.Registry\\CLSID"), std::nullopt);

    // Taken away again, and with them what stood above.
    ASSERT_EQ(install(TRUE, L"user"), S_OK);
    ::RegDeleteKeyW(HKEY_CURRENT_USER, others.c_str());
    EXPECT_EQ(install(FALSE, L"user"), S_OK);
    EXPECT_EQ(Read(progId), std::nullopt);
    EXPECT_EQ(Read(ours), std::nullopt);
}

}  // namespace
}  // namespace vmlib::com::test
