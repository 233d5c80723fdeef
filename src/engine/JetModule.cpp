#include "engine/JetModule.h"

#include <cstdlib>

#include "engine/Values.h"
#include "sql/SqliteErrors.h"

namespace vmlib::engine {
namespace {

struct ModuleTable : sqlite3_vtab
{
    TableNumbers* numbers = nullptr;
    int number = 0;
};

struct ModuleCursor : sqlite3_vtab_cursor
{
    explicit ModuleCursor(TableRef table) : sqlite3_vtab_cursor{}, reader(std::move(table)) {}
    TableReader reader;
};

ModuleTable& TableOf(sqlite3_vtab* table)
{
    return *static_cast<ModuleTable*>(table);
}

TableReader& ReaderOf(sqlite3_vtab_cursor* cursor)
{
    return static_cast<ModuleCursor*>(cursor)->reader;
}

int Status(bool succeeded)
{
    return succeeded ? SQLITE_OK : SQLITE_ERROR;
}

std::string Declaration(const jet::TableDefinition& table)
{
    std::string text = "CREATE TABLE x(";
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        if (i > 0) text += ", ";
        text += QuotedName(table.columns[i].name);
        if (jet::IsTextual(table.columns[i].type)) text += " COLLATE jet";
    }
    return text + ")";
}

// The arguments of xCreate are: module, database, table, then those of USING jet(...).
constexpr int firstOwnArgument = 3;

int Connect(sqlite3* connection, void* numbersPointer, int argumentCount, const char* const* arguments,
            sqlite3_vtab** result, char**)
{
    return Status(sql::Guarded([&] {
        auto& numbers = *static_cast<TableNumbers*>(numbersPointer);
        if (argumentCount <= firstOwnArgument) throw Error(ErrorNumber::Internal);
        auto table = std::make_unique<ModuleTable>();
        table->numbers = &numbers;
        table->number = std::atoi(arguments[firstOwnArgument]);
        const TableRef stored = numbers.TableOf(table->number);
        if (sqlite3_declare_vtab(connection, Declaration(stored.table->Definition()).c_str()) != SQLITE_OK)
            sql::ThrowFailure(connection);
        *result = table.release();
    }));
}

int Disconnect(sqlite3_vtab* table)
{
    delete &TableOf(table);
    return SQLITE_OK;
}

int BestIndex(sqlite3_vtab* table, sqlite3_index_info* info)
{
    return Status(sql::Guarded([&] {
        ModuleTable& module = TableOf(table);
        PlanAccess(module.numbers->TableOf(module.number).table->Definition(), module.numbers->Langid(), *info);
    }));
}

int Open(sqlite3_vtab* table, sqlite3_vtab_cursor** result)
{
    return Status(sql::Guarded([&] {
        ModuleTable& module = TableOf(table);
        *result = new ModuleCursor(module.numbers->TableOf(module.number));
    }));
}

int Close(sqlite3_vtab_cursor* cursor)
{
    delete static_cast<ModuleCursor*>(cursor);
    return SQLITE_OK;
}

int Filter(sqlite3_vtab_cursor* cursor, int, const char* plan, int argumentCount, sqlite3_value** arguments)
{
    return Status(sql::Guarded([&] {
        ReaderOf(cursor).Start(AccessPlan::Decode(plan), std::span(arguments, static_cast<std::size_t>(argumentCount)));
    }));
}

int Next(sqlite3_vtab_cursor* cursor)
{
    return Status(sql::Guarded([&] { ReaderOf(cursor).Next(); }));
}

int AtEnd(sqlite3_vtab_cursor* cursor)
{
    return ReaderOf(cursor).AtEnd();
}

int Column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column)
{
    return Status(
        sql::Guarded([&] { SetResult(context, ReaderOf(cursor).Current().at(static_cast<std::size_t>(column))); }));
}

int RowId(sqlite3_vtab_cursor* cursor, sqlite3_int64* rowId)
{
    *rowId = ReaderOf(cursor).Where().Packed();
    return SQLITE_OK;
}

sqlite3_module Module()
{
    sqlite3_module module{};
    module.iVersion = 1;
    module.xCreate = Connect;
    module.xConnect = Connect;
    module.xBestIndex = BestIndex;
    module.xDisconnect = Disconnect;
    module.xDestroy = Disconnect;
    module.xOpen = Open;
    module.xClose = Close;
    module.xFilter = Filter;
    module.xNext = Next;
    module.xEof = AtEnd;
    module.xColumn = Column;
    module.xRowid = RowId;
    return module;
}

}  // namespace

void RegisterJetModule(sqlite3* connection, TableNumbers& numbers)
{
    static const sqlite3_module module = Module();
    if (sqlite3_create_module_v2(connection, "jet", &module, &numbers, nullptr) != SQLITE_OK)
        sql::ThrowFailure(connection);
}

std::string QuotedName(TextView name)
{
    std::string quoted = "\"";
    for (const char character : ToUtf8(name)) {
        if (character == '"') quoted += '"';
        quoted += character;
    }
    return quoted + '"';
}

}  // namespace vmlib::engine
