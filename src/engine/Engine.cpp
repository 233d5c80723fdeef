#include "engine/Engine.h"

#include "engine/DbEngine.h"

namespace vmlib {

void RegisterEngine(ClassRegistry& classes, Files& files, TextView temporaryFolder)
{
    // Whoever creates the engine gets the same one while somebody holds it, so that they share its first workspace.
    classes.Register(
        u"VMDEngine.DBEngine",
        [&files, folder = Text(temporaryFolder), last = std::weak_ptr<engine::DbEngine>()]() mutable -> ObjectRef {
            auto current = last.lock();
            if (!current)
                current = std::make_shared<engine::DbEngine>(std::make_shared<engine::Session>(files, folder));
            last = current;
            return current;
        });
}

}  // namespace vmlib
