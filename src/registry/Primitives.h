#pragma once

#include <cstdint>

#include "automation/MemberTable.h"
#include "platform/RegistryStore.h"

/// Registry access as hosts know it: text (type 1) and 32-bit numbers (type 4), by root and key path. Errors are
/// ignored: what fails shows as a result code of the platform or as the default. Only the enumerations let an error out
/// (a collection that cannot be added to, a name that is not text).
namespace vmlib::registry {

/// Writes a value of an open key. Text that `vValue` cannot become is written as "", a number as 0; another type than 1
/// and 4 writes nothing.
/// @return  result code of the platform
std::int32_t SetValueEx(RegistryStore& store, RegistryHandle hKey, const Text& sValueName, std::int32_t lType,
                        const Variant& vValue);

/// Reads a value of an open key as it is stored, a closing zero included.
/// @param vValue  text or a Long; Empty when text could not be read; untouched by everything else
/// @return        result code of the platform; -1 for a missing value or another type
std::int32_t QueryValueEx(RegistryStore& store, RegistryHandle lhKey, const Text& szValueName, Variant& vValue);

/// A value as QueryValueEx reads it, else the default.
Variant RegQueryValue(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, const Text& sValueNaam,
                      const Variant& vDefault);
/// The same, cut before the first zero character behind the first character.
Variant RegGetAnyStr(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, const Text& sValueNaam,
                     const Variant& vDefault);

/// Writes a value of an existing key; nothing happens when the key is missing.
void RegSetKeyValue(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyName, const Text& sValueName,
                    const Variant& vValueSetting, std::int32_t lValueType);
void RegCreateNewKey(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sNieuweKey);
/// A key that has sub-keys stays.
void RegDelKey(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sDeleteKey);
/// The handle of the key stays open, as hosts rely on.
void RegDelVar(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sDeleteKey, const Text& sDeleteVar);

/// @param sNaam    out: name of the value; "" on failure
/// @param vWaarde  out: text without its closing zero; another type as RegQueryValue reads it with default 0; "" on
///                 failure
/// @param bType    out: true for text
/// @return         result code of the platform: 259 behind the last value, 234 for a name or text of 255 or more
std::int32_t GetIndexedValue(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, std::int32_t lIndex,
                             Text& sNaam, Variant& vWaarde, bool& bType);
/// @param sNaam  out: name of the sub-key; "" on failure
std::int32_t GetIndexedKey(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, std::int32_t lIndex,
                           Text& sNaam);

/// Adds the name of each sub-key to a collection; Nothing becomes a new one.
void GetAllSubKeys(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, ObjectRef& sSubKeys);
/// Adds name, value, name, value ... to a collection; Nothing becomes a new one. Text as text, all else as Double.
void GetAllValues(RegistryStore& store, RegistryHandle lHoofdKey, const Text& sKeyNaam, ObjectRef& sValues);

}  // namespace vmlib::registry
