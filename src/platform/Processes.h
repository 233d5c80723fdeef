#pragma once

#include <cstdint>

#include "core/Text.h"

namespace vmlib {

class Batch;

/// Other programs, and the end of this one.
class Processes
{
public:
    virtual ~Processes() = default;

    /// Starts a program without a shell in between. The command line is Windows text: the program, in quotes or up to
    /// the first blank behind which it names a file, then its arguments, quoted as the platform's programs read them. A
    /// program without a folder is looked for where the platform looks.
    /// @param windowStyle  the platform's show-window code, where a program has a window that it means something to
    /// @return             the number to wait for
    /// @throws Error 53, 75, 7 when it cannot be started
    virtual std::int32_t Start(TextView commandLine, std::int16_t windowStyle) = 0;
    /// Returns when the program has ended.
    virtual void WaitFor(std::int32_t process) = 0;

    /// Ends the hosting application at once, without its clean-up; what it has printed is out.
    [[noreturn]] virtual void EndApplication() = 0;

    /// Null where the platform has nothing for long batches: one process then does all.
    virtual Batch* LongBatch() { return nullptr; }
};

/// Exit code of an application that EndApplication ended.
inline constexpr int endedApplicationCode = 4;

}  // namespace vmlib
