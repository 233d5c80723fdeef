#include "engine/StatementRunner.h"

#include <algorithm>
#include <set>

#include "engine/Cursor.h"
#include "engine/Values.h"
#include "jet/StorageError.h"

namespace vmlib::engine {
namespace {

constexpr std::int32_t rowTooLong = 3047;

/// Errors of a single row, which a statement may go on behind.
bool IsTroubleOfARow(const Error& error)
{
    static const std::set<std::int32_t> numbers = [] {
        std::set<std::int32_t> set{rowTooLong};
        for (const ErrorNumber number :
             {ErrorNumber::DuplicateValue, ErrorNumber::NullInKey, ErrorNumber::FieldTooSmall,
              ErrorNumber::RecordDeleted, ErrorNumber::RelatedRecords, ErrorNumber::ParentMissing,
              ErrorNumber::NullInRequired, ErrorNumber::ZeroLengthText, ErrorNumber::TableRuleViolated,
              ErrorNumber::RuleViolated, ErrorNumber::CascadeViolatesIntegrity, ErrorNumber::CascadeParentMissing,
              ErrorNumber::CascadeToNull, ErrorNumber::CascadeDuplicate, ErrorNumber::DataConversion})
            set.insert(static_cast<std::int32_t>(number));
        return set;
    }();
    return numbers.contains(error.Number());
}

}  // namespace

std::int32_t StatementRunner::Run(const sql::Statement& statement)
{
    const QueryEngine::Scope scope(engine_);
    const QueryEngine::Values values(engine_, parameters_);
    if (const auto* select = std::get_if<sql::SelectStatement>(&statement)) {
        if (!select->into) throw Error(ErrorNumber::CannotExecuteSelect);
        return MakeTable(*select);
    }
    if (const auto* insert = std::get_if<sql::InsertStatement>(&statement)) return Insert(*insert);
    if (const auto* update = std::get_if<sql::UpdateStatement>(&statement)) return Update(*update);
    if (const auto* remove = std::get_if<sql::DeleteStatement>(&statement)) return Delete(*remove);
    RunDataDefinition(database_, statement);
    return 0;
}

void StatementRunner::RequireWritable(jet::Database& storage) const
{
    if (SameFile(storage, database_.Storage())) database_.RequireWritable();
    if (storage.IsReadOnly()) throw Error(ErrorNumber::ReadOnly);
}

template <class Change>
bool StatementRunner::TryRow(jet::Database& storage, bool takeBack, const Change& change)
{
    try {
        if (!takeBack) {
            change();
            return true;
        }
        jet::UnitOfWork row(storage.GetPager());
        change();
        row.Commit();
        return true;
    } catch (const Error& error) {
        if (!IsTroubleOfARow(error)) throw;
        if (stopAtError_) stopped_ = error;
        ++leftOut_;
        return false;
    }
}

std::int32_t StatementRunner::Finish(jet::UnitOfWork& unit, std::int32_t rows)
{
    unit.Commit();
    if (stopped_) throw Error(*stopped_);
    return rows;
}

std::int32_t StatementRunner::InsertRows(const Selection& selection, TableChanger& table,
                                         const std::vector<std::size_t>& targets, bool all)
{
    const auto& columns = table.Definition().columns;
    jet::Row row(columns.size());
    if (!all)
        for (std::size_t i = 0; i < columns.size(); ++i)
            if (std::ranges::find(targets, i) == targets.end()) row[i] = table.Rules().Default(i);
    std::optional<std::size_t> counted;  // an AutoNumber that every row takes anew
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (columns[i].autoNumber && std::ranges::find(targets, i) == targets.end()) counted = i;

    jet::Database& storage = *table.Table().database;
    const Fit fit = HowToFit();
    std::int32_t stored = 0;
    // What a host assigns loses characters that have no byte; what another file holds must not. It ends the statement.
    const bool mayNotFit = selection.ReadsWideText();
    const auto requireFit = [&](const auto& valueOf) {
        for (std::size_t i = 0; i < targets.size(); ++i)
            if (std::holds_alternative<Text>(valueOf(i)))
                throw jet::UnfitText(table.Definition().name, Decimal(stored + 1), columns[targets[i]].name);
    };
    const auto store = [&](const auto& valueOf) {
        if (mayNotFit) requireFit(valueOf);
        const bool made = TryRow(storage, false, [&] {
            for (std::size_t i = 0; i < targets.size(); ++i)
                FitToColumn(valueOf(i), columns[targets[i]], fit, row[targets[i]]);
            if (counted) row[*counted] = Null{};
            table.Insert(row);
        });
        if (made) ++stored;
    };
    if (selection.Reads(storage, table.Definition().name)) {
        // What a statement adds is not among the rows that it reads.
        for (const PendingRow& pending : Collect(selection)) {
            store([&](std::size_t i) -> const jet::Value& { return pending.values[i]; });
            if (stopped_) break;
        }
        return stored;
    }
    const auto stream = selection.Run();
    while (!stopped_ && stream->Next()) store([&](std::size_t i) -> const jet::Value& { return stream->Value(i); });
    return stored;
}

std::int32_t StatementRunner::Insert(const sql::InsertStatement& statement)
{
    sql::InsertTranslation translation = sql::TranslateInsert(statement, engine_);
    ChangeSet changes(engine_, engine_.DatabaseAt(statement.place));
    RequireWritable(changes.Storage());
    TableChanger& table = changes.Of(statement.table);
    std::vector<std::size_t> targets;
    for (const Text& field : translation.fields) {
        const auto position = table.Definition().ColumnNamed(field);
        if (!position) throw Error(ErrorNumber::UnknownFieldInInsert, {field});
        targets.push_back(*position);
    }
    // Translated whole only where the scan cannot do it.
    const Selection selection = statement.select && sql::AsPlainProjection(*statement.select, engine_)
                                    ? Selection::Of(engine_, *statement.select, parameters_, false)
                                    : Selection::Of(engine_, std::move(translation.select), parameters_);
    jet::UnitOfWork unit(changes.Storage().GetPager());
    const std::int32_t rows = InsertRows(selection, table, targets, false);
    return Finish(unit, rows);
}

std::int32_t StatementRunner::MakeTable(const sql::SelectStatement& statement)
{
    const Selection selection = Selection::Of(engine_, statement, parameters_, false);
    ChangeSet changes(engine_, engine_.DatabaseAt(statement.intoPlace));
    RequireWritable(changes.Storage());
    jet::TableDefinition wanted;
    wanted.name = *statement.into;
    std::vector<std::size_t> targets;
    int counters = 0;
    for (const auto& output : selection.Columns()) {
        targets.push_back(wanted.columns.size());
        wanted.columns.push_back(NewColumn(output.name, output.type, output.autoNumber, output.size));
        wanted.columns.back().ordinalPosition = static_cast<std::uint16_t>(targets.back());
        if (output.autoNumber && ++counters > 1) throw Error(ErrorNumber::TwoAutoNumbers);
    }
    jet::UnitOfWork unit(changes.Storage().GetPager());
    changes.Storage().CreateTable(wanted);
    const std::int32_t rows = InsertRows(selection, changes.Of(wanted.name), targets, true);
    return Finish(unit, rows);
}

std::vector<StatementRunner::PendingRow> StatementRunner::Collect(const Selection& selection) const
{
    std::vector<PendingRow> rows;
    const auto stream = selection.Run();
    while (stream->Next()) {
        PendingRow& row = rows.emplace_back();
        for (std::size_t i = 0; i < selection.Columns().size(); ++i) row.values.push_back(stream->Value(i));
        for (std::size_t i = 0; i < selection.Tables().size(); ++i) row.pointers.push_back(stream->Pointer(i));
    }
    return rows;
}

std::int32_t StatementRunner::Update(const sql::UpdateStatement& statement)
{
    sql::ChangeTranslation translation = sql::TranslateUpdate(statement, engine_);
    const auto targets = translation.targets;
    const auto rowTables = translation.select.rowTables;
    const Selection selection = Selection::Of(engine_, std::move(translation.select), parameters_);
    ChangeSet changes(engine_, engine_.DatabaseAt(statement.place));
    RequireWritable(changes.Storage());

    // The targets of each table, and where in it they go.
    struct Assignment
    {
        std::size_t value = 0, column = 0;
    };
    std::map<std::size_t, std::vector<Assignment>> assignments;  // by position among the base tables
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const auto table = static_cast<std::size_t>(std::ranges::find(rowTables, targets[i].table) - rowTables.begin());
        if (table == rowTables.size()) throw Error(ErrorNumber::NotUpdatable);
        const jet::TableDefinition& definition = selection.Tables()[table].table->Definition();
        const std::size_t column = definition.ColumnNamed(targets[i].field).value();
        if (definition.columns[column].autoNumber) throw Error(ErrorNumber::AutoNumberAssigned);
        assignments[table].push_back({i, column});
    }
    jet::UnitOfWork unit(changes.Storage().GetPager());
    std::int32_t changed = 0;
    for (const PendingRow& pending : Collect(selection)) {
        const bool made = TryRow(changes.Storage(), true, [&] {
            for (const auto& [table, list] : assignments) {
                if (!pending.pointers[table]) continue;
                TableChanger& changer = changes.Of(selection.Tables()[table].table->Definition().name);
                jet::Row before;
                if (!changer.Table().table->Fetch(*pending.pointers[table], before))
                    throw Error(ErrorNumber::RecordDeleted);
                jet::Row after = before;
                for (const auto& [value, column] : list)
                    FitToColumn(pending.values[value], changer.Definition().columns[column], HowToFit(), after[column]);
                changer.Update(*pending.pointers[table], before, after);
            }
        });
        if (made) ++changed;
        if (stopped_) break;
    }
    return Finish(unit, changed);
}

