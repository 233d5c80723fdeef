// RepairDatabase of a sound file of some 15 MB beside CompactDatabase of the same file.
// Prints one JSON object. Usage: bench_repair [runs, at least 5]

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "Measure.h"
#include "Rows.h"
#include "SampleTables.h"
#include "automation/ClassRegistry.h"
#include "automation/Convert.h"
#include "engine/Engine.h"
#include "platform/Platform.h"

namespace vmlib::bench {

namespace {

namespace fs = std::filesystem;

class Repairs
{
public:
    Repairs(ClassRegistry& classes, Platform& platform, fs::path folder)
        : platform_(platform), folder_(std::move(folder)), engine_(classes.Create(u"VMDEngine.DBEngine"))
    {
        const ObjectRef database =
            ToObject(Call(engine_, u"CreateDatabase", Path("gaaf.mdb"), u";LANGID=0x0413;CP=1252;COUNTRY=0"));
        MakeTables(database);
        Call(engine_, u"BeginTrans");
        for (int table = 0; table < tableCount; ++table) AddRows(database, table, 0, rowsPerTable);
        Call(engine_, u"CommitTrans");
        Call(database, u"Close");
    }

    void Lay() const
    {
        fs::remove(folder_ / "klein.mdb");
        fs::copy_file(folder_ / "gaaf.mdb", folder_ / "stuk.mdb", fs::copy_options::overwrite_existing);
    }
    void Repair() const { Call(engine_, u"RepairDatabase", Path("stuk.mdb")); }
    void Compact() const { Call(engine_, u"CompactDatabase", Path("gaaf.mdb"), Path("klein.mdb")); }
    std::uintmax_t Size() const { return fs::file_size(folder_ / "gaaf.mdb"); }

private:
    Text Path(const char* name) const { return platform_.files.FromNative((folder_ / name).string()); }

    Platform& platform_;
    fs::path folder_;
    ObjectRef engine_;
};

int Run(int runs)
{
    std::string pattern = (fs::temp_directory_path() / "vmlib-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) return 3;
    Platform& platform = NativePlatform();
    ClassRegistry classes;
    RegisterEngine(classes, platform, platform.files.FromNative(pattern) + u"\\");
    const Repairs repairs(classes, platform, pattern);
    Pair pair;
    for (int run = 0; run < runs; ++run) {
        repairs.Lay();
        pair.ours.push_back(Measure([&] { repairs.Repair(); }));
        pair.twin.push_back(Measure([&] { repairs.Compact(); }));
    }
    std::cout << Json("repair of a sound file of " + std::to_string(repairs.Size()) + " bytes beside its compaction",
                      pair)
              << "\n";
    fs::remove_all(pattern);
    return 0;
}

}  // namespace

}  // namespace vmlib::bench

int main(int argc, char** argv)
{
    return vmlib::bench::Run(argc > 1 ? std::max(5, std::atoi(argv[1])) : 5);
}
