#pragma once

#include "platform/Batch.h"
#include "platform/Files.h"

namespace vmlib::posix {

/// Batches of a POSIX system: TMPDIR, fork, SIGINT and SIGTERM.
class PosixBatch : public Batch
{
public:
    explicit PosixBatch(Files& files) : files_(files) {}

    std::optional<Text> EnterOwnFolder(TextView prefix) override;
    void RemoveFolder(TextView path) override;
    void DeferStop() override;
    bool StopRequested() override;
    void RunWorkers(int count, const WorkerRun& run) override;
    std::optional<int> ProgressColumns() override;
    bool OutputIsTerminal() override;

private:
    Files& files_;
    std::string temporaryFolder_;  // before it had one of its own
};

}  // namespace vmlib::posix
