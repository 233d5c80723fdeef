#include "engine/RecordsetOpening.h"

#include "automation/Convert.h"
#include "engine/ForwardRows.h"
#include "engine/Keyset.h"
#include "engine/Queries.h"
#include "engine/RecordsetObject.h"
#include "sql/Parser.h"

namespace vmlib::engine {
namespace {

std::optional<RecordsetType> TypeOf(const Optional& type, std::int32_t options)
{
    if (!type.Given()) return std::nullopt;
    const std::int32_t number = ToLong(type.value);
    switch (number) {
        case static_cast<std::int32_t>(RecordsetType::Snapshot):
            return (options & forwardOnlyOption) ? RecordsetType::ForwardOnly : RecordsetType::Snapshot;
        case static_cast<std::int32_t>(RecordsetType::Table):
        case static_cast<std::int32_t>(RecordsetType::Dynaset):
        case static_cast<std::int32_t>(RecordsetType::ForwardOnly):
            return static_cast<RecordsetType>(number);
        default:
            throw Error(ErrorNumber::InvalidArgument);
    }
}

std::int32_t OptionsOf(const Optional& options)
{
    const std::int32_t flags = options.Given() ? ToLong(options.value) : 0;
    constexpr std::int32_t both = inconsistentOption | consistentOption;
    if ((flags & both) == both) throw Error(ErrorNumber::InvalidArgument);
    return flags;
}

struct Fetched
{
    std::unique_ptr<RowSource> rows;
    std::vector<Text> reads;  // the tables that they come from
};

/// Runs the query and keeps its rows as the type of recordset asks.
Fetched Fetch(DatabaseHandle& database, const sql::SelectStatement& statement, const Parameters& parameters,
              RecordsetType type)
{
    const QueryEngine::Scope scope(database.Queries());
    const jet::ReadScope reading(database.Storage().GetPager());
    const bool live = type == RecordsetType::Dynaset || type == RecordsetType::Table;
    const Selection selection = Selection::Of(database.Queries(), statement, parameters, live);
    if (type == RecordsetType::ForwardOnly && selection.IsPlain())
        return {std::make_unique<ForwardRows>(selection), selection.TablesRead()};
    const bool pointers = live && !selection.Tables().empty();
    auto rows =
        std::make_shared<KeysetRows>(selection, pointers ? KeysetRows::Keep::Pointers : KeysetRows::Keep::Values);
    rows->Fill(selection);
    rows->countsTable = type == RecordsetType::Table;
    return {std::make_unique<Keyset>(std::move(rows)), selection.TablesRead()};
}

std::shared_ptr<RecordsetObject> Open(const DatabaseRef& database, const Text& name, sql::SelectStatement statement,
                                      Cursor::Opening opening, const Parameters& parameters)
{
    // Fetched before the cursor is made, which wants to know the tables.
    auto first = std::make_shared<Fetched>(Fetch(*database, statement, parameters, opening.type));
    opening.reads = std::move(first->reads);
    // The cursor holds the database; its opener must not do so too, or neither would ever go.
    Cursor::Opener opener = [first = std::move(first), handle = database.get(), statement = std::move(statement),
                             parameters, type = opening.type] {
        return first->rows ? std::move(first->rows) : Fetch(*handle, statement, parameters, type).rows;
    };
    auto cursor = std::make_shared<Cursor>(database, std::move(opening), std::move(opener));
    database->Remember(cursor);
    return std::make_shared<RecordsetObject>(std::move(cursor), name);
}

}  // namespace

Optional WithLockEdit(const Optional& options, const Optional& lockEdit)
{
    if (!lockEdit.Given() || ToLong(lockEdit.value) != readOnlyOption) return options;
    const std::int32_t flags = OptionsOf(options);
    if ((flags & readOnlyOption) != 0) throw Error(ErrorNumber::InvalidArgument);
    return Optional{Variant(flags | readOnlyOption)};
}

void ApplyLockEdit(RecordsetObject& recordset, const Optional& lockEdit)
{
    if (!lockEdit.Given()) return;
    constexpr std::int32_t pessimistic = 2, greatest = 5;
    const std::int32_t kind = ToLong(lockEdit.value);
    if (kind < 0 || kind > greatest) throw Error(ErrorNumber::InvalidArgument);
    if (kind != 0) recordset.SetLockEdits(kind == pessimistic || kind == readOnlyOption);
}

std::shared_ptr<RecordsetObject> OpenSelect(const DatabaseRef& database, const Text& name,
                                            sql::SelectStatement statement, const Optional& type,
                                            const Optional& options, const Parameters& parameters)
{
    if (statement.into) throw Error(ErrorNumber::InvalidOperation);
    const std::int32_t flags = OptionsOf(options);
    Cursor::Opening opening;
    opening.type = TypeOf(type, flags).value_or(RecordsetType::Dynaset);
    if (opening.type == RecordsetType::Table) throw Error(ErrorNumber::NoSuchObject, {name});
    opening.readOnly = (flags & readOnlyOption) != 0;
    return Open(database, name, std::move(statement), std::move(opening), parameters);
}

std::shared_ptr<RecordsetObject> OpenByName(const DatabaseRef& database, const Text& source, const Optional& type,
                                            const Optional& options, const Parameters& parameters)
{
    jet::Database& storage = database->Storage();
    const jet::ReadScope reading(storage.GetPager());  // one for all that is looked up
    const std::int32_t flags = OptionsOf(options);
    if (const auto* entry = storage.FindObject(source, tableObject)) {
        Cursor::Opening opening;
        opening.type = TypeOf(type, flags).value_or(RecordsetType::Table);
        opening.readOnly = (flags & readOnlyOption) != 0 || IsSystem(*entry);
        opening.table = entry->name;
        return Open(database, entry->name, SelectAll(entry->name), std::move(opening), parameters);
    }
    if (TypeOf(type, flags) == RecordsetType::Table) throw Error(ErrorNumber::NoSuchObject, {source});
    if (const auto query = database->Queries().FindQuery(source))
        return OpenSelect(database, query->name, RequireSelect(sql::Parse(QueryText(*query))), type, options,
                          parameters);
    // A lone word that names nothing is a missing table, not bad SQL.
    if (Trim(source).find_first_of(u" \t\r\n(") == TextView::npos) throw Error(ErrorNumber::NoSuchTable, {source});
    return OpenSelect(database, source, RequireSelect(sql::Parse(source)), type, options, parameters);
}

sql::SelectStatement RequireSelect(const sql::Statement& statement)
{
    const auto* select = std::get_if<sql::SelectStatement>(&statement);
    if (!select || select->into) throw Error(ErrorNumber::InvalidOperation);
    return *select;
}

}  // namespace vmlib::engine
