#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>
#include <sstream>

#include "automation/ResumeNext.h"
#include "host/CommandFixture.h"
#include "host/Json.h"

// vmlib convert: what becomes of a document, and that nothing of it goes unseen.
namespace vmlib::host::test {
namespace {

namespace fs = std::filesystem;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using vmlib::test::FailingFiles;
using vmlib::test::FaultKind;

constexpr const char* infoTable = R"({"name": "Info", "fields": [
    {"name": "Versie", "type": 3, "length": 2, "attributes": 1},
    {"name": "BestandType", "type": 10, "length": 10, "attributes": 2},
    {"name": "BestandNaam", "type": 10, "length": 255, "attributes": 2},
    {"name": "InGebruikDoor", "type": 10, "length": 20, "attributes": 2}]})";

const std::string layout1 = R"({"type": "FACT", "version": 1, "tables": [)" + std::string(infoTable) + R"(,
    {"name": "Klanten", "fields": [
       {"name": "Nr", "type": 4, "length": 4, "attributes": 1},
       {"name": "Naam", "type": 10, "length": 60, "attributes": 2, "zeroLength": true},
       {"name": "Code", "type": 10, "length": 10, "attributes": 2},
       {"name": "Bedrag", "type": 7, "length": 8, "attributes": 1},
       {"name": "Fax", "type": 10, "length": 20, "attributes": 2}],
     "indexes": [{"name": "PrimaryKey", "fields": ["Nr"], "primary": -1, "unique": -1}]},
    {"name": "Oud", "fields": [{"name": "A", "type": 4, "length": 4, "attributes": 1}]}]})";

const std::string layout2 = R"({"type": "FACT", "version": 2, "tables": [)" + std::string(infoTable) + R"(,
    {"name": "Klanten", "fields": [
       {"name": "Nr", "type": 4, "length": 4, "attributes": 1},
       {"name": "naam", "type": 10, "length": 8, "attributes": 2, "zeroLength": false},
       {"name": "Code", "type": 4, "length": 4, "attributes": 1},
       {"name": "Bedrag", "type": 5, "length": 8, "attributes": 1},
       {"name": "Email", "type": 10, "length": 80, "attributes": 2}],
     "indexes": [{"name": "PrimaryKey", "fields": ["Nr"], "primary": -1, "unique": -1}]},
    {"name": "Nieuw", "fields": [{"name": "B", "type": 4, "length": 4, "attributes": 1}]}]})";

