#include <gmock/gmock.h>

#include <filesystem>

#include "host/Program.h"
#include "support/GenuineFiles.h"
#include "support/TemporaryFolder.h"

// The program as a whole: what scripts rely on.
namespace vmlib::host::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using vmlib::test::TemporaryFolder;

constexpr const char* firstLayout = R"({
  "type": "FACT", "version": 1,
  "tables": [
    {"name": "Info", "fields": [
       {"name": "Versie", "type": 3, "length": 2, "attributes": 1, "zeroLength": false},
       {"name": "BestandType", "type": 10, "length": 10, "attributes": 2, "zeroLength": false},
       {"name": "BestandNaam", "type": 10, "length": 255, "attributes": 2, "zeroLength": false},
       {"name": "InGebruikDoor", "type": 10, "length": 50, "attributes": 2, "zeroLength": false}], "indexes": []},
    {"name": "Klanten", "fields": [
       {"name": "Nummer", "type": 4, "length": 4, "attributes": 1, "zeroLength": false},
       {"name": "Naam", "type": 10, "length": 40, "attributes": 2, "zeroLength": true}],
     "indexes": [{"name": "Sleutel", "fields": ["Nummer"], "primary": -1, "unique": -1}]},
    {"name": "Posten", "fields": [
       {"name": "Klant", "type": 4, "length": 4, "attributes": 1, "zeroLength": false},
       {"name": "Bedrag", "type": 5, "length": 8, "attributes": 1, "zeroLength": false},
       {"name": "Datum", "type": 8, "length": 8, "attributes": 1, "zeroLength": false},
       {"name": "Betaald", "type": 1, "length": 1, "attributes": 1, "zeroLength": false},
       {"name": "Koers", "type": 7, "length": 8, "attributes": 1, "zeroLength": false},
       {"name": "Tekst", "type": 12, "length": 0, "attributes": 2, "zeroLength": true}], "indexes": []}],
  "relations": [{"name": "KlantPost", "table": "Klanten", "foreignTable": "Posten", "attributes": 4096,
                 "fields": [{"name": "Nummer", "foreignName": "Klant"}]}],
  "queries": [{"name": "Duur", "parameters": "PARAMETERS Grens Currency; ", "sql": "SELECT * FROM Posten WHERE Bedrag > Grens"}]})";

class ProgramTest : public testing::Test
{
protected:
    ProgramTest()
    {
        std::filesystem::create_directory(folder_.Native("tmp"));
        vmlib_.environment["TMPDIR"] = folder_.Native("tmp").string();
    }

    std::string At(const char* name) const { return folder_.Native(name).string(); }

    Outcome Run(const std::vector<std::string>& words, const std::string& input = {})
    {
        return vmlib_.Run(words, input);
    }

    Outcome RunAs(const char* user, const std::vector<std::string>& words)
    {
        Program other = vmlib_;
        other.environment["VMLIB_USER"] = user;
        return other.Run(words);
    }

