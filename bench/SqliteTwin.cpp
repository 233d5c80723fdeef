#include "SqliteTwin.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace vmlib::bench {

namespace {

struct Close
{
    void operator()(sqlite3* connection) const { sqlite3_close(connection); }
};
using Connection = std::unique_ptr<sqlite3, Close>;

Connection Open(const std::string& path)
{
    sqlite3* connection = nullptr;
    if (sqlite3_open(path.c_str(), &connection) != SQLITE_OK) throw std::runtime_error("cannot open " + path);
    return Connection(connection);
}

void Execute(const Connection& connection, const std::string& sql)
{
    char* message = nullptr;
    if (sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK)
        throw std::runtime_error(sql + ": " + (message ? message : ""));
}

const char* const columns =
    "Id INTEGER, Nummer INTEGER, Naam TEXT COLLATE NOCASE, Plaats TEXT COLLATE NOCASE, Bedrag INTEGER, Datum REAL, "
    "Aantal INTEGER, Actief INTEGER";

void MakeTables(const Connection& connection)
{
    for (int table = 0; table < tableCount; ++table)
        Execute(connection, "CREATE TABLE " + TableName(table) + " (" + columns + ")");
}

void MakeIndexes(const Connection& connection)
{
    for (int table = 0; table < tableCount; ++table) {
        const std::string name = TableName(table);
        Execute(connection, "CREATE UNIQUE INDEX Sleutel" + name + " ON " + name + " (Id)");
        Execute(connection, "CREATE INDEX OpNaam" + name + " ON " + name + " (Naam)");
    }
}

void Fill(const Connection& connection, int table)
{
    sqlite3_stmt* statement = nullptr;
    const std::string sql = "INSERT INTO " + TableName(table) + " VALUES (?, ?, ?, ?, ?, ?, ?, ?)";
    if (sqlite3_prepare_v2(connection.get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
        throw std::runtime_error(sql);
    for (int row = 0; row < rowsPerTable; ++row) {
        InsertRow(statement, MakeRow(table, row));
    }
    sqlite3_finalize(statement);
}

void SyncFile(const std::string& path)
{
    const int descriptor = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (descriptor < 0 || fsync(descriptor) != 0) throw std::runtime_error("cannot sync " + path);
    close(descriptor);
}

}  // namespace

void InsertRow(sqlite3_stmt* statement, const SampleRow& values)
{
    sqlite3_bind_int(statement, 1, values.id);
    sqlite3_bind_int(statement, 2, values.number);
    sqlite3_bind_text(statement, 3, values.name.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(statement, 4, values.place.c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_int64(statement, 5, values.amount);
    sqlite3_bind_double(statement, 6, values.date);
    sqlite3_bind_int(statement, 7, values.count);
    sqlite3_bind_int(statement, 8, values.active ? -1 : 0);
    if (sqlite3_step(statement) != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(sqlite3_db_handle(statement)));
    sqlite3_reset(statement);
}

void SqliteTwin::MakeDocument()
{
    std::filesystem::remove(Path("twin.db"));
    const Connection connection = Open(Path("twin.db"));
    Execute(connection, "PRAGMA synchronous = OFF");
    Execute(connection, "BEGIN");
    MakeTables(connection);
    for (int table = 0; table < tableCount; ++table) Fill(connection, table);
    MakeIndexes(connection);
    Execute(connection, "COMMIT");
}

void SqliteTwin::ConvertAndSave()
{
    std::filesystem::remove(Path("new.db"));
    {
        const Connection connection = Open(Path("new.db"));
        Execute(connection, "PRAGMA synchronous = OFF");
        Execute(connection, "ATTACH '" + Path("twin.db") + "' AS old");
        Execute(connection, "BEGIN");
        MakeTables(connection);
        for (int table = 0; table < tableCount; ++table) {
            const std::string name = TableName(table);
            Execute(connection, "INSERT INTO main." + name +
                                    " SELECT Id, Nummer, Naam, Plaats, Bedrag, Datum, Aantal, Actief FROM old." + name);
        }
        MakeIndexes(connection);
        Execute(connection, "COMMIT");
    }
    std::filesystem::copy_file(Path("new.db"), Path("copy.db"), std::filesystem::copy_options::overwrite_existing);
    SyncFile(Path("copy.db"));
}

}  // namespace vmlib::bench
