// The engine's objects as late-bound callers use them, beside the same work done by mdb-export or by SQLite's C API on
// tables of its own. Prints one JSON object a line. Usage: bench_engine VMLIB [runs, at least 5] [part of a name]

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "Measure.h"
#include "Rows.h"
#include "SampleTables.h"
#include "SqliteTwin.h"
#include "automation/ClassRegistry.h"
#include "automation/Convert.h"
#include "engine/Engine.h"
#include "platform/Platform.h"

namespace vmlib::bench {

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t tableType = 1, forwardOnly = 8;
constexpr int addedRows = 10000, preparations = 500;
const char* const join =
    "SELECT a.Naam, a.Bedrag, b.Plaats, b.Datum FROM Tabel10 AS a INNER JOIN Tabel11 AS b ON a.Id = b.Id";

void RunProgram(const std::string& command)
{
    if (std::system(command.c_str()) != 0) throw std::runtime_error(command + " failed");
}

class Ours
{
public:
    Ours(ClassRegistry& classes, Platform& platform, std::string vmlib, fs::path folder)
        : vmlib_(std::move(vmlib)), folder_(std::move(folder)), engine_(classes.Create(u"VMDEngine.DBEngine"))
    {
        const Text path = platform.files.FromNative(Document());
        database_ = ToObject(Call(engine_, u"CreateDatabase", path, u";LANGID=0x0409;CP=1252;COUNTRY=0"));
        MakeTables(database_);
        Call(engine_, u"BeginTrans");
        for (int table = 0; table < tableCount; ++table) AddRows(database_, table, 0, rowsPerTable);
        Call(engine_, u"CommitTrans");
        Call(database_, u"Close");  // what follows is a document that was opened
        database_ = ToObject(Call(engine_, u"OpenDatabase", path, false, false, u""));
    }

    /// Every value of every row, as `rs(name).Value` in a loop.
    void Loop() const
    {
        const Text names[] = {u"Id", u"Nummer", u"Naam", u"Plaats", u"Bedrag", u"Datum", u"Aantal", u"Actief"};
        for (int table = 0; table < tableCount; ++table) {
            const ObjectRef rows = Open(TableName(table), tableType);
            for (; !ToBoolean(Get(rows, u"EOF")); Call(rows, u"MoveNext"))
                for (const Text& name : names) Get(ToObject(Get(rows, u"Fields", name)), u"Value");
            Call(rows, u"Close");
        }
    }
    void GetRows() const
    {
        for (int table = 0; table < tableCount; ++table) ReadAll(Open(TableName(table), tableType));
    }
    void Export() const
    {
        const fs::path into = folder_ / "export";
        fs::remove_all(into);
        fs::create_directory(into);
        RunProgram(vmlib_ + " export " + Document() + " --csv --into " + into.string() +
                   " --no-password > /dev/null 2>&1");
    }
    void MdbExport() const
    {
        fs::create_directories(folder_ / "mdb");
        for (int table = 0; table < tableCount; ++table)
            RunProgram("mdb-export " + Document() + " " + TableName(table) + " > " +
                       (folder_ / "mdb" / TableName(table)).string());
    }
    /// Opening a query that finds one row.
    void Prepare() const
    {
        for (int i = 1; i <= preparations; ++i)
            Call(Open(join + (" WHERE a.Id = " + std::to_string(i)), forwardOnly), u"Close");
    }
    void Join() const { ReadAll(Open(join, forwardOnly)); }
    void Add()
    {
        Call(engine_, u"BeginTrans");
        AddRows(database_, 0, next_, addedRows);
        Call(engine_, u"CommitTrans");
        next_ += addedRows;
    }

private:
    std::string Document() const { return (folder_ / "document.mdb").string(); }
    ObjectRef Open(const std::string& source, std::int32_t type) const
    {
        return ToObject(Call(database_, u"OpenRecordset", FromUtf8(source), type));
    }
    static void ReadAll(const ObjectRef& rows)
    {
        while (!ToBoolean(Get(rows, u"EOF"))) Call(rows, u"GetRows", std::int32_t{1000});
        Call(rows, u"Close");
    }

