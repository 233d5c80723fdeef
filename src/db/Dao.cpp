#include "db/Dao.h"

#include "automation/Convert.h"

namespace vmlib::db::dao {

// clang-format off
template <class T> std::int32_t Items<T>::Count() const { return ToLong(Get(object_, u"Count")); }
template <class T> T Items<T>::Item(std::int32_t position) const { return T(ToObject(Get(object_, u"Item", position))); }
template <class T> T Items<T>::Item(TextView name) const { return T(ToObject(Get(object_, u"Item", name))); }
template <class T> void Items<T>::Append(const T& item) const { Call(object_, u"Append", item.Reference()); }

template class Items<Field>;
template class Items<Index>;
template class Items<TableDef>;
template class Items<Relation>;
template class Items<Workspace>;

Text Field::Name() const { return ToText(Get(object_, u"Name")); }
void Field::SetName(TextView name) const { Put(object_, u"Name", name); }
std::int16_t Field::Type() const { return ToInteger(Get(object_, u"Type")); }
void Field::SetType(std::int16_t type) const { Put(object_, u"Type", type); }
void Field::SetSize(std::int16_t size) const { Put(object_, u"Size", size); }
void Field::SetAttributes(std::int16_t attributes) const { Put(object_, u"Attributes", attributes); }
void Field::SetAllowZeroLength(bool allow) const { Put(object_, u"AllowZeroLength", allow); }
void Field::SetForeignName(TextView name) const { Put(object_, u"ForeignName", name); }
Variant Field::Value() const { return Get(object_, u"Value"); }
void Field::SetValue(const Variant& value) const { Put(object_, u"Value", value); }

void Index::SetName(TextView name) const { Put(object_, u"Name", name); }
void Index::SetFields(TextView names) const { Put(object_, u"Fields", names); }
void Index::SetPrimary(bool primary) const { Put(object_, u"Primary", primary); }
void Index::SetUnique(bool unique) const { Put(object_, u"Unique", unique); }

Text TableDef::Name() const { return ToText(Get(object_, u"Name")); }
void TableDef::SetName(TextView name) const { Put(object_, u"Name", name); }
Items<Field> TableDef::Fields() const { return Items<Field>(ToObject(Get(object_, u"Fields"))); }
Items<Index> TableDef::Indexes() const { return Items<Index>(ToObject(Get(object_, u"Indexes"))); }
Field TableDef::CreateField() const { return Field(ToObject(Call(object_, u"CreateField"))); }
Field TableDef::CreateField(TextView name) const { return Field(ToObject(Call(object_, u"CreateField", name))); }
Index TableDef::CreateIndex() const { return Index(ToObject(Call(object_, u"CreateIndex"))); }

void Relation::SetTable(TextView name) const { Put(object_, u"Table", name); }
void Relation::SetForeignTable(TextView name) const { Put(object_, u"ForeignTable", name); }
void Relation::SetAttributes(std::int32_t attributes) const { Put(object_, u"Attributes", attributes); }
Items<Field> Relation::Fields() const { return Items<Field>(ToObject(Get(object_, u"Fields"))); }
Field Relation::CreateField(TextView name) const { return Field(ToObject(Call(object_, u"CreateField", name))); }

void QueryDef::SetSql(TextView sql) const { Put(object_, u"SQL", sql); }
void QueryDef::Close() const { Call(object_, u"Close"); }

bool Recordset::AtBeginning() const { return ToBoolean(Get(object_, u"BOF")); }
bool Recordset::AtEnd() const { return ToBoolean(Get(object_, u"EOF")); }
void Recordset::MoveFirst() const { Call(object_, u"MoveFirst"); }
void Recordset::MoveNext() const { Call(object_, u"MoveNext"); }
dao::Field Recordset::Field(TextView name) const { return Items<dao::Field>(ToObject(Get(object_, u"Fields"))).Item(name); }
void Recordset::Edit() const { Call(object_, u"Edit"); }
void Recordset::Update() const { Call(object_, u"Update", dbUpdateRegular, false); }
void Recordset::Close() const { Call(object_, u"Close"); }

Text Database::Name() const { return ToText(Get(object_, u"Name")); }
Items<TableDef> Database::TableDefs() const { return Items<TableDef>(ToObject(Get(object_, u"TableDefs"))); }
Items<Relation> Database::Relations() const { return Items<Relation>(ToObject(Get(object_, u"Relations"))); }
TableDef Database::CreateTableDef() const { return TableDef(ToObject(Call(object_, u"CreateTableDef"))); }
TableDef Database::CreateTableDef(TextView name) const { return TableDef(ToObject(Call(object_, u"CreateTableDef", name))); }
Relation Database::CreateRelation(TextView name) const { return Relation(ToObject(Call(object_, u"CreateRelation", name))); }
QueryDef Database::CreateQueryDef(TextView name) const { return QueryDef(ToObject(Call(object_, u"CreateQueryDef", name))); }
Recordset Database::OpenRecordset(TextView source) const { return Recordset(ToObject(Call(object_, u"OpenRecordset", source))); }
Recordset Database::OpenRecordset(TextView source, std::int16_t type) const { return Recordset(ToObject(Call(object_, u"OpenRecordset", source, type))); }
Recordset Database::OpenRecordset(TextView source, std::int16_t type, std::int16_t options) const { return Recordset(ToObject(Call(object_, u"OpenRecordset", source, type, options))); }
void Database::Execute(TextView sql) const { Call(object_, u"Execute", sql); }
void Database::Close() const { Call(object_, u"Close"); }

Database Workspace::OpenDatabase(TextView name, bool exclusive, bool readOnly, TextView connect) const { return Database(ToObject(Call(object_, u"OpenDatabase", name, exclusive, readOnly, connect))); }
Database Workspace::CreateDatabase(TextView name, TextView locale) const { return Database(ToObject(Call(object_, u"CreateDatabase", name, locale))); }

Items<Workspace> DBEngine::Workspaces() const { return Items<Workspace>(ToObject(Get(object_, u"Workspaces"))); }
void DBEngine::RepairDatabase(TextView name) const { Call(object_, u"RepairDatabase", name); }
void DBEngine::CompactDatabase(TextView source, TextView destination, TextView destinationLocale) const { Call(object_, u"CompactDatabase", source, destination, destinationLocale); }
// clang-format on

}  // namespace vmlib::db::dao
