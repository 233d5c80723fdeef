// Opening an older document of 120,000 rows with conversion and saving it, beside the same rows rebuilt and copied by SQLite's C API alone.
// Prints one JSON object. Usage: bench_convert [runs, at least 9]

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "Measure.h"
#include "Rows.h"
#include "SampleTables.h"
#include "SqliteTwin.h"
#include "automation/ClassRegistry.h"
#include "automation/Convert.h"
#include "component/Component.h"
#include "engine/Engine.h"
#include "platform/Platform.h"

namespace vmlib::bench {

namespace {

const Text locale = u";LANGID=0x0413;CP=1252;COUNTRY=0;PWD=Zonnebloemen";
const Text connect = u";PWD=Zonnebloemen";

/// Builds layout and document once, then converts and saves a fresh copy of the document as often as asked.
class Road
{
public:
    Road(ClassRegistry& classes, Platform& platform, const std::string& folder)
        : platform_(platform),
          folder_(folder),
          engine_(classes.Create(u"VMDEngine.DBEngine")),
          library_(classes.Create(u"VmdDbLibRoutines"))
    {
        Call(library_, u"DBL_InitPassWord");
        MakeLayout();
        MakeDocument();
    }

    /// The document as it was made, under the name that a run opens.
    void Lay() const
    {
        std::filesystem::copy_file(folder_ + "/oud.mdb", folder_ + "/document.mdb",
                                   std::filesystem::copy_options::overwrite_existing);
    }

    void ConvertAndSave()
    {
        Variant document(Path("document.mdb")), type(u"BENCH"), layout(Path("layout.mdb"));
        working_ = u"";
        Variant status(std::int16_t{0}), version(std::int16_t{0}), layoutVersion(std::int16_t{0}),
            code(std::int16_t{0});
        Call(library_, u"DBL_OpenDatabase", document, working_, type, layout, status, version, layoutVersion, code);
        Expect(code, "DBL_OpenDatabase");
        Call(library_, u"DBL_OpslaanDatabase", working_, document, layout, type, code);
        Expect(code, "DBL_OpslaanDatabase");
    }

    /// What a host does afterwards; no part of the comparison.
    void Release()
    {
        Variant document(Path("document.mdb")), code(std::int16_t{0});
        Call(library_, u"DBL_BestandVrijgeven", document, code);
        Expect(code, "DBL_BestandVrijgeven");
        platform_.files.Delete(ToText(working_));
    }

private:
    Text Path(std::string_view name) const { return platform_.files.FromNative(folder_ + "/" + std::string(name)); }

    static void Expect(const Variant& code, const char* what)
    {
        if (ToInteger(code) == 0) return;
        std::cerr << what << " gave code " << ToInteger(code) << "\n";
        std::exit(3);
    }

    ObjectRef Database(std::string_view name, bool create)
    {
        const ObjectRef workspace = ToObject(Get(engine_, u"Workspaces", std::int32_t{0}));
        if (create) return ToObject(Call(workspace, u"CreateDatabase", Path(name), locale));
        return ToObject(Call(workspace, u"OpenDatabase", Path(name), true, false, connect));
    }

    void Execute(const ObjectRef& database, const std::string& sql)
    {
        Call(database, u"Execute", FromUtf8(sql), std::int32_t{128});
    }

