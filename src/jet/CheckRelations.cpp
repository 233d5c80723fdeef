// Relations stand in three places that must agree: rows of MSysRelationships, a row of MSysObjects, and for enforced
// ones a logical index on each side. And the rows of the foreign table must have their parents.

#include <algorithm>

#include "jet/CheckCatalogue.h"
#include "jet/SystemTables.h"

namespace vmlib::jet {
namespace {

constexpr std::uint8_t otherIsForeign = 1;  // the index stands on the primary table
constexpr std::uint8_t otherIsPrimary = 2;
constexpr std::size_t greatestOrphanCount = 10;  // faults a relation

const IndexDefinition* IndexNumbered(const TableDefinition& table, std::int64_t number)
{
    for (const IndexDefinition& index : table.indexes) {
        if (index.number == number) return &index;
    }
    return nullptr;
}

std::int64_t NumberOf(const TableCheck& table, const Row& row, TextView column)
{
    const auto* number = std::get_if<std::int32_t>(&table.ValueOf(row, column));
    return number != nullptr ? *number : 0;
}

Text TextOf(const TableCheck& table, const Row& row, TextView column)
{
    const auto* ansi = std::get_if<std::string>(&table.ValueOf(row, column));
    return ansi != nullptr ? FromAnsi(*ansi) : Text();
}

}  // namespace

void CatalogueCheck::CheckRelations()
{
    const TableCheck* source = TableNamed(u"MSysRelationships");
    if (source == nullptr) return;
    std::map<Text, std::vector<const Row*>> relations;  // by name in upper case
    for (const Row& row : source->Rows()) relations[UpperCase(TextOf(*source, row, u"szRelationship"))].push_back(&row);

    std::set<Text> catalogued;
    for (const auto& [id, object] : objects_) {
        if (object.type == system::relationType) catalogued.insert(UpperCase(object.name));
    }
    for (auto& [name, rows] : relations) {
        const std::string who = "relation " + Printed(TextOf(*source, *rows.front(), u"szRelationship"));
        if (!catalogued.contains(name)) findings_.Fault(who + " is not in MSysObjects");
        std::sort(rows.begin(), rows.end(), [&](const Row* left, const Row* right) {
            return NumberOf(*source, *left, u"icolumn") < NumberOf(*source, *right, u"icolumn");
        });
        CheckRelation(who, *source, rows);
    }
    for (const Text& name : catalogued) {
        if (!relations.contains(name))
            findings_.Fault("relation " + Printed(name) + " has no rows in MSysRelationships");
    }
    for (const auto& [page, table] : tables_) {
        for (const IndexDefinition& index : table->Definition().indexes) {
            if (index.kind == IndexDefinition::Kind::Relation && !relationIndexes_.contains({page, index.number})) {
                findings_.Fault(table->Name() + "." + Printed(index.name) +
                                ": an index of a relation that is not there");
            }
        }
    }
}

void CatalogueCheck::CheckRelation(const std::string& name, const TableCheck& source,
                                   const std::vector<const Row*>& rows)
{
    const Row& first = *rows.front();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (NumberOf(source, *rows[i], u"icolumn") != static_cast<std::int64_t>(i) ||
            NumberOf(source, *rows[i], u"ccolumn") != static_cast<std::int64_t>(rows.size())) {
            findings_.Fault(name + ": its columns are not counted from 0 to their number");
            break;
        }
    }
    RelationDefinition relation;
    relation.attributes = static_cast<std::uint32_t>(NumberOf(source, first, u"grbit"));
    if (!relation.Enforced()) return;
    const TableCheck* foreign = TableNamed(TextOf(source, first, u"szObject"));
    const TableCheck* parent = TableNamed(TextOf(source, first, u"szReferencedObject"));
    if (foreign == nullptr || parent == nullptr) {
        findings_.Fault(name + ": table " +
                        Printed(TextOf(source, first, foreign == nullptr ? u"szObject" : u"szReferencedObject")) +
                        " is not there");
        return;
    }
    CheckRelationIndexes(name, source, rows, *foreign, *parent);
}

