#pragma once

#include <functional>
#include <optional>
#include <string>

#include "core/Text.h"

namespace vmlib {

/// The two sides of work that several processes share. Tasks and answers are lines of text.
struct WorkerRun
{
    /// In the starting process: the next task, no value when there is none left.
    std::function<std::optional<std::string>()> next;
    /// In a worker: does a task and returns the answer.
    std::function<std::string(const std::string& task)> work;
    /// In a worker, once when there is no task left.
    std::function<void()> finish;
    /// In the starting process: the answer to a task; no value when the worker ended in the middle of it.
    std::function<void(const std::string& task, const std::optional<std::string>& answer)> done;
    /// In the starting process, a few times a second.
    std::function<void()> tick;
};

/// What a long batch wants of the platform: a temporary folder of its own, worker processes, to be told to stop instead
/// of being stopped, and what it may show meanwhile.
class Batch
{
public:
    virtual ~Batch() = default;

    /// Makes a folder in the temporary folder, which only this user may enter, and uses it as this process's temporary
    /// folder from now on; a second one is made beside the first. Files in it need not outlive a power cut: Sync may do
    /// nothing for them, and what Rename or Replace takes elsewhere is synced then. Returns its path with a trailing
    /// "\"; no value when it cannot be made.
    virtual std::optional<Text> EnterOwnFolder(TextView prefix) = 0;
    /// Removes an empty folder; one that is not empty stays.
    virtual void RemoveFolder(TextView path) = 0;

    /// From now on Ctrl-C, the request to end and the end of whoever reads the output are only noted.
    virtual void DeferStop() = 0;
    virtual bool StopRequested() = 0;

    /// Runs the tasks in `count` processes that begin as copies of this one, and returns when the last has answered.
    /// Workers leave stopping to the starting process and end with it. One that ends in the middle of a task is replaced.
    virtual void RunWorkers(int count, const WorkerRun& run) = 0;

    /// Columns of the terminal that standard error is; no value when it is none.
    virtual std::optional<int> ProgressColumns() = 0;
    virtual bool OutputIsTerminal() = 0;
};

}  // namespace vmlib