    void MakeLayout()
    {
        const ObjectRef database = Database("layout.mdb", true);
        Execute(database, "CREATE TABLE Info (FileType TEXT(10), Versie SHORT)");
        Execute(database,
                "CREATE TABLE LayOut (RecNr LONG, FileType TEXT(10), TabelNaam TEXT(30), VeldNaam TEXT(30), VeldType "
                "SHORT, VeldLengte SHORT, VeldAttribuut SHORT, "
                "NulWaardeToegestaan BIT)");
        Execute(database,
                "CREATE TABLE Indexen (FileType TEXT(10), TabelNaam TEXT(30), VeldNaam TEXT(30), IndexNaam TEXT(30), "
                "[Primary] SHORT, Uniek SHORT, Volgorde SHORT)");
        Execute(database,
                "CREATE TABLE Relaties (FileType TEXT(10), RelatieNaam TEXT(40), TabelNaam1 TEXT(30), TabelNaam2 "
                "TEXT(30), VeldNaam1 TEXT(30), VeldNaam2 TEXT(30), "
                "Attribuut LONG, Volgorde SHORT)");
        Execute(database,
                "CREATE TABLE Queries (FileType TEXT(10), QueryNaam TEXT(20), QueryParameters MEMO, QueryInhoud MEMO)");
        Execute(database, "INSERT INTO Info (FileType, Versie) VALUES ('BENCH', 1)");
        int record = 1000;
        const auto field = [&](const std::string& table, const char* name, int type, int length) {
            Execute(database,
                    "INSERT INTO LayOut (RecNr, FileType, TabelNaam, VeldNaam, VeldType, VeldLengte, VeldAttribuut, "
                    "NulWaardeToegestaan) VALUES (" +
                        std::to_string(record++) + ", 'BENCH', '" + table + "', '" + name + "', " +
                        std::to_string(type) + ", " + std::to_string(length) + ", 2, True)");
        };
        for (int table = 0; table < tableCount; ++table) {
            const std::string name = TableName(table);
            field(name, "Id", 4, 4);
            field(name, "Nummer", 4, 4);
            field(name, "Naam", 10, 40);
            field(name, "Plaats", 10, 30);
            field(name, "Bedrag", 5, 8);
            field(name, "Datum", 8, 8);
            field(name, "Aantal", 3, 2);
            field(name, "Actief", 1, 1);
            Execute(database, "INSERT INTO Indexen VALUES ('BENCH', '" + name + "', 'Id', 'Sleutel', 0, 1, 1)");
            Execute(database, "INSERT INTO Indexen VALUES ('BENCH', '" + name + "', 'Naam', 'OpNaam', 0, 0, 1)");
        }
        field("Info", "Versie", 3, 2);
        field("Info", "BestandType", 10, 10);
        field("Info", "BestandNaam", 10, 255);
        field("Info", "InGebruikDoor", 10, 50);
        Call(database, u"Close");
    }

    void MakeDocument()
    {
        Variant path(Path("oud.mdb")), type(u"BENCH"), layout(Path("layout.mdb")), code(std::int16_t{0});
        Call(library_, u"DBL_MaakNieuweDatabase", path, type, layout, code);
        Expect(code, "DBL_MaakNieuweDatabase");
        const ObjectRef workspace = ToObject(Get(engine_, u"Workspaces", std::int32_t{0}));
        const ObjectRef database = Database("oud.mdb", false);
        Call(workspace, u"BeginTrans");
        Execute(database,
                "INSERT INTO Info (Versie, BestandType, BestandNaam, InGebruikDoor) VALUES (1, 'BENCH', ' ', ' ')");
        for (int table = 0; table < tableCount; ++table) AddRows(database, table, 0, rowsPerTable);
        Call(workspace, u"CommitTrans");
        Call(database, u"Close");

        const ObjectRef catalogue = Database("layout.mdb", false);
        Execute(catalogue, "UPDATE Info SET Versie = 2");
        Call(catalogue, u"Close");
    }

    Platform& platform_;
    std::string folder_;
    ObjectRef engine_, library_;
    Variant working_;
};

int Run(int runs)
{
    std::string pattern = (std::filesystem::temp_directory_path() / "vmlib-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return 3;
    setenv("TMPDIR", pattern.c_str(), 1);

    Platform& platform = NativePlatform();
    ClassRegistry classes;
    RegisterEngine(classes, platform, platform.files.FromNative(pattern) + u"\\");
    RegisterClasses(classes, platform);

    Road road(classes, platform, pattern);
    SqliteTwin twin(pattern);
    twin.MakeDocument();
    Pair pair;
    for (int run = 0; run < runs; ++run) {
        road.Lay();
        pair.ours.push_back(Measure([&] { road.ConvertAndSave(); }));
        road.Release();
        pair.twin.push_back(Measure([&] { twin.ConvertAndSave(); }));
    }
    std::cout << Json("open with conversion and save, 120000 rows", pair) << "\n";
    std::filesystem::remove_all(pattern);
    return 0;
}

}  // namespace

}  // namespace vmlib::bench

int main(int argc, char** argv)
{
    const int runs = argc > 1 ? std::max(9, std::atoi(argv[1])) : 9;
    return vmlib::bench::Run(runs);
}
