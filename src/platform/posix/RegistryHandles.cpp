#include "platform/posix/RegistryHandles.h"

#include <limits>

namespace vmlib::posix {

RegistryHandle RegistryHandles::Add(OpenKeyFacts key)
{
    constexpr RegistryHandle first = 4, step = 4;  // as the platform numbers them
    for (;;) {
        const RegistryHandle handle = next_;
        next_ = handle > std::numeric_limits<RegistryHandle>::max() - step ? first : handle + step;
        if (keys_.try_emplace(handle, key).second) return handle;
    }
}

OpenKeyFacts* RegistryHandles::Find(RegistryHandle handle)
{
    const auto found = keys_.find(handle);
    return found == keys_.end() ? nullptr : &found->second;
}

void RegistryHandles::MarkDeleted(const RegistryFile& file, const KeyPath& path)
{
    for (auto& [handle, key] : keys_)
        if (key.file == &file && IsSamePath(key.path, path)) key.isDeleted = true;
}

}  // namespace vmlib::posix
