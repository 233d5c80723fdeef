#include "engine/Engine.h"

#include "engine/DbEngine.h"

namespace vmlib {

void RegisterEngine(ClassRegistry& classes, Platform& platform, TextView temporaryFolder)
{
    // Whoever creates the engine gets the same one while somebody holds it, so that they share its first workspace.
    classes.Register(
        u"VMDEngine.DBEngine",
        [&platform, folder = Text(temporaryFolder), last = std::weak_ptr<engine::DbEngine>()]() mutable -> ObjectRef {
            auto current = last.lock();
            if (!current)
                current = std::make_shared<engine::DbEngine>(std::make_shared<engine::Session>(
                    platform.files, folder, [&platform] { return platform.system.Now(); }));
            last = current;
            return current;
        });
}

}  // namespace vmlib