    /// A layout database and a document with a row or two.
    void MakeDocument()
    {
        Must({"layout", "import", At("layout.mdb")}, firstLayout);
        Must({"create", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")});
        Must({"query", At("Kas.mdb"), "INSERT INTO Klanten (Nummer, Naam) VALUES (1, 'Ann \"A\", Zoë')"});
        Must({"query", At("Kas.mdb"), "INSERT INTO Klanten (Nummer, Naam) VALUES (2, '')"});
        Must({"query", At("Kas.mdb"),
              "INSERT INTO Posten (Klant, Bedrag, Datum, Betaald, Koers, Tekst) VALUES (1, 12.5, #3/5/2024 6:00:00#, "
              "True, 0.1, 'a')"});
        Must({"query", At("Kas.mdb"), "INSERT INTO Posten (Klant, Datum) VALUES (2, #3/5/2024#)"});
    }

    Outcome Must(const std::vector<std::string>& words, const std::string& input = {})
    {
        const Outcome outcome = Run(words, input);
        EXPECT_EQ(outcome.code, 0) << words[0] << ": " << outcome.out << outcome.err;
        return outcome;
    }

    Json Status(const char* name) { return Must({"status", At(name), "--json"}).AsJson(); }

    TemporaryFolder folder_;
    Program vmlib_;
};

TEST_F(ProgramTest, EveryHelpStartsWithAnExample)
{
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{{},
                                                                                         {"open"},
                                                                                         {"save"},
                                                                                         {"release"},
                                                                                         {"create"},
                                                                                         {"status"},
                                                                                         {"error"},
                                                                                         {"info"},
                                                                                         {"query"},
                                                                                         {"export"},
                                                                                         {"layout"},
                                                                                         {"layout", "describe"},
                                                                                         {"layout", "import"},
                                                                                         {"layout", "export"},
                                                                                         {"check"},
                                                                                         {"call"},
                                                                                         {"rpc"},
                                                                                         {"base"},
                                                                                         {"text"},
                                                                                         {"message"}}) {
        auto words = command;
        words.push_back("--help");
        const Outcome help = Run(words);
        EXPECT_EQ(help.code, 0);
        EXPECT_THAT(help.out, StartsWith("Example: vmlib " + (command.empty() ? std::string() : command[0])));
        EXPECT_THAT(help.err, IsEmpty());
    }
}

TEST_F(ProgramTest, UsageErrorsAreCodeTwoAndGoToStandardError)
{
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{},
                                               {"dance"},
                                               {"open"},
                                               {"open", "a.mdb", "--type", "X"},
                                               {"error", "x"},
                                               {"query", "a.mdb"},
                                               {"info", "a.mdb", "--frob"},
                                               {"export", "a.mdb", "T"},
                                               {"call", "MBF", "CVI", "i:x"},
                                               {"call", "X"},
                                               {"text", "0x10"},
                                               {"text", ""},
                                               {"message", "x", "--style", "1e3"},
                                               {"message", "x", "--button=a", "--button=b", "--button=c", "--button=d"},
                                               {"info", "a", "--password", "x;y"},
                                               {"info", "a", "--password", "x", "--no-password"}}) {
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.code, 2) << (words.empty() ? "" : words[0]);
        EXPECT_THAT(outcome.out, IsEmpty());
        EXPECT_THAT(outcome.err, Not(IsEmpty()));
    }
}

TEST_F(ProgramTest, TextsHaveNumbers)
{
    EXPECT_EQ(Must({"text", "30001"}).out, "Annuleren\n");
    EXPECT_EQ(Must({"text", "20000", "--json"}).AsJson(), Json::parse(R"({"number":20000,"text":"Udskriv"})"));
    EXPECT_EQ(Must({"text", "010003"}).out, "Number\n");
    const Outcome missing = Run({"text", "10339"});
    EXPECT_EQ(missing.code, 1);
    EXPECT_EQ(missing.out + "|" + missing.err, "|there is no text 10339\n");
}

TEST_F(ProgramTest, MessagesThatNobodyCanAnswerTakeTheSafeAnswer)
{
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "1\n"},
        {{"--style", "35"}, "2\n"},
        {{"--style", "524324"}, "7\n"},
        {{"--button", "&Opslaan", "--button", "Weg"}, "7\n"},
        {{"--button", "&Opslaan", "--button", "Weg", "--yes"}, "6\n"},
        {{"--style", "2", "--json"}, "{\"answer\":3}\n"},
    };
    for (const auto& [options, answer] : cases) {
        std::vector<std::string> words = {"message", "Het bestand \u00E9\u00E9n is vol", "--title", "Kas"};
        words.insert(words.end(), options.begin(), options.end());
        const Outcome outcome = Run(words);
        EXPECT_EQ(outcome.out, answer);
        const bool isAsked = options.empty() || options.back() != "--yes";
        EXPECT_EQ(outcome.err, isAsked ? "Kas: Het bestand \u00E9\u00E9n is vol\n" : "");
    }
}

TEST_F(ProgramTest, DatabaseCodesHaveDutchTexts)
{
    EXPECT_EQ(Must({"error", "14"}).out,
              "Het bestand is in gebruik door een andere gebruiker.\nU wilt geen kopie maken.\n");
    EXPECT_EQ(Must({"error", "-1"}).out, "Onbekende fout. Fout: -1\n");
    EXPECT_EQ(Must({"error", "0", "--json"}).AsJson(), Json::parse(R"({"code":0,"text":""})"));
}

