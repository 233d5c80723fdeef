#include "component/Registry.h"

#include "registry/Primitives.h"
#include "registry/Settings.h"

namespace vmlib {

const MemberTable& Registry::Members()
{
    using Self = Registry;
    static const MemberTable table =
        MemberTable::Of<Self>(u"Registry")
            .Method<&Self::SetValueEx>(u"SetValueEx", {u"hKey", u"sValueName", u"lType", u"vValue"})
            .Method<&Self::QueryValueEx>(u"QueryValueEx", {u"lhKey", u"szValueName", u"vValue"})
            .Method<&Self::RegQueryValue>(u"RegQueryValue", {u"lHoofdKey", u"sKeyNaam", u"sValueNaam", u"vDefault"})
            .Method<&Self::RegGetAnyStr>(u"RegGetAnyStr", {u"lHoofdKey", u"sKeyNaam", u"sValueNaam", u"vDefault"})
            .Method<&Self::RegSetKeyValue>(u"RegSetKeyValue",
                                           {u"lHoofdKey", u"sKeyName", u"sValueName", u"vValueSetting", u"lValueType"})
            .Method<&Self::RegCreateNewKey>(u"RegCreateNewKey", {u"lHoofdKey", u"sNieuweKey"})
            .Method<&Self::RegDelKey>(u"RegDelKey", {u"lHoofdKey", u"sDeleteKey"})
            .Method<&Self::RegDelVar>(u"RegDelVar", {u"lHoofdKey", u"sDeleteKey", u"sDeleteVar"})
            .Method<&Self::GetIndexedValue>(u"GetIndexedValue",
                                            {u"lHoofdKey", u"sKeyNaam", u"lIndex", u"sNaam", u"vWaarde", u"bType"})
            .Method<&Self::GetIndexedKey>(u"GetIndexedKey", {u"lHoofdKey", u"sKeyNaam", u"lIndex", u"sNaam"})
            .Method<&Self::GetAllSubKeys>(u"GetAllSubKeys", {u"lHoofdKey", u"sKeyNaam", u"sSubKeys"})
            .Method<&Self::GetAllValues>(u"GetAllValues", {u"lHoofdKey", u"sKeyNaam", u"sValues"})
            .Method<&Self::VMDKeyNaam>(u"VMDKeyNaam", {u"sPakket", u"sHeader"})
            .Method<&Self::RegSetDbl>(u"RegSetDbl", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"dVal"})
            .Method<&Self::RegSetStr>(u"RegSetStr", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"sVal"})
            .Method<&Self::RegSetLng>(u"RegSetLng", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"lVal"})
            .Method<&Self::RegSetBool>(u"RegSetBool", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"bVal"})
            .Method<&Self::RegSetTF>(u"RegSetTF", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"bVal"})
            .Method<&Self::RegGetDbl>(u"RegGetDbl", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"dDefault"})
            .Method<&Self::RegGetStr>(u"RegGetStr", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"sDefault"})
            .Method<&Self::RegGetLng>(u"RegGetLng", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"lDefault"})
            .Method<&Self::RegGetBool>(u"RegGetBool", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"bDefault"})
            .Method<&Self::RegGetTF>(u"RegGetTF", {u"bUser", u"sPakket", u"sHeader", u"sVar", u"bDefault"})
            .Method<&Self::RegDelReg>(u"RegDelReg", {u"bUser", u"sPakket", u"sHeader", u"vVar"})
            .Method<&Self::RegSubkeys>(u"RegSubkeys", {u"bUser", u"sPakket"})
            .Method<&Self::RegValues>(u"RegValues", {u"bUser", u"sPakket", u"sSleutel"})
            .Method<&Self::RegTotaalLijst>(u"RegTotaalLijst", {u"sPakket"});
    return table;
}

std::int32_t Registry::SetValueEx(std::int32_t hKey, Text& sValueName, std::int32_t& lType, Variant& vValue)
{
    return registry::SetValueEx(store_, hKey, sValueName, lType, vValue);
}

std::int32_t Registry::QueryValueEx(std::int32_t lhKey, const Text& szValueName, Variant& vValue)
{
    return registry::QueryValueEx(store_, lhKey, szValueName, vValue);
}

Variant Registry::RegQueryValue(std::int32_t& lHoofdKey, Text& sKeyNaam, Text& sValueNaam, const Variant& vDefault)
{
    return registry::RegQueryValue(store_, lHoofdKey, sKeyNaam, sValueNaam, vDefault);
}

Variant Registry::RegGetAnyStr(std::int32_t& lHoofdKey, Text& sKeyNaam, Text& sValueNaam, const Variant& vDefault)
{
    return registry::RegGetAnyStr(store_, lHoofdKey, sKeyNaam, sValueNaam, vDefault);
}

