#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "platform/Processes.h"
#include "platform/windows/Handle.h"

namespace vmlib::windows {

/// Programs by CreateProcess, which finds the program of a command line itself.
class WindowsProcesses : public Processes
{
public:
    std::int32_t Start(TextView commandLine, std::int16_t windowStyle) override;
    void WaitFor(std::int32_t process) override;
    [[noreturn]] void EndApplication() override;

private:
    std::mutex mutex_;
    std::map<std::int32_t, std::shared_ptr<Handle>>
        started_;  // as long as a handle is open its number means nothing else
};

}  // namespace vmlib::windows
