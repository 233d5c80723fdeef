#pragma once

#include "registry/Primitives.h"

/// Settings of the packages under "Software\VMD\": named values in a section of a package, of the current user (`bUser`
/// not 0) or of the machine. No operation fails towards its caller: what is missing is the default on reading and is
/// made on writing; what cannot be converted is 0 or "".
namespace vmlib::registry {

/// The key of a section: "Software\VMD\Planner\Opties". Without a section it ends in "\"; without a package the section
/// is ignored.
Text VMDKeyNaam(const Text& sPakket, const Text& sHeader);

/// A section of a package, as every operation names it.
struct Section
{
    std::int16_t bUser;
    const Text& sPakket;
    const Text& sHeader;
};

/// Stored as the text of the number with a point.
void RegSetDbl(RegistryStore& store, const Section& section, const Text& sVar, double dVal);
void RegSetStr(RegistryStore& store, const Section& section, const Text& sVar, const Text& sVal);
void RegSetLng(RegistryStore& store, const Section& section, const Text& sVar, std::int32_t lVal);
/// Stored as a Long: -1 and 0.
void RegSetBool(RegistryStore& store, const Section& section, const Text& sVar, bool bVal);
void RegSetTF(RegistryStore& store, const Section& section, const Text& sVar, std::int16_t bVal);

/// The digits behind the point are added to the number before it, also when that is negative: "-1.5" is -0.5.
double RegGetDbl(RegistryStore& store, const Section& section, const Text& sVar, double dDefault);
Text RegGetStr(RegistryStore& store, const Section& section, const Text& sVar, const Text& sDefault);
std::int32_t RegGetLng(RegistryStore& store, const Section& section, const Text& sVar, std::int32_t lDefault);
/// True only for a stored -1; a 1 of another program is false.
bool RegGetBool(RegistryStore& store, const Section& section, const Text& sVar, bool bDefault);
std::int16_t RegGetTF(RegistryStore& store, const Section& section, const Text& sVar, std::int16_t bDefault);

/// Deletes the value named by `vVar`; without it, or when it is "", the section, unless that has sections of its own.
void RegDelReg(RegistryStore& store, const Section& section, const Variant& vVar);

/// The sections of a package, a Collection of their names.
ObjectRef RegSubkeys(RegistryStore& store, bool bUser, const Text& sPakket);
/// The values of a section, a Collection of name, value, name, value ... as GetAllValues makes it.
ObjectRef RegValues(RegistryStore& store, bool bUser, const Text& sPakket, const Text& sSleutel);
/// Always "": hosts call it, and nothing was ever listed.
Text RegTotaalLijst(const Text& sPakket);

}  // namespace vmlib::registry
