#include "jet/SalvageRelations.h"

#include <algorithm>

#include "jet/SalvageDefinition.h"
#include "jet/SalvageFields.h"
#include "jet/SystemTables.h"

namespace vmlib::jet {

namespace {

namespace column = system::relation;
namespace object = system::object;

constexpr std::uint8_t primarySide = 1, foreignSide = 2;
constexpr std::int32_t notEnforced = 2, cascadesUpdates = 256, cascadesDeletes = 4096;

Text GroupName(const Row& row)
{
    return UpperCase(TrimRight(NameOf(row, column::name)));
}

const IndexDefinition* IndexNumbered(const TableDefinition& table, std::int64_t number)
{
    const auto found = std::ranges::find_if(table.indexes, [&](const auto& index) { return index.number == number; });
    return found != table.indexes.end() ? &*found : nullptr;
}

Text FieldOf(const TableDefinition& table, const IndexDefinition& index, std::size_t i)
{
    return table.columns[table.ColumnNumbered(table.TreeOf(index).columns[i].column).value()].name;
}

}  // namespace

void SalvageRelations::Tidy()
{
    for (auto& [name, rows] : Grouped()) {
        if (!TidyGroup(rows)) continue;
        if ((LongOf(*rows.front(), column::attributes) & notEnforced) != 0) continue;
        if (auto pair = PairOf(rows))
            pairs_.push_back(std::move(*pair));
        else
            Unenforce(name, "its indexes are lost");
    }
    std::erase_if(catalogue_.Relations().rows, [](const Row& row) { return IsNull(row[column::columnCount]); });
    MakeAgain();
    RemoveOtherIndexes();
    TidyObjects();
}

std::map<Text, SalvageRelations::Rows> SalvageRelations::Grouped()
{
    std::map<Text, Rows> groups;
    for (Row& row : catalogue_.Relations().rows) groups[GroupName(row)].push_back(&row);
    for (auto& [name, rows] : groups) {
        std::ranges::stable_sort(rows, {}, [](const Row* row) { return LongOf(*row, column::column); });
    }
    return groups;
}

/// A relation that is not whole goes; what makes that known is a Null for the number of its fields.
bool SalvageRelations::TidyGroup(const Rows& rows)
{
    bool whole = !GroupName(*rows.front()).empty() && NamesFields(rows);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        whole = whole && LongOf(*rows[i], column::column) == static_cast<std::int32_t>(i) &&
                LongOf(*rows[i], column::columnCount) == static_cast<std::int32_t>(rows.size());
    }
    if (whole) return true;
    for (Row* row : rows) (*row)[column::columnCount] = Null{};
    catalogue_.Relations().counts->Note("relation " + ToUtf8(NameOf(*rows.front(), column::name)) +
                                        ": a table or a field of it is gone");
    return false;
}

bool SalvageRelations::NamesFields(const Rows& rows)
{
    const SalvagedSource* parent = catalogue_.TableNamed(NameOf(*rows.front(), column::table));
    const SalvagedSource* foreign = catalogue_.TableNamed(NameOf(*rows.front(), column::foreignTable));
    if (parent == nullptr || foreign == nullptr) return false;
    return std::ranges::all_of(rows, [&](const Row* row) {
        return parent->definition.ColumnNamed(NameOf(*row, column::tableColumn)) &&
               foreign->definition.ColumnNamed(NameOf(*row, column::foreignColumn));
    });
}

/// The indexes of an enforced relation, when both are there and say the same as its rows.
std::optional<SalvageRelations::Pair> SalvageRelations::PairOf(const Rows& rows)
{
    const SalvagedSource& foreign = *catalogue_.TableNamed(NameOf(*rows.front(), column::foreignTable));
    for (const IndexDefinition& index : foreign.definition.indexes) {
        if (index.kind != IndexDefinition::Kind::Relation ||
            !EqualIgnoringCase(index.name, NameOf(*rows.front(), column::name)))
            continue;
        auto pair = PairOf(foreign, index);
        if (pair && PairsFields(rows, *pair)) return pair;
    }
    return std::nullopt;
}

std::optional<SalvageRelations::Pair> SalvageRelations::PairOf(const SalvagedSource& foreign,
                                                               const IndexDefinition& index)
{
    const SalvagedSource* parent = catalogue_.TableAt(index.otherTable);
    if (parent == nullptr || index.otherTableKind != foreignSide) return std::nullopt;
    const IndexDefinition* other = IndexNumbered(parent->definition, index.otherIndex);
    if (other == nullptr || other->kind != IndexDefinition::Kind::Relation || other->otherTableKind != primarySide ||
        other->otherTable != foreign.definition.page || other->otherIndex != static_cast<std::int64_t>(index.number) ||
        other->cascadeUpdate != index.cascadeUpdate || other->cascadeDelete != index.cascadeDelete)
        return std::nullopt;
    const auto& own = foreign.definition.TreeOf(index).columns;
    const auto& others = parent->definition.TreeOf(*other).columns;
    if (own.size() != others.size()) return std::nullopt;
    for (std::size_t i = 0; i < own.size(); ++i) {
        const auto position = foreign.definition.ColumnNumbered(own[i].column);
        const auto otherPosition = parent->definition.ColumnNumbered(others[i].column);
        if (foreign.definition.columns[*position].type != parent->definition.columns[*otherPosition].type)
            return std::nullopt;
    }
    return Pair{index.name, {foreign.definition.page, index.number}, {parent->definition.page, other->number}};
}

