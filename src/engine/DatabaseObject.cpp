#include "engine/DatabaseObject.h"

#include "automation/Convert.h"
#include "engine/ContainerObject.h"
#include "engine/PropertyObject.h"
#include "engine/Queries.h"
#include "engine/RecordsetOpening.h"
#include "engine/StatementRunner.h"
#include "sql/Parser.h"

namespace vmlib::engine {

std::vector<std::shared_ptr<RecordsetObject>> Recordsets::Load()
{
    std::vector<std::shared_ptr<RecordsetObject>> recordsets;
    for (const auto& cursor : database_->Cursors())
        if (cursor->IsOpen()) recordsets.push_back(std::make_shared<RecordsetObject>(cursor, cursor->TableName()));
    return recordsets;
}

DatabaseObject::DatabaseObject(DatabaseRef database)
    : EngineObject(database->TheSession()),
      database_(std::move(database)),
      tableDefs_(std::make_shared<TableDefs>(TheSession(), database_)),
      queryDefs_(std::make_shared<QueryDefs>(TheSession(), database_)),
      relations_(std::make_shared<Relations>(TheSession(), database_))
{
}

const MemberTable& DatabaseObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<DatabaseObject>(u"Database")
            .Property<&DatabaseObject::Name>(u"Name")
            .Property<&DatabaseObject::Connect>(u"Connect")
            .Property<&DatabaseObject::Version>(u"Version")
            .Property<&DatabaseObject::Updatable>(u"Updatable")
            .Property<&DatabaseObject::Transactions>(u"Transactions")
            .Property<&DatabaseObject::CollatingOrder>(u"CollatingOrder")
            .Property<&DatabaseObject::RecordsAffected>(u"RecordsAffected")
            .Property<&DatabaseObject::RecordsLeftOut>(u"RecordsLeftOut")
            .Property<&DatabaseObject::QueryTimeout>(u"QueryTimeout")
            .DefaultProperty<&DatabaseObject::TheTableDefs>(u"TableDefs", {u"Item"})
            .Property<&DatabaseObject::TheQueryDefs>(u"QueryDefs", {u"Item"})
            .Property<&DatabaseObject::TheRelations>(u"Relations", {u"Item"})
            .Property<&DatabaseObject::TheRecordsets>(u"Recordsets", {u"Item"})
            .Property<&DatabaseObject::TheContainers>(u"Containers", {u"Item"})
            .Method<&DatabaseObject::OpenRecordset>(u"OpenRecordset", {u"Name", u"Type", u"Options", u"LockEdit"})
            .Method<&DatabaseObject::Execute>(u"Execute", {u"Query", u"Options"})
            .Method<&DatabaseObject::CreateTableDef>(u"CreateTableDef",
                                                     {u"Name", u"Attributes", u"SourceTableName", u"Connect"})
            .Method<&DatabaseObject::CreateRelation>(u"CreateRelation",
                                                     {u"Name", u"Table", u"ForeignTable", u"Attributes"})
            .Method<&DatabaseObject::CreateQueryDef>(u"CreateQueryDef", {u"Name", u"SQLText"})
            .Method<&DatabaseObject::NewPassword>(u"NewPassword", {u"bstrOld", u"bstrNew"})
            .Method<&DatabaseObject::BeginTrans>(u"BeginTrans")
            .Method<&DatabaseObject::CommitTrans>(u"CommitTrans")
            .Method<&DatabaseObject::Rollback>(u"Rollback")
            .Method<&DatabaseObject::Close>(u"Close")
            .Property<&DatabaseObject::Properties>(u"Properties", {u"Item"});
    return table;
}

Text DatabaseObject::Connect()
{
    database_->Storage();
    return database_->Password().empty() ? Text() : u";PWD=" + database_->Password();
}

Text DatabaseObject::Version()
{
    return Decimal(database_->Storage().GetFacts().format) + u".0";
}

std::int32_t DatabaseObject::CollatingOrder()
{
    return database_->Storage().GetFacts().locale.langid;
}

Variant DatabaseObject::TheTableDefs(const Optional& index)
{
    database_->Storage();
    return CollectionOrItem(tableDefs_, index);
}

