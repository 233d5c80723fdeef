#pragma once

#include <memory>
#include <vector>

#include "engine/Session.h"
#include "jet/Database.h"

/// What the late-bound objects of one workspace and of one open database share: the state below the objects, so that an
/// object may live longer than the one it came from and then says 3420.
namespace vmlib::engine {

class QueryEngine;
class Cursor;
class DatabaseHandle;
using DatabaseRef = std::shared_ptr<DatabaseHandle>;

/// One user's open databases and his transactions.
class WorkspaceHandle
{
public:
    explicit WorkspaceHandle(SessionRef session);

    const SessionRef& TheSession() const { return session_; }
    /// @throws Error 3420 after Close
    jet::Workspace& Storage();
    bool IsOpen() const { return isOpen_; }
    /// Closes all databases and rolls back what is open. A second one is 3420.
    void Close();

    void Begin();
    void Commit();
    void Rollback();
    /// Goes up with every rollback; an edit that was begun under a lower count is gone.
    std::uint64_t Rollbacks() const { return rollbacks_; }

    void Remember(const DatabaseRef& database);
    /// The open ones, in the order of opening.
    std::vector<DatabaseRef> Databases();

private:
    SessionRef session_;
    jet::Workspace storage_;
    std::vector<std::weak_ptr<DatabaseHandle>> databases_;
    std::uint64_t rollbacks_ = 0;
    bool isOpen_ = true;
};

using WorkspaceRef = std::shared_ptr<WorkspaceHandle>;

/// One OpenDatabase. Several may share one file of the storage. The file is free when the last one is closed or
/// dropped.
class DatabaseHandle
{
public:
    struct Opening
    {
        Text name;  // as the caller gave it
        Text password;
        bool exclusive = false;
        bool readOnly = false;
    };
    DatabaseHandle(WorkspaceRef workspace, std::shared_ptr<jet::Database> storage, Opening opening);
    ~DatabaseHandle();

    const WorkspaceRef& TheWorkspace() const { return workspace_; }
    const SessionRef& TheSession() const { return workspace_->TheSession(); }

    bool IsOpen() const { return storage_ != nullptr; }
    /// @throws Error 3420 after Close
    jet::Database& Storage();
    const std::shared_ptr<jet::Database>& SharedStorage();
    QueryEngine& Queries();

    const Text& Name() const { return opening_.name; }
    const Text& Password() const { return opening_.password; }
    void SetPassword(TextView password) { opening_.password = password; }
    bool IsExclusive() const { return opening_.exclusive; }
    bool IsReadOnly() const { return opening_.readOnly; }
    void RequireWritable() const;                  // 3027
    void RequireDesignable(TextView table) const;  // 3370

    /// Closes recordsets first; their pending edits are lost. A second one is 3420.
    void Close();

    void Remember(const std::shared_ptr<Cursor>& cursor);
    std::vector<std::shared_ptr<Cursor>> Cursors();

private:
    WorkspaceRef workspace_;
    std::shared_ptr<jet::Database> storage_;
    Opening opening_;
    std::unique_ptr<QueryEngine> queries_;
    std::vector<std::weak_ptr<Cursor>> cursors_;
};

}  // namespace vmlib::engine
