#include "jet/Design.h"

#include <algorithm>

#include "jet/Names.h"
#include "jet/Relations.h"
#include "jet/SystemTables.h"

namespace vmlib::jet {

namespace {

constexpr auto missingTable = ErrorNumber::NoSuchObject;

// Fills in what a new column does not say and refuses what cannot be.
void Complete(ColumnDefinition& column, const SortLocale& locale)
{
    RequireName(column.name);
    if (!IsKnown(column.type)) throw Error(ErrorNumber::InvalidFieldType);
    const bool sized = column.type == ColumnType::Text || column.type == ColumnType::Binary;
    if (sized && column.size == 0) column.size = greatestTextSize;
    if (sized && column.size > greatestTextSize) throw Error(ErrorNumber::SizeTooLong, {column.name});
    if (column.autoNumber && column.type != ColumnType::Long) throw Error(ErrorNumber::InvalidFieldType);
    column.locale = locale;
}

void RequireFreeName(DatabaseFile& file, TextView name, std::int32_t except = 0)
{
    const ObjectEntry* other = file.Objects().ChildNamed(system::tablesContainer, name);
    if (other == nullptr || other->id == except) return;
    throw Error(other->type == system::tableType ? ErrorNumber::TableExists : ErrorNumber::ObjectExists, {Text(name)});
}

std::int32_t IdOf(Table& table)
{
    return static_cast<std::int32_t>(table.Definition().page);
}

/// Lets `change` alter the properties of a table, and stores them when they have become others.
template <class Change>
void AlterProperties(DatabaseFile& file, std::int32_t id, Change change)
{
    const Bytes before = file.Objects().StoredProperties(id);
    ObjectProperties properties = ObjectProperties::Decode(before);
    change(properties);
    const Bytes after = properties.Empty() ? Bytes() : properties.Encode();
    if (after != before) file.Objects().StoreProperties(id, after);
}

// The design of a table has changed.
void Finish(DatabaseFile& file, std::int32_t id)
{
    file.Objects().Touch(id);
    file.NoteDesign(static_cast<PageNumber>(id));
}

}  // namespace

void CreateTable(DatabaseFile& file, const TableDefinition& wanted)
{
    RequireName(wanted.name);
    RequireFreeName(file, wanted.name);
    if (wanted.columns.empty()) throw Error(ErrorNumber::NoFieldDefined);
    if (wanted.columns.size() > greatestColumnCount) throw Error(ErrorNumber::TooManyFields);
    TableDefinition table = wanted;
    table.page = noPage;
    table.system = false;
    const SortLocale locale = file.Locale();
    ObjectProperties properties;
    properties.own = table.properties;
    std::size_t autoNumbers = 0;
    for (ColumnDefinition& column : table.columns) {
        Complete(column, locale);
        if (&table.columns[*table.ColumnNamed(column.name)] != &column) throw Error(ErrorNumber::FieldDefinedTwice);
        if (column.autoNumber && ++autoNumbers > 1) throw Error(ErrorNumber::TwoAutoNumbers);
        if (!column.properties.Empty()) properties.OfField(column.name) = column.properties;
    }
    const TableDefinition made = Table::Create(file.GetPager(), file.Allocator(), std::move(table));
    ObjectEntry entry;
    entry.id = static_cast<std::int32_t>(made.page);
    entry.parent = system::tablesContainer;
    entry.name = wanted.name;
    entry.type = system::tableType;
    file.Objects().Add(entry, properties.Empty() ? Bytes() : properties.Encode());
}

void DropTable(DatabaseFile& file, TextView name)
{
    const auto table = file.OpenTable(name, missingTable);
    if (table->Definition().system) throw Error(ErrorNumber::NoPermission, {Text(name)});
    if (RelationUsesTable(file, name)) throw Error(ErrorNumber::IndexInUse);
    const std::int32_t id = IdOf(*table);
    file.ForgetTable(static_cast<PageNumber>(id));  // also when the rest fails: its object is of no use then
    table->Destroy();
    file.Objects().Remove(id);
}

void RenameTable(DatabaseFile& file, TextView from, TextView to)
{
    const auto table = file.OpenTable(from, missingTable);
    if (table->Definition().system) throw Error(ErrorNumber::NoPermission, {Text(from)});
    const std::int32_t id = IdOf(*table);
    RequireName(to);
    RequireFreeName(file, to, id);
    RenameTableInRelations(file, table->Definition().name, to);
    file.Objects().Rename(id, to);
    file.NoteDesign(static_cast<PageNumber>(id));
}

void CreateIndex(DatabaseFile& file, TextView tableName, const NewIndex& index)
{
    RequireName(index.name);
    const auto table = file.OpenTable(tableName);
    table->AddIndex(index, file.FilesPort(), file.TemporaryFolder());
    Finish(file, IdOf(*table));
}

// The index that a relation's one side rests on cannot go; on the many side the relation keeps the tree.
void DropIndex(DatabaseFile& file, TextView tableName, TextView name)
{
    const auto table = file.OpenTable(tableName);
    const TableDefinition& definition = table->Definition();
    const IndexDefinition* index = definition.IndexNamed(name);
    if (index == nullptr) throw Error(ErrorNumber::NoSuchIndex, {definition.name, Text(name)});
    const bool used = index->kind == IndexDefinition::Kind::Relation ||
                      std::ranges::any_of(definition.indexes, [&](const IndexDefinition& other) {
                          return other.kind == IndexDefinition::Kind::Relation && other.otherTableKind == 1 &&
                                 other.realIndex == index->realIndex;
                      });
    if (used) throw Error(ErrorNumber::IndexInUse);
    table->RemoveIndex(name);
    Finish(file, IdOf(*table));
}

void AddColumn(DatabaseFile& file, TextView tableName, ColumnDefinition column)
{
    const auto table = file.OpenTable(tableName);
    Complete(column, file.Locale());
    const TableDefinition& definition = table->Definition();
    if (definition.ColumnNamed(column.name)) throw Error(ErrorNumber::FieldExists, {definition.name, column.name});
    const bool second = column.autoNumber && std::ranges::any_of(definition.columns, &ColumnDefinition::autoNumber);
    if (second) throw Error(ErrorNumber::TwoAutoNumbers);
    if (column.ordinalPosition == 0 && !definition.columns.empty()) {
        column.ordinalPosition = static_cast<std::uint16_t>(definition.columns.back().ordinalPosition + 1);
    }
    table->AddColumn(column);
    const std::int32_t id = IdOf(*table);
    AlterProperties(file, id, [&](ObjectProperties& properties) {
        properties.RemoveField(column.name);  // of a former column of the name
        if (!column.properties.Empty()) properties.OfField(column.name) = column.properties;
    });
    Finish(file, id);
}

void DropColumn(DatabaseFile& file, TextView tableName, TextView column)
{
    const auto table = file.OpenTable(tableName);
    if (!table->Definition().ColumnNamed(column))
        throw Error(ErrorNumber::NoSuchField, {table->Definition().name, Text(column)});
    if (RelationUsesField(file, tableName, column)) throw Error(ErrorNumber::FieldInRelation);
    table->RemoveColumn(column);
    const std::int32_t id = IdOf(*table);
    AlterProperties(file, id, [&](ObjectProperties& properties) { properties.RemoveField(column); });
    Finish(file, id);
}

void RenameColumn(DatabaseFile& file, TextView tableName, TextView from, TextView to)
{
    RequireName(to);
    const auto table = file.OpenTable(tableName);
    const TableDefinition& definition = table->Definition();
    const auto position = definition.ColumnNamed(from);
    if (!position) throw Error(ErrorNumber::NoSuchField, {definition.name, Text(from)});
    const auto other = definition.ColumnNamed(to);
    if (other && other != position) throw Error(ErrorNumber::FieldExists, {definition.name, Text(to)});
    table->RenameColumn(from, to);
    RenameFieldInRelations(file, tableName, from, to);
    const std::int32_t id = IdOf(*table);
    AlterProperties(file, id, [&](ObjectProperties& properties) { properties.RenameField(from, to); });
    Finish(file, id);
}

void SetFieldProperties(DatabaseFile& file, TextView tableName, TextView column, const PropertyList& wanted)
{
    const auto table = file.OpenTable(tableName);
    const auto position = table->Definition().ColumnNamed(column);
    if (!position) throw Error(ErrorNumber::NoSuchField, {table->Definition().name, Text(column)});
    const Text name = table->Definition().columns[*position].name;
    const std::int32_t id = IdOf(*table);
    AlterProperties(file, id, [&](ObjectProperties& properties) {
        if (wanted.Empty()) {
            properties.RemoveField(name);
        } else {
            properties.OfField(name) = wanted;
        }
    });
    Finish(file, id);
}

void SetTableProperties(DatabaseFile& file, TextView tableName, const PropertyList& wanted)
{
    const std::int32_t id = IdOf(*file.OpenTable(tableName));
    AlterProperties(file, id, [&](ObjectProperties& properties) { properties.own = wanted; });
    Finish(file, id);
}

void SetFieldPosition(DatabaseFile& file, TextView tableName, TextView column, std::uint16_t position)
{
    const auto table = file.OpenTable(tableName);
    TableDefinition changed = table->Definition();
    const auto found = changed.ColumnNamed(column);
    if (!found) throw Error(ErrorNumber::NoSuchField, {changed.name, Text(column)});
    changed.columns[*found].ordinalPosition = position;
    table->RewriteDefinition(changed);
    Finish(file, IdOf(*table));
}

}  // namespace vmlib::jet