Variant DatabaseObject::TheQueryDefs(const Optional& index)
{
    database_->Storage();
    return CollectionOrItem(queryDefs_, index);
}

Variant DatabaseObject::TheRelations(const Optional& index)
{
    database_->Storage();
    return CollectionOrItem(relations_, index);
}

Variant DatabaseObject::TheRecordsets(const Optional& index)
{
    database_->Storage();
    return CollectionOrItem(std::make_shared<Recordsets>(TheSession(), database_), index);
}

Variant DatabaseObject::TheContainers(const Optional& index)
{
    database_->Storage();
    return CollectionOrItem(std::make_shared<Containers>(database_), index);
}

ObjectRef DatabaseObject::OpenRecordset(const Text& name, Optional type, Optional options, Optional lockEdit)
{
    auto records = OpenByName(database_, name, type, WithLockEdit(options, lockEdit), {});
    ApplyLockEdit(*records, lockEdit);
    return records;
}

void DatabaseObject::Execute(const Text& query, Optional options)
{
    database_->Storage();
    const bool stopAtError = options.Given() && (ToLong(options.value) & failOnErrorOption) != 0;
    const auto stored = [&] {
        const jet::ReadScope reading(database_->Storage().GetPager());
        return database_->Queries().FindQuery(query);
    }();
    const sql::Statement statement = sql::Parse(stored ? QueryText(*stored) : query);
    recordsAffected_ = 0;
    recordsLeftOut_ = 0;
    StatementRunner runner(*database_, {}, stopAtError);
    recordsAffected_ = runner.Run(statement);
    recordsLeftOut_ = runner.LeftOut();
}

std::shared_ptr<TableDefObject> DatabaseObject::CreateTableDef(std::optional<Text> name,
                                                               std::optional<std::int32_t> attributes,
                                                               std::optional<Text> sourceTable,
                                                               std::optional<Text> connect)
{
    database_->Storage();
    if ((sourceTable && !sourceTable->empty()) || (connect && !connect->empty()))
        throw Error(ErrorNumber::NotSupported);  // a linked table
    auto design = std::make_shared<TableDesign>();
    *design = {TheSession(), database_, name.value_or(Text()), static_cast<std::uint32_t>(attributes.value_or(0)),
               false};
    return std::make_shared<TableDefObject>(std::move(design));
}

std::shared_ptr<RelationObject> DatabaseObject::CreateRelation(std::optional<Text> name, std::optional<Text> table,
                                                               std::optional<Text> foreignTable,
                                                               std::optional<std::int32_t> attributes)
{
    database_->Storage();
    jet::RelationDefinition relation;
    relation.name = name.value_or(Text());
    relation.table = table.value_or(Text());
    relation.foreignTable = foreignTable.value_or(Text());
    relation.attributes = static_cast<std::uint32_t>(attributes.value_or(0));
    return std::make_shared<RelationObject>(database_, std::move(relation), false);
}

std::shared_ptr<QueryDefObject> DatabaseObject::CreateQueryDef(std::optional<Text> name, std::optional<Text> sql)
{
    jet::Database& storage = database_->Storage();
    const Text named = name.value_or(Text()), text = sql.value_or(Text());
    if (named.empty()) return std::make_shared<QueryDefObject>(database_, named, text, false);
    database_->RequireDesignable(named);
    if (storage.FindObject(named, queryObject)) throw Error(ErrorNumber::ObjectExists, {named});
    storage.StoreQuery(ToStoredQuery(named, text));
    auto query = std::make_shared<QueryDefObject>(database_, named, text, true);
    queryDefs_->Add(query);
    return query;
}

void DatabaseObject::NewPassword(const Text& oldPassword, const Text& newPassword)
{
    jet::Database& storage = database_->Storage();
    if (!database_->IsExclusive()) throw Error(ErrorNumber::PasswordShared);
    database_->RequireWritable();
    storage.SetPassword(oldPassword, newPassword);
    database_->SetPassword(newPassword);
}

Variant DatabaseObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

}  // namespace vmlib::engine
