// What vmlib.dll serves.

#include "component/Component.h"
#include "component/com/ComSource.h"
#include "component/com/LibraryIds.h"
#include "component/com/Server.h"
#include "platform/Platform.h"

namespace vmlib::com {

namespace {

// Never to be changed: hosts are bound to them.
constexpr GUID libraryId = {0x10EF55C8, 0xF559, 0x4BDB, {0xAC, 0xE1, 0xF2, 0x90, 0xD5, 0x84, 0x62, 0x1E}};
constexpr ServedClass classes[] = {
    {u"VmdDbLibRoutines",
     u"VMLib.VmdDbLibRoutines",
     u"VMLib: documents of the applications",
     routinesClassId,
     {0x36EABBBD, 0xC205, 0x446A, {0x9C, 0xB4, 0x15, 0x08, 0xE5, 0x9D, 0xE5, 0x23}}},
    {u"Melding",
     u"VMLib.Melding",
     u"VMLib: messages",
     messagesClassId,
     {0x7A68AB4C, 0xBE5E, 0x4959, {0x9D, 0xC1, 0xD4, 0x65, 0x7B, 0x69, 0x95, 0x71}}},
    {u"AlgemeneLibrary",
     u"VMLib.AlgemeneLibrary",
     u"VMLib: dates, numbers, files, texts and windows",
     generalClassId,
     {0xA6B83E98, 0x4942, 0x4AD1, {0x83, 0xF1, 0xF9, 0x5B, 0x1A, 0x8F, 0x1A, 0xE4}}},
    {u"Registry",
     u"VMLib.Registry",
     u"VMLib: settings",
     registryClassId,
     {0xCF2BB5F2, 0x60EC, 0x4ADE, {0xB4, 0xA4, 0x95, 0x0A, 0x16, 0xFB, 0xAD, 0xD2}}},
    {u"MBF",
     u"VMLib.MBF",
     u"VMLib: numbers of old record files",
     mbfClassId,
     {0x203019BB, 0x22D2, 0x4B5B, {0xB9, 0x57, 0xF2, 0xAA, 0xC9, 0x35, 0x89, 0xBE}}},
};

void RegisterAll(ClassRegistry& registry)
{
    RegisterClasses(registry, NativePlatform());
    registry.AddSource(CreateRegistered);
}

}  // namespace

const Server& TheServer()
{
    static const Server server = {u"VMLib", u"VMLib 1.0 Type Library", libraryId, classes, RegisterAll};
    return server;
}

}  // namespace vmlib::com
