#include "engine/WorkspaceObject.h"

#include "automation/Convert.h"
#include "engine/ConnectText.h"
#include "engine/Maintenance.h"
#include "engine/PropertyObject.h"
#include "jet/Opening.h"

namespace vmlib::engine {
namespace {

bool IsTrue(const Optional& argument)
{
    return argument.Given() && !argument.value.IsEmpty() && !argument.value.IsNull() && ToBoolean(argument.value);
}

}  // namespace

std::vector<std::shared_ptr<DatabaseObject>> Databases::Load()
{
    std::vector<std::shared_ptr<DatabaseObject>> open;
    for (const auto& entry : opened_) {
        auto database = entry.lock();
        if (database && database->Handle()->IsOpen()) open.push_back(std::move(database));
    }
    return open;
}

WorkspaceObject::WorkspaceObject(SessionRef session, TextView name, TextView userName)
    : EngineObject(session),
      workspace_(std::make_shared<WorkspaceHandle>(session)),
      name_(name),
      userName_(userName),
      databases_(std::make_shared<Databases>(session))
{
}

const MemberTable& WorkspaceObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<WorkspaceObject>(u"Workspace")
            .Property<&WorkspaceObject::Name, &WorkspaceObject::SetName>(u"Name")
            .Property<&WorkspaceObject::UserName>(u"UserName")
            .Property<&WorkspaceObject::Type>(u"Type")
            .Property<&WorkspaceObject::LoginTimeout>(u"LoginTimeout")
            .DefaultProperty<&WorkspaceObject::TheDatabases>(u"Databases", {u"Item"})
            .Method<&WorkspaceObject::OpenDatabase>(u"OpenDatabase", {u"Name", u"Options", u"ReadOnly", u"Connect"})
            .Method<&WorkspaceObject::CreateDatabase>(u"CreateDatabase", {u"Name", u"Connect", u"Option"})
            .Method<&WorkspaceObject::BeginTrans>(u"BeginTrans")
            .Method<&WorkspaceObject::CommitTrans>(u"CommitTrans", {u"Options"})
            .Method<&WorkspaceObject::Rollback>(u"Rollback")
            .Method<&WorkspaceObject::Close>(u"Close")
            .Property<&WorkspaceObject::Properties>(u"Properties", {u"Item"});
    return table;
}

Variant WorkspaceObject::TheDatabases(const Optional& index)
{
    workspace_->Storage();
    databases_->Refresh();
    return CollectionOrItem(databases_, index);
}

std::shared_ptr<DatabaseObject> WorkspaceObject::Opened(std::shared_ptr<jet::Database> storage,
                                                        DatabaseHandle::Opening opening)
{
    auto handle = std::make_shared<DatabaseHandle>(workspace_, std::move(storage), std::move(opening));
    workspace_->Remember(handle);
    auto database = std::make_shared<DatabaseObject>(std::move(handle));
    databases_->Remember(database);
    return database;
}

std::shared_ptr<DatabaseObject> WorkspaceObject::OpenDatabase(const Text& name, Optional options, Optional readOnly,
                                                              Optional connect)
{
    jet::Workspace& storage = workspace_->Storage();
    const bool givesConnect = connect.Given() && !connect.value.IsNull() && !connect.value.IsEmpty();
    const ConnectText parsed = givesConnect ? ConnectText::Parse(ToText(connect.value)) : ConnectText();
    DatabaseHandle::Opening opening;
    opening.exclusive = IsTrue(options);
    opening.readOnly = IsTrue(readOnly);
    // Jet looks at the connect text only when all four arguments are there.
    if (options.Given() && readOnly.Given())
        opening.password = parsed.password.value_or(Text());
    else if (parsed.password)
        throw Error(ErrorNumber::InvalidPassword);
    const Text path = storage.FilesPort().FullPath(jet::WithExtension(name));
    opening.name = path;
    auto opened = storage.Open(path, {opening.exclusive, opening.readOnly, opening.password});
    return Opened(std::move(opened), std::move(opening));
}

std::shared_ptr<DatabaseObject> WorkspaceObject::CreateDatabase(const Text& name, Optional locale, Optional option)
{
    jet::Workspace& storage = workspace_->Storage();
    if (!locale.Given()) throw Error(ErrorNumber::InvalidLocale);
    const LocaleText parsed = LocaleText::Parse(ToText(locale.value));
    if (option.Given() && !option.value.IsEmpty() && !option.value.IsNull())
        CheckFileOptions(ToLong(option.value), name, false);
    DatabaseHandle::Opening opening;
    opening.exclusive = true;
    opening.password = parsed.password;
    opening.name = storage.FilesPort().FullPath(jet::WithExtension(name));
    auto created = storage.Create(opening.name, parsed.locale, parsed.password);
    return Opened(std::move(created), std::move(opening));
}

void WorkspaceObject::CommitTrans(std::optional<std::int32_t>)
{
    workspace_->Commit();
}

Variant WorkspaceObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

std::vector<std::shared_ptr<WorkspaceObject>> Workspaces::Load()
{
    return {std::make_shared<WorkspaceObject>(TheSession(), u"#Default Workspace#", u"admin")};
}

void Workspaces::RemoveClosed()
{
    auto& all = Items();
    if (!all.front()->IsOpen()) all.front() = Load().front();
    std::erase_if(all, [](const auto& workspace) { return !workspace->IsOpen(); });
}

std::size_t Workspaces::Size()
{
    RemoveClosed();
    return ListOf::Size();
}

void Workspaces::Store(const std::shared_ptr<WorkspaceObject>& workspace)
{
    if (Find(workspace->Name())) throw Error(ErrorNumber::NameInCollection);
}

}  // namespace vmlib::engine
