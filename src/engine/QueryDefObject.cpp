#include "engine/QueryDefObject.h"

#include "automation/Convert.h"
#include "engine/PropertyObject.h"
#include "engine/Queries.h"
#include "engine/RecordsetObject.h"
#include "engine/RecordsetOpening.h"
#include "engine/StatementRunner.h"
#include "engine/Values.h"
#include "sql/Parser.h"

namespace vmlib::engine {

const MemberTable& ParameterObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<ParameterObject>(u"Parameter")
            .Property<&ParameterObject::Name>(u"Name")
            .Property<&ParameterObject::Type>(u"Type")
            .DefaultProperty<&ParameterObject::Value, &ParameterObject::SetValue>(u"Value");
    return table;
}

std::int16_t ParameterObject::Type() const
{
    return static_cast<std::int16_t>(ToColumnType(type_));
}

void ParameterObject::SetValue(const Variant& value)
{
    value_ = value;
}

std::int16_t QueryField::Type()
{
    return static_cast<std::int16_t>(ToColumnType(column_.type));
}

std::int32_t QueryField::Size()
{
    const auto fixed = jet::FixedSize(ToColumnType(column_.type));
    return fixed ? *fixed : column_.size;
}

QueryDefObject::QueryDefObject(DatabaseRef database, TextView name, TextView sql, bool isStored)
    : EngineObject(database->TheSession()), database_(std::move(database)), name_(name), sql_(sql), isStored_(isStored)
{
}

const MemberTable& QueryDefObject::Members()
{
    static const MemberTable table =
        MemberTable::Of<QueryDefObject>(u"QueryDef")
            .Property<&QueryDefObject::Name, &QueryDefObject::SetName>(u"Name")
            .Property<&QueryDefObject::Sql, &QueryDefObject::SetSql>(u"SQL")
            .Property<&QueryDefObject::Type>(u"Type")
            .Property<&QueryDefObject::Connect>(u"Connect")
            .Property<&QueryDefObject::ReturnsRecords>(u"ReturnsRecords")
            .Property<&QueryDefObject::OdbcTimeout, &QueryDefObject::SetOdbcTimeout>(u"ODBCTimeout")
            .Property<&QueryDefObject::DateCreated>(u"DateCreated")
            .Property<&QueryDefObject::LastUpdated>(u"LastUpdated")
            .Property<&QueryDefObject::Updatable>(u"Updatable")
            .Property<&QueryDefObject::RecordsAffected>(u"RecordsAffected")
            .Property<&QueryDefObject::Fields>(u"Fields", {u"Item"})
            .DefaultProperty<&QueryDefObject::TheParameters, &QueryDefObject::PutParameter>(u"Parameters", {u"Item"})
            .Method<&QueryDefObject::OpenRecordset>(u"OpenRecordset", {u"Type", u"Options", u"LockEdit"})
            .Method<&QueryDefObject::Execute>(u"Execute", {u"Options"})
            .Method<&QueryDefObject::Close>(u"Close")
            .Property<&QueryDefObject::Properties>(u"Properties", {u"Item"});
    return table;
}

void QueryDefObject::RequireOpen() const
{
    if (!isOpen_) throw Error(ErrorNumber::ObjectInvalid);
}

void QueryDefObject::SetName(const Text& name)
{
    RequireOpen();
    if (isStored_) {
        database_->RequireDesignable(name_);
        database_->Storage().RenameQuery(name_, name);
    }
    name_ = name;
}

Text QueryDefObject::Sql()
{
    RequireOpen();
    if (!isStored_) return sql_;
    const auto query = database_->Queries().FindQuery(name_);
    if (!query) throw Error(ErrorNumber::NotInCollection);
    return QueryText(*query);
}

void QueryDefObject::SetSql(const Text& sql)
{
    RequireOpen();
    if (isStored_) {
        database_->RequireDesignable(name_);
        database_->Storage().StoreQuery(ToStoredQuery(name_, sql));
    } else {
        ToStoredQuery(name_, sql);  // its syntax is checked
    }
    sql_ = sql;
    parameters_.reset();
}

std::int16_t QueryDefObject::Type()
{
    RequireOpen();
    if (!isStored_) return static_cast<std::int16_t>(QueryType(ToStoredQuery(name_, sql_)));
    const auto query = database_->Queries().FindQuery(name_);
    if (!query) throw Error(ErrorNumber::NotInCollection);
    return static_cast<std::int16_t>(QueryType(*query));
}

void QueryDefObject::SetOdbcTimeout(std::int16_t seconds)
{
    RequireOpen();
    if (seconds < -1) throw Error(ErrorNumber::InvalidArgument);
    odbcTimeout_ = seconds;
}

const jet::ObjectEntry& QueryDefObject::Entry()
{
    RequireOpen();
    if (!isStored_) throw Error(ErrorNumber::InvalidOperation);
    const auto* entry = database_->Storage().FindObject(name_, queryObject);
    if (!entry) throw Error(ErrorNumber::NotInCollection);
    return *entry;
}