bool SalvageRelations::PairsFields(const Rows& rows, const Pair& pair)
{
    const IndexDefinition &own = IndexOf(pair.foreign), &other = IndexOf(pair.parent);
    const TableDefinition &foreign = TableOf(pair.foreign), &parent = TableOf(pair.parent);
    const SalvagedSource* named = catalogue_.TableNamed(NameOf(*rows.front(), column::table));
    RelationDefinition relation;
    relation.attributes = static_cast<std::uint32_t>(LongOf(*rows.front(), column::attributes));
    if (named->definition.page != parent.page || foreign.TreeOf(own).columns.size() != rows.size() ||
        relation.CascadesUpdates() != own.cascadeUpdate || relation.CascadesDeletes() != own.cascadeDelete)
        return false;
    std::set<std::pair<Text, Text>> wanted;
    for (const Row* row : rows) {
        wanted.emplace(UpperCase(NameOf(*row, column::foreignColumn)), UpperCase(NameOf(*row, column::tableColumn)));
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!wanted.contains({UpperCase(FieldOf(foreign, own, i)), UpperCase(FieldOf(parent, other, i))})) return false;
    }
    return true;
}

const IndexDefinition& SalvageRelations::IndexOf(const Side& side)
{
    return *IndexNumbered(TableOf(side), side.number);
}

void SalvageRelations::Unenforce(const Text& name, const std::string& reason)
{
    Text foreign;
    for (Row& row : catalogue_.Relations().rows) {
        if (GroupName(row) != UpperCase(TrimRight(name))) continue;
        row[column::attributes] = LongOf(row, column::attributes) | notEnforced;
        foreign = NameOf(row, column::foreignTable);
    }
    if (const SalvagedSource* table = catalogue_.TableNamed(foreign))
        table->counts->Note("relation " + ToUtf8(name) + " is no longer enforced: " + reason);
}

/// Relations that only their indexes still tell of.
void SalvageRelations::MakeAgain()
{
    const auto groups = Grouped();
    for (const SalvagedSource& foreign : catalogue_.Tables()) {
        for (const IndexDefinition& index : foreign.definition.indexes) {
            if (index.kind != IndexDefinition::Kind::Relation || groups.contains(UpperCase(TrimRight(index.name))))
                continue;
            auto pair = PairOf(foreign, index);
            const bool known = std::ranges::any_of(pairs_, [&](const Pair& other) {
                return EqualIgnoringCase(TrimRight(other.name), TrimRight(index.name));
            });
            if (!pair || known) continue;
            AddRows(*pair);
            pairs_.push_back(std::move(*pair));
        }
    }
}

void SalvageRelations::AddRows(const Pair& pair)
{
    const IndexDefinition &own = IndexOf(pair.foreign), &other = IndexOf(pair.parent);
    const TableDefinition &foreign = TableOf(pair.foreign), &parent = TableOf(pair.parent);
    const std::size_t count = foreign.TreeOf(own).columns.size();
    for (std::size_t i = 0; i < count; ++i) {
        SalvagedSystemTable& relations = catalogue_.Relations();
        Row& row = relations.rows.emplace_back(relations.definition.columns.size());
        row[column::name] = ToAnsi(pair.name);
        row[column::attributes] = (own.cascadeUpdate ? cascadesUpdates : 0) | (own.cascadeDelete ? cascadesDeletes : 0);
        row[column::columnCount] = static_cast<std::int32_t>(count);
        row[column::column] = static_cast<std::int32_t>(i);
        row[column::foreignTable] = ToAnsi(foreign.name);
        row[column::foreignColumn] = ToAnsi(FieldOf(foreign, own, i));
        row[column::table] = ToAnsi(parent.name);
        row[column::tableColumn] = ToAnsi(FieldOf(parent, other, i));
    }
}

void SalvageRelations::RemoveOtherIndexes()
{
    std::set<Side> wanted;
    for (const Pair& pair : pairs_) wanted.insert({pair.foreign, pair.parent});
    for (SalvagedSource& table : catalogue_.Tables()) {
        std::vector<std::uint32_t> doomed;
        for (const IndexDefinition& index : table.definition.indexes) {
            if (index.kind == IndexDefinition::Kind::Relation &&
                !wanted.contains({table.definition.page, index.number}))
                doomed.push_back(index.number);
        }
        for (const std::uint32_t number : doomed) RemoveIndex(table.definition, number);
    }
}

/// Each relation has an object, each such object is a relation's.
void SalvageRelations::TidyObjects()
{
    auto groups = Grouped();
    std::vector<std::int32_t> doomed;
    for (const Row& row : catalogue_.Objects().rows) {
        if (std::get<std::int16_t>(row[object::type]) != system::relationType) continue;
        if (groups.erase(UpperCase(TrimRight(NameOf(row, object::name)))) == 0)
            doomed.push_back(LongOf(row, object::id));
    }
    for (const std::int32_t id : doomed) catalogue_.RemoveObject(id);
    for (const auto& [name, rows] : groups) {
        catalogue_.AddObject(system::relationshipsContainer, NameOf(*rows.front(), column::name), system::relationType);
    }
}

}  // namespace vmlib::jet
