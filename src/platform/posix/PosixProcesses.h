#pragma once

#include <sys/types.h>

#include <mutex>
#include <string>
#include <vector>

#include "platform/Files.h"
#include "platform/Processes.h"
#include "platform/posix/PosixBatch.h"

namespace vmlib::posix {

/// Programs of a POSIX system. Safe to use from several threads.
///
/// A program named with "\", "/" or a drive is path text, so drives and names without regard to case work. One without
/// is looked for in the absolute folders of PATH, exactly spelled first, then without regard to case; never in the
/// current folder, where whoever sends somebody a document could put a program beside it (".\name" reaches that). No
/// extension is added.
///
/// Arguments cross as they are, in UTF-8: the library cannot know which of them are paths. Window styles are ignored, as
/// programs here place their windows themselves.
class PosixProcesses : public Processes
{
public:
    explicit PosixProcesses(Files& files) : files_(files) {}

    std::int32_t Start(TextView commandLine, std::int16_t windowStyle) override;
    void WaitFor(std::int32_t process) override;
    [[noreturn]] void EndApplication() override;
    Batch* LongBatch() override { return &batch_; }

private:
    std::string FindProgram(TextView program);
    std::string FindInPath(TextView name);
    void Remember(pid_t process);

    Files& files_;
    PosixBatch batch_{files_};
    std::mutex mutex_;
    std::vector<pid_t> started_;  // and perhaps ended, but nobody has waited for them
};

}  // namespace vmlib::posix
