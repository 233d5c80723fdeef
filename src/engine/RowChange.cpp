#include "engine/RowChange.h"

#include <algorithm>

#include "engine/Queries.h"
#include "engine/TableRelations.h"

namespace vmlib::engine {
namespace {

class MarkedRow
{
public:
    MarkedRow(std::set<jet::RowPointer>& rows, jet::RowPointer row) : rows_(rows), row_(row) { rows_.insert(row_); }
    MarkedRow(const MarkedRow&) = delete;
    MarkedRow& operator=(const MarkedRow&) = delete;
    ~MarkedRow() { rows_.erase(row_); }

private:
    std::set<jet::RowPointer>& rows_;
    jet::RowPointer row_;
};

}  // namespace

TableChanger::TableChanger(ChangeSet& changes, TableRef table)
    : changes_(changes), table_(std::move(table)), rules_(changes.Engine(), table_.table->Definition())
{
    const auto& columns = Definition().columns;
    const auto counted = std::ranges::find_if(columns, [](const auto& column) { return column.autoNumber; });
    if (counted != columns.end()) autoNumber_ = static_cast<std::size_t>(counted - columns.begin());
}

TableChanger::~TableChanger() = default;

jet::RowPointer TableChanger::Insert(jet::Row& row)
{
    rules_.Check(row);
    CheckParents(row, nullptr);
    if (!autoNumber_) return table_.table->Insert(row);
    jet::Value& number = row[*autoNumber_];
    if (jet::IsNull(number))
        number = table_.table->TakeAutoNumber();
    else if (const auto* given = std::get_if<std::int32_t>(&number))
        table_.table->NoteAutoNumber(*given);
    return table_.table->Insert(row);
}

void TableChanger::Update(jet::RowPointer at, const jet::Row& before, const jet::Row& after)
{
    std::vector<bool> changed(after.size());
    for (std::size_t i = 0; i < after.size(); ++i) changed[i] = before[i] != after[i];
    rules_.Check(after, changed);
    RefuseChangedKey(before, after);
    CheckParents(after, &before);
    table_.database->RequireUnlocked(at.page);
    table_.table->Update(at, after);
    CascadeKey(before, after);
}

void TableChanger::Delete(jet::RowPointer at)
{
    if (beingDeleted_.contains(at)) return;  // rows that refer to each other in a circle
    const MarkedRow mark(beingDeleted_, at);
    jet::Row row;
    if (!table_.table->Fetch(at, row)) throw Error(ErrorNumber::RecordDeleted);
    table_.database->RequireUnlocked(at.page);
    for (const Relation& relation : TheRelations().children) DeleteChildren(relation, row, at);
    table_.table->Delete(at);
}

bool TableChanger::MayCascade()
{
    return std::ranges::any_of(TheRelations().children, [](const Relation& relation) {
        return relation.definition->CascadesUpdates() || relation.definition->CascadesDeletes();
    });
}

TableChanger& ChangeSet::Of(TextView table)
{
    const jet::ObjectEntry* entry = database_->FindObject(table, tableObject);
    if (!entry) throw Error(ErrorNumber::NoSuchTable, {Text(table)});
    if (IsSystem(*entry)) throw Error(ErrorNumber::NoPermission, {entry->name});
    if (database_->IsReadOnly()) throw Error(ErrorNumber::ReadOnly);
    auto& changer = changers_[UpperCase(entry->name)];
    if (!changer)
        changer = std::make_unique<TableChanger>(*this, TableRef{database_, database_->OpenTable(entry->name)});
    return *changer;
}

const std::vector<jet::RelationDefinition>& ChangeSet::Relations()
{
    if (!relations_) relations_ = database_->Relations();
    return *relations_;
}

}  // namespace vmlib::engine
