#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "jet/DatabaseFile.h"

namespace vmlib::jet {

/// What a workspace and its databases share.
struct WorkspaceState
{
    Files& files;
    Text temporaryFolder;
    Clock now;
    std::vector<std::weak_ptr<DatabaseFile>> open;
    std::vector<std::weak_ptr<Database>> databases;
    std::vector<std::shared_ptr<DatabaseFile>> inTransaction;  // they stay open until it ends
    int depth = 0;                                             // of transactions

    std::vector<std::shared_ptr<DatabaseFile>> OpenFiles();
    std::shared_ptr<DatabaseFile> FileOf(const FileIdentity& identity);
    /// Adds a file that was just opened; it takes part in a running transaction.
    void Join(const std::shared_ptr<DatabaseFile>& file);
    /// Puts all new files on the disk.
    void Settle();
    void RollbackAll() noexcept;
};

}  // namespace vmlib::jet
