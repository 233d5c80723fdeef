#pragma once

#include "platform/RegistryStore.h"

namespace vmlib::host {

/// The platform's registry, remembering what last went wrong: the settings operations ignore errors by their nature, and
/// a person wants to know. Not found and no more items are answers, no failures.
class HostRegistry : public RegistryStore
{
public:
    explicit HostRegistry(RegistryStore& native) : native_(native) {}

    /// The last failure since the last call of this, with the root's description; @throws Error 75, 61 ...
    void ThrowFailure(RegistryHandle root);

    std::int32_t OpenKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened) override
    {
        return Remember(native_.OpenKey(key, path, access, opened));
    }
    std::int32_t CreateKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened) override
    {
        return Remember(native_.CreateKey(key, path, access, opened));
    }
    // Keys that could not be opened are closed as well.
    std::int32_t CloseKey(RegistryHandle key) override { return native_.CloseKey(key); }
    std::int32_t DeleteKey(RegistryHandle key, TextView path) override
    {
        return Remember(native_.DeleteKey(key, path));
    }
    std::int32_t DeleteValue(RegistryHandle key, TextView name) override
    {
        return Remember(native_.DeleteValue(key, name));
    }
    std::int32_t SetValue(RegistryHandle key, TextView name, std::uint32_t type, const std::string& data) override
    {
        return Remember(native_.SetValue(key, name, type, data));
    }
    std::int32_t QueryValue(RegistryHandle key, TextView name, std::uint32_t& type, std::span<char> room,
                            std::uint32_t& size) override
    {
        return Remember(native_.QueryValue(key, name, type, room, size));
    }
    std::int32_t EnumKey(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name) override
    {
        return Remember(native_.EnumKey(key, index, nameRoom, name));
    }
    std::int32_t EnumValue(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name,
                           std::uint32_t& type, std::span<char> room, std::uint32_t& size) override
    {
        return Remember(native_.EnumValue(key, index, nameRoom, name, type, room, size));
    }
    void Provide(RegistryHandle root, TextView path, TextView name, std::function<Text()> value) override
    {
        native_.Provide(root, path, name, std::move(value));
    }
    Text Describe(RegistryHandle root) override { return native_.Describe(root); }

private:
    std::int32_t Remember(std::int32_t result);

    RegistryStore& native_;
    std::int32_t failure_ = registryDone;
};

}  // namespace vmlib::host
