// How enforced relations bind the rows of two tables; the rest of TableChanger is in RowChange.cpp.

#include "engine/TableRelations.h"

#include <algorithm>

#include "engine/Values.h"

namespace vmlib::engine {
namespace {

std::vector<jet::Value> KeyOf(const jet::Row& row, const std::vector<std::size_t>& columns)
{
    std::vector<jet::Value> key;
    key.reserve(columns.size());
    for (const std::size_t column : columns) key.push_back(row[column]);
    return key;
}

bool HasNull(const std::vector<jet::Value>& key)
{
    return std::ranges::any_of(key, jet::IsNull);
}

bool SameKeys(const std::vector<jet::Value>& left, const std::vector<jet::Value>& right,
              const jet::TableDefinition& table, const std::vector<std::size_t>& columns)
{
    for (std::size_t i = 0; i < left.size(); ++i)
        if (!SameKey(left[i], right[i], table.columns[columns[i]].locale.langid)) return false;
    return true;
}

std::size_t Position(const jet::TableDefinition& table, const Text& field)
{
    const auto position = table.ColumnNamed(field);
    if (!position) throw Error(ErrorNumber::BadIndexField, {field});
    return *position;
}

/// What a failing change of a dependent row means to the change that it depends on.
Error CascadeError(const Error& error, TextView table)
{
    if (error.Is(ErrorNumber::RelatedRecords)) return Error(ErrorNumber::CascadeViolatesIntegrity, {Text(table)});
    if (error.Is(ErrorNumber::ParentMissing)) return Error(ErrorNumber::CascadeParentMissing, {Text(table)});
    if (error.Is(ErrorNumber::NullInKey) || error.Is(ErrorNumber::NullInRequired))
        return Error(ErrorNumber::CascadeToNull);
    if (error.Is(ErrorNumber::DuplicateValue)) return Error(ErrorNumber::CascadeDuplicate);
    return error;
}

}  // namespace

TableChanger::Relation TableChanger::Bound(const jet::RelationDefinition& definition, bool ownIsForeign)
{
    Relation relation;
    relation.definition = &definition;
    relation.otherTable = ownIsForeign ? definition.table : definition.foreignTable;
    const TableRef other{table_.database, table_.database->OpenTable(relation.otherTable)};
    for (const auto& [field, foreignField] : definition.fields) {
        relation.own.push_back(Position(Definition(), ownIsForeign ? foreignField : field));
        relation.other.push_back(Position(other.table->Definition(), ownIsForeign ? field : foreignField));
    }
    relation.otherRows = std::make_unique<KeyFinder>(other, relation.other);
    return relation;
}

TableChanger::Relations& TableChanger::TheRelations()
{
    if (relations_) return *relations_;
    relations_ = std::make_unique<Relations>();
    const Text& name = Definition().name;
    for (const auto& relation : changes_.Relations()) {
        if (!relation.Enforced()) continue;
        if (EqualIgnoringCase(relation.foreignTable, name)) relations_->parents.push_back(Bound(relation, true));
        if (EqualIgnoringCase(relation.table, name)) relations_->children.push_back(Bound(relation, false));
    }
    return *relations_;
}

void TableChanger::CheckParents(const jet::Row& row, const jet::Row* before)
{
    for (const Relation& relation : TheRelations().parents) {
        const auto key = KeyOf(row, relation.own);
        if (HasNull(key)) continue;
        if (before && key == KeyOf(*before, relation.own)) continue;
        // A row may refer to itself.
        const bool isOwnTable = EqualIgnoringCase(relation.otherTable, Definition().name);
        if (isOwnTable && SameKeys(key, KeyOf(row, relation.other), Definition(), relation.own)) continue;
        if (!relation.otherRows->Any(key)) throw Error(ErrorNumber::ParentMissing, {relation.otherTable});
    }
}

void TableChanger::RefuseChangedKey(const jet::Row& before, const jet::Row& after)
{
    for (const Relation& relation : TheRelations().children) {
        const auto oldKey = KeyOf(before, relation.own), newKey = KeyOf(after, relation.own);
        if (HasNull(oldKey) || SameKeys(oldKey, newKey, Definition(), relation.own) ||
            relation.definition->CascadesUpdates())
            continue;
        if (relation.otherRows->Any(oldKey)) throw Error(ErrorNumber::RelatedRecords, {relation.otherTable});
    }
}

void TableChanger::CascadeKey(const jet::Row& before, const jet::Row& after)
{
    for (const Relation& relation : TheRelations().children)
        if (relation.definition->CascadesUpdates()) CascadeKeyTo(relation, before, after);
}

void TableChanger::CascadeKeyTo(const Relation& relation, const jet::Row& before, const jet::Row& after)
{
    const auto oldKey = KeyOf(before, relation.own), newKey = KeyOf(after, relation.own);
    if (HasNull(oldKey) || oldKey == newKey) return;
    TableChanger& child = changes_.Of(relation.otherTable);
    try {
        for (const jet::RowPointer pointer : relation.otherRows->All(oldKey)) {
            jet::Row childBefore;
            if (!child.table_.table->Fetch(pointer, childBefore)) continue;
            jet::Row childAfter = childBefore;
            for (std::size_t i = 0; i < relation.other.size(); ++i) {
                const std::size_t column = relation.other[i];
                FitToColumn(newKey[i], child.Definition().columns[column], Fit::Assign, childAfter[column]);
            }
            child.Update(pointer, childBefore, childAfter);
        }
    } catch (const Error& error) {
        throw CascadeError(error, relation.otherTable);
    }
}

void TableChanger::DeleteChildren(const Relation& relation, const jet::Row& row, jet::RowPointer at)
{
    const auto key = KeyOf(row, relation.own);
    if (HasNull(key)) return;
    TableChanger& child = changes_.Of(relation.otherTable);
    auto children = relation.otherRows->All(key);
    if (&child == this) std::erase(children, at);
    if (children.empty()) return;
    if (!relation.definition->CascadesDeletes()) throw Error(ErrorNumber::RelatedRecords, {relation.otherTable});
    try {
        for (const jet::RowPointer pointer : children) child.Delete(pointer);
    } catch (const Error& error) {
        throw CascadeError(error, relation.otherTable);
    }
}

}  // namespace vmlib::engine
