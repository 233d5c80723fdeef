#pragma once

#include "platform/RegistryStore.h"

namespace vmlib::windows {

/// The registry of Windows. Names and text values cross in code page 1252 whatever the code page of the system is.
class WindowsRegistry : public RegistryStore
{
public:
    std::int32_t OpenKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened) override;
    std::int32_t CreateKey(RegistryHandle key, TextView path, std::uint32_t access, RegistryHandle& opened) override;
    std::int32_t CloseKey(RegistryHandle key) override;
    std::int32_t DeleteKey(RegistryHandle key, TextView path) override;
    std::int32_t DeleteValue(RegistryHandle key, TextView name) override;
    std::int32_t SetValue(RegistryHandle key, TextView name, std::uint32_t type, const std::string& data) override;
    std::int32_t QueryValue(RegistryHandle key, TextView name, std::uint32_t& type, std::span<char> room,
                            std::uint32_t& size) override;
    std::int32_t EnumKey(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name) override;
    std::int32_t EnumValue(RegistryHandle key, std::uint32_t index, std::size_t nameRoom, Text& name,
                           std::uint32_t& type, std::span<char> room, std::uint32_t& size) override;
    /// The registry holds these facts itself.
    void Provide(RegistryHandle, TextView, TextView, std::function<Text()>) override {}
    Text Describe(RegistryHandle) override { return {}; }
};

}  // namespace vmlib::windows
