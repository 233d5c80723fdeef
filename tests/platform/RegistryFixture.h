#pragma once

#include <string>

#include "platform/posix/PosixRegistry.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {

/// A value, or the result code of what failed.
struct Answer
{
    std::int32_t result = 0;
    std::uint32_t type = 0;
    std::string data;
    bool operator==(const Answer&) const = default;
};

inline void PrintTo(const Answer& answer, std::ostream* out)
{
    *out << answer.result << ", type " << answer.type << ", \"" << answer.data << "\"";
}

/// A registry in two files of a folder of its own; each further PosixRegistry on the same paths stands for another
/// process.
class RegistryFixture
{
public:
    RegistryHandle Open(RegistryHandle key, TextView path, std::uint32_t access = registryAllAccess)
    {
        RegistryHandle opened = 0;
        return registry_.OpenKey(key, path, access, opened) == registryDone ? opened : 0;
    }
    RegistryHandle Create(RegistryHandle key, TextView path)
    {
        RegistryHandle opened = 0;
        return registry_.CreateKey(key, path, registryAllAccess, opened) == registryDone ? opened : 0;
    }
    Answer Query(RegistryHandle key, TextView name, std::size_t room = 1000)
    {
        Answer answer;
        std::uint32_t size = 0;
        std::string data(room, '-');
        answer.result = registry_.QueryValue(key, name, answer.type, data, size);
        if (answer.result == registryDone) answer.data = data.substr(0, size);
        return answer;
    }
    /// Names of the sub-keys or values, joined by "|", and the result code that ends them.
    std::string KeyNames(RegistryHandle key)
    {
        std::string names;
        for (std::uint32_t i = 0;; ++i) {
            Text name;
            const auto result = registry_.EnumKey(key, i, 256, name);
            if (result != registryDone) return names + std::to_string(result);
            names += ToUtf8(name) + "|";
        }
    }
    std::string ValueNames(RegistryHandle key)
    {
        std::string names, room(1000, '-');
        for (std::uint32_t i = 0;; ++i) {
            Text name;
            std::uint32_t type, size;
            const auto result = registry_.EnumValue(key, i, 256, name, type, room, size);
            if (result != registryDone) return names + std::to_string(result);
            names += ToUtf8(name) + "|";
        }
    }
    std::string User() const { return folder_.Read("user.reg"); }
    void WriteUser(const std::string& sections) const { folder_.Write("user.reg", form + sections); }

    static inline const std::string form = "Windows Registry Editor Version 5.00\n\n";

    TemporaryFolder folder_;
    posix::RegistryPaths paths_{folder_.Native("user.reg").string(), folder_.Native("machine.reg").string()};
    posix::PosixRegistry registry_{paths_};
};

}  // namespace vmlib::test
