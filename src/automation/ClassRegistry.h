#pragma once

#include <functional>
#include <unordered_map>
#include <vector>

#include "automation/Object.h"

namespace vmlib {

/// Where CreateObject looks: first the classes registered in the process, then the makers that were plugged in, in
/// their order.
class ClassRegistry
{
public:
    using Maker = std::function<ObjectRef()>;
    using Source = std::function<ObjectRef(TextView className)>;  // Nothing when it does not know the class

    /// A later registration of the same name (case ignored) replaces the earlier one.
    void Register(TextView className, Maker maker);
    void AddSource(Source source);

    /// @throws Error 429 when nobody knows the class
    ObjectRef Create(TextView className) const;

    /// The registry of the process, which hosts register converters in.
    static ClassRegistry& Process();

private:
    std::unordered_map<Text, Maker, NameHash, NameEqual> makers_;
    std::vector<Source> sources_;
};

}  // namespace vmlib