    std::string vmlib_;
    fs::path folder_;
    ObjectRef engine_, database_;
    int next_ = rowsPerTable;
};

class Sqlite
{
public:
    explicit Sqlite(const std::string& path)
    {
        if (sqlite3_open(path.c_str(), &connection_) != SQLITE_OK) throw std::runtime_error("cannot open " + path);
    }
    ~Sqlite() { sqlite3_close(connection_); }
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    void Prepare() const
    {
        for (int i = 1; i <= preparations; ++i) Read(join + (" WHERE a.Id = " + std::to_string(i)));
    }
    void Join() const { Read(join); }
    void Add()
    {
        Read("BEGIN");
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(connection_, "INSERT INTO Tabel10 VALUES (?, ?, ?, ?, ?, ?, ?, ?)", -1, &statement, nullptr);
        for (int row = next_; row < next_ + addedRows; ++row) InsertRow(statement, MakeRow(0, row));
        sqlite3_finalize(statement);
        Read("COMMIT");
        next_ += addedRows;
    }

private:
    /// Runs a statement and looks at every value.
    void Read(const std::string& sql) const
    {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(connection_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(connection_));
        while (sqlite3_step(statement) == SQLITE_ROW)
            for (int i = 0; i < sqlite3_column_count(statement); ++i) sqlite3_column_text(statement, i);
        sqlite3_finalize(statement);
    }

    sqlite3* connection_ = nullptr;
    int next_ = rowsPerTable;
};

template <class Our, class Twin>
void Compare(const char* name, int runs, const Our& our, const Twin& twin)
{
    Pair pair;
    for (int run = 0; run < runs; ++run) {
        pair.ours.push_back(Measure(our));
        pair.twin.push_back(Measure(twin));
    }
    std::cout << Json(name, pair) << std::endl;
}

/// @param part  compares only what has this in its name, for a profiler
int Run(const std::string& vmlib, int runs, const std::string& part)
{
    std::string pattern = (fs::temp_directory_path() / "vmlib-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return 3;
    Platform& platform = NativePlatform();
    ClassRegistry classes;
    RegisterEngine(classes, platform, platform.files.FromNative(pattern) + u"\\");
    {
        Ours ours(classes, platform, fs::canonical(vmlib).string(), pattern);
        SqliteTwin document(pattern);
        document.MakeDocument();
        Sqlite sqlite(document.DocumentPath());
        const auto compare = [&](const std::string& name, const auto& our, const auto& twin) {
            if (name.find(part) != std::string::npos) Compare(name.c_str(), runs, our, twin);
        };
        const auto mdbExport = [&] { ours.MdbExport(); };
        compare(
            "all values in a late-bound loop, beside mdb-export", [&] { ours.Loop(); }, mdbExport);
        compare(
            "all values by GetRows, beside mdb-export", [&] { ours.GetRows(); }, mdbExport);
        compare(
            "vmlib export, beside mdb-export", [&] { ours.Export(); }, mdbExport);
        compare(
            "500 joins opened, one row each", [&] { ours.Prepare(); }, [&] { sqlite.Prepare(); });
        compare(
            "join of 10000 rows on an index", [&] { ours.Join(); }, [&] { sqlite.Join(); });
        compare(
            "10000 rows added in a transaction", [&] { ours.Add(); }, [&] { sqlite.Add(); });
    }
    fs::remove_all(pattern);
    return 0;
}

}  // namespace

}  // namespace vmlib::bench

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "usage: bench_engine VMLIB [runs] [part of a name]\n";
        return 2;
    }
    return vmlib::bench::Run(argv[1], argc > 2 ? std::max(5, std::atoi(argv[2])) : 5, argc > 3 ? argv[3] : "");
}