void Registry::RegSetKeyValue(std::int32_t& lHoofdKey, Text& sKeyName, Text& sValueName, Variant& vValueSetting,
                              std::int32_t& lValueType)
{
    registry::RegSetKeyValue(store_, lHoofdKey, sKeyName, sValueName, vValueSetting, lValueType);
}

void Registry::RegCreateNewKey(std::int32_t& lHoofdKey, Text& sNieuweKey)
{
    registry::RegCreateNewKey(store_, lHoofdKey, sNieuweKey);
}

void Registry::RegDelKey(std::int32_t& lHoofdKey, Text& sDeleteKey)
{
    registry::RegDelKey(store_, lHoofdKey, sDeleteKey);
}

void Registry::RegDelVar(std::int32_t& lHoofdKey, Text& sDeleteKey, Text& sDeleteVar)
{
    registry::RegDelVar(store_, lHoofdKey, sDeleteKey, sDeleteVar);
}

std::int32_t Registry::GetIndexedValue(std::int32_t lHoofdKey, const Text& sKeyNaam, std::int32_t lIndex, Text& sNaam,
                                       Variant& vWaarde, bool& bType)
{
    return registry::GetIndexedValue(store_, lHoofdKey, sKeyNaam, lIndex, sNaam, vWaarde, bType);
}

std::int32_t Registry::GetIndexedKey(std::int32_t lHoofdKey, const Text& sKeyNaam, std::int32_t lIndex, Text& sNaam)
{
    return registry::GetIndexedKey(store_, lHoofdKey, sKeyNaam, lIndex, sNaam);
}

void Registry::GetAllSubKeys(std::int32_t lHoofdKey, const Text& sKeyNaam, ObjectRef& sSubKeys)
{
    registry::GetAllSubKeys(store_, lHoofdKey, sKeyNaam, sSubKeys);
}

void Registry::GetAllValues(std::int32_t lHoofdKey, const Text& sKeyNaam, ObjectRef& sValues)
{
    registry::GetAllValues(store_, lHoofdKey, sKeyNaam, sValues);
}

Text Registry::VMDKeyNaam(Text& sPakket, Text& sHeader)
{
    return registry::VMDKeyNaam(sPakket, sHeader);
}

void Registry::RegSetDbl(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, double& dVal)
{
    registry::RegSetDbl(store_, {bUser, sPakket, sHeader}, sVar, dVal);
}

void Registry::RegSetStr(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, Text& sVal)
{
    registry::RegSetStr(store_, {bUser, sPakket, sHeader}, sVar, sVal);
}

void Registry::RegSetLng(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, std::int32_t& lVal)
{
    registry::RegSetLng(store_, {bUser, sPakket, sHeader}, sVar, lVal);
}

void Registry::RegSetBool(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, bool& bVal)
{
    registry::RegSetBool(store_, {bUser, sPakket, sHeader}, sVar, bVal);
}

void Registry::RegSetTF(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, std::int16_t& bVal)
{
    registry::RegSetTF(store_, {bUser, sPakket, sHeader}, sVar, bVal);
}

double Registry::RegGetDbl(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, double dDefault)
{
    return registry::RegGetDbl(store_, {bUser, sPakket, sHeader}, sVar, dDefault);
}

Text Registry::RegGetStr(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, const Text& sDefault)
{
    return registry::RegGetStr(store_, {bUser, sPakket, sHeader}, sVar, sDefault);
}

std::int32_t Registry::RegGetLng(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, std::int32_t lDefault)
{
    return registry::RegGetLng(store_, {bUser, sPakket, sHeader}, sVar, lDefault);
}

bool Registry::RegGetBool(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, bool bDefault)
{
    return registry::RegGetBool(store_, {bUser, sPakket, sHeader}, sVar, bDefault);
}

std::int16_t Registry::RegGetTF(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, std::int16_t bDefault)
{
    return registry::RegGetTF(store_, {bUser, sPakket, sHeader}, sVar, bDefault);
}

void Registry::RegDelReg(std::int16_t& bUser, Text& sPakket, Text& sHeader, Optional& vVar)
{
    registry::RegDelReg(store_, {bUser, sPakket, sHeader}, vVar.value);
}

ObjectRef Registry::RegSubkeys(bool bUser, const Text& sPakket)
{
    return registry::RegSubkeys(store_, bUser, sPakket);
}

ObjectRef Registry::RegValues(bool bUser, const Text& sPakket, const Text& sSleutel)
{
    return registry::RegValues(store_, bUser, sPakket, sSleutel);
}

Text Registry::RegTotaalLijst(Text& sPakket)
{
    return registry::RegTotaalLijst(sPakket);
}

}  // namespace vmlib