Date QueryDefObject::DateCreated()
{
    return Entry().created;
}

Date QueryDefObject::LastUpdated()
{
    return Entry().updated;
}

sql::Statement QueryDefObject::Statement()
{
    return sql::Parse(Sql());
}

ParameterList& QueryDefObject::ParameterObjects()
{
    RequireOpen();
    if (parameters_) return *parameters_;
    auto list = std::make_shared<ParameterList>(TheSession());
    QueryEngine& engine = database_->Queries();
    const QueryEngine::Scope scope(engine);
    const Parameters none;
    const QueryEngine::Values values(engine, none, true);
    const sql::Statement statement = Statement();
    std::vector<sql::ParameterUse> uses;
    if (const auto* select = std::get_if<sql::SelectStatement>(&statement))
        uses = sql::TranslateSelect(*select, engine).parameters;
    else if (const auto* insert = std::get_if<sql::InsertStatement>(&statement))
        uses = sql::TranslateInsert(*insert, engine).select.parameters;
    else if (const auto* update = std::get_if<sql::UpdateStatement>(&statement))
        uses = sql::TranslateUpdate(*update, engine).select.parameters;
    else if (const auto* remove = std::get_if<sql::DeleteStatement>(&statement))
        uses = sql::TranslateDelete(*remove, engine).select.parameters;
    for (const auto& use : uses)
        list->Items().push_back(std::make_shared<ParameterObject>(TheSession(), use.name, use.type));
    parameters_ = std::move(list);
    return *parameters_;
}

Parameters QueryDefObject::ParameterValues()
{
    Parameters values;
    if (!parameters_) return values;
    for (const auto& parameter : parameters_->Items()) values[parameter->Name()] = parameter->Value();
    return values;
}

Variant QueryDefObject::TheParameters(const Optional& index)
{
    ParameterObjects();
    return CollectionOrItem(parameters_, index);
}

void QueryDefObject::PutParameter(const Optional& index, const Variant& value)
{
    ParameterObjects().PutItem(index.value, value);
}

Variant QueryDefObject::Fields(const Optional& index)
{
    RequireOpen();
    auto fields = std::make_shared<QueryFields>(TheSession());
    QueryEngine& engine = database_->Queries();
    const QueryEngine::Scope scope(engine);
    const Parameters given = ParameterValues();
    const QueryEngine::Values values(engine, given, true);
    const sql::Statement statement = Statement();
    if (const auto* select = std::get_if<sql::SelectStatement>(&statement))
        for (auto& column : sql::TranslateSelect(*select, engine).columns)
            fields->Items().push_back(std::make_shared<QueryField>(TheSession(), std::move(column)));
    return CollectionOrItem(fields, index);
}

ObjectRef QueryDefObject::OpenRecordset(Optional type, Optional options, Optional lockEdit)
{
    RequireOpen();
    auto records = OpenSelect(database_, name_.empty() ? sql_ : name_, RequireSelect(Statement()), type,
                              WithLockEdit(options, lockEdit), ParameterValues());
    ApplyLockEdit(*records, lockEdit);
    return records;
}

void QueryDefObject::Execute(Optional options)
{
    RequireOpen();
    const bool stopAtError = options.Given() && (ToLong(options.value) & failOnErrorOption) != 0;
    recordsAffected_ = StatementRunner(*database_, ParameterValues(), stopAtError).Run(Statement());
}

void QueryDefObject::Close()
{
    RequireOpen();
    isOpen_ = false;
}

Variant QueryDefObject::Properties(const Optional& index)
{
    return PropertiesMember(*this, index);
}

std::vector<std::shared_ptr<QueryDefObject>> QueryDefs::Load()
{
    std::vector<std::shared_ptr<QueryDefObject>> queries;
    for (const auto& query : database_->Storage().Queries())
        queries.push_back(std::make_shared<QueryDefObject>(database_, query.name, Text(), true));
    return queries;
}

ObjectRef QueryDefs::At(std::size_t position)
{
    auto& query = Items()[position];
    if (!query->IsOpen()) query = std::make_shared<QueryDefObject>(database_, query->Name(), Text(), true);
    return query;
}

void QueryDefs::Add(const std::shared_ptr<QueryDefObject>& query)
{
    // A collection that is loaded only now has the query already.
    if (!Find(query->Name())) Items().push_back(query);
}

void QueryDefs::Store(const std::shared_ptr<QueryDefObject>& query)
{
    // A temporary query that got a name; stored ones are members from the start.
    if (query->Name().empty() || Find(query->Name())) throw Error(ErrorNumber::ObjectExists, {query->Name()});
    database_->RequireDesignable(query->Name());
    database_->Storage().StoreQuery(ToStoredQuery(query->Name(), query->Sql()));
}

void QueryDefs::Remove(const std::shared_ptr<QueryDefObject>& query)
{
    database_->RequireDesignable(query->Name());
    database_->Storage().DropQuery(query->Name());
}

}  // namespace vmlib::engine
