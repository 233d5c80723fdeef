#include "component/Component.h"

#include "automation/Locale.h"
#include "component/AlgemeneLibrary.h"
#include "component/Mbf.h"
#include "component/Melding.h"
#include "component/Registry.h"
#include "component/VmdDbLibRoutines.h"

namespace vmlib {

namespace {

template <class T>
void RegisterClass(ClassRegistry& classes, const ClassRegistry::Maker& maker)
{
    const Text name = T::Members().TypeName();
    classes.Register(name, maker);
    classes.Register(u"VMLib." + name, maker);
}

}  // namespace

void RegisterClasses(ClassRegistry& classes, Platform& platform, const std::optional<Text>& password)
{
    const auto engine = std::make_shared<db::EngineHandle>(classes);
    RegisterClass<VmdDbLibRoutines>(classes, [&classes, &platform, engine, password] {
        db::Session session{platform, classes, engine};
        if (password) session.password = *password;
        return std::make_shared<VmdDbLibRoutines>(std::move(session));
    });
    RegisterClass<AlgemeneLibrary>(classes, [&platform] { return std::make_shared<AlgemeneLibrary>(platform); });
    RegisterClass<Registry>(classes, [&platform] { return std::make_shared<Registry>(platform.registry); });
    RegisterClass<Melding>(classes, [&platform] { return std::make_shared<Melding>(platform); });
    RegisterClass<Mbf>(classes, [&platform] { return std::make_shared<Mbf>(platform); });
    platform.registry.Provide(currentUser, u"Control Panel\\International", u"sDecimal",
                              [] { return Text(1, Locale::User().decimalSeparator); });
}

}  // namespace vmlib
