#pragma once

#include "engine/DatabaseObject.h"

namespace vmlib::engine {

class Databases : public ListOf<DatabaseObject>
{
public:
    explicit Databases(SessionRef session) : ListOf(std::move(session), u"Databases") {}
    void Remember(const std::shared_ptr<DatabaseObject>& database) { opened_.push_back(database); }

protected:
    std::vector<std::shared_ptr<DatabaseObject>> Load() override;

private:
    std::vector<std::weak_ptr<DatabaseObject>> opened_;
};

/// One user's databases and transactions.
class WorkspaceObject : public EngineObject<WorkspaceObject>
{
public:
    WorkspaceObject(SessionRef session, TextView name, TextView userName);
    static const MemberTable& Members();

    Text Name() { return name_; }
    void SetName(const Text& name) { name_ = name; }
    Text UserName() const { return userName_; }
    std::int32_t Type() const { return 2; }  // dbUseJet
    std::int16_t LoginTimeout() const { return 20; }
    Variant TheDatabases(const Optional& index);

    std::shared_ptr<DatabaseObject> OpenDatabase(const Text& name, Optional options, Optional readOnly,
                                                 Optional connect);
    std::shared_ptr<DatabaseObject> CreateDatabase(const Text& name, Optional locale, Optional option);
    void BeginTrans() { workspace_->Begin(); }
    void CommitTrans(std::optional<std::int32_t> option);
    void Rollback() { workspace_->Rollback(); }
    void Close() { workspace_->Close(); }
    bool IsOpen() const { return workspace_->IsOpen(); }
    Variant Properties(const Optional& index);

private:
    std::shared_ptr<DatabaseObject> Opened(std::shared_ptr<jet::Database> storage, DatabaseHandle::Opening opening);

    WorkspaceRef workspace_;
    Text name_, userName_;
    std::shared_ptr<Databases> databases_;
};

class Workspaces : public ListOf<WorkspaceObject>
{
public:
    explicit Workspaces(SessionRef session) : ListOf(std::move(session), u"Workspaces") {}
    void Refresh() override {}
    /// Closed ones leave. The first place is never empty: a new default workspace takes it.
    void RemoveClosed();

protected:
    std::vector<std::shared_ptr<WorkspaceObject>> Load() override;
    std::size_t Size() override;
    void Store(const std::shared_ptr<WorkspaceObject>& workspace) override;
};

}  // namespace vmlib::engine