void CatalogueCheck::CheckRelationIndexes(const std::string& name, const TableCheck& source,
                                          const std::vector<const Row*>& rows, const TableCheck& foreign,
                                          const TableCheck& parent)
{
    const Text relationName = TextOf(source, *rows.front(), u"szRelationship");
    const IndexDefinition* own = nullptr;
    for (const IndexDefinition& index : foreign.Definition().indexes) {
        if (index.kind == IndexDefinition::Kind::Relation && EqualIgnoringCase(index.name, relationName)) own = &index;
    }
    if (own == nullptr) return findings_.Fault(name + ": " + foreign.Name() + " has no index of that name");
    const IndexDefinition* other = IndexNumbered(parent.Definition(), own->otherIndex);
    if (other == nullptr || other->kind != IndexDefinition::Kind::Relation) {
        findings_.Fault(name + ": " + parent.Name() + " has no relation index number " +
                        std::to_string(own->otherIndex));
        return;
    }
    relationIndexes_.insert({foreign.Definition().page, own->number});
    relationIndexes_.insert({parent.Definition().page, other->number});
    if (own->otherTableKind != otherIsPrimary || other->otherTableKind != otherIsForeign ||
        own->otherTable != parent.Definition().page || other->otherTable != foreign.Definition().page ||
        other->otherIndex != static_cast<std::int64_t>(own->number)) {
        findings_.Fault(name + ": the indexes of its two tables do not name each other");
    }
    RelationDefinition relation;
    relation.attributes = static_cast<std::uint32_t>(NumberOf(source, *rows.front(), u"grbit"));
    for (const IndexDefinition* index : {own, other}) {
        if (index->cascadeUpdate != relation.CascadesUpdates() || index->cascadeDelete != relation.CascadesDeletes()) {
            findings_.Fault(name + ": index " + Printed(index->name) + " cascades otherwise than its attributes say");
        }
    }
    if (!parent.Definition().TreeOf(*other).unique)
        findings_.Fault(name + ": the index of " + parent.Name() + " is not unique");
    CheckRelationColumns(name, source, rows, {foreign.Definition(), *own}, {parent.Definition(), *other});
}

/// Column by column the two trees pair the fields that the rows pair; in which order is the parent's index's business.
void CatalogueCheck::CheckRelationColumns(const std::string& name, const TableCheck& source,
                                          const std::vector<const Row*>& rows, const IndexOfTable& own,
                                          const IndexOfTable& other)
{
    std::set<std::pair<Text, Text>> wanted;
    for (const Row* row : rows) {
        wanted.emplace(UpperCase(TextOf(source, *row, u"szColumn")),
                       UpperCase(TextOf(source, *row, u"szReferencedColumn")));
    }
    const auto columnName = [](const IndexOfTable& side, std::size_t i) {
        const auto position = side.table.ColumnNumbered(side.table.TreeOf(side.index).columns[i].column);
        return position ? UpperCase(side.table.columns[*position].name) : Text();
    };
    const std::size_t count = own.table.TreeOf(own.index).columns.size();
    bool same = count == rows.size() && count == other.table.TreeOf(other.index).columns.size();
    for (std::size_t i = 0; same && i < count; ++i) same = wanted.contains({columnName(own, i), columnName(other, i)});
    if (!same) findings_.Fault(name + ": its indexes are over other columns");
}

void CatalogueCheck::CollectNeededKeys()
{
    for (const auto& [page, table] : tables_) {
        for (const IndexDefinition& index : table->Definition().indexes) {
            if (index.kind == IndexDefinition::Kind::Relation && index.otherTableKind == otherIsPrimary) {
                CollectNeededKeys(*table, index);
            }
        }
    }
}

/// The keys that rows of the foreign table have in the tree of the primary one; its columns may descend where here they
/// ascend.
void CatalogueCheck::CollectNeededKeys(TableCheck& foreign, const IndexDefinition& index)
{
    const auto parent = tables_.find(index.otherTable);
    if (parent == tables_.end()) return;  // CheckRelations reports it
    const IndexDefinition* other = IndexNumbered(parent->second->Definition(), index.otherIndex);
    if (other == nullptr) return;
    NeededKeys needed;
    needed.relation = "relation " + Printed(index.name);
    needed.parent = index.otherTable;
    needed.parentRealIndex = other->realIndex;
    needed.parentTree.columns = foreign.Definition().TreeOf(index).columns;
    const auto& parentColumns = parent->second->Definition().TreeOf(*other).columns;
    if (parentColumns.size() != needed.parentTree.columns.size()) return;
    for (std::size_t i = 0; i < parentColumns.size(); ++i) {
        needed.parentTree.columns[i].descending = parentColumns[i].descending;
    }
    foreign.Collect(std::move(needed));
}

void CatalogueCheck::CheckParents()
{
    for (const auto& [page, table] : tables_) {
        for (const NeededKeys& needed : table->Needed()) {
            const EntryList* parents = tables_.at(needed.parent)->Entries(needed.parentRealIndex);
            if (parents == nullptr) continue;  // reported already
            std::size_t orphans = 0;
            for (const auto& [key, row] : needed.keys) {
                if (parents->HasKey(key) || ++orphans > greatestOrphanCount) continue;
                findings_.Fault(needed.relation + ": row " + Printed(row) + " of " + table->Name() +
                                " has no parent with key " + PrintedKey(key));
            }
            if (orphans > greatestOrphanCount) {
                findings_.Fault(needed.relation + ": " + std::to_string(orphans) + " keys of " + table->Name() +
                                " have no parent");
            }
        }
    }
}

}  // namespace vmlib::jet
