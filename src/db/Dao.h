#pragma once

#include "automation/Object.h"

/// Typed names for the members of the engine's objects that the document layer uses: one line a member, no logic. Any
/// engine that answers to these names will do. Every member raises the engine's error; a wrapper around Nothing raises
/// error 91.
namespace vmlib::db::dao {

inline constexpr std::int16_t dbText = 10;
inline constexpr std::int16_t dbMemo = 12;
inline constexpr std::int16_t dbOpenDynaset = 2;
inline constexpr std::int16_t dbOpenSnapshot = 4;
inline constexpr std::int16_t dbReadOnly = 4;
inline constexpr std::int32_t dbUpdateRegular = 1;

/// Dutch sort order, code page 1252.
inline constexpr TextView dbLangDutch = u";LANGID=0x0413;CP=1252;COUNTRY=0";

class Wrapper
{
public:
    Wrapper() = default;
    explicit Wrapper(ObjectRef object) : object_(std::move(object)) {}
    const ObjectRef& Reference() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

protected:
    ObjectRef object_;
};

/// A collection of the engine: positions count from 0.
template <class T>
class Items : public Wrapper
{
public:
    using Wrapper::Wrapper;
    std::int32_t Count() const;
    T Item(std::int32_t position) const;
    T Item(TextView name) const;
    void Append(const T& item) const;
};

class Field : public Wrapper
{
public:
    using Wrapper::Wrapper;
    Text Name() const;
    void SetName(TextView name) const;
    std::int16_t Type() const;
    void SetType(std::int16_t type) const;
    void SetSize(std::int16_t size) const;
    void SetAttributes(std::int16_t attributes) const;
    void SetAllowZeroLength(bool allow) const;
    void SetForeignName(TextView name) const;
    Variant Value() const;
    void SetValue(const Variant& value) const;
};

class Index : public Wrapper
{
public:
    using Wrapper::Wrapper;
    void SetName(TextView name) const;
    void SetFields(TextView names) const;  // joined by ";"
    void SetPrimary(bool primary) const;
    void SetUnique(bool unique) const;
};

class TableDef : public Wrapper
{
public:
    using Wrapper::Wrapper;
    Text Name() const;
    void SetName(TextView name) const;
    Items<Field> Fields() const;
    Items<Index> Indexes() const;
    Field CreateField() const;
    Field CreateField(TextView name) const;
    Index CreateIndex() const;
};

class Relation : public Wrapper
{
public:
    using Wrapper::Wrapper;
    void SetTable(TextView name) const;
    void SetForeignTable(TextView name) const;
    void SetAttributes(std::int32_t attributes) const;
    Items<Field> Fields() const;
    Field CreateField(TextView name) const;
};

class QueryDef : public Wrapper
{
public:
    using Wrapper::Wrapper;
    void SetSql(TextView sql) const;
    void Close() const;
};

class Recordset : public Wrapper
{
public:
    using Wrapper::Wrapper;
    bool AtBeginning() const;  // BOF
    bool AtEnd() const;        // EOF
    void MoveFirst() const;
    void MoveNext() const;
    dao::Field Field(TextView name) const;
    void Edit() const;
    void Update() const;
    void Close() const;
};

class Database : public Wrapper
{
public:
    using Wrapper::Wrapper;
    Text Name() const;
    Items<TableDef> TableDefs() const;
    Items<Relation> Relations() const;
    TableDef CreateTableDef() const;
    TableDef CreateTableDef(TextView name) const;
    Relation CreateRelation(TextView name) const;
    QueryDef CreateQueryDef(TextView name) const;
    Recordset OpenRecordset(TextView source) const;
    Recordset OpenRecordset(TextView source, std::int16_t type) const;
    Recordset OpenRecordset(TextView source, std::int16_t type, std::int16_t options) const;
    void Execute(TextView sql) const;
    void Close() const;
};

class Workspace : public Wrapper
{
public:
    using Wrapper::Wrapper;
    Database OpenDatabase(TextView name, bool exclusive, bool readOnly, TextView connect) const;
    Database CreateDatabase(TextView name, TextView locale) const;
};

class DBEngine : public Wrapper
{
public:
    using Wrapper::Wrapper;
    Items<Workspace> Workspaces() const;
    void RepairDatabase(TextView name) const;
    void CompactDatabase(TextView source, TextView destination, TextView destinationLocale) const;
};

}  // namespace vmlib::db::dao
