#pragma once

#include "engine/QueryDefObject.h"
#include "engine/RecordsetObject.h"
#include "engine/RelationObject.h"
#include "engine/TableDefObject.h"

namespace vmlib::engine {

/// The open recordsets of a database.
class Recordsets : public ListOf<RecordsetObject>
{
public:
    explicit Recordsets(SessionRef session, DatabaseRef database)
        : ListOf(std::move(session), u"Recordsets"), database_(std::move(database))
    {
    }

protected:
    std::vector<std::shared_ptr<RecordsetObject>> Load() override;

private:
    DatabaseRef database_;
};

/// An open database as late-bound callers see it.
class DatabaseObject : public EngineObject<DatabaseObject>
{
public:
    explicit DatabaseObject(DatabaseRef database);
    static const MemberTable& Members();

    Text Name() { return database_->Storage(), database_->Name(); }
    Text Connect();
    Text Version();
    bool Updatable() { return database_->Storage(), !database_->IsReadOnly(); }
    bool Transactions() { return database_->Storage(), true; }
    std::int32_t CollatingOrder();
    /// Rows that the last Execute without option 128 dropped; this engine's own member.
    std::int32_t RecordsLeftOut() const { return recordsLeftOut_; }
    std::int32_t RecordsAffected() { return database_->Storage(), recordsAffected_; }
    std::int16_t QueryTimeout() const { return 60; }

    Variant TheTableDefs(const Optional& index);
    Variant TheQueryDefs(const Optional& index);
    Variant TheRelations(const Optional& index);
    Variant TheRecordsets(const Optional& index);
    /// The catalogue as it is now.
    Variant TheContainers(const Optional& index);

    ObjectRef OpenRecordset(const Text& name, Optional type, Optional options, Optional lockEdit);
    void Execute(const Text& query, Optional options);
    std::shared_ptr<TableDefObject> CreateTableDef(std::optional<Text> name, std::optional<std::int32_t> attributes,
                                                   std::optional<Text> sourceTable, std::optional<Text> connect);
    std::shared_ptr<RelationObject> CreateRelation(std::optional<Text> name, std::optional<Text> table,
                                                   std::optional<Text> foreignTable,
                                                   std::optional<std::int32_t> attributes);
    std::shared_ptr<QueryDefObject> CreateQueryDef(std::optional<Text> name, std::optional<Text> sql);
    void NewPassword(const Text& oldPassword, const Text& newPassword);
    void BeginTrans() { database_->Storage(), database_->TheWorkspace()->Begin(); }
    void CommitTrans() { database_->Storage(), database_->TheWorkspace()->Commit(); }
    void Rollback() { database_->Storage(), database_->TheWorkspace()->Rollback(); }
    void Close() { database_->Close(); }
    Variant Properties(const Optional& index);

    const DatabaseRef& Handle() const { return database_; }

private:
    DatabaseRef database_;
    std::shared_ptr<TableDefs> tableDefs_;
    std::shared_ptr<QueryDefs> queryDefs_;
    std::shared_ptr<Relations> relations_;
    std::int32_t recordsAffected_ = 0;
    std::int32_t recordsLeftOut_ = 0;
};

}  // namespace vmlib::engine
