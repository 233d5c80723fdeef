#include "automation/ClassRegistry.h"

#include "core/Error.h"

namespace vmlib {

void ClassRegistry::Register(TextView className, Maker maker)
{
    makers_.insert_or_assign(Text(className), std::move(maker));
}

void ClassRegistry::AddSource(Source source)
{
    sources_.push_back(std::move(source));
}

ObjectRef ClassRegistry::Create(TextView className) const
{
    if (const auto maker = makers_.find(className); maker != makers_.end()) return maker->second();
    for (const Source& source : sources_) {
        if (ObjectRef object = source(className)) return object;
    }
    const auto number = static_cast<std::int32_t>(ErrorNumber::CannotCreateObject);
    throw Error(number, ErrorText(number), Text(className));
}

ClassRegistry& ClassRegistry::Process()
{
    static ClassRegistry registry;
    return registry;
}

}  // namespace vmlib
