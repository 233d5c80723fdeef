#include "jet/Relations.h"

#include <algorithm>
#include <map>

#include "jet/Names.h"
#include "jet/SystemTables.h"

// A relation is a row a field in MSysRelationships and an object of type 8 under the container Relationships. An
// enforced one has also
//
//   in the foreign table    a logical index of kind 2 with the relation's name, side 2, over a tree of the foreign
//                           fields (shared when there is one)
//   in the primary table    a logical index of kind 2 named ".r" and a letter, side 1, over the tree of its unique
//                           index
//
// and each of the two names the other's table and number. The letter is 'A' plus the index number. Source:
// docs/file-format.md, "Relations".

namespace vmlib::jet {

namespace {

namespace column = system::relation;

constexpr std::uint8_t primarySide = 1, foreignSide = 2;

using FieldPairs = std::vector<std::pair<std::size_t, std::size_t>>;  // positions in the primary and the foreign table

Text TextOf(const Row& row, std::size_t at)
{
    return TextOr(row[at], {});
}

std::int32_t LongOf(const Row& row, std::size_t at)
{
    const auto* value = std::get_if<std::int32_t>(&row[at]);
    return value != nullptr ? *value : 0;
}

std::shared_ptr<Table> RelationRows(DatabaseFile& file)
{
    return file.OpenTable(system::relationships);
}

FieldPairs FieldsOf(const RelationDefinition& relation, const TableDefinition& table, const TableDefinition& foreign)
{
    FieldPairs pairs;
    for (const auto& [field, foreignField] : relation.fields) {
        const auto position = table.ColumnNamed(field);
        const auto foreignPosition = foreign.ColumnNamed(foreignField);
        if (!position) throw Error(ErrorNumber::BadIndexField, {field});
        if (!foreignPosition) throw Error(ErrorNumber::BadIndexField, {foreignField});
        if (table.columns[*position].type != foreign.columns[*foreignPosition].type)
            throw Error(ErrorNumber::RelationFieldsDiffer);
        pairs.emplace_back(*position, *foreignPosition);
    }
    return pairs;
}

// The tree of the one side: unique over exactly the relation's fields, in any order; the primary key goes first.
std::size_t UniqueTreeOver(const TableDefinition& table, const FieldPairs& fields)
{
    const auto fits = [&](const TreeDefinition& tree) {
        return tree.unique && tree.columns.size() == fields.size() &&
               std::ranges::all_of(fields, [&](const auto& pair) {
                   const std::uint16_t number = table.columns[pair.first].number;
                   return std::ranges::any_of(tree.columns,
                                              [&](const IndexColumn& each) { return each.column == number; });
               });
    };
    const auto primary = std::ranges::find_if(
        table.indexes, [](const IndexDefinition& index) { return index.kind == IndexDefinition::Kind::Primary; });
    if (primary != table.indexes.end() && fits(table.TreeOf(*primary))) return primary->realIndex;
    const auto found = std::ranges::find_if(table.trees, fits);
    if (found == table.trees.end()) throw Error(ErrorNumber::NoUniqueIndex);
    return static_cast<std::size_t>(found - table.trees.begin());
}

// The foreign fields in the order of the tree that they are looked up in.
std::vector<IndexColumn> ForeignColumns(const TableDefinition& table, const TreeDefinition& tree,
                                        const TableDefinition& foreign, const FieldPairs& fields)
{
    std::vector<IndexColumn> columns;
    for (const IndexColumn& each : tree.columns) {
        const auto pair = std::ranges::find_if(
            fields, [&](const auto& one) { return table.columns[one.first].number == each.column; });
        columns.push_back({foreign.columns[pair->second].number, false});
    }
    return columns;
}

// A row of the many side whose fields are all there needs a row on the other side.
void RefuseOrphans(Table& table, std::size_t realIndex, Table& foreign, const FieldPairs& fields)
{
    const TableDefinition primary = table.Definition();
    const TableDefinition many = foreign.Definition();
    const TreeDefinition& tree = primary.trees[realIndex];
    const IndexTree keys = table.Tree(realIndex);
    ColumnMask mask(many.columns.size(), false);
    for (const auto& pair : fields) mask[pair.second] = true;
    Row sought(primary.columns.size());
    for (auto cursor = foreign.Scan(mask); cursor.Next();) {
        const Row& row = cursor.Current();
        if (std::ranges::any_of(fields, [&](const auto& pair) { return IsNull(row[pair.second]); })) continue;
        for (const auto& pair : fields) sought[pair.first] = row[pair.second];
        const auto key = IndexKey::Of(primary, tree, sought);
        if (key && !keys.Contains(*key)) throw Error(ErrorNumber::DataViolatesRelation, {primary.name, many.name});
    }
}

void AddIndexes(DatabaseFile& file, const RelationDefinition& relation, Table& table, Table& foreign)
{
    const FieldPairs fields = FieldsOf(relation, table.Definition(), foreign.Definition());
    const std::size_t realIndex = UniqueTreeOver(table.Definition(), fields);
    RefuseOrphans(table, realIndex, foreign, fields);

    IndexDefinition many;
    many.name = relation.name;
    many.kind = IndexDefinition::Kind::Relation;
    many.otherTableKind = foreignSide;
    many.otherTable = table.Definition().page;
    many.cascadeUpdate = relation.CascadesUpdates();
    many.cascadeDelete = relation.CascadesDeletes();
    const auto columns =
        ForeignColumns(table.Definition(), table.Definition().trees[realIndex], foreign.Definition(), fields);
    many.realIndex = static_cast<std::uint32_t>(foreign.TreeOver(columns, file.FilesPort(), file.TemporaryFolder()));
    many.number = foreign.NextIndexNumber();

    IndexDefinition one = many;
    one.otherTableKind = primarySide;
    one.otherTable = foreign.Definition().page;
    one.otherIndex = static_cast<std::int32_t>(many.number);
    one.realIndex = static_cast<std::uint32_t>(realIndex);
    // Of a table that relates to itself both are numbered in one row of indexes.
    const bool ofItself = one.otherTable == many.otherTable;
    if (ofItself) foreign.AddLogicalIndex(many);
    one.number = table.NextIndexNumber();
    one.name = Text(u".r") + static_cast<char16_t>(u'A' + one.number);
    many.otherIndex = static_cast<std::int32_t>(one.number);
    if (ofItself) {
        foreign.SetOtherIndex(many.number, many.otherIndex);
    } else {
        foreign.AddLogicalIndex(many);
    }
    table.AddLogicalIndex(one);
}

void RemoveIndexes(DatabaseFile& file, const RelationDefinition& relation)
{
    const auto foreign = file.OpenTable(relation.foreignTable);
    const IndexDefinition* many = foreign->Definition().IndexNamed(relation.name);
    if (many == nullptr || many->kind != IndexDefinition::Kind::Relation) return;
    const std::int32_t otherIndex = many->otherIndex;
    const auto table = file.OpenTable(relation.table);
    for (const IndexDefinition& index : table->Definition().indexes) {
        const bool ours = index.kind == IndexDefinition::Kind::Relation && index.otherTableKind == primarySide &&
                          static_cast<std::int32_t>(index.number) == otherIndex &&
                          index.otherTable == foreign->Definition().page;
        if (!ours) continue;
        table->RemoveIndex(Text(index.name));
        break;
    }
    foreign->RemoveIndex(relation.name);
    file.NoteDesign(table->Definition().page);
    file.NoteDesign(foreign->Definition().page);
}

void InsertRows(DatabaseFile& file, const RelationDefinition& relation)
{
    const auto rows = RelationRows(file);
    for (std::size_t i = 0; i < relation.fields.size(); ++i) {
        Row row(rows->Definition().columns.size());
        row[column::name] = ToAnsi(relation.name);
        row[column::attributes] = static_cast<std::int32_t>(relation.attributes);
        row[column::columnCount] = static_cast<std::int32_t>(relation.fields.size());
        row[column::column] = static_cast<std::int32_t>(i);
        row[column::foreignTable] = ToAnsi(relation.foreignTable);
        row[column::foreignColumn] = ToAnsi(relation.fields[i].second);
        row[column::table] = ToAnsi(relation.table);
        row[column::tableColumn] = ToAnsi(relation.fields[i].first);
        rows->Insert(row);
    }
}

/// Lets `change` alter the rows of MSysRelationships; it says whether it did.
template <class Change>
void AlterRows(DatabaseFile& file, Change change)
{
    const auto rows = RelationRows(file);
    for (auto cursor = rows->Scan(); cursor.Next();) {
        Row row = cursor.Current();
        if (change(row)) rows->Update(cursor.Where(), row);
    }
}

}  // namespace

std::vector<RelationDefinition> ReadRelations(DatabaseFile& file)
{
    const ReadScope scope(file.GetPager());
    std::map<Text, std::map<std::int32_t, Row>> byName;
    const auto rows = RelationRows(file);
    for (auto cursor = rows->Scan(); cursor.Next();) {
        const Row& row = cursor.Current();
        byName[UpperCase(TrimRight(TextOf(row, column::name)))].emplace(LongOf(row, column::column), row);
    }
    std::vector<RelationDefinition> relations;
    for (const auto& entry : byName) {
        const Row& first = entry.second.begin()->second;
        RelationDefinition relation;
        relation.name = TextOf(first, column::name);
        relation.table = TextOf(first, column::table);
        relation.foreignTable = TextOf(first, column::foreignTable);
        relation.attributes = static_cast<std::uint32_t>(LongOf(first, column::attributes));
        for (const auto& field : entry.second) {
            relation.fields.emplace_back(TextOf(field.second, column::tableColumn),
                                         TextOf(field.second, column::foreignColumn));
        }
        relations.push_back(std::move(relation));
    }
    return relations;
}

void CreateRelation(DatabaseFile& file, const RelationDefinition& wanted)
{
    RequireName(wanted.name);
    if (wanted.fields.empty()) throw Error(ErrorNumber::RelationWithoutFields);
    if (file.Objects().ChildNamed(system::relationshipsContainer, wanted.name) != nullptr) {
        throw Error(ErrorNumber::ObjectExists, {wanted.name});
    }
    const auto table = file.OpenTable(wanted.table);
    const auto foreign = file.OpenTable(wanted.foreignTable);
    RelationDefinition relation = wanted;
    relation.table = table->Definition().name;
    relation.foreignTable = foreign->Definition().name;
    const FieldPairs fields = FieldsOf(relation, table->Definition(), foreign->Definition());
    for (std::size_t i = 0; i < fields.size(); ++i) {
        relation.fields[i] = {table->Definition().columns[fields[i].first].name,
                              foreign->Definition().columns[fields[i].second].name};
    }
    if (relation.Enforced()) AddIndexes(file, relation, *table, *foreign);
    InsertRows(file, relation);
    ObjectEntry entry;
    entry.parent = system::relationshipsContainer;
    entry.name = relation.name;
    entry.type = system::relationType;
    file.Objects().Add(entry, {});
    file.NoteDesign(table->Definition().page);
    file.NoteDesign(foreign->Definition().page);
}

void DropRelation(DatabaseFile& file, TextView name)
{
    const auto relations = ReadRelations(file);
    const ObjectEntry* entry = file.Objects().ChildNamed(system::relationshipsContainer, name);
    const auto relation = std::ranges::find_if(relations, [&](const auto& each) { return SameName(each.name, name); });
    if (relation == relations.end() && entry == nullptr) throw Error(ErrorNumber::NoSuchObject, {Text(name)});
    const std::int32_t id = entry != nullptr ? entry->id : 0;
    if (relation != relations.end()) RemoveIndexes(file, *relation);
    const auto rows = RelationRows(file);
    for (auto cursor = rows->Scan(); cursor.Next();) {
        if (SameName(TextOf(cursor.Current(), column::name), name)) rows->Delete(cursor.Where());
    }
    if (id != 0) file.Objects().Remove(id);
}

bool RelationUsesTable(DatabaseFile& file, TextView table)
{
    return std::ranges::any_of(ReadRelations(file), [&](const RelationDefinition& relation) {
        return SameName(relation.table, table) || SameName(relation.foreignTable, table);
    });
}

bool RelationUsesField(DatabaseFile& file, TextView table, TextView field)
{
    return std::ranges::any_of(ReadRelations(file), [&](const RelationDefinition& relation) {
        return std::ranges::any_of(relation.fields, [&](const auto& pair) {
            return (SameName(relation.table, table) && EqualIgnoringCase(pair.first, field)) ||
                   (SameName(relation.foreignTable, table) && EqualIgnoringCase(pair.second, field));
        });
    });
}

void RenameTableInRelations(DatabaseFile& file, TextView from, TextView to)
{
    AlterRows(file, [&](Row& row) {
        bool changed = false;
        for (const std::size_t at : {std::size_t{column::table}, std::size_t{column::foreignTable}}) {
            if (!SameName(TextOf(row, at), from)) continue;
            row[at] = ToAnsi(to);
            changed = true;
        }
        return changed;
    });
}

void RenameFieldInRelations(DatabaseFile& file, TextView table, TextView from, TextView to)
{
    AlterRows(file, [&](Row& row) {
        bool changed = false;
        const std::pair<std::size_t, std::size_t> sides[] = {{column::table, column::tableColumn},
                                                             {column::foreignTable, column::foreignColumn}};
        for (const auto& [tableAt, columnAt] : sides) {
            if (!SameName(TextOf(row, tableAt), table) || !EqualIgnoringCase(TextOf(row, columnAt), from)) continue;
            row[columnAt] = ToAnsi(to);
            changed = true;
        }
        return changed;
    });
}

}  // namespace vmlib::jet