TEST_F(ProgramTest, ADocumentsLife)
{
    MakeDocument();
    EXPECT_EQ(Status("Kas.mdb")["inUseBy"], "");
    EXPECT_EQ(Status("Kas.mdb")["version"], 1);
    EXPECT_EQ(Status("Kas.mdb")["type"], "FACT");

    // Anna opens it; the working copy is hers, the document is marked.
    const Json opened =
        Must({"open", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb"), "--json"}).AsJson();
    const std::string working = opened["workingFile"].get<std::string>();
    EXPECT_THAT(working, StartsWith(At("tmp") + "/~FA"));
    EXPECT_EQ(opened["status"], 0);
    EXPECT_EQ(opened["marked"], true);
    EXPECT_EQ(opened["layoutVersion"], 1);
    Json status = Status("Kas.mdb");
    EXPECT_EQ(status["inUseBy"], "anna");
    EXPECT_EQ(status["leftovers"], Json::array({{{"path", working}, {"kind", "working copy"}}}));

    // Jan is told so, and may have a copy.
    Outcome jan = RunAs("jan", {"open", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")});
    EXPECT_EQ(jan.code, 24);
    EXPECT_THAT(jan.out, IsEmpty());
    EXPECT_THAT(jan.err, AllOf(HasSubstr("anna"), HasSubstr("U wilt geen kopie maken.")));
    jan = RunAs("jan", {"open", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb"), "--yes", "--json"});
    EXPECT_EQ(jan.code, 0) << jan.err;
    EXPECT_EQ(jan.AsJson()["status"], 2);

    // What Anna changes arrives with the save.
    Must({"query", working, "UPDATE Klanten SET Naam = 'Bert' WHERE Nummer = 2"});
    EXPECT_EQ(Must({"query", At("Kas.mdb"), "SELECT Naam FROM Klanten WHERE Nummer = 2", "--json"}).out,
              "{\"Naam\":\"\"}\n");
    Must({"save", working, At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")});
    EXPECT_EQ(Must({"query", At("Kas.mdb"), "SELECT Naam FROM Klanten WHERE Nummer = 2", "--json"}).out,
              "{\"Naam\":\"Bert\"}\n");
    EXPECT_EQ(RunAs("jan", {"save", jan.AsJson()["workingFile"], At("Kas.mdb"), "--type", "FACT", "--layout",
                            At("layout.mdb")})
                  .code,
              31);

    // Only she may release it, or whoever insists.
    EXPECT_EQ(RunAs("jan", {"release", At("Kas.mdb")}).code, 31);
    const Outcome refused = RunAs("jan", {"release", At("Kas.mdb"), "--force"});
    EXPECT_EQ(refused.code, 31);
    EXPECT_THAT(refused.err, HasSubstr("in use by anna"));
    EXPECT_EQ(Status("Kas.mdb")["inUseBy"], "anna");
    Must({"release", At("Kas.mdb")});
    EXPECT_EQ(Status("Kas.mdb")["inUseBy"], "");
    Must({"open", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")});
    EXPECT_EQ(RunAs("jan", {"release", At("Kas.mdb"), "--force", "--yes"}).code, 0);
    EXPECT_EQ(Status("Kas.mdb")["inUseBy"], "");
    EXPECT_THAT(Must({"check", At("Kas.mdb")}).out, StartsWith("ok "));
}

TEST_F(ProgramTest, AnOlderDocumentIsConvertedOnOpening)
{
    MakeDocument();
    Json second = Json::parse(firstLayout);
    second["version"] = 2;
    second["tables"][1]["fields"].push_back(
        {{"name", "Plaats"}, {"type", 10}, {"length", 30}, {"attributes", 2}, {"zeroLength", true}});
    Must({"layout", "import", At("layout.mdb")}, second.dump());
    const Json opened =
        Must({"open", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb"), "--json"}).AsJson();
    EXPECT_EQ(opened["version"], 1);
    EXPECT_EQ(opened["layoutVersion"], 2);
    const std::string working = opened["workingFile"].get<std::string>();
    EXPECT_EQ(Must({"query", working, "SELECT Versie FROM Info", "--json"}).out, "{\"Versie\":2}\n");
    const auto rows =
        Must({"query", working, "SELECT Nummer, Naam, Plaats FROM Klanten ORDER BY Nummer", "--json"}).AsJsonLines();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["Naam"], "Ann \"A\", Zoë");
    EXPECT_EQ(rows[1]["Naam"], "");
    EXPECT_TRUE(rows[0]["Plaats"].is_null());

    // A document that is newer than the layout is refused by its code.
    Must({"layout", "import", At("old.mdb")}, firstLayout);
    Must({"create", At("New.mdb"), "--type", "FACT", "--layout", At("layout.mdb")});
    EXPECT_EQ(Run({"open", At("New.mdb"), "--type", "FACT", "--layout", At("old.mdb")}).code, 17);
}

TEST_F(ProgramTest, LayoutsGoInAndOutUnchangedAndDocumentsDescribeThem)
{
    MakeDocument();
    EXPECT_EQ(Json::parse(Must({"layout", "export", At("layout.mdb")}).out), Json::parse(firstLayout));
    Json other = Json::parse(firstLayout);
    other["type"] = "KAS";
    Must({"layout", "import", At("layout.mdb")}, other.dump());
    EXPECT_EQ(Json::parse(Must({"layout", "export", At("layout.mdb"), "--type", "FACT"}).out),
              Json::parse(firstLayout));
    const Outcome both = Must({"layout", "export", At("layout.mdb"), "--json"});
    EXPECT_EQ(both.AsJsonLines().size(), 2u);
    Must({"layout", "import", At("copy.mdb")}, both.out);
    EXPECT_EQ(Must({"layout", "export", At("copy.mdb"), "--json"}).out, both.out);

    Json described = Json::parse(Must({"layout", "describe", At("Kas.mdb"), "--type", "FACT", "--version", "1"}).out);
    Json expected = Json::parse(firstLayout);
    expected["queries"] = Json::array();  // a new document gets none
    EXPECT_EQ(described, expected);
}

TEST_F(ProgramTest, ARefusedLayoutLeavesTheDatabaseAsItWas)
{
    MakeDocument();
    const std::string before = folder_.Read("layout.mdb");
    Json bad = Json::parse(firstLayout);
    bad["tables"][1]["name"] = "Order";
    EXPECT_EQ(Run({"layout", "import", At("layout.mdb")}, bad.dump()).code, 2);
    EXPECT_EQ(Run({"layout", "import", At("new.mdb")}, bad.dump()).code, 2);
    EXPECT_EQ(Run({"layout", "import", At("layout.mdb")}, "{\"type\": ").code, 2);
    EXPECT_EQ(folder_.Read("layout.mdb"), before);

    // Names whose rows would mix in the layer's order: accents count last.
    Json mixed = Json::parse(firstLayout);
    mixed["tables"].push_back({{"name", "Bon"}, {"fields", mixed["tables"][1]["fields"]}});
    mixed["tables"].push_back({{"name", "Bón"}, {"fields", mixed["tables"][1]["fields"]}});
    const Outcome refused = Run({"layout", "import", At("layout.mdb")}, mixed.dump());
    EXPECT_EQ(refused.code, 2);
    EXPECT_THAT(refused.err, HasSubstr("mix"));
    EXPECT_EQ(Json::parse(Must({"layout", "export", At("layout.mdb")}).out), Json::parse(firstLayout));
    EXPECT_EQ(Run({"layout", "import", At("new.mdb")}, mixed.dump()).code, 2);
    EXPECT_FALSE(std::filesystem::exists(At("new.mdb")));

    // A document is not taken for a layout database.
    const Outcome document = Run({"layout", "import", At("Kas.mdb")}, firstLayout);
    EXPECT_EQ(document.code, 2);
    EXPECT_THAT(document.err, HasSubstr("no layout database"));
    for (const std::string& name : folder_.Names()) EXPECT_THAT(name, Not(StartsWith("~")));
}

TEST_F(ProgramTest, RowsAsTextCsvAndJson)
{
    MakeDocument();
    const std::string sql = "SELECT * FROM Posten ORDER BY Klant";
    EXPECT_EQ(
        Must({"query", At("Kas.mdb"), sql, "--json"}).out,
        "{\"Klant\":1,\"Bedrag\":\"12.5\",\"Datum\":\"2024-03-05T06:00:00\",\"Betaald\":true,\"Koers\":0.1,\"Tekst\":"
        "\"a\"}\n"
        "{\"Klant\":2,\"Bedrag\":null,\"Datum\":\"2024-03-05\",\"Betaald\":false,\"Koers\":null,\"Tekst\":null}\n");
    EXPECT_EQ(Must({"query", At("Kas.mdb"), "SELECT * FROM Klanten ORDER BY Nummer", "--csv"}).out,
              "Nummer,Naam\n1,\"Ann \"\"A\"\", Zoë\"\n2,\"\"\n");
    EXPECT_EQ(Must({"query", At("Kas.mdb"), "SELECT Naam, Nummer FROM Klanten ORDER BY Nummer"}).out,
              "Naam          Nummer\nAnn \"A\", Zoë       1\n                   2\n");
    EXPECT_EQ(Must({"export", At("Kas.mdb"), "klanten", "--csv"}).out,
              "Nummer,Naam\n1,\"Ann \"\"A\"\", Zoë\"\n2,\"\"\n");
    Must({"export", At("Kas.mdb"), "--json", "--into", At("all")});
    EXPECT_EQ(vmlib::test::ReadNative(folder_.Native("all/Klanten.json")),
              "{\"Nummer\":1,\"Naam\":\"Ann \\\"A\\\", Zoë\"}\n{\"Nummer\":2,\"Naam\":\"\"}\n");
    EXPECT_TRUE(std::filesystem::exists(folder_.Native("all/Info.json")));
    EXPECT_FALSE(std::filesystem::exists(folder_.Native("all/MSysObjects.json")));
}

TEST_F(ProgramTest, StatementsCountRowsAndStrictOnesAreUndone)
{
    MakeDocument();
    const std::string insert =
        "INSERT INTO Klanten (Nummer, Naam) SELECT Nummer + 1, Naam FROM Klanten";  // 2 is there, 3 is new
    const auto count = [&] {
        return Must({"query", At("Kas.mdb"), "SELECT Count(*) AS N FROM Klanten", "--json"}).out;
    };
    const Outcome strict = Run({"query", At("Kas.mdb"), insert, "--strict"});
    EXPECT_EQ(strict.code, 3);
    EXPECT_THAT(strict.err, StartsWith("error 3022: "));
    EXPECT_EQ(count(), "{\"N\":2}\n");
    const Outcome lenient = Must({"query", At("Kas.mdb"), insert});
    EXPECT_EQ(lenient.out, "1\n");
    EXPECT_EQ(lenient.err, "1 row was left out\n");
    EXPECT_EQ(count(), "{\"N\":3}\n");
    const Outcome wrong = Run({"query", At("Kas.mdb"), "SELEKT 1"});
    EXPECT_EQ(wrong.code, 3);
    EXPECT_THAT(wrong.err, StartsWith("error 3129: "));
}

TEST_F(ProgramTest, PasswordsOtherThanTheLibrarysOwn)
{
    Must({"layout", "import", At("open.mdb"), "--no-password"}, firstLayout);
    Must({"layout", "import", At("own.mdb"), "--password", "Geheim"}, firstLayout);
    EXPECT_EQ(Must({"info", At("open.mdb"), "--json"}).AsJson()["password"], false);
    const Outcome wrong = Run({"info", At("own.mdb")});
    EXPECT_EQ(wrong.code, 3);
    EXPECT_THAT(wrong.err, StartsWith("error 3031: "));
    EXPECT_EQ(Run({"info", At("own.mdb"), "--no-password"}).code, 3);
    EXPECT_EQ(Must({"info", At("own.mdb"), "--password", "Geheim", "--json"}).AsJson()["password"], true);
    Must({"create", At("Kas.mdb"), "--type", "FACT", "--layout", At("own.mdb"), "--password", "Geheim"});
    EXPECT_EQ(Run({"status", At("Kas.mdb")}).code, 3);
    EXPECT_EQ(Must({"status", At("Kas.mdb"), "--password", "Geheim", "--json"}).AsJson()["version"], 1);
}

TEST_F(ProgramTest, StatusNamesWhatLiesBesideTheDocument)
{
    MakeDocument();
    folder_.Write("Kas.mdb-new-1A2B", "half");
    folder_.Write("kas.mdb-backup-20240305-060000", "old");
    folder_.Write("Kas.mdbx", "other");
    folder_.Write("tmp/~XX0001.tmp", "no database");
    const Json leftovers = Status("Kas.mdb")["leftovers"];
    EXPECT_EQ(leftovers, Json::array({{{"path", At("Kas.mdb-new-1A2B")}, {"kind", "temporary"}},
                                      {{"path", At("kas.mdb-backup-20240305-060000")}, {"kind", "backup"}}}));
    std::filesystem::rename(At("Kas.mdb"), At("Gone.mdb"));
    const Outcome gone = Run({"status", At("Kas.mdb"), "--json"});
    EXPECT_EQ(gone.code, 3);
    EXPECT_EQ(gone.AsJson()["leftovers"].size(), 2u);
    std::filesystem::rename(At("Gone.mdb"), At("Kas.mdb"));
    const Outcome several = Run({"status", At("none.mdb"), At("Kas.mdb"), "--json"});
    EXPECT_EQ(several.code, 1);
    EXPECT_EQ(several.AsJsonLines().size(), 1u);
    EXPECT_THAT(several.err, HasSubstr("none.mdb: error 3024: "));
}

TEST_F(ProgramTest, ReadOnlyDocumentsAreReadAndNotChanged)
{
    MakeDocument();
    std::filesystem::permissions(At("Kas.mdb"), std::filesystem::perms::owner_read);
    EXPECT_EQ(Must({"query", At("Kas.mdb"), "SELECT Count(*) AS N FROM Klanten", "--json"}).out, "{\"N\":2}\n");
    const Outcome change = Run({"query", At("Kas.mdb"), "DELETE FROM Klanten"});
    EXPECT_EQ(change.code, 3);
    EXPECT_THAT(change.err, StartsWith("error 3027: "));
    const Outcome opened = Run({"open", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb"), "--json"});
    EXPECT_EQ(opened.code, 0) << opened.err;
    EXPECT_EQ(opened.AsJson()["marked"], false);
    EXPECT_THAT(opened.err, HasSubstr("could not be marked"));
    EXPECT_EQ(Run({"create", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")}).code, 29);
}

TEST_F(ProgramTest, ASaveThatIsKilledLeavesTheOldDocumentOrTheNewOne)
{
    MakeDocument();
    const std::string working =
        Must({"open", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb"), "--json"}).AsJson()["workingFile"];
    const std::string before = Must({"export", At("Kas.mdb"), "Klanten", "--json"}).out;
    Must({"query", working, "UPDATE Klanten SET Naam = 'Bert' WHERE Nummer = 2"});
    const std::string after = Must({"export", working, "Klanten", "--json"}).out;
    const std::filesystem::path original = At("Original.mdb");
    std::filesystem::copy_file(At("Kas.mdb"), original);
    int killed = 0;
    for (auto time = std::chrono::milliseconds(2);; time += std::max(time / 8, std::chrono::milliseconds(1))) {
        std::filesystem::copy_file(original, At("Kas.mdb"), std::filesystem::copy_options::overwrite_existing);
        const bool finished =
            vmlib_.RunAndKill({"save", working, At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb")}, time);
        const std::string now = Must({"export", At("Kas.mdb"), "Klanten", "--json"}).out;
        EXPECT_TRUE(now == before || now == after) << "killed after " << time.count() << " ms: " << now;
        EXPECT_THAT(Must({"check", At("Kas.mdb")}).out, StartsWith("ok "));
        EXPECT_THAT(Must({"check", working}).out, StartsWith("ok "));
        if (finished) {
            EXPECT_EQ(now, after);
            break;
        }
        ++killed;
        ASSERT_LT(killed, 200);
    }
    EXPECT_GT(killed, 3);
}

TEST_F(ProgramTest, CallPrintsResultAndArguments)
{
    EXPECT_EQ(Must({"call", "AlgemeneLibrary", "VmdLib_ExtractFileNaam", "s:C:\\data\\rapport.versie.doc", "i:1"}).out,
              R"({"result":"rapport","arguments":["C:\\data\\rapport.versie.doc",{"type":"Integer","value":1}]})"
              "\n");
    EXPECT_EQ(Must({"call", "vmlib.vmddblibroutines", "dbl_getdatabaseerror", "17", "--hex"}).AsJson()["arguments"][0],
              Json::parse(R"({"type":"Integer","value":17})"));  // by reference: in the parameter's own type
    const Outcome unknown = Run({"call", "AlgemeneLibrary", "Nothing"});
    EXPECT_EQ(unknown.code, 3);
    EXPECT_EQ(unknown.AsJson()["error"]["number"], 438);
    EXPECT_EQ(Run({"call", "No.Such", "X"}).AsJson()["error"]["number"], 429);
    EXPECT_EQ(Must({"call", "AlgemeneLibrary", "VmdLib_ExtractFileNaam", "--", "--x", "i:0"}).AsJson()["result"],
              "--x");

    Must({"layout", "import", At("layout.mdb")}, firstLayout);
    const std::string layout = "Z:" + std::string(vmlib::ToUtf8(Replaced(FromUtf8(At("layout.mdb")), u"/", u"\\")));
    EXPECT_EQ(Must({"call", "VmdDbLibRoutines", "DBL_GetVersieNummer", "FACT", "s:" + layout}).AsJson()["result"],
              Json::parse(R"({"type":"Integer","value":1})"));
}

TEST_F(ProgramTest, RpcReachesTheEngineAndEndsWithItsInput)
{
    MakeDocument();
    const std::string path = "Z:" + ToUtf8(Replaced(FromUtf8(At("Kas.mdb")), u"/", u"\\"));
    const auto request = [](int id, const char* method, const Json& params) {
        return Json{{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", params}}.dump() + "\n";
    };
    const auto get = [&](int id, int object, const char* member, Json arguments = Json::array()) {
        return request(id, "get", {{"object", object}, {"member", member}, {"arguments", std::move(arguments)}});
    };
    const std::string input =
        request(1, "create", {{"class", "VMDEngine.DBEngine"}}) + get(2, 1, "Workspaces", {0}) +
        request(3, "call",
                {{"object", 2}, {"member", "OpenDatabase"}, {"arguments", {path, false, true, ";PWD=Zonnebloemen"}}}) +
        request(
            4, "call",
            {{"object", 3}, {"member", "OpenRecordset"}, {"arguments", {"SELECT Naam FROM Klanten ORDER BY Nummer"}}}) +
        get(5, 4, "Fields", {"Naam"}) + get(6, 5, "Value") +
        request(7, "call", {{"object", 4}, {"member", "MoveNext"}}) + get(8, 5, "Value") +
        request(9, "call", {{"object", 4}, {"member", "Edit"}}) + get(10, 3, "TableDefs") + get(11, 6, "_NewEnum");
    const Outcome outcome = Must({"rpc"}, input);
    const auto said = outcome.AsJsonLines();
    ASSERT_EQ(said.size(), 11u) << outcome.out;
    EXPECT_EQ(said[5]["result"]["result"], "Ann \"A\", Zoë") << outcome.out;
    EXPECT_EQ(said[7]["result"]["result"], "");
    EXPECT_EQ(said[8]["error"]["code"], 3027) << said[8];
    EXPECT_GE(said[10]["result"]["result"]["items"].size(), 3u);
}

TEST_F(ProgramTest, GenuineFilesAreShown)
{
    VMLIB_GENUINE_FILE(file, "indexTestV1997.mdb");
    const Json info = Must({"info", file.string(), "--json"}).AsJson();
    EXPECT_EQ(info["format"], 3);
    EXPECT_EQ(info["langid"], 0x409);
    EXPECT_EQ(info["codePage"], 1252);
    EXPECT_EQ(info["password"], false);
    ASSERT_EQ(info["tables"].size(), 3u);
    EXPECT_EQ(info["relations"].size(), 2u);
    std::map<std::string, int> rows;
    for (const Json& table : info["tables"]) rows[table["name"]] = table["rows"];
    EXPECT_THAT(rows, ElementsAre(testing::Pair("Table1", 4), testing::Pair("Table2", 3), testing::Pair("Table3", 4)));
    EXPECT_GT(Must({"info", file.string(), "--system", "--json"}).AsJson()["tables"].size(), 6u);
    EXPECT_THAT(Must({"check", file.string()}).out, StartsWith("ok "));
    EXPECT_EQ(Must({"export", file.string(), "Table1", "--json"}).AsJsonLines().size(), 4u);
}

TEST_F(ProgramTest, EncryptedAndForeignFilesAreRefusedByName)
{
    folder_.Write("text.mdb", std::string(5000, 'x'));
    Outcome refused = Run({"info", At("text.mdb")});
    EXPECT_EQ(refused.code, 3);
    EXPECT_THAT(refused.err, AllOf(StartsWith("error 3343: "), HasSubstr("text.mdb")));
    EXPECT_EQ(Run({"check", At("text.mdb")}).code, 3);
    VMLIB_GENUINE_FILE(encrypted, "db97-enc.mdb");
    refused = Run({"info", encrypted.string()});
    EXPECT_EQ(refused.code, 3);
    EXPECT_THAT(refused.err, HasSubstr("encrypted"));
}

}  // namespace
}  // namespace vmlib::host::test
