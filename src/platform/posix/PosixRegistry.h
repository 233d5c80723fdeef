#pragma once

#include <mutex>
#include <string>

#include "platform/RegistryStore.h"
#include "platform/posix/RegistryHandles.h"
#include "platform/posix/RegistryPaths.h"

namespace vmlib::posix {

/// The registry as two text files in the registry editor's export form, shared by all processes of the user and of the
/// machine. Safe to use from several threads.
///
/// Handles have the access that they were opened with; the rights of the user on a file show when it is read or written.
/// CreateKey and DeleteKey ask nothing of the handle that they start from. Keys with control characters or "] ;" in their
/// names, which a file cannot say, are 87, as are keys below 512 others.
class PosixRegistry : public RegistryStore
{
public:
    explicit PosixRegistry(RegistryPaths paths);
    ~PosixRegistry() override;

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
    void Provide(RegistryHandle root, TextView path, TextView name, std::function<Text()> value) override;
    Text Describe(RegistryHandle root) override;

private:
    template <class Work>
    std::int32_t Answer(Work work);
    OpenKeyFacts* FindRoot(RegistryHandle root);
    OpenKeyFacts& KeyOf(RegistryHandle handle);
    OpenKeyFacts& KeyOf(RegistryHandle handle, std::uint32_t access);
    OpenKeyFacts Below(RegistryHandle handle, TextView path);
    std::string DataOf(const RegistryFile& file, const RegistryTree::Value& value, std::uint32_t& type) const;

    std::mutex mutex_;
    RegistryFile user_, machine_;
    OpenKeyFacts userRoot_, machineRoot_, classesRoot_;
    RegistryHandles handles_;
};

}  // namespace vmlib::posix