std::int32_t StatementRunner::Delete(const sql::DeleteStatement& statement)
{
    const Selection selection = Selection::Of(engine_, sql::TranslateDelete(statement, engine_).select, parameters_);
    ChangeSet changes(engine_, engine_.DatabaseAt(statement.place));
    RequireWritable(changes.Storage());
    if (selection.Tables().empty()) throw Error(ErrorNumber::NotUpdatable);
    TableChanger& changer = changes.Of(selection.Tables().front().table->Definition().name);

    jet::UnitOfWork unit(changes.Storage().GetPager());
    std::set<jet::RowPointer> rows;  // a join may name a row twice
    for (const PendingRow& pending : Collect(selection))
        if (pending.pointers.front()) rows.insert(*pending.pointers.front());
    std::int32_t deleted = 0;
    jet::Row ignored;
    const jet::ColumnMask nothing(changer.Definition().columns.size());
    for (const jet::RowPointer row : rows) {
        if (!changer.Table().table->Fetch(row, ignored, nothing)) continue;  // went with another one
        if (TryRow(changes.Storage(), changer.MayCascade(), [&] { changer.Delete(row); })) ++deleted;
        if (stopped_) break;
    }
    return Finish(unit, deleted);
}

void RequireUnused(DatabaseHandle& database, TextView table)
{
    for (const auto& open : database.TheWorkspace()->Databases())
        for (const auto& cursor : open->Cursors())
            if (cursor->Reads(database.Storage(), table)) throw Error(ErrorNumber::TableInUse, {Text(table)});
}

}  // namespace vmlib::engine