class ConvertTest : public CommandFixture
{
protected:
    ConvertTest()
    {
        fs::create_directory(folder_.Native("archief"));
        vmlib_.environment["TMPDIR"] = folder_.Native("tmp").string();
        Must({"layout", "import", At("layout.mdb")}, layout1);
        Must({"create", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")});
        Sql("Kas.mdb", "INSERT INTO Klanten (Nr, Naam, Code, Bedrag) VALUES (1, 'Bakker', '12', 1.5)");
        Sql("Kas.mdb", "INSERT INTO Klanten (Nr, Naam, Code, Bedrag) VALUES (2, 'Slager', '007', -3)");
        Sql("Kas.mdb", "INSERT INTO Klanten (Nr) VALUES (3)");
        Must({"layout", "import", At("layout.mdb")}, layout2);
    }

    void Sql(std::string_view document, const std::string& statement) { CommandFixture::Sql(At(document), statement); }

    std::vector<std::string> Words(std::vector<std::string> documents, std::vector<std::string> more = {}) const
    {
        std::vector<std::string> words = {"convert", "--type", "FACT", "--layout", At("layout.mdb"), "--json"};
        for (std::string& document : documents) words.push_back(document == "-" ? document : At(document));
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    Outcome Convert(std::vector<std::string> documents, std::vector<std::string> more = {})
    {
        return Run(Words(std::move(documents), std::move(more)));
    }
    /// The line of the only document.
    Json ConvertOne(const std::string& document, std::vector<std::string> more = {})
    {
        const auto lines = Convert({document}, std::move(more)).AsJsonLines();
        EXPECT_EQ(lines.size(), 1u);
        return lines.at(0);
    }

    void CopyTo(const std::string& name) const { fs::copy_file(At("Kas.mdb"), At(name)); }
    std::string Rows(std::string_view document)
    {
        return Must({"query", At(document), "SELECT Nr, Naam, Code, Bedrag FROM Klanten ORDER BY Nr", "--json"}).out;
    }
    std::vector<std::string> NamesIn(std::string_view folder) const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(At(folder))) names.push_back(entry.path().filename().string());
        return names;
    }

    const std::string oldRows_ =
        "{\"Nr\":1,\"Naam\":\"Bakker\",\"Code\":\"12\",\"Bedrag\":1.5}\n"
        "{\"Nr\":2,\"Naam\":\"Slager\",\"Code\":\"007\",\"Bedrag\":-3.0}\n"
        "{\"Nr\":3,\"Naam\":null,\"Code\":null,\"Bedrag\":null}\n";
    const std::string newRows_ =
        "{\"Nr\":1,\"naam\":\"Bakker\",\"Code\":12,\"Bedrag\":\"1.5\"}\n"
        "{\"Nr\":2,\"naam\":\"Slager\",\"Code\":7,\"Bedrag\":\"-3\"}\n"
        "{\"Nr\":3,\"naam\":null,\"Code\":null,\"Bedrag\":null}\n";

    Program vmlib_;
};

TEST_F(ConvertTest, ADocumentIsConvertedSavedAndReleasedAndItsBackupIsTheOldOne)
{
    const std::string before = folder_.Read("Kas.mdb");
    const Json line = ConvertOne("Kas.mdb");
    EXPECT_EQ(line["outcome"], "converted") << line;
    EXPECT_EQ(line["fromVersion"], 1);
    EXPECT_EQ(line["toVersion"], 2);
    EXPECT_EQ(line["backup"], At("Kas.mdb-v1.bak"));
    EXPECT_TRUE(folder_.Read("Kas.mdb-v1.bak") == before);
    EXPECT_EQ(Rows("Kas.mdb"), newRows_);
    EXPECT_THAT(Must({"check", At("Kas.mdb")}).out, StartsWith("ok "));
    const Json status = Json::parse(Must({"status", At("Kas.mdb"), "--json"}).out);
    EXPECT_EQ(status["version"], 2);
    EXPECT_EQ(status["inUseBy"], "");
    ASSERT_EQ(status["leftovers"].size(), 1u) << status;
    EXPECT_EQ(status["leftovers"][0]["kind"], "backup");
    EXPECT_THAT(NamesIn("tmp"), IsEmpty());
    // Two fields and a table went, but there was nothing in them.
    for (const Json& loss : line["losses"]) EXPECT_EQ(loss["rows"], 0) << loss;
    EXPECT_EQ(line["losses"].size(), 2u);

    const std::string after = folder_.Read("Kas.mdb");
    EXPECT_EQ(ConvertOne("Kas.mdb")["outcome"], "skipped");
    EXPECT_TRUE(folder_.Read("Kas.mdb") == after);

    // The name of the backup is another document's of that version now.
    folder_.Write("Kas.mdb", before);
    folder_.Write("Kas.mdb-v1.bak", "somebody's");
    EXPECT_EQ(ConvertOne("Kas.mdb")["backup"], At("Kas.mdb-v1-2.bak"));
    EXPECT_EQ(folder_.Read("Kas.mdb-v1.bak"), "somebody's");
    EXPECT_TRUE(folder_.Read("Kas.mdb-v1-2.bak") == before);
}

TEST_F(ConvertTest, EveryLossIsNamedAndOnlyWhatIsAllowedIsLost)
{
    Sql("Kas.mdb", "INSERT INTO Klanten (Nr, Naam) VALUES (4, 'Coöperatie Zuid')");
    Sql("Kas.mdb", "INSERT INTO Klanten (Nr, Naam, Code, Bedrag) VALUES (5, '', '5', 5)");
    Sql("Kas.mdb", "INSERT INTO Klanten (Nr, Code, Bedrag) VALUES (6, 'A6', 0.00001)");
    Sql("Kas.mdb", "UPDATE Klanten SET Fax = '0294' WHERE Nr = 1");
    Sql("Kas.mdb", "INSERT INTO Oud (A) VALUES (1)");
    const std::string before = folder_.Read("Kas.mdb");

    const Json line = ConvertOne("Kas.mdb");
    EXPECT_EQ(line["outcome"], "failed");
    std::vector<std::string> losses;
    for (const Json& loss : line["losses"])
        losses.push_back(loss["kind"].get<std::string>() + "|" + loss["table"].get<std::string>() + "." +
                         loss["field"].get<std::string>() + "|" + loss["key"].get<std::string>() + "|" +
                         loss["value"].get<std::string>() + "|" + loss["rows"].dump());
    EXPECT_THAT(losses, UnorderedElementsAre("value|Klanten.naam|Nr=4|Coöperatie Zuid|1", "row|Klanten.naam|Nr=5||1",
                                             "value|Klanten.Code|Nr=6|A6|1", "value|Klanten.Bedrag|Nr=6|1e-05|1",
                                             "field|Klanten.Fax|||1", "table|Oud.|||1"));
    EXPECT_TRUE(folder_.Read("Kas.mdb") == before);
    EXPECT_THAT(folder_.Names(), UnorderedElementsAre("Kas.mdb", "layout.mdb", "tmp", "archief"));
    EXPECT_THAT(NamesIn("tmp"), IsEmpty());

    const std::vector<std::string> allowed = {"KLANTEN.Naam", "klanten.code", "Klanten.Bedrag", "Klanten.fax", "oud"};
    std::vector<std::string> options;
    for (std::size_t i = 0; i < allowed.size(); ++i) {
        if (i > 0) {
            EXPECT_EQ(ConvertOne("Kas.mdb", options)["outcome"], "failed") << "without " << allowed[i];
        }
        options.insert(options.end(), {"--allow", allowed[i]});
    }
    EXPECT_TRUE(folder_.Read("Kas.mdb") == before);
    EXPECT_EQ(ConvertOne("Kas.mdb", options)["outcome"], "converted");
    EXPECT_EQ(Rows("Kas.mdb"), newRows_ +
                                   "{\"Nr\":4,\"naam\":\"Coöperat\",\"Code\":null,\"Bedrag\":null}\n"
                                   "{\"Nr\":6,\"naam\":null,\"Code\":null,\"Bedrag\":\"0\"}\n");
}

TEST_F(ConvertTest, AStoredQueryIsALoss)
{
    {
        Platform platform = vmlib::test::PlatformOf(files_, system_, desktop_);
        ClassRegistry classes;
        Session session(platform, classes, std::cout, std::cerr);
        const Closer document(session.OpenDatabase(folder_.Path(u"Kas.mdb"), false));
        Call(document.Object(), u"CreateQueryDef", u"Open", u"SELECT Nr FROM Klanten");
    }
    const Json line = ConvertOne("Kas.mdb");
    EXPECT_EQ(line["outcome"], "failed");
    EXPECT_EQ(line["losses"].back()["kind"], "query");
    EXPECT_EQ(line["losses"].back()["table"], "Open");
    EXPECT_EQ(ConvertOne("Kas.mdb", {"--allow", "Open"})["outcome"], "converted");
}

TEST_F(ConvertTest, ADryRunChangesNoByte)
{
    Sql("Kas.mdb", "UPDATE Klanten SET Naam = 'veel te lang' WHERE Nr = 1");
    CopyTo("archief/A.mdb");
    const std::string before = folder_.Read("Kas.mdb");
    const Outcome refused = Convert({"Kas.mdb"}, {"--dry-run"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.AsJsonLines().at(0)["outcome"], "failed");
    const Outcome planned = Convert({"Kas.mdb", "archief"}, {"--dry-run", "--allow", "Klanten"});
    EXPECT_EQ(planned.code, 0);
    for (const Json& line : planned.AsJsonLines()) {
        EXPECT_EQ(line["outcome"], "planned") << line;
        EXPECT_EQ(line["losses"][0]["value"], "veel te lang") << line;
    }
    EXPECT_TRUE(folder_.Read("Kas.mdb") == before);
    EXPECT_TRUE(folder_.Read("archief/A.mdb") == before);
    EXPECT_THAT(NamesIn("archief"), ElementsAre("A.mdb"));
    EXPECT_THAT(folder_.Names(), UnorderedElementsAre("Kas.mdb", "layout.mdb", "tmp", "archief"));
    EXPECT_THAT(NamesIn("tmp"), IsEmpty());
}

TEST_F(ConvertTest, WhatCannotBeConvertedIsListedAndTheBatchGoesOn)
{
    struct Case
    {
        const char* name;
        std::string sql;
        int code;
        const char* text;
    };
    const Case cases[] = {
        {"bezet.mdb", "UPDATE Info SET InGebruikDoor = 'piet'", 14, "Het bestand is in gebruik"},
        {"nieuwer.mdb", "UPDATE Info SET Versie = 3", 7, "De versie van dit bestand is nieuwer"},
        {"ander.mdb", "UPDATE Info SET BestandType = 'KAS'", 6, "Dit bestand kan niet met dit programma"},
        {"zonder.mdb", "DROP TABLE Info", 5, "Tabel info niet"},
        {"leeg.mdb", "DELETE FROM Info", 5, "Tabel info niet"},
        {"goed.mdb", "UPDATE Info SET InGebruikDoor = 'anna'", 0, ""},  // a mark that an interrupted run left
        {"dubbel.mdb", "DROP INDEX PrimaryKey ON Klanten", 26, "Het converteren van dit bestand is mislukt"},
        {"kapot.mdb", "", 26, "Het converteren van dit bestand is mislukt"},
        {"vast.mdb", "", 13, "Dit bestand moet geconverteerd worden"},
    };
    std::map<std::string, std::string> before;
    std::vector<std::string> names;
    for (const Case& c : cases) {
        const std::string name = std::string("archief/") + c.name;
        CopyTo(name);
        if (!c.sql.empty()) Sql(name, c.sql);
        if (c.name == std::string("dubbel.mdb")) Sql(name, "INSERT INTO Klanten (Nr) VALUES (3)");
        if (c.name == std::string("kapot.mdb")) {
            std::string bytes = folder_.Read(name);
            const std::size_t row = bytes.find("Bakker");
            ASSERT_NE(row, std::string::npos);
            folder_.Write(name, bytes.replace(row / 2048 * 2048, 2048, 2048, '\0'));
        }
        if (c.name == std::string("vast.mdb")) fs::permissions(At(name), fs::perms::owner_read);
        before[name] = folder_.Read(name);
        names.push_back(At(name));
    }
    folder_.Write("archief/leesmij.txt", "geen document");
    folder_.Write("archief/~FA1.mdb", "geen document");
    std::ostringstream list;
    for (const std::string& name : names) list << name << "\n";
    list << At("archief") << "\n" << At("archief/weg.mdb") << "\n";  // each document once

    const Outcome answer = Run(Words({"-"}), list.str());
    EXPECT_EQ(answer.code, 1);
    const auto lines = answer.AsJsonLines();
    ASSERT_EQ(lines.size(), std::size(cases) + 1) << answer.out;
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(lines[i]["code"], cases[i].code) << lines[i];
        EXPECT_THAT(lines[i]["text"].get<std::string>(), StartsWith(cases[i].text)) << lines[i];
        EXPECT_EQ(lines[i]["outcome"], cases[i].code == 0 ? "converted" : "failed");
        if (cases[i].code == 26) {
            EXPECT_THAT(lines[i]["detail"].get<std::string>(), AnyOf(HasSubstr("3022"), HasSubstr("damaged")));
        }
        const std::string name = std::string("archief/") + cases[i].name;
        EXPECT_EQ(folder_.Read(name) == before[name], cases[i].code != 0) << name;
    }
    EXPECT_EQ(lines.back()["code"], 1);
    EXPECT_THAT(NamesIn("archief"), Not(Contains(HasSubstr("dubbel.mdb-v1"))));
    EXPECT_THAT(NamesIn("tmp"), IsEmpty());
}

TEST_F(ConvertTest, ALayoutThatWouldEmptyTheDocumentsIsSaid)
{
    Sql("layout.mdb", "DELETE FROM LayOut");
    const std::string before = folder_.Read("Kas.mdb");
    for (const std::vector<std::string>& options : {std::vector<std::string>{}, {"--dry-run"}}) {
        const Json line = ConvertOne("Kas.mdb", options);
        EXPECT_EQ(line["outcome"], "failed");
        EXPECT_THAT(line["detail"].get<std::string>(), HasSubstr("the result would be empty"));
    }
    EXPECT_TRUE(folder_.Read("Kas.mdb") == before);
    fs::remove(At("layout.mdb"));
    EXPECT_EQ(ConvertOne("Kas.mdb")["code"], 10);
}

TEST_F(ConvertTest, AConversionCopyThatSomebodyLeftIsMovedAside)
{
    CopyTo("tmp/ConKopie.tmp");
    const std::string left = folder_.Read("Kas.mdb");
    CopyTo("archief/A.mdb");
    const Outcome answer = Convert({"archief"});
    EXPECT_EQ(answer.code, 0);
    EXPECT_THAT(answer.err, HasSubstr("~ConKopie-1.tmp"));
    EXPECT_TRUE(folder_.Read("tmp/~ConKopie-1.tmp") == left);
    EXPECT_THAT(Must({"status", At("Kas.mdb")}).out, HasSubstr("conversion copy: " + At("tmp/~ConKopie-1.tmp")));
}

TEST_F(ConvertTest, FailureAtAnyStepLeavesTheOldDocumentOrTheNewOne)
{
    const std::string before = folder_.Read("Kas.mdb");
    for (const FaultKind kind : {FaultKind::Fails, FaultKind::FailsOn, FaultKind::PowerCut}) {
        bool struck = true;
        int n = 1;
        for (; struck; n += kind == FaultKind::PowerCut ? 2 : 7) {
            SCOPED_TRACE(n);
            folder_.Write("Kas.mdb", before);
            files_.Arm({.at = n, .kind = kind, .fault = FileFault::DiskFull});
            Outcome answer;
            ResumeNext([&] { answer = Convert({"Kas.mdb"}); });
            struck = files_.Struck();
            if (files_.PowerIsOff()) files_.AfterPowerCut(FailingFiles::Unsynced::Lost);
            files_.Disarm();
            const std::string rows = Rows("Kas.mdb");
            EXPECT_THAT(rows, AnyOf(oldRows_, newRows_));
            EXPECT_THAT(Must({"check", At("Kas.mdb")}).out, StartsWith("ok "));
            if (answer.code == 0) {
                EXPECT_EQ(rows, newRows_);
            }
            std::set<std::string> listed;
            const Json status = Json::parse(Must({"status", At("Kas.mdb"), "--json"}).out);
            for (const Json& leftover : status["leftovers"]) listed.insert(leftover["path"].get<std::string>());
            for (const auto& entry : fs::recursive_directory_iterator(folder_.Native())) {
                const std::string name = entry.path().filename().string();
                if (entry.is_directory() || name == "Kas.mdb" || name == "layout.mdb") continue;
                EXPECT_TRUE(listed.contains(entry.path().string()) || name == "LIKE-WOW.MAN") << entry.path();
                fs::remove(entry.path());
            }
        }
        EXPECT_GT(n, 60);
    }
}

class ConvertProgramTest : public ConvertTest
{
};

TEST_F(ConvertProgramTest, KilledAtAnyMomentItLeavesTheOldDocumentOrTheNewOne)
{
    const std::string before = folder_.Read("Kas.mdb");
    int killed = 0;
    for (auto time = std::chrono::milliseconds(2);; time += std::max(time / 10, std::chrono::milliseconds(1))) {
        SCOPED_TRACE(time.count());
        folder_.Write("Kas.mdb", before);
        const bool finished = vmlib_.RunAndKill(Words({"Kas.mdb"}), time);
        std::set<std::string> listed;
        const Json status = Json::parse(Must({"status", At("Kas.mdb"), "--json"}).out);
        for (const Json& leftover : status["leftovers"]) listed.insert(leftover["path"].get<std::string>());
        for (const auto& entry : fs::recursive_directory_iterator(folder_.Native())) {
            const std::string name = entry.path().filename().string();
            if (entry.is_directory() || name == "Kas.mdb" || name == "layout.mdb") continue;
            EXPECT_TRUE(listed.contains(entry.path().string()) || name == "LIKE-WOW.MAN") << entry.path();
        }
        EXPECT_THAT(Rows("Kas.mdb"), AnyOf(oldRows_, newRows_));
        EXPECT_THAT(Must({"check", At("Kas.mdb")}).out, StartsWith("ok "));
        // The next run takes up what this one left.
        const Outcome next = vmlib_.Run(Words({"Kas.mdb"}));
        EXPECT_EQ(next.code, 0) << next.out << next.err;
        EXPECT_EQ(Rows("Kas.mdb"), newRows_);
        EXPECT_THAT(NamesIn("tmp"), IsEmpty());
        if (finished) break;
        ASSERT_LT(++killed, 200);
    }
    EXPECT_GT(killed, 10);
}

TEST_F(ConvertProgramTest, SeveralProcessesShareTheWorkAndTheReportTellsOfAll)
{
    constexpr int count = 12;
    for (int i = 0; i < count; ++i) CopyTo("archief/" + std::string(1, static_cast<char>('a' + i)) + ".mdb");
    Sql("archief/c.mdb", "UPDATE Klanten SET Naam = 'A <b>&amp; nog langer' WHERE Nr = 1");
    fs::create_directory(At("archief/dieper"));
    CopyTo("archief/dieper/d.mdb");
    const Outcome outcome = vmlib_.Run(Words({"archief"}, {"--jobs", "3", "--recursive", "--glob", "?.mdb", "--report",
                                                           At("bericht.html"), "--backup-folder", At("tmp")}));
    EXPECT_EQ(outcome.code, 1) << outcome.err;
    const auto lines = outcome.AsJsonLines();
    ASSERT_EQ(lines.size(), count + 1u) << outcome.out;
    for (const Json& line : lines) {
        const bool isBad = line["document"] == At("archief/c.mdb");
        EXPECT_EQ(line["outcome"], isBad ? "failed" : "converted") << line;
    }
    EXPECT_EQ(Rows("archief/dieper/d.mdb"), newRows_);
    EXPECT_EQ(NamesIn("tmp").size(), static_cast<std::size_t>(count)) << "backups and nothing else";
    EXPECT_EQ(NamesIn("archief").size(), count + 1u);

    const std::string page = folder_.Read("bericht.html");
    EXPECT_THAT(page, HasSubstr("A &lt;b&gt;&amp;amp; nog langer"));
    EXPECT_LT(page.find("/c.mdb"), page.find("/a.mdb")) << "failed documents first";

    EXPECT_EQ(vmlib_.Run(Words({"archief"}, {"--jobs", "2", "--report", At("bericht.json")})).code, 1);
    const Json report = Json::parse(folder_.Read("bericht.json"));
    EXPECT_EQ(report["counts"]["skipped"], count - 1);
    EXPECT_EQ(report["counts"]["failed"], 1);
    EXPECT_EQ(report["documents"].size(), static_cast<std::size_t>(count));
}

TEST_F(ConvertProgramTest, StoppedItFinishesTheDocumentsAtWorkAndReportsTheRest)
{
    constexpr int count = 100;
    for (int i = 0; i < count; ++i) CopyTo("archief/" + std::to_string(i) + ".mdb");
    std::string command = "VMLIB_USER=anna VMLIB_DESKTOP=none LC_ALL=C TMPDIR='" + At("tmp") +
                          "' timeout --preserve-status -s TERM 0.1 '" VMLIB_PROGRAM "'";
    for (const std::string& word : Words({"archief"}, {"--no-backup", "--report", At("bericht.json")}))
        command += " '" + word + "'";
    const int status = std::system((command + " >/dev/null 2>&1").c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    const Json report = Json::parse(folder_.Read("bericht.json"));
    EXPECT_EQ(report["stopped"], true);
    EXPECT_EQ(report["documents"].size(), static_cast<std::size_t>(count));
    EXPECT_THAT(NamesIn("tmp"), IsEmpty());
    EXPECT_EQ(NamesIn("archief").size(), static_cast<std::size_t>(count));
    for (const Json& line : report["documents"]) {
        const fs::path document = line["document"].get<std::string>();
        EXPECT_THAT(line["outcome"].get<std::string>(), AnyOf("converted", "not done"));
        EXPECT_EQ(Rows("archief/" + document.filename().string()),
                  line["outcome"] == "converted" ? newRows_ : oldRows_);
    }
}

}  // namespace
}  // namespace vmlib::host::test
