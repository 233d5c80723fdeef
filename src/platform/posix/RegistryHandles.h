#pragma once

#include <map>

#include "platform/RegistryStore.h"
#include "platform/posix/RegistryFile.h"

namespace vmlib::posix {

/// A key that somebody works with: its file, its path below the root of that file.
struct OpenKeyFacts
{
    RegistryFile* file = nullptr;
    KeyPath path;
    std::uint32_t access = 0;
    bool isRoot = false;     // always there
    bool isDeleted = false;  // for good, also if another key of this path is made
};

/// The open keys of a process by their handles. Nobody who does not close a handle sees it mean something else.
class RegistryHandles
{
public:
    RegistryHandle Add(OpenKeyFacts key);
    /// Null when the handle is not open. Valid until it is closed.
    OpenKeyFacts* Find(RegistryHandle handle);
    bool Remove(RegistryHandle handle) { return keys_.erase(handle) > 0; }
    /// Marks the open keys of this path.
    void MarkDeleted(const RegistryFile& file, const KeyPath& path);

private:
    std::map<RegistryHandle, OpenKeyFacts> keys_;
    RegistryHandle next_ = 4;
};

}  // namespace vmlib::posix
