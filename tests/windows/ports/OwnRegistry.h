#pragma once

#include <string>

namespace vmlib::test {

/// For as long as one of these lives, the registry's roots are empty keys of this process's own, which go with the last.
class OwnRegistry
{
public:
    OwnRegistry();
    ~OwnRegistry();
    OwnRegistry(const OwnRegistry&) = delete;
    OwnRegistry& operator=(const OwnRegistry&) = delete;
};

}  // namespace vmlib::test
