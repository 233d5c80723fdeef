// `vmlib convert` of an archive of 200 small documents with backup, verification and report, beside a shell loop that
// copies each and rebuilds it with the program sqlite3 from a script; with --large also its memory for a document of
// some 500 MB. Prints one JSON object a line. Usage: bench_archive VMLIB [--large] [runs, at least 5]

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "Measure.h"

namespace vmlib::bench {

namespace {

namespace fs = std::filesystem;

constexpr int documentCount = 200;
constexpr int templateCount = 8;  // documents that differ; the others are copies of them
constexpr int customerCount = 150, orderCount = 600;
constexpr int largeRows = 1 << 21;

/// Runs a program and waits. Memory is the highest of it and the processes that it started, each for itself.
Sample Spawn(const std::vector<std::string>& command, const fs::path& folder, const fs::path& input = "/dev/null")
{
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("fork");
    if (child == 0) {
        std::vector<char*> arguments;
        for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        const int in = open(input.c_str(), O_RDONLY), out = open("/dev/null", O_WRONLY);
        if (chdir(folder.c_str()) == 0 && dup2(in, 0) == 0 && dup2(out, 1) == 1) execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) < 0) throw std::runtime_error("wait");
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(command[0] + " " + command[1] + " failed");
    return {taken.count(), 0, usage.ru_maxrss};
}

/// Three tables with keys and a relation; version 2 adds a field and makes one longer.
std::string LayoutText(int version)
{
    const std::string info =
        R"({"name": "Info", "fields": [{"name": "Versie", "type": 3, "length": 2, "attributes": 1, "zeroLength": false},
{"name": "BestandType", "type": 10, "length": 20, "attributes": 2, "zeroLength": false},
{"name": "BestandNaam", "type": 10, "length": 255, "attributes": 2, "zeroLength": true},
{"name": "InGebruikDoor", "type": 10, "length": 50, "attributes": 2, "zeroLength": false}]})";
    const std::string place = std::to_string(version == 1 ? 30 : 40);
    const std::string added =
        version == 1 ? "" : R"(, {"name": "Land", "type": 10, "length": 3, "attributes": 2, "zeroLength": true})";
    return R"({"type": "ARCHIEF", "version": )" + std::to_string(version) + R"(, "tables": [)" + info + R"(,
{"name": "Klanten", "fields": [{"name": "Nr", "type": 4, "length": 4, "attributes": 1, "zeroLength": false},
{"name": "Naam", "type": 10, "length": 40, "attributes": 2, "zeroLength": false},
{"name": "Plaats", "type": 10, "length": )" +
           place + R"(, "attributes": 2, "zeroLength": false},
{"name": "Notitie", "type": 12, "length": 0, "attributes": 2, "zeroLength": true})" +
           added + R"(],
"indexes": [{"name": "Sleutel", "fields": ["Nr"], "primary": -1, "unique": -1}, {"name": "OpNaam", "fields": ["Naam"], "primary": 0, "unique": 0}]},
{"name": "Orders", "fields": [{"name": "Nr", "type": 4, "length": 4, "attributes": 1, "zeroLength": false},
{"name": "Klant", "type": 4, "length": 4, "attributes": 1, "zeroLength": false},
{"name": "Datum", "type": 8, "length": 8, "attributes": 1, "zeroLength": false},
{"name": "Bedrag", "type": 5, "length": 8, "attributes": 1, "zeroLength": false}],
"indexes": [{"name": "Sleutel", "fields": ["Nr"], "primary": -1, "unique": -1}]}],
"relations": [{"name": "KlantOrders", "table": "Klanten", "foreignTable": "Orders", "attributes": 0, "fields": [{"name": "Nr", "foreignName": "Klant"}]}],
"queries": []})";
}

