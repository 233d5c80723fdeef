#pragma once

#include <string>

#include "platform/windows/WindowsRegistry.h"
#include "windows/ports/OwnRegistry.h"

// What the shared suites call the registry of their platform; here it is that of Windows, with roots of the test's own.
namespace vmlib::posix {

struct RegistryPaths
{
    std::string user, machine;
};

class PosixRegistry : public windows::WindowsRegistry
{
public:
    explicit PosixRegistry(const RegistryPaths&) {}

private:
    test::OwnRegistry roots_;
};

}  // namespace vmlib::posix
