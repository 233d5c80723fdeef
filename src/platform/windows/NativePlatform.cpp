#include "platform/Platform.h"
#include "platform/windows/WindowsDesktop.h"
#include "platform/windows/WindowsFiles.h"
#include "platform/windows/WindowsProcesses.h"
#include "platform/windows/WindowsRegistry.h"
#include "platform/windows/WindowsSystem.h"

namespace vmlib {

namespace {

struct WindowsPlatform
{
    windows::WindowsFiles files;
    windows::WindowsSystem system;
    windows::WindowsProcesses processes;
    windows::WindowsDesktop desktop;
    windows::WindowsRegistry registry;
    Platform ports{files, system, desktop, registry, processes};
};

}  // namespace

Platform& NativePlatform()
{
    // Never destroyed: objects of a host may live longer than the statics of the library.
    static auto* const platform = new WindowsPlatform;
    return platform->ports;
}

}  // namespace vmlib
