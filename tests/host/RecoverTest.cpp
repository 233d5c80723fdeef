#include <gmock/gmock.h>

#include <filesystem>
#include <set>
#include <sstream>

#include "automation/ResumeNext.h"
#include "host/CommandFixture.h"
#include "host/Json.h"

// vmlib recover, restore, repair and compact: the ways back, and that none of them loses anything.
namespace vmlib::host::test {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using vmlib::test::FailingFiles;
using vmlib::test::FaultKind;

std::string Layout(int version)
{
    return R"({"type": "FACT", "version": )" + std::to_string(version) + R"(, "tables": [{"name": "Info", "fields": [
        {"name": "Versie", "type": 3, "length": 2, "attributes": 1},
        {"name": "BestandType", "type": 10, "length": 10, "attributes": 2},
        {"name": "BestandNaam", "type": 10, "length": 255, "attributes": 2},
        {"name": "InGebruikDoor", "type": 10, "length": 20, "attributes": 2}]},
      {"name": "Klanten", "fields": [
        {"name": "Nr", "type": 4, "length": 4, "attributes": 1},
        {"name": "Naam", "type": 10, "length": 60, "attributes": 2}],
       "indexes": [{"name": "PrimaryKey", "fields": ["Nr"], "primary": -1, "unique": -1}]},
      {"name": "Los", "fields": [{"name": "A", "type": 4, "length": 4, "attributes": 1}]}]})";
}

