#include "registry/Primitives.h"

#include <algorithm>

#include "automation/Collection.h"
#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "core/ByteOrder.h"

namespace vmlib::registry {

namespace {

// The enumerations ask with buffers of this many characters and bytes.
constexpr std::size_t enumerationRoom = 255;

/// An open key, closed at the end of a block. One that could not be opened is handle 0, which every operation refuses.
class OpenedKey
{
public:
    OpenedKey(RegistryStore& store, RegistryHandle root, TextView path, std::uint32_t access) : store_(store)
    {
        store_.OpenKey(root, path, access, handle_);
    }
    ~OpenedKey() { store_.CloseKey(handle_); }
    OpenedKey(const OpenedKey&) = delete;
    OpenedKey& operator=(const OpenedKey&) = delete;
    RegistryHandle Handle() const { return handle_; }

private:
    RegistryStore& store_;
    RegistryHandle handle_ = 0;
};

std::int32_t QueryText(RegistryStore& store, RegistryHandle key, TextView name, std::uint32_t size, Variant& value)
{
    std::string buffer(size, '\0');
    std::uint32_t type = 0;
    const std::int32_t result = store.QueryValue(key, name, type, buffer, size);
    value = result == registryDone ? Variant(FromAnsi(std::string_view(buffer).substr(0, size))) : Variant();
    return result;
}

std::int32_t QueryNumber(RegistryStore& store, RegistryHandle key, TextView name, Variant& value)
{
    char bytes[sizeof(std::int32_t)] = {};
    std::uint32_t type = 0, size = 0;
    const std::int32_t result = store.QueryValue(key, name, type, bytes, size);
    if (result == registryDone) value = LoadLittle<std::int32_t>(reinterpret_cast<const std::uint8_t*>(bytes));
    return result;
}

}  // namespace

std::int32_t SetValueEx(RegistryStore& store, RegistryHandle hKey, const Text& sValueName, std::int32_t lType,
                        const Variant& vValue)
{
    if (lType == registryText) {
        Text value;
        ResumeNext([&] { value = ToText(vValue); });
        return store.SetValue(hKey, sValueName, registryText, ToAnsi(value));
    }
    if (lType == registryNumber) {
        std::int32_t value = 0;
        ResumeNext([&] { value = ToLong(vValue); });
        std::string bytes(sizeof value, '\0');
        StoreLittle(reinterpret_cast<std::uint8_t*>(bytes.data()), value);
        return store.SetValue(hKey, sValueName, registryNumber, bytes);
    }
    return registryDone;
}

std::int32_t QueryValueEx(RegistryStore& store, RegistryHandle lhKey, const Text& szValueName, Variant& vValue)
{
    constexpr std::int32_t notRead = -1;
    std::uint32_t type = 0, size = 0;
    if (store.QueryValue(lhKey, szValueName, type, {}, size) != registryDone) return notRead;
    if (type == registryText) return QueryText(store, lhKey, szValueName, size, vValue);
    if (type == registryNumber) return QueryNumber(store, lhKey, szValueName, vValue);
    return notRead;
}

Variant RegQueryValue(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, const Text& sValueNaam,
                      const Variant& vDefault)
{
    Variant value;
    const OpenedKey key(store, lHoofdKey, sKeyNaam, registryAllAccess);
    return QueryValueEx(store, key.Handle(), sValueNaam, value) == registryDone ? value : vDefault;
}

Variant RegGetAnyStr(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, const Text& sValueNaam,
                     const Variant& vDefault)
{
    Variant value = RegQueryValue(store, lHoofdKey, sKeyNaam, sValueNaam, vDefault);
    if (!value.IsText()) return value;
    const TextView text = value.As<Text>();
    const auto zero = text.find(u'\0');
    return zero == 0 ? value : Variant(text.substr(0, zero));
}

void RegSetKeyValue(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyName, const Text& sValueName,
                    const Variant& vValueSetting, std::int32_t lValueType)
{
    const OpenedKey key(store, lHoofdKey, sKeyName, registryAllAccess);
    SetValueEx(store, key.Handle(), sValueName, lValueType, vValueSetting);
}

void RegCreateNewKey(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sNieuweKey)
{
    RegistryHandle key = 0;
    store.CreateKey(lHoofdKey, sNieuweKey, registryAllAccess, key);
    store.CloseKey(key);
}

void RegDelKey(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sDeleteKey)
{
    store.DeleteKey(lHoofdKey, sDeleteKey);
}

void RegDelVar(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sDeleteKey, const Text& sDeleteVar)
{
    RegistryHandle key = 0;
    store.OpenKey(lHoofdKey, sDeleteKey, registryAllAccess, key);
    store.DeleteValue(key, sDeleteVar);
}

std::int32_t GetIndexedValue(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, std::int32_t lIndex,
                             Text& sNaam, Variant& vWaarde, bool& bType)
{
    // Enumerating values needs the right to query on some platforms.
    const OpenedKey key(store, lHoofdKey, sKeyNaam, registryEnumerate | registryQuery);
    char data[enumerationRoom];
    std::uint32_t type = 0, size = 0;
    Text name;
    const std::int32_t result =
        store.EnumValue(key.Handle(), static_cast<std::uint32_t>(lIndex), enumerationRoom, name, type, data, size);
    const bool isText = result == registryDone && type == registryText;
    if (result != registryDone)
        vWaarde = Text();
    else if (isText)
        vWaarde = FromAnsi(std::string_view(data, size > 0 ? size - 1 : 0));
    else
        vWaarde = RegQueryValue(store, lHoofdKey, sKeyNaam, name, std::int16_t{0});
    sNaam = result == registryDone ? name : Text();
    bType = isText;
    return result;
}

std::int32_t GetIndexedKey(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, std::int32_t lIndex,
                           Text& sNaam)
{
    const OpenedKey key(store, lHoofdKey, sKeyNaam, registryEnumerate);
    Text name;
    const std::int32_t result = store.EnumKey(key.Handle(), static_cast<std::uint32_t>(lIndex), enumerationRoom, name);
    sNaam = result == registryDone ? name : Text();
    return result;
}

void GetAllSubKeys(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, ObjectRef& sSubKeys)
{
    if (!sSubKeys) sSubKeys = std::make_shared<Collection>();
    Text name;
    for (std::int32_t i = 0; GetIndexedKey(store, lHoofdKey, sKeyNaam, i, name) == registryDone; ++i)
        Call(sSubKeys, u"Add", name);
}

void GetAllValues(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, ObjectRef& sValues)
{
    if (!sValues) sValues = std::make_shared<Collection>();
    Text name;
    Variant value;
    bool isText = false;
    for (std::int32_t i = 0; GetIndexedValue(store, lHoofdKey, sKeyNaam, i, name, value, isText) == registryDone; ++i) {
        Call(sValues, u"Add", name);
        Call(sValues, u"Add", isText ? value : Variant(ToDouble(value)));
    }
}

}  // namespace vmlib::registry
