#include "component/com/Registration.h"

#include <optional>
#include <vector>

#include "component/com/Server.h"

// The keys, below Software\Classes of the machine or the user:
//
//   VMLib.MBF                        description; CLSID {class}; CurVer VMLib.MBF.1
//   VMLib.MBF.1                      description; CLSID {class}
//   CLSID\{class}                    description; ProgID, VersionIndependentProgID, TypeLib, Version, Programmable
//   CLSID\{class}\InprocServer32     path of the DLL, ThreadingModel = Apartment
//   Interface\{interface}            name; ProxyStubClsid32, TypeLib with Version = 1.0
//   TypeLib\{library}\1.0            description; 0\win32 or 0\win64 path, FLAGS 0, HELPDIR folder
namespace vmlib::com {

namespace {

constexpr TextView classesPath = u"Software\\Classes\\";
constexpr TextView versionText = u"1.0";
constexpr TextView dispatchProxy = u"{00020420-0000-0000-C000-000000000046}";  // the system's, for dispinterfaces
constexpr TextView platformKey = sizeof(void*) == 8 ? u"win64" : u"win32";

/// A value of a key below Software\Classes.
struct Value
{
    Text key;
    Text data;
    const char16_t* name = u"";  // the default value
};

Text TextOf(const GUID& id)
{
    wchar_t text[40];
    const int length = ::StringFromGUID2(id, text, 40);
    return FromWide(text, static_cast<std::size_t>(length) - 1);
}

Text Versioned(const ServedClass& served)
{
    return Text(served.progId) + u".1";
}

Text ClassKey(const ServedClass& served)
{
    return u"CLSID\\" + TextOf(served.classId);
}

Text InterfaceKey(const ServedClass& served)
{
    return u"Interface\\" + TextOf(served.interfaceId);
}

Text LibraryKey()
{
    return u"TypeLib\\" + TextOf(TheServer().libraryId);
}

void AddProgIds(const ServedClass& served, std::vector<Value>& values)
{
    const Text name = served.progId, versioned = Versioned(served), id = TextOf(served.classId);
    values.push_back({name, served.description});
    values.push_back({name + u"\\CLSID", id});
    values.push_back({name + u"\\CurVer", versioned});
    values.push_back({versioned, served.description});
    values.push_back({versioned + u"\\CLSID", id});
}

void AddClass(const ServedClass& served, std::vector<Value>& values)
{
    const Text key = ClassKey(served);
    values.push_back({key, served.description});
    values.push_back({key + u"\\ProgID", Versioned(served)});
    values.push_back({key + u"\\VersionIndependentProgID", served.progId});
    values.push_back({key + u"\\TypeLib", TextOf(TheServer().libraryId)});
    values.push_back({key + u"\\Version", Text(versionText)});
    values.push_back({key + u"\\Programmable", {}});
    values.push_back({key + u"\\InprocServer32", ModulePath()});
    values.push_back({key + u"\\InprocServer32", u"Apartment", u"ThreadingModel"});
}

void AddInterface(const ServedClass& served, std::vector<Value>& values)
{
    const Text key = InterfaceKey(served);
    values.push_back({key, u"_" + Text(served.name)});
    values.push_back({key + u"\\ProxyStubClsid32", Text(dispatchProxy)});
    values.push_back({key + u"\\TypeLib", TextOf(TheServer().libraryId)});
    values.push_back({key + u"\\TypeLib", Text(versionText), u"Version"});
}

std::vector<Value> LibraryValues()
{
    const Text key = LibraryKey() + u"\\" + Text(versionText), path = ModulePath();
    return {{key, TheServer().description},
            {key + u"\\0\\" + Text(platformKey), path},
            {key + u"\\FLAGS", u"0"},
            {key + u"\\HELPDIR", path.substr(0, path.rfind(u'\\'))}};
}

bool Write(HKEY root, const Value& value)
{
    HKEY key = nullptr;
    const Text path = Text(classesPath) + value.key;
    if (::RegCreateKeyExW(root, Wide(path), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE, nullptr, &key,
                          nullptr) != ERROR_SUCCESS)
        return false;
    const auto size = static_cast<DWORD>((value.data.size() + 1) * sizeof(char16_t));
    const LSTATUS result =
        ::RegSetValueExW(key, Wide(value.name), 0, REG_SZ, reinterpret_cast<const BYTE*>(value.data.c_str()), size);
    ::RegCloseKey(key);
    return result == ERROR_SUCCESS;
}

bool WriteAll(HKEY root, const std::vector<Value>& values)
{
    for (const Value& value : values)
        if (!Write(root, value)) return false;
    return true;
}

std::optional<Text> Read(HKEY root, const Text& key)
{
    const Text path = Text(classesPath) + key;
    wchar_t text[128] = {};
    DWORD size = sizeof text - sizeof text[0];
    HKEY opened = nullptr;
    if (::RegOpenKeyExW(root, Wide(path), 0, KEY_QUERY_VALUE, &opened) != ERROR_SUCCESS) return std::nullopt;
    const LSTATUS result = ::RegQueryValueExW(opened, L"", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
    ::RegCloseKey(opened);
    return result == ERROR_SUCCESS ? std::optional(FromWide(text)) : std::nullopt;
}

struct Content
{
    DWORD keys = 0, values = 0;
};

std::optional<Content> ContentOf(HKEY root, const Text& path)
{
    HKEY opened = nullptr;
    if (::RegOpenKeyExW(root, Wide(path), 0, KEY_READ, &opened) != ERROR_SUCCESS) return std::nullopt;
    Content content;
    const LSTATUS result = ::RegQueryInfoKeyW(opened, nullptr, nullptr, nullptr, &content.keys, nullptr, nullptr,
                                              &content.values, nullptr, nullptr, nullptr, nullptr);
    ::RegCloseKey(opened);
    return result == ERROR_SUCCESS ? std::optional(content) : std::nullopt;
}

/// Deletes keys in turn. One with something of somebody else's below it stays, which is no failure; the system gives
/// the same result for it as for one that may not be deleted.
bool DeleteAll(HKEY root, const std::vector<Text>& keys)
{
    bool isDone = true;
    for (const Text& key : keys) {
        const Text path = Text(classesPath) + key;
        if (::RegDeleteKeyW(root, Wide(path)) == ERROR_SUCCESS) continue;
        if (const auto content = ContentOf(root, path); content && content->keys == 0) isDone = false;
    }
    return isDone;
}

void DeleteIfEmpty(HKEY root, const Text& path)
{
    const auto content = ContentOf(root, path);
    if (content && content->keys == 0 && content->values == 0) ::RegDeleteKeyW(root, Wide(path));
}

bool DeleteProgId(HKEY root, const Text& progId, const ServedClass& served)
{
    const auto meant = Read(root, progId + u"\\CLSID");
    if (!meant || !EqualIgnoringCase(*meant, TextOf(served.classId))) return true;
    return DeleteAll(root, {progId + u"\\CLSID", progId + u"\\CurVer", progId});
}

bool DeleteClass(HKEY root, const ServedClass& served)
{
    const Text key = ClassKey(served), interfaceKey = InterfaceKey(served);
    bool isDone = DeleteProgId(root, served.progId, served) && DeleteProgId(root, Versioned(served), served);
    std::vector<Text> keys;
    for (const char16_t* name :
         {u"ProgID", u"VersionIndependentProgID", u"TypeLib", u"Version", u"Programmable", u"InprocServer32"})
        keys.push_back(key + u"\\" + name);
    keys.push_back(key);
    keys.push_back(interfaceKey + u"\\ProxyStubClsid32");
    keys.push_back(interfaceKey + u"\\TypeLib");
    keys.push_back(interfaceKey);
    return DeleteAll(root, keys) && isDone;
}

}  // namespace

HRESULT Register(HKEY root)
{
    HRESULT result = WriteAll(root, LibraryValues()) ? S_OK : SELFREG_E_TYPELIB;
    for (const ServedClass& served : TheServer().classes) {
        if (FAILED(result)) break;
        std::vector<Value> values;
        AddProgIds(served, values);
        AddClass(served, values);
        AddInterface(served, values);
        if (!WriteAll(root, values)) result = SELFREG_E_CLASS;
    }
    if (FAILED(result)) Unregister(root);
    return result;
}

HRESULT Unregister(HKEY root)
{
    HRESULT result = S_OK;
    for (const ServedClass& served : TheServer().classes)
        if (!DeleteClass(root, served)) result = SELFREG_E_CLASS;
    const Text library = LibraryKey(), version = library + u"\\" + Text(versionText);
    const bool isDone = DeleteAll(root, {version + u"\\0\\" + Text(platformKey), version + u"\\0", version + u"\\FLAGS",
                                         version + u"\\HELPDIR", version, library});
    if (!isDone && SUCCEEDED(result)) result = SELFREG_E_TYPELIB;
    // A user's part of the registry may have had no classes at all before.
    for (const char16_t* folder : {u"CLSID", u"Interface", u"TypeLib"}) DeleteIfEmpty(root, Text(classesPath) + folder);
    DeleteIfEmpty(root, Text(classesPath.substr(0, classesPath.size() - 1)));
    return result;
}

}  // namespace vmlib::com