const char* const twinTables =
    "CREATE TABLE Info (Versie INTEGER, BestandType TEXT, BestandNaam TEXT, InGebruikDoor TEXT);"
    "CREATE TABLE Klanten (Nr INTEGER PRIMARY KEY, Naam TEXT COLLATE NOCASE, Plaats TEXT, Notitie TEXT, Land TEXT);"
    "CREATE TABLE Orders (Nr INTEGER PRIMARY KEY, Klant INTEGER REFERENCES Klanten (Nr), Datum REAL, Bedrag INTEGER);";

const char* const twinScript =
    "PRAGMA foreign_keys = ON; ATTACH 'oud.db' AS oud; BEGIN;%s"
    "INSERT INTO Info SELECT * FROM oud.Info; INSERT INTO Klanten SELECT Nr, Naam, Plaats, Notitie, NULL FROM "
    "oud.Klanten;"
    "INSERT INTO Orders SELECT * FROM oud.Orders; UPDATE Info SET Versie = 2;"
    "CREATE INDEX OpNaam ON Klanten (Naam); CREATE INDEX OpKlant ON Orders (Klant); COMMIT;"
    "SELECT count(*) - (SELECT count(*) FROM oud.Klanten) FROM Klanten;"
    "SELECT count(*) - (SELECT count(*) FROM oud.Orders) FROM Orders;"
    "SELECT * FROM Klanten EXCEPT SELECT Nr, Naam, Plaats, Notitie, NULL FROM oud.Klanten; SELECT * FROM Orders EXCEPT "
    "SELECT * FROM "
    "oud.Orders;";

/// The same rows in statements that both dialects take.
std::string Rows(int number)
{
    std::string sql;
    for (int i = 1; i <= customerCount; ++i) {
        const auto mixed = static_cast<unsigned>(i * 131 + number) * 2654435761u;
        sql += "INSERT INTO Klanten (Nr, Naam, Plaats, Notitie) VALUES (" + std::to_string(i) + ", 'Relatie " +
               std::to_string(mixed) + "', 'Plaats " + std::to_string(mixed % 97) + "', '" +
               std::string(20 + mixed % 300, 'n') + "')\n";
    }
    for (int i = 1; i <= orderCount; ++i) {
        const auto mixed = static_cast<unsigned>(i * 17 + number) * 2654435761u;
        sql += "INSERT INTO Orders (Nr, Klant, Datum, Bedrag) VALUES (" + std::to_string(i) + ", " +
               std::to_string(1 + mixed % customerCount) + ", " + std::to_string(30000 + mixed % 9000) + ", " +
               std::to_string(mixed % 10000) + ")\n";
    }
    return sql;
}

class Archive
{
public:
    Archive(std::string vmlib, fs::path folder) : vmlib_(std::move(vmlib)), folder_(std::move(folder))
    {
        ImportLayout(1);
        for (int i = 0; i < templateCount; ++i) MakeTemplate(i);
        ImportLayout(2);
        std::string script = twinScript;
        script.replace(script.find("%s"), 2, twinTables);
        Write("script.sql", script);
        Write("loop.sh",
              "set -e\nfor f in archief.db/*.db; do cp \"$f\" \"$f.bak\"; cp \"$f\" oud.db; rm -f nieuw.db\n"
              "sqlite3 nieuw.db < script.sql; mv nieuw.db \"$f\"; done\n");
    }

    /// The archive as it was before the conversion, for both halves.
    void Lay() const
    {
        for (const char* name : {"archief", "archief.db"}) {
            fs::remove_all(folder_ / name);
            fs::create_directory(folder_ / name);
        }
        for (int i = 0; i < documentCount; ++i) {
            const std::string from = std::to_string(i % templateCount), to = std::to_string(i);
            fs::copy_file(folder_ / ("sjabloon" + from + ".mdb"), folder_ / "archief" / (to + ".mdb"));
            fs::copy_file(folder_ / ("sjabloon" + from + ".db"), folder_ / "archief.db" / (to + ".db"));
        }
        sync();
    }

    Sample Convert() const
    {
        return Spawn(
            {vmlib_, "convert", "archief", "--type", "ARCHIEF", "--layout", "Layout.mdb", "--report", "verslag.html"},
            folder_);
    }
    Sample Loop() const { return Spawn({"sh", "loop.sh"}, folder_); }

