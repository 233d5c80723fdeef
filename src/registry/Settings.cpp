#include "registry/Settings.h"

#include "automation/Arithmetic.h"
#include "automation/Convert.h"
#include "automation/ResumeNext.h"

namespace vmlib::registry {

namespace {

constexpr TextView vendorKey = u"Software\\VMD\\";
constexpr std::int32_t storedTrue = -1;

RegistryHandle Root(bool user)
{
    return user ? currentUser : localMachine;
}

RegistryHandle Root(const Section& section)
{
    return Root(section.bUser != 0);
}

Text Key(const Section& section)
{
    return VMDKeyNaam(section.sPakket, section.sHeader);
}

/// Writes a value of a section that exists from then on.
void Write(RegistryStore& store, const Section& section, const Text& name, const Variant& value, std::uint32_t type)
{
    const Text key = Key(section);
    RegCreateNewKey(store, Root(section), key);
    RegSetKeyValue(store, Root(section), key, name, value, static_cast<std::int32_t>(type));
}

Text PointForFirstComma(Text text)
{
    if (const auto comma = text.find(u','); comma != Text::npos) text[comma] = u'.';
    return text;
}

Text StoredForm(double number)
{
    Text text;
    ResumeNext([&] { text = PointForFirstComma(NumberToText(number)); });
    return text;
}

/// 0 for text that is no number.
double NumberOrZero(TextView text)
{
    double number = 0;
    ResumeNext([&] { number = TextToNumber(text); });
    return number;
}

double Fraction(TextView digits)
{
    double fraction = 0;
    ResumeNext([&] {
        const Variant scale = Power(10.0, static_cast<double>(digits.size()));
        fraction = ToDouble(Divide(NumberOrZero(digits), scale));
    });
    return fraction;
}

}  // namespace

Text VMDKeyNaam(const Text& sPakket, const Text& sHeader)
{
    Text key(vendorKey);
    if (sPakket.empty()) return key;
    key += sPakket;
    if (!key.ends_with(u'\\')) key += u'\\';
    return key + sHeader;
}

void RegSetDbl(RegistryStore& store, const Section& section, const Text& sVar, double dVal)
{
    RegSetStr(store, section, sVar, StoredForm(dVal));
}

void RegSetStr(RegistryStore& store, const Section& section, const Text& sVar, const Text& sVal)
{
    Write(store, section, sVar, sVal, registryText);
}

void RegSetLng(RegistryStore& store, const Section& section, const Text& sVar, std::int32_t lVal)
{
    Write(store, section, sVar, lVal, registryNumber);
}

void RegSetBool(RegistryStore& store, const Section& section, const Text& sVar, bool bVal)
{
    RegSetLng(store, section, sVar, ToLong(bVal));
}

void RegSetTF(RegistryStore& store, const Section& section, const Text& sVar, std::int16_t bVal)
{
    RegSetLng(store, section, sVar, bVal);
}

double RegGetDbl(RegistryStore& store, const Section& section, const Text& sVar, double dDefault)
{
    const Text stored = RegGetStr(store, section, sVar, StoredForm(dDefault));
    const Text text = PointForFirstComma(Text(Trim(stored)));
    const auto point = text.find(u'.');
    if (point == Text::npos) return NumberOrZero(text);
    return NumberOrZero(TextView(text).substr(0, point)) + Fraction(TextView(text).substr(point + 1));
}

Text RegGetStr(RegistryStore& store, const Section& section, const Text& sVar, const Text& sDefault)
{
    Text text;
    ResumeNext([&] { text = ToText(RegQueryValue(store, Root(section), Key(section), sVar, sDefault)); });
    const auto zero = text.find(u'\0');
    if (zero != Text::npos && (zero > 0 || text.size() == 1)) text.resize(zero);
    return text;
}

std::int32_t RegGetLng(RegistryStore& store, const Section& section, const Text& sVar, std::int32_t lDefault)
{
    std::int32_t number = 0;
    ResumeNext([&] { number = ToLong(RegQueryValue(store, Root(section), Key(section), sVar, lDefault)); });
    return number;
}

bool RegGetBool(RegistryStore& store, const Section& section, const Text& sVar, bool bDefault)
{
    return RegGetLng(store, section, sVar, ToLong(bDefault)) == storedTrue;
}

std::int16_t RegGetTF(RegistryStore& store, const Section& section, const Text& sVar, std::int16_t bDefault)
{
    return ToInteger(RegGetLng(store, section, sVar, bDefault) == storedTrue);
}

void RegDelReg(RegistryStore& store, const Section& section, const Variant& vVar)
{
    const RegistryHandle root = Root(section);
    Text name;
    // A name that is no text deletes nothing: a whole section is too much to lose for that.
    if (!vVar.IsMissing() && ResumeNext([&] { name = ToText(vVar); })) return;
    if (name.empty())
        RegDelKey(store, root, Key(section));
    else
        RegDelVar(store, root, Key(section), name);
}

ObjectRef RegSubkeys(RegistryStore& store, bool bUser, const Text& sPakket)
{
    ObjectRef names;
    ResumeNext([&] { GetAllSubKeys(store, Root(bUser), VMDKeyNaam(sPakket, {}), names); });
    return names;
}

ObjectRef RegValues(RegistryStore& store, bool bUser, const Text& sPakket, const Text& sSleutel)
{
    ObjectRef values;
    ResumeNext([&] { GetAllValues(store, Root(bUser), VMDKeyNaam(sPakket, sSleutel), values); });
    return values;
}

Text RegTotaalLijst(const Text&)
{
    return {};
}

}  // namespace vmlib::registry
