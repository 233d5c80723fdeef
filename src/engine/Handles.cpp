#include "engine/Handles.h"

#include <utility>

#include "engine/Cursor.h"
#include "engine/QueryEngine.h"

namespace vmlib::engine {
namespace {

/// The referred objects that still live; the others leave the list.
template <class T>
std::vector<std::shared_ptr<T>> Living(std::vector<std::weak_ptr<T>>& list)
{
    std::erase_if(list, [](const auto& entry) { return entry.expired(); });
    std::vector<std::shared_ptr<T>> living;
    for (const auto& entry : list)
        if (auto object = entry.lock()) living.push_back(std::move(object));
    return living;
}

}  // namespace

WorkspaceHandle::WorkspaceHandle(SessionRef session)
    : session_(std::move(session)), storage_(session_->FilesPort(), session_->TemporaryFolder(), session_->Now())
{
}

jet::Workspace& WorkspaceHandle::Storage()
{
    if (!isOpen_) throw Error(ErrorNumber::ObjectInvalid);
    return storage_;
}

void WorkspaceHandle::Close()
{
    jet::Workspace& storage = Storage();
    while (storage.TransactionDepth() > 0) Rollback();
    for (const auto& database : Databases()) database->Close();
    isOpen_ = false;
}

void WorkspaceHandle::Begin()
{
    Storage().Begin();
}

void WorkspaceHandle::Commit()
{
    Storage().Commit();
}

void WorkspaceHandle::Rollback()
{
    Storage().Rollback();
    ++rollbacks_;
    for (const auto& database : Databases())
        for (const auto& cursor : database->Cursors()) cursor->EndRolledBackEdit();
}

void WorkspaceHandle::Remember(const DatabaseRef& database)
{
    databases_.push_back(database);
}

std::vector<DatabaseRef> WorkspaceHandle::Databases()
{
    auto databases = Living(databases_);
    std::erase_if(databases, [](const auto& database) { return !database->IsOpen(); });
    return databases;
}

DatabaseHandle::DatabaseHandle(WorkspaceRef workspace, std::shared_ptr<jet::Database> storage, Opening opening)
    : workspace_(std::move(workspace)), storage_(std::move(storage)), opening_(std::move(opening))
{
    if (storage_->IsReadOnly()) opening_.readOnly = true;
}

DatabaseHandle::~DatabaseHandle() = default;

jet::Database& DatabaseHandle::Storage()
{
    return *SharedStorage();
}

const std::shared_ptr<jet::Database>& DatabaseHandle::SharedStorage()
{
    if (!storage_) throw Error(ErrorNumber::ObjectInvalid);
    return storage_;
}

QueryEngine& DatabaseHandle::Queries()
{
    if (!storage_) throw Error(ErrorNumber::ObjectInvalid);
    if (!queries_) queries_ = std::make_unique<QueryEngine>(*this);
    return *queries_;
}

void DatabaseHandle::RequireWritable() const
{
    if (opening_.readOnly) throw Error(ErrorNumber::ReadOnly);
}

void DatabaseHandle::RequireDesignable(TextView table) const
{
    if (opening_.readOnly) throw Error(ErrorNumber::DesignReadOnly, {Text(table)});
}

void DatabaseHandle::Close()
{
    if (!storage_) throw Error(ErrorNumber::ObjectInvalid);
    for (const auto& cursor : Cursors()) cursor->Close();
    queries_.reset();
    const auto storage = std::exchange(storage_, nullptr);
    storage->Close();
}

void DatabaseHandle::Remember(const std::shared_ptr<Cursor>& cursor)
{
    cursors_.push_back(cursor);
}

std::vector<std::shared_ptr<Cursor>> DatabaseHandle::Cursors()
{
    auto cursors = Living(cursors_);
    std::erase_if(cursors, [](const auto& cursor) { return !cursor->IsOpen(); });
    return cursors;
}

}  // namespace vmlib::engine
