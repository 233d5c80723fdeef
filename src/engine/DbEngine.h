#pragma once

#include "engine/ErrorObject.h"
#include "engine/WorkspaceObject.h"

namespace vmlib::engine {

/// The object that everything else is reached from. What it shares with a workspace means its first one.
class DbEngine : public EngineObject<DbEngine>
{
public:
    explicit DbEngine(SessionRef session);
    static const MemberTable& Members();

    Text Version() const { return u"3.5"; }
    Variant TheWorkspaces(const Optional& index) { return CollectionOrItem(workspaces_, index); }
    Variant Errors(const Optional& index);
    std::shared_ptr<WorkspaceObject> CreateWorkspace(const Text& name, const Text& userName, const Text& password,
                                                     Optional useType);

    std::shared_ptr<DatabaseObject> OpenDatabase(const Text& name, Optional options, Optional readOnly,
                                                 Optional connect);
    std::shared_ptr<DatabaseObject> CreateDatabase(const Text& name, Optional locale, Optional option);
    void CompactDatabase(const Text& source, const Text& destination, Optional locale, Optional options,
                         Optional sourceLocale);
    void RepairDatabase(const Text& name);
    void BeginTrans() { First().BeginTrans(); }
    void CommitTrans(std::optional<std::int32_t> option) { First().CommitTrans(option); }
    void Rollback() { First().Rollback(); }
    void Idle(Optional action);
    Variant Properties(const Optional& index);

private:
    WorkspaceObject& First()
    {
        workspaces_->RemoveClosed();
        return *workspaces_->Items().front();
    }

    std::shared_ptr<Workspaces> workspaces_;
};

}  // namespace vmlib::engine
