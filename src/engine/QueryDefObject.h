#pragma once

#include "engine/FieldObject.h"
#include "engine/Handles.h"
#include "engine/Selection.h"

namespace vmlib::engine {

/// A parameter of a query: a name in its SQL that is no column.
class ParameterObject : public EngineObject<ParameterObject>
{
public:
    ParameterObject(SessionRef session, TextView name, sql::ValueType type)
        : EngineObject(std::move(session)), name_(name), type_(type)
    {
    }
    static const MemberTable& Members();

    Text Name() { return name_; }
    std::int16_t Type() const;
    Variant Value() const { return value_; }
    void SetValue(const Variant& value);

private:
    Text name_;
    sql::ValueType type_;
    Variant value_;
};

class ParameterList : public ListOf<ParameterObject>
{
public:
    explicit ParameterList(SessionRef session) : ListOf(std::move(session), u"Parameters") {}
    void Refresh() override {}
};

/// An output column of a query that is not open.
class QueryField : public FieldObject
{
public:
    QueryField(SessionRef session, sql::OutputColumn column)
        : FieldObject(std::move(session)), column_(std::move(column))
    {
    }
    Text Name() override { return column_.name; }
    std::int16_t Type() override;
    std::int32_t Size() override;
    Text SourceTable() override { return column_.sourceTable; }
    Text SourceField() override { return column_.sourceField; }

private:
    sql::OutputColumn column_;
};

class QueryFields : public ListOf<QueryField>
{
public:
    explicit QueryFields(SessionRef session) : ListOf(std::move(session), u"Fields") {}
    void Refresh() override {}
};

/// A stored query, or a temporary one that has no name.
class QueryDefObject : public EngineObject<QueryDefObject>
{
public:
    QueryDefObject(DatabaseRef database, TextView name, TextView sql, bool isStored);
    static const MemberTable& Members();

    bool IsOpen() const { return isOpen_; }
    Text Name() { return name_; }
    void SetName(const Text& name);
    Text Sql();
    void SetSql(const Text& sql);
    std::int16_t Type();
    Text Connect() const { return {}; }
    bool ReturnsRecords() const { return true; }
    /// Seconds that a query of another server may take; -1: any time. Kept, as nothing here goes to one.
    std::int16_t OdbcTimeout() const { return odbcTimeout_; }
    void SetOdbcTimeout(std::int16_t seconds);
    Date DateCreated();
    Date LastUpdated();
    bool Updatable() { return !database_->IsReadOnly(); }
    std::int32_t RecordsAffected() const { return recordsAffected_; }
    Variant Fields(const Optional& index);
    Variant TheParameters(const Optional& index);
    void PutParameter(const Optional& index, const Variant& value);
    ObjectRef OpenRecordset(Optional type, Optional options, Optional lockEdit);
    void Execute(Optional options);
    void Close();
    Variant Properties(const Optional& index);

private:
    void RequireOpen() const;
    const jet::ObjectEntry& Entry();
    sql::Statement Statement();
    Parameters ParameterValues();
    ParameterList& ParameterObjects();

    DatabaseRef database_;
    Text name_, sql_;
    bool isStored_;
    bool isOpen_ = true;
    std::int32_t recordsAffected_ = 0;
    std::int16_t odbcTimeout_ = 60;
    std::shared_ptr<ParameterList> parameters_;
};

class QueryDefs : public ListOf<QueryDefObject>
{
public:
    QueryDefs(SessionRef session, DatabaseRef database)
        : ListOf(std::move(session), u"QueryDefs"), database_(std::move(database))
    {
    }
    /// A query that was stored already becomes a member without being stored again.
    void Add(const std::shared_ptr<QueryDefObject>& query);

protected:
    std::vector<std::shared_ptr<QueryDefObject>> Load() override;
    /// Close ends an object, not the stored query: the next one asked for is new.
    ObjectRef At(std::size_t position) override;
    void Store(const std::shared_ptr<QueryDefObject>& query) override;
    void Remove(const std::shared_ptr<QueryDefObject>& query) override;

private:
    DatabaseRef database_;
};

}  // namespace vmlib::engine
