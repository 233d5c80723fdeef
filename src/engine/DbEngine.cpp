#include "engine/DbEngine.h"

#include "engine/Maintenance.h"
#include "engine/PropertyObject.h"

namespace vmlib::engine {

DbEngine::DbEngine(SessionRef session)
    : EngineObject(session), workspaces_(std::make_shared<Workspaces>(std::move(session)))
{
}

const MemberTable& DbEngine::Members()
{
    static const MemberTable table =
        MemberTable::Of<DbEngine>(u"DBEngine")
            .Property<&DbEngine::Version>(u"Version")
            .DefaultProperty<&DbEngine::TheWorkspaces>(u"Workspaces", {u"Item"})
            .Property<&DbEngine::Errors>(u"Errors", {u"Item"})
            .Method<&DbEngine::CreateWorkspace>(u"CreateWorkspace", {u"Name", u"UserName", u"Password", u"UseType"})
            .Method<&DbEngine::OpenDatabase>(u"OpenDatabase", {u"Name", u"Options", u"ReadOnly", u"Connect"})
            .Method<&DbEngine::CreateDatabase>(u"CreateDatabase", {u"Name", u"Locale", u"Option"})
            .Method<&DbEngine::CompactDatabase>(u"CompactDatabase",
                                                {u"SrcName", u"DstName", u"DstLocale", u"Options", u"SrcLocale"})
            .Method<&DbEngine::RepairDatabase>(u"RepairDatabase", {u"Name"})
            .Method<&DbEngine::BeginTrans>(u"BeginTrans")
            .Method<&DbEngine::CommitTrans>(u"CommitTrans", {u"Option"})
            .Method<&DbEngine::Rollback>(u"Rollback")
            .Method<&DbEngine::Idle>(u"Idle", {u"Action"})
            .Property<&DbEngine::Properties>(u"Properties", {u"Item"});
    return table;
}

Variant DbEngine::Errors(const Optional& index)
{
    return CollectionOrItem(std::make_shared<ErrorObjects>(TheSession()), index);
}

std::shared_ptr<WorkspaceObject> DbEngine::CreateWorkspace(const Text& name, const Text& userName, const Text&,
                                                           Optional)
{
    return std::make_shared<WorkspaceObject>(TheSession(), name, userName);
}

std::shared_ptr<DatabaseObject> DbEngine::OpenDatabase(const Text& name, Optional options, Optional readOnly,
                                                       Optional connect)
{
    return First().OpenDatabase(name, std::move(options), std::move(readOnly), std::move(connect));
}

std::shared_ptr<DatabaseObject> DbEngine::CreateDatabase(const Text& name, Optional locale, Optional option)
{
    return First().CreateDatabase(name, std::move(locale), std::move(option));
}

void DbEngine::CompactDatabase(const Text& source, const Text& destination, Optional locale, Optional options,
                               Optional sourceLocale)
{
    Compact(*TheSession(), source, destination, locale, options, sourceLocale);
}

void DbEngine::RepairDatabase(const Text& name)
{
    Repair(*TheSession(), name);
}

void DbEngine::Idle(Optional) {}

Variant DbEngine::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

}  // namespace vmlib::engine
