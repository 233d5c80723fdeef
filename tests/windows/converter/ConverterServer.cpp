// A host's converter as a registered class, for the scripts: fills in the names that a conversion by field name loses.

#include "automation/MemberTable.h"
#include "component/com/Server.h"

namespace vmlib::com {

namespace {

class Converter : public AutomationClass<Converter>
{
public:
    static const MemberTable& Members()
    {
        static const MemberTable table = MemberTable::Of<Converter>(u"Converter")
                                             .Method<&Converter::PakketConvert>(
                                                 u"PakketConvert", {u"db", u"sFileType", u"nOud", u"nNieuw"});
        return table;
    }

private:
    void PakketConvert(ObjectRef& db, const Text& fileType, std::int32_t oldVersion, std::int32_t newVersion)
    {
        if (fileType != u"ORDERS" || oldVersion != 1 || newVersion != 2) return;
        Call(db, u"Execute", u"UPDATE Klanten SET Bedrijfsnaam = 'klant ' & KlantNr", std::int32_t{128});
    }
};

constexpr ServedClass classes[] = {
    {u"Converter",
     u"VMLibTest.Converter",
     u"VMLib: converter of the tests",
     {0x9E2C8A51, 0x5D0F, 0x4B0B, {0x8F, 0x7C, 0x31, 0x0A, 0xE4, 0x6B, 0x52, 0x17}},
     {0x41D7B3F0, 0x7A66, 0x4E4B, {0xA2, 0x19, 0x5C, 0x88, 0x0D, 0x93, 0xE1, 0x2A}}},
};

}  // namespace

const Server& TheServer()
{
    static const Server server = {u"VMLibTest",
                                  u"VMLib test converter",
                                  {0xB80B6C3E, 0x1F52, 0x4D1A, {0x93, 0x6D, 0x70, 0x4E, 0x2B, 0x5F, 0xC6, 0x08}},
                                  classes,
                                  [](ClassRegistry& registry) {
                                      registry.Register(u"VMLibTest.Converter",
                                                        [] { return std::make_shared<Converter>(); });
                                  }};
    return server;
}

}  // namespace vmlib::com