class RecoverTest : public CommandFixture
{
protected:
    RecoverTest()
    {
        fs::create_directory(folder_.Native("elders"));
        Must({"layout", "import", At("layout.mdb")}, Layout(1));
        Must({"create", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")});
        for (const char* name : {"Bakker", "Slager", "Smid"})
            Sql(At("Kas.mdb"),
                "INSERT INTO Klanten (Nr, Naam) SELECT COUNT(*) + 1, '" + std::string(name) + "' FROM Klanten");
        for (int i = 0; i < 3; ++i) Sql(At("Kas.mdb"), "INSERT INTO Los (A) VALUES (7)");
    }

    /// Opens the document and leaves the working copy, as a program that was killed does.
    std::string Leave()
    {
        const Outcome opened = Must({"open", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")});
        return opened.out.substr(0, opened.out.find('\n'));
    }
    Outcome Recover(const std::string& copy, std::vector<std::string> more)
    {
        std::vector<std::string> words = {"recover", copy, "--type", "FACT", "--layout", At("layout.mdb"), "--json"};
        words.insert(words.end(), more.begin(), more.end());
        return Run(words);
    }
    std::string Rows(const std::string& file)
    {
        std::string rows;
        for (const Json& row : Must({"query", file, "SELECT Naam FROM Klanten ORDER BY Nr", "--json"}).AsJsonLines())
            rows += (row["Naam"].is_null() ? "-" : row["Naam"].get<std::string>()) + " ";
        return rows;
    }
    std::map<std::string, std::string> Everything() const
    {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(folder_.Native())) {
            const std::string path = fs::relative(entry.path(), folder_.Native()).string();
            if (entry.is_regular_file()) files[path] = folder_.Read(path);
        }
        return files;
    }
    void PutBack(const std::map<std::string, std::string>& files) const
    {
        for (const auto& [path, bytes] : Everything()) fs::remove(At(path));
        for (const auto& [path, bytes] : files) folder_.Write(path, bytes);
    }
    void Spoil(const std::string& path, const std::string& row) const
    {
        std::string bytes = folder_.Read(path);
        const std::size_t at = bytes.find(row);
        ASSERT_NE(at, std::string::npos);
        folder_.Write(path, bytes.replace(at / 2048 * 2048, 2048, 2048, '\0'));
    }

    const std::string oldRows_ = "Bakker Slager Smid ";
};

TEST_F(RecoverTest, WhatTheCopyHoldsIsShownAndSavedAndNothingIsLost)
{
    const std::string copy = Leave();
    for (const char* sql : {"UPDATE Klanten SET Naam = 'Bakkerij' WHERE Nr = 1", "DELETE FROM Klanten WHERE Nr = 2",
                            "INSERT INTO Klanten (Nr) VALUES (9)", "INSERT INTO Los (A) VALUES (7)",
                            "INSERT INTO Los (A) VALUES (8)", "SELECT Nr INTO Eigen FROM Klanten WHERE Nr = 3"})
        Sql(copy, sql);
    const auto before = Everything();

    const Outcome shown = Recover(copy, {});
    EXPECT_EQ(shown.code, 0);
    EXPECT_THAT(shown.err, HasSubstr("--yes"));
    EXPECT_TRUE(Everything() == before);
    const Json json = shown.AsJson();
    EXPECT_EQ(json["document"], At("Kas.mdb"));
    EXPECT_EQ(json["inUseBy"], "anna");
    EXPECT_EQ(json["saved"], nullptr);
    std::map<std::string, std::string> counts;
    for (const Json& table : json["tables"])
        counts[table["name"]] =
            table["onlyInCopy"].dump() + " " + table["onlyInDocument"].dump() + " " + table["changed"].dump();
    EXPECT_EQ(counts, (std::map<std::string, std::string>{
                          {"Info", "0 0 0"}, {"Klanten", "1 1 1"}, {"Los", "2 0 0"}, {"Eigen", "1 0 0"}}));
    for (const Json& table : json["tables"])
        if (table["name"] == "Klanten") {
            EXPECT_THAT(table["examples"], Contains(Json::parse(R"({"kind": "changed", "key": "Nr=1", "fields":
                                             [{"name": "Naam", "copy": "Bakkerij", "document": "Bakker"}]})")));
            EXPECT_THAT(table["examples"], Contains(Json::parse(R"({"kind": "onlyInCopy", "key": "Nr=9", "fields":
                                             [{"name": "Nr", "copy": "9"}]})")));
        }

    const Outcome saved = Recover(copy, {"--yes"});
    EXPECT_EQ(saved.code, 0) << saved.err;
    EXPECT_EQ(Must({"query", At("Kas.mdb"), "SELECT COUNT(*) AS N FROM Los", "--csv"}).out, "N\n5\n");
    const fs::path backup = saved.AsJson()["backup"].get<std::string>();
    EXPECT_TRUE(folder_.Read(backup.filename().string()) == before.at("Kas.mdb"));
    EXPECT_FALSE(fs::exists(copy));
    EXPECT_EQ(Must({"status", At("Kas.mdb"), "--json"}).AsJson()["inUseBy"], "");

    // Under a new name: the document, released and changed since, stays.
    const std::string second = Leave();
    Sql(second, "DELETE FROM Klanten");
    Must({"release", At("Kas.mdb")});
    const std::string rows = Rows(At("Kas.mdb"));
    const Outcome beside = Recover(second, {At("Nieuw.mdb")});
    EXPECT_THAT(beside.AsJson()["notes"].dump(), HasSubstr("was released after the copy was made"));
    EXPECT_EQ(Rows(At("Nieuw.mdb")), "");
    EXPECT_THAT(Must({"status", At("Nieuw.mdb")}).out, HasSubstr("path      " + At("Nieuw.mdb")));
    EXPECT_EQ(Rows(At("Kas.mdb")), rows);
}

TEST_F(RecoverTest, WhatMayNotBeIsRefusedAndChangesNothing)
{
    const std::string copy = Leave();
    const auto clean = Everything();
    const std::string name = fs::relative(copy, folder_.Native()).string();
    struct Case
    {
        const char* what;
        std::function<void()> prepare;
        std::string copy;
        std::vector<std::string> more;
        int code;
        const char* text;
    };
    const Case cases[] = {
        {"marked by another",
         [&] { Sql(At("Kas.mdb"), "UPDATE Info SET InGebruikDoor = 'piet'"); },
         copy,
         {"--yes"},
         31,
         "DOCUMENT"},
        {"no copy", [] {}, At("Kas.mdb"), {"--yes"}, 35, ""},
        {"not there", [] {}, At("tmp/~weg.tmp"), {"--yes"}, 11, ""},
        {"another type", [&] { Sql(copy, "UPDATE Info SET BestandType = 'KAS'"); }, copy, {"--yes"}, 16, "KAS"},
        {"newer", [&] { Sql(copy, "UPDATE Info SET Versie = 3"); }, copy, {"--yes"}, 17, ""},
        {"half made", [&] { Sql(copy, "DELETE FROM Info"); }, copy, {"--yes"}, 15, "not finished"},
        {"damaged", [&] { Spoil(name, "Smid"); }, copy, {"--yes"}, 3, "vmlib repair"},
        {"the name is taken", [] {}, copy, {At("layout.mdb")}, 3, "error 58"},
        {"the document itself", [] {}, copy, {At("Kas.mdb")}, 3, "error 58"},
        {"the document is damaged", [&] { folder_.Write("Kas.mdb", "x"); }, copy, {"--yes"}, 30, "DOCUMENT"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        PutBack(clean);
        c.prepare();
        const auto before = Everything();
        const Outcome outcome = Recover(c.copy, c.more);
        EXPECT_EQ(outcome.code, c.code) << outcome.out << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(c.text));
        EXPECT_TRUE(Everything() == before);
    }
}

TEST_F(RecoverTest, AConversionCopyIsConvertedBroughtBackAndSurvivesTheConversionsOwnCopy)
{
    Must({"release", At("Kas.mdb")});
    fs::rename(Leave(), At("tmp/ConKopie.tmp"));
    Sql(At("tmp/ConKopie.tmp"), "DELETE FROM Klanten WHERE Nr = 1");
    fs::remove(At("Kas.mdb"));
    Must({"layout", "import", At("layout.mdb")}, Layout(2));
    EXPECT_EQ(Recover(At("tmp/ConKopie.tmp"), {"--yes"}).code, 0);
    EXPECT_EQ(Rows(At("Kas.mdb")), "Slager Smid ");
    EXPECT_EQ(Must({"status", At("Kas.mdb"), "--json"}).AsJson()["version"], 2);
    EXPECT_TRUE(fs::is_empty(At("tmp")));
}

TEST_F(RecoverTest, FailureAtAnyStepLeavesBothStatesOnDisk)
{
    const std::string copy = Leave();
    Sql(copy, "DELETE FROM Klanten");
    const auto recoverable = Everything();
    PutBack(recoverable);
    Must({"release", At("Kas.mdb")});
    fs::rename(copy, At("Kas.mdb-backup-20240305-060000"));
    const auto restorable = Everything();

    for (const bool isRestore : {false, true})
        for (const FaultKind kind : {FaultKind::Fails, FaultKind::FailsOn, FaultKind::PowerCut}) {
            bool struck = true;
            int n = 1;
            for (; struck; n += 2) {
                SCOPED_TRACE(std::string(isRestore ? "restore " : "recover ") + std::to_string(n));
                PutBack(isRestore ? restorable : recoverable);
                files_.Arm({.at = n, .kind = kind, .fault = FileFault::DiskFull});
                ResumeNext([&] { isRestore ? Run({"restore", At("Kas.mdb"), "--yes"}) : Recover(copy, {"--yes"}); });
                struck = files_.Struck();
                if (files_.PowerIsOff()) files_.AfterPowerCut(FailingFiles::Unsynced::Lost);
                files_.Disarm();
                EXPECT_THAT(Rows(At("Kas.mdb")), AnyOf(oldRows_, ""));
                std::set<std::string> states;
                const Json status = Must({"status", At("Kas.mdb"), "--json"}).AsJson();
                std::set<std::string> listed = {At("Kas.mdb"), At("layout.mdb"), copy};
                for (const Json& leftover : status["leftovers"]) listed.insert(leftover["path"]);
                for (const auto& [path, bytes] : Everything()) {
                    EXPECT_TRUE(listed.contains(At(path)) || path.ends_with("LIKE-WOW.MAN")) << path;
                    if (path == "layout.mdb" || path.ends_with(".MAN")) continue;
                    if (const Outcome rows = Run({"query", At(path), "SELECT COUNT(*) AS N FROM Klanten", "--csv"});
                        rows.code == 0)
                        states.insert(rows.out);
                }
                EXPECT_EQ(states.size(), 2u) << "a state is gone";
            }
            EXPECT_GT(n, 20);
        }
}

TEST_F(RecoverTest, TheNewestWholeBackupComesBackAndTodaysFileIsKept)
{
    const std::string document = folder_.Read("Kas.mdb");
    Sql(At("Kas.mdb"), "DELETE FROM Klanten WHERE Nr = 3");
    Sql(At("Kas.mdb"), "UPDATE Info SET InGebruikDoor = 'piet'");
    folder_.Write("Kas.mdb-backup-20240305-060000", folder_.Read("Kas.mdb"));
    folder_.Write("Kas.mdb-v1.bak", document);
    fs::last_write_time(At("Kas.mdb-v1.bak"), fs::file_time_type::clock::now() - std::chrono::hours(24 * 3650));
    folder_.Write("Kas.mdb-backup-20240305-060000-2", "half");

    EXPECT_EQ(Run({"restore", At("Kas.mdb"), "--yes"}).code, 31);
    folder_.Write("Kas.mdb", "damaged");
    const auto before = Everything();
    EXPECT_THAT(Must({"restore", At("Kas.mdb")}).err, HasSubstr("--yes"));
    EXPECT_TRUE(Everything() == before);

    const Outcome restored = Must({"restore", At("Kas.mdb"), "--yes", "--json"});
    EXPECT_EQ(restored.AsJson()["backup"], At("Kas.mdb-backup-20240305-060000"));
    EXPECT_THAT(restored.err, HasSubstr("060000-2 was passed over"));
    EXPECT_EQ(Rows(At("Kas.mdb")), "Bakker Slager ");
    EXPECT_EQ(Must({"status", At("Kas.mdb"), "--json"}).AsJson()["inUseBy"], "") << "a mark of that time";
    auto after = Everything();
    EXPECT_EQ(after.erase(fs::path(restored.AsJson()["kept"].get<std::string>()).filename().string()), 1u);
    after["Kas.mdb"] = "damaged";
    EXPECT_TRUE(after == before) << "the backups stay";

    for (const char* backup : {"Kas.mdb", "Kas.mdb-backup-20240305-060000"}) fs::remove(At(backup));
    EXPECT_EQ(Must({"restore", At("Kas.mdb"), "--yes", "--json"}).AsJson()["kept"], nullptr);
    EXPECT_EQ(Rows(At("Kas.mdb")), oldRows_);
}

TEST_F(RecoverTest, AConversionThatWasKilledLeavesOneBackup)
{
    const std::string document = folder_.Read("Kas.mdb");
    folder_.Write("Kas.mdb-v1.bak", document);
    fs::remove(Leave());  // our mark is all that has changed
    Must({"layout", "import", At("layout.mdb")}, Layout(2));
    folder_.Write("elders/Kas.mdb-new-0.tmp", "half");
    const auto convert = [&](std::vector<std::string> more) {
        std::vector<std::string> words = {"convert", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")};
        words.insert(words.end(), more.begin(), more.end());
        Must(words);
    };
    const std::string marked = folder_.Read("Kas.mdb");
    convert({});
    EXPECT_EQ(folder_.Names().size(), 5u) << "no second backup";
    EXPECT_TRUE(folder_.Read("Kas.mdb-v1.bak") == document);

    folder_.Write("Kas.mdb", marked);
    Sql(At("Kas.mdb"), "UPDATE Klanten SET Naam = 'Smit' WHERE Nr = 3");
    const std::string changed = folder_.Read("Kas.mdb");
    convert({});
    EXPECT_TRUE(folder_.Read("Kas.mdb-v1-2.bak") == changed) << "one row is another document";

    folder_.Write("Kas.mdb", marked);
    convert({"--backup-folder", At("elders")});
    EXPECT_FALSE(fs::exists(At("elders/Kas.mdb-new-0.tmp")));
    EXPECT_TRUE(folder_.Read("elders/Kas.mdb-v1.bak") == marked);
}

TEST_F(RecoverTest, RepairSavesTheOtherTablesAndCompactionKeepsTheRows)
{
    Sql(At("Kas.mdb"), "SELECT Nr, Naam INTO Ander FROM Klanten");
    Sql(At("Kas.mdb"), "UPDATE Ander SET Naam = 'Timmerman' WHERE Nr = 1");
    for (int i = 0; i < 11; ++i) Sql(At("Kas.mdb"), "INSERT INTO Los (A) SELECT A FROM Los");
    Sql(At("Kas.mdb"), "DELETE FROM Los");
    const Json small = Must({"compact", At("Kas.mdb"), At("Klein.mdb"), "--json"}).AsJson();
    EXPECT_LT(small["newSize"].get<int>() + 40'000, small["oldSize"].get<int>());
    const auto before = Everything();
    EXPECT_THAT(Run({"compact", At("Kas.mdb"), At("Klein.mdb")}).err, HasSubstr("error 3204"));
    EXPECT_TRUE(Everything() == before);
    Must({"compact", At("Kas.mdb")});
    EXPECT_EQ(fs::file_size(At("Kas.mdb")), small["newSize"].get<std::uintmax_t>());
    EXPECT_EQ(Rows(At("Kas.mdb")), oldRows_);

    EXPECT_THAT(Must({"repair", At("Kas.mdb")}).out, HasSubstr("nothing was lost"));
    Spoil("Kas.mdb", "Timmerman");
    EXPECT_EQ(Run({"check", At("Kas.mdb")}).code, 3);
    const Outcome repaired = Run({"repair", At("Kas.mdb"), "--json"});
    EXPECT_EQ(repaired.code, 1) << repaired.err;
    EXPECT_THAT(repaired.AsJson()["losses"].dump(), HasSubstr("Ander"));
    EXPECT_EQ(Rows(At("Kas.mdb")), oldRows_);
    EXPECT_THAT(Must({"check", At("Kas.mdb")}).out, StartsWith("ok "));
    EXPECT_EQ(Run({"repair", At("weg.mdb")}).code, 11);
}

}  // namespace
}  // namespace vmlib::host::test
