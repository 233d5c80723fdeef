// What vmdengine.dll serves.

#include <memory>
#include <mutex>

#include "component/com/EngineIds.h"
#include "component/com/Server.h"
#include "engine/Engine.h"
#include "platform/Platform.h"

namespace vmlib::com {

namespace {

// Never to be changed: hosts are bound to them.
constexpr GUID libraryId = {0x123B69FA, 0x9D89, 0x41CD, {0xBC, 0xB3, 0x09, 0xD1, 0xEA, 0xB0, 0x56, 0x2E}};
constexpr ServedClass classes[] = {
    {u"DBEngine",
     u"VMDEngine.DBEngine",
     u"VMLib: database engine",
     engineClassId,
     {0x1818BC6B, 0x73E3, 0x4A47, {0xA4, 0x63, 0xE9, 0xD7, 0x6A, 0xA8, 0xFD, 0x96}}},
};

/// All who ask on a thread get the same engine as long as anything of it is alive, so that a file which one of them has
/// open is open for the others, too.
void RegisterAll(ClassRegistry& registry)
{
    static ClassRegistry makers;
    static std::once_flag once;
    std::call_once(once, [] {
        Platform& platform = NativePlatform();
        RegisterEngine(makers, platform, platform.system.TemporaryFolder().value_or(Text()));
    });
    const auto engine = std::make_shared<ObjectRef>();
    registry.Register(engineProgId, [engine] {
        if (!*engine) *engine = makers.Create(engineProgId);
        return *engine;
    });
}

}  // namespace

const Server& TheServer()
{
    static const Server server = {u"VMDEngine", u"VMLib Engine 1.0 Type Library", libraryId, classes, RegisterAll};
    return server;
}

}  // namespace vmlib::com
