// Edit, AddNew, Update and Delete; see Cursor.h.

#include <algorithm>

#include "engine/Cursor.h"
#include "engine/Values.h"

namespace vmlib::engine {

EditMode Cursor::Mode() const
{
    if (buffer_.mode == EditMode::None || buffer_.rollbacks != database_->TheWorkspace()->Rollbacks())
        return EditMode::None;
    return buffer_.mode;
}

bool Cursor::IsUpdatable()
{
    if (opening_.type == RecordsetType::Snapshot || opening_.type == RecordsetType::ForwardOnly) return false;
    return !opening_.readOnly && !database_->IsReadOnly() && !Shape().tables.empty();
}

void Cursor::RequireChangeable()
{
    Source();
    if (opening_.type == RecordsetType::Snapshot || opening_.type == RecordsetType::ForwardOnly)
        throw Error(ErrorNumber::NotSupported);
    if (!IsUpdatable()) throw Error(ErrorNumber::ReadOnly);
}

bool Cursor::CanWrite(std::size_t column)
{
    const jet::ColumnDefinition* definition = ColumnOf(column);
    return IsUpdatable() && definition && !definition->autoNumber;
}

void Cursor::Start(EditMode mode)
{
    DropBuffer();
    const auto& tables = Shape().tables;
    buffer_.before.resize(tables.size());
    for (const TableRef& table : tables) buffer_.changes.emplace_back(table.table->Definition().columns.size());
    buffer_.rollbacks = database_->TheWorkspace()->Rollbacks();
    buffer_.mode = mode;
    buffer_.number = ++lastEdit_;
}

std::uint64_t Cursor::EditNumber()
{
    Source();
    if (Mode() == EditMode::None) throw Error(ErrorNumber::NoEdit);
    return buffer_.number;
}

void Cursor::Edit()
{
    RequireChangeable();
    RequireRow();
    const auto& tables = Shape().tables;
    DropBuffer();
    std::vector<std::optional<jet::Row>> rows(tables.size());
    std::vector<jet::Database::PageLock> locks;
    for (std::size_t table = 0; table < tables.size(); ++table) {
        const auto pointer = source_->Pointer(table);
        if (!pointer) continue;
        if (opening_.pessimistic) locks.push_back(tables[table].database->LockPage(pointer->page));
        const jet::ReadScope reading(tables[table].database->GetPager());
        if (!tables[table].table->Fetch(*pointer, rows[table].emplace())) throw Error(ErrorNumber::RecordDeleted);
    }
    source_->Refetch();
    Start(EditMode::InProgress);
    buffer_.before = std::move(rows);
    buffer_.locks = std::move(locks);
}

void Cursor::SetLocksEdits(bool locks)
{
    Source();
    if (Mode() != EditMode::None) throw Error(ErrorNumber::InvalidOperation);
    opening_.pessimistic = locks;
}

void Cursor::EndRolledBackEdit()
{
    if (buffer_.mode != EditMode::None && Mode() == EditMode::None) DropBuffer();
}

std::unique_ptr<RowRules> Cursor::RulesOf(std::size_t table)
{
    return std::make_unique<RowRules>(database_->Queries(), Shape().tables[table].table->Definition());
}

void Cursor::AddNew()
{
    RequireChangeable();
    const TableRef& table = Shape().tables.front();
    const auto& columns = table.table->Definition().columns;
    const auto rules = RulesOf(0);
    jet::Row row;
    for (std::size_t i = 0; i < columns.size(); ++i) row.push_back(rules->Default(i));
    const auto counted = std::ranges::find_if(columns, [](const auto& column) { return column.autoNumber; });
    if (counted != columns.end()) {
        // Taken for good: a number that a user has seen is given to nobody else, also when he cancels.
        jet::UnitOfWork unit(table.database->GetPager());
        row[static_cast<std::size_t>(counted - columns.begin())] = table.table->TakeAutoNumber();
        unit.Commit();
    }
    Start(EditMode::Add);
    buffer_.added = std::move(row);
}

void Cursor::Write(std::size_t column, const Variant& value)
{
    Source();
    if (Mode() == EditMode::None) throw Error(ErrorNumber::NoEdit);
    const jet::ColumnDefinition* definition = ColumnOf(column);
    if (!definition) throw Error(ErrorNumber::InvalidOperation);
    if (definition->autoNumber) throw Error(ErrorNumber::AutoNumberAssigned);
    jet::Value converted = FitToColumn(value, *definition, Fit::Assign);
    const auto& origin = *Shape().origins[column];
    if (jet::IsTextual(definition->type) && definition->AllowZeroLength() == false && IsZeroLength(converted))
        throw Error(ErrorNumber::ZeroLengthText,
                    {Shape().tables[origin.table].table->Definition().name + u"." + definition->name});
    buffer_.changes[origin.table][origin.column] = std::move(converted);
}

void Cursor::CheckRule(std::size_t column, const Variant& value)
{
    const jet::ColumnDefinition* definition = ColumnOf(column);
    if (!definition) return;
    const auto& origin = *Shape().origins[column];
    const QueryEngine::Scope scope(database_->Queries());
    RulesOf(origin.table)->CheckValue(origin.column, FitToColumn(value, *definition, Fit::Assign));
}

void Cursor::Update()
{
    Source();
    if (Mode() == EditMode::None) throw Error(ErrorNumber::NoEdit);
    const QueryEngine::Scope scope(database_->Queries());
    if (Mode() == EditMode::Add)
        StoreNew();
    else
        StoreEdit();
    DropBuffer();
}

void Cursor::StoreEdit()
{
    const auto& tables = Shape().tables;
    ChangeSet changes(database_->Queries(), tables.front().database);
    jet::UnitOfWork unit(tables.front().database->GetPager());
    for (std::size_t table = 0; table < tables.size(); ++table) {
        const auto& assigned = buffer_.changes[table];
        if (std::ranges::none_of(assigned, [](const auto& value) { return value.has_value(); })) continue;
        const auto pointer = source_->Pointer(table);
        if (!pointer || !buffer_.before[table])
            throw Error(ErrorNumber::NoCurrentRecord);  // the outer side of a join has no row here
        TableChanger& changer = changes.Of(tables[table].table->Definition().name);
        jet::Row now;
        if (!tables[table].table->Fetch(*pointer, now)) throw Error(ErrorNumber::RecordDeleted);
        if (now != *buffer_.before[table]) {
            // Somebody else changed the row since Edit. The caller is told once; a second Update overwrites.
            buffer_.before[table] = std::move(now);
            throw Error(ErrorNumber::DataChanged);
        }
        jet::Row after = now;
        for (std::size_t column = 0; column < assigned.size(); ++column)
            if (assigned[column]) after[column] = *assigned[column];
        changer.Update(*pointer, now, after);
    }
    unit.Commit();
    source_->Refetch();
    lastModified_ = source_->Bookmark();
}

void Cursor::StoreNew()
{
    const auto& tables = Shape().tables;
    for (std::size_t table = 1; table < tables.size(); ++table)
        if (std::ranges::any_of(buffer_.changes[table], [](const auto& value) { return value.has_value(); }))
            throw Error(ErrorNumber::InvalidOperation);  // which table gets the row cannot be told
    jet::Row row = buffer_.added;
    for (std::size_t column = 0; column < row.size(); ++column)
        if (const auto& assigned = buffer_.changes[0][column]) row[column] = *assigned;
    ChangeSet changes(database_->Queries(), tables.front().database);
    TableChanger& changer = changes.Of(tables.front().table->Definition().name);
    jet::UnitOfWork unit(tables.front().database->GetPager());
    const jet::RowPointer added = changer.Insert(row);
    unit.Commit();
    lastModified_ = source_->Added(added);
    if (place_ == Place::Empty) place_ = Place::Nowhere;
}

void Cursor::CancelUpdate()
{
    Source();
    if (Mode() == EditMode::None) throw Error(ErrorNumber::NoEdit);
    DropBuffer();
}

void Cursor::Delete()
{
    RequireChangeable();
    RequireRow();
    DropBuffer();
    const auto& tables = Shape().tables;
    const auto pointer = source_->Pointer(0);
    if (!pointer) throw Error(ErrorNumber::NoCurrentRecord);
    const QueryEngine::Scope scope(database_->Queries());
    ChangeSet changes(database_->Queries(), tables.front().database);
    jet::UnitOfWork unit(tables.front().database->GetPager());
    changes.Of(tables.front().table->Definition().name).Delete(*pointer);
    unit.Commit();
    source_->Removed();
    rowDeleted_ = true;
}

}  // namespace vmlib::engine
