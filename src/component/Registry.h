#pragma once

#include "automation/MemberTable.h"
#include "platform/RegistryStore.h"

namespace vmlib {

/// Registry access and the settings of packages as a late-bound class. Members and parameters are those of the
/// functions in src/registry.
class Registry : public AutomationClass<Registry>
{
public:
    explicit Registry(RegistryStore& store) : store_(store) {}
    static const MemberTable& Members();

private:
    std::int32_t SetValueEx(std::int32_t hKey, Text& sValueName, std::int32_t& lType, Variant& vValue);
    std::int32_t QueryValueEx(std::int32_t lhKey, const Text& szValueName, Variant& vValue);
    Variant RegQueryValue(std::int32_t& lHoofdKey, Text& sKeyNaam, Text& sValueNaam, const Variant& vDefault);
    Variant RegGetAnyStr(std::int32_t& lHoofdKey, Text& sKeyNaam, Text& sValueNaam, const Variant& vDefault);
    void RegSetKeyValue(std::int32_t& lHoofdKey, Text& sKeyName, Text& sValueName, Variant& vValueSetting,
                        std::int32_t& lValueType);
    void RegCreateNewKey(std::int32_t& lHoofdKey, Text& sNieuweKey);
    void RegDelKey(std::int32_t& lHoofdKey, Text& sDeleteKey);
    void RegDelVar(std::int32_t& lHoofdKey, Text& sDeleteKey, Text& sDeleteVar);
    std::int32_t GetIndexedValue(std::int32_t lHoofdKey, const Text& sKeyNaam, std::int32_t lIndex, Text& sNaam,
                                 Variant& vWaarde, bool& bType);
    std::int32_t GetIndexedKey(std::int32_t lHoofdKey, const Text& sKeyNaam, std::int32_t lIndex, Text& sNaam);
    void GetAllSubKeys(std::int32_t lHoofdKey, const Text& sKeyNaam, ObjectRef& sSubKeys);
    void GetAllValues(std::int32_t lHoofdKey, const Text& sKeyNaam, ObjectRef& sValues);

    Text VMDKeyNaam(Text& sPakket, Text& sHeader);
    void RegSetDbl(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, double& dVal);
    void RegSetStr(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, Text& sVal);
    void RegSetLng(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, std::int32_t& lVal);
    void RegSetBool(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, bool& bVal);
    void RegSetTF(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, std::int16_t& bVal);
    double RegGetDbl(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, double dDefault);
    Text RegGetStr(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, const Text& sDefault);
    std::int32_t RegGetLng(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, std::int32_t lDefault);
    bool RegGetBool(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, bool bDefault);
    std::int16_t RegGetTF(std::int16_t& bUser, Text& sPakket, Text& sHeader, Text& sVar, std::int16_t bDefault);
    void RegDelReg(std::int16_t& bUser, Text& sPakket, Text& sHeader, Optional& vVar);
    ObjectRef RegSubkeys(bool bUser, const Text& sPakket);
    ObjectRef RegValues(bool bUser, const Text& sPakket, const Text& sSleutel);
    Text RegTotaalLijst(Text& sPakket);

    RegistryStore& store_;
};

}  // namespace vmlib