    /// One document of some 500 MB: doubled until it has enough rows.
    Sample ConvertLarge() const
    {
        ImportLayout(1);
        Create("groot.mdb");
        Query("groot.mdb", "INSERT INTO Klanten (Nr, Naam, Plaats, Notitie) VALUES (1, 'Relatie', 'Plaats', '" +
                               std::string(150, 'n') + "')");
        for (int rows = 1; rows < largeRows; rows *= 2)
            Query("groot.mdb", "INSERT INTO Klanten (Nr, Naam, Plaats, Notitie) SELECT Nr + " + std::to_string(rows) +
                                   ", Naam & ' ' & Nr, Plaats, Notitie FROM Klanten");
        ImportLayout(2);
        return Spawn({vmlib_, "convert", "groot.mdb", "--type", "ARCHIEF", "--layout", "Layout.mdb"}, folder_);
    }
    std::uintmax_t LargeSize() const { return fs::file_size(folder_ / "groot.mdb"); }

private:
    void Write(const char* name, const std::string& text) const { std::ofstream(folder_ / name) << text; }
    void ImportLayout(int version) const
    {
        Write("layout.json", LayoutText(version));
        Spawn({vmlib_, "layout", "import", "Layout.mdb"}, folder_, folder_ / "layout.json");
    }
    void Create(const std::string& name) const
    {
        Spawn({vmlib_, "create", name, "--type", "ARCHIEF", "--layout", "Layout.mdb"}, folder_);
    }
    void Query(const std::string& name, const std::string& sql) const { Spawn({vmlib_, "query", name, sql}, folder_); }

    void MakeTemplate(int number) const
    {
        const std::string name = "sjabloon" + std::to_string(number);
        Create(name + ".mdb");
        const std::string rows = Rows(number);
        for (std::size_t at = 0, end; at < rows.size(); at = end + 1) {
            end = rows.find('\n', at);
            Query(name + ".mdb", rows.substr(at, end - at));
        }
        std::string sql =
            "BEGIN;" + std::string(twinTables) + "INSERT INTO Info VALUES (1, 'ARCHIEF', ' ', ' ');" + rows;
        std::replace(sql.begin(), sql.end(), '\n', ';');
        Write("rijen.sql", sql + "COMMIT;");
        Spawn({"sqlite3", name + ".db"}, folder_, folder_ / "rijen.sql");
    }

    std::string vmlib_;
    fs::path folder_;
};

int Run(const std::string& vmlib, bool large, int runs)
{
    std::string pattern = (fs::temp_directory_path() / "vmlib-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return 3;
    fs::create_directory(fs::path(pattern) / "tmp");
    setenv("TMPDIR", (pattern + "/tmp").c_str(), 1);

    const Archive archive(fs::canonical(vmlib).string(), pattern);
    Pair pair;
    for (int run = 0; run < runs; ++run) {
        archive.Lay();
        pair.ours.push_back(archive.Convert());
        pair.twin.push_back(archive.Loop());
    }
    std::cout << Json("convert of 200 documents", pair) << std::endl;
    if (large) {
        const Sample sample = archive.ConvertLarge();
        std::cout << R"({"name": "convert of one large document", "bytes": )" << archive.LargeSize()
                  << ", \"seconds\": " << sample.seconds << ", \"peakKiB\": " << sample.peakKiB << "}\n";
    }
    fs::remove_all(pattern);
    return 0;
}

}  // namespace

}  // namespace vmlib::bench

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const bool large = std::erase(arguments, "--large") > 0;
    if (arguments.empty()) {
        std::cerr << "usage: bench_archive VMLIB [--large] [runs]\n";
        return 2;
    }
    return vmlib::bench::Run(arguments[0], large,
                             arguments.size() > 1 ? std::max(5, std::atoi(arguments[1].c_str())) : 5);
}
