#include <gmock/gmock.h>

#include <filesystem>
#include <iostream>
#include <sstream>

#include "automation/ResumeNext.h"
#include "host/CommandFixture.h"
#include "host/Json.h"

// The commands inside this process, over ports that fail when they are told to.
namespace vmlib::host::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using vmlib::test::FailingFiles;
using vmlib::test::Fault;
using vmlib::test::FaultKind;

constexpr const char* layoutText = R"({
  "type": "FACT", "version": 1,
  "tables": [
    {"name": "Info", "fields": [
       {"name": "Versie", "type": 3, "length": 2, "attributes": 1},
       {"name": "BestandType", "type": 10, "length": 10, "attributes": 2},
       {"name": "BestandNaam", "type": 10, "length": 100, "attributes": 2},
       {"name": "InGebruikDoor", "type": 10, "length": 20, "attributes": 2}]},
    {"name": "Klanten", "fields": [{"name": "Nummer", "type": 4, "length": 4, "attributes": 1}]}]})";

class CommandsTest : public CommandFixture
{
protected:
    CommandsTest()
    {
        Must({"layout", "import", At("layout.mdb")}, layoutText);
        Must(Create("Kas.mdb"));
        Must({"query", At("Kas.mdb"), "INSERT INTO Klanten (Nummer) VALUES (1)"});
    }

    std::vector<std::string> Create(std::string_view name) const
    {
        return {"create", At(name), "--type", "FACT", "--layout", At("layout.mdb")};
    }
    std::vector<std::string> Open(std::string_view name) const
    {
        return {"open", At(name), "--type", "FACT", "--layout", At("layout.mdb"), "--json"};
    }

    /// "name: kind" of each leftover in the order of the answer.
    std::vector<std::string> Leftovers(std::string_view document)
    {
        std::vector<std::string> found;
        const Json status = Json::parse(Must({"status", At(document), "--json"}).out);
        for (const Json& entry : status["leftovers"])
            found.push_back(std::filesystem::path(entry["path"].get<std::string>()).filename().string() + ": " +
                            entry["kind"].get<std::string>());
        return found;
    }
};

TEST_F(CommandsTest, ACreateThatFailsAtAnyStepLeavesTheOldDocumentOrTheNewOne)
{
    const std::string before = folder_.Read("Kas.mdb");
    const std::string count = "SELECT Count(*) AS N FROM Klanten";
    for (const FaultKind kind : {FaultKind::Fails, FaultKind::PowerCut}) {
        int n = 1;
        for (bool struck = true; struck; ++n) {
            folder_.Write("Kas.mdb", before);
            files_.Arm({.at = n, .kind = kind});
            Outcome answer;
            const auto failure = ResumeNext([&] { answer = Run(Create("Kas.mdb")); });
            struck = files_.Struck();
            if (files_.PowerIsOff()) files_.AfterPowerCut(FailingFiles::Unsynced::Lost);
            files_.Disarm();
            if (folder_.Read("Kas.mdb") == before) {
                EXPECT_TRUE(struck);
                EXPECT_TRUE(failure || answer.code != 0) << "step " << n;
            } else {
                EXPECT_EQ(Must({"query", At("Kas.mdb"), count, "--json"}).out, "{\"N\":0}\n") << "step " << n;
                EXPECT_THAT(Must({"check", At("Kas.mdb")}).out, StartsWith("ok ")) << "step " << n;
            }
            for (const std::string& name : folder_.Names()) {
                EXPECT_THAT(name, AnyOf("Kas.mdb", "layout.mdb", "tmp", StartsWith("Kas.mdb-new-"), "LIKE-WOW.MAN"));
                if (name.starts_with("Kas.mdb-new-")) std::filesystem::remove(At(name));
            }
        }
        EXPECT_GT(n, 20);
    }
}

TEST_F(CommandsTest, ACreateThatIsRefusedLeavesTheOldDocument)
{
    const std::string before = folder_.Read("Kas.mdb");
    const std::vector<std::string> names = folder_.Names();
    auto unknownType = Create("Kas.mdb"), noLayout = unknownType;
    unknownType[3] = "NONE";
    noLayout[5] = At("none.mdb");
    EXPECT_THAT(Run(unknownType).err, StartsWith("error 3021: "));
    EXPECT_THAT(Run(noLayout).err, StartsWith("error 3024: "));
    EXPECT_EQ(folder_.Read("Kas.mdb"), before);
    EXPECT_EQ(folder_.Names(), names);
}

/// Somebody else's create of the same document is not disturbed, and what one that was killed left is not touched.
TEST_F(CommandsTest, ACreateTakesAFreeNameForWhatItMakes)
{
    folder_.Write("Kas.mdb-new-0.tmp", "another's");
    Must(Create("Kas.mdb"));
    EXPECT_EQ(folder_.Read("Kas.mdb-new-0.tmp"), "another's");
    EXPECT_THAT(Leftovers("Kas.mdb"), ElementsAre("Kas.mdb-new-0.tmp: temporary"));
}

/// The path of a document stands in its record; one that does not fit would be lost.
TEST_F(CommandsTest, ACreateNamesTheFieldThatDoesNotFit)
{
    const std::string name = std::string(120, 'k') + ".mdb";
    const Outcome answer = Run(Create(name));
    EXPECT_EQ(answer.code, 3);
    EXPECT_THAT(answer.err, StartsWith("error 3163: "));
    EXPECT_THAT(answer.err, HasSubstr("BestandNaam"));
    EXPECT_FALSE(std::filesystem::exists(At(name)));
}

TEST_F(CommandsTest, ANameWithoutExtensionMeansTheSameFileToAllCommands)
{
    Must(Create("Nieuw"));
    EXPECT_THAT(folder_.Names(), testing::Contains("Nieuw.mdb"));
    Must({"query", At("Nieuw"), "INSERT INTO Klanten (Nummer) VALUES (1)"});
    Must({"check", At("Nieuw")});
    EXPECT_EQ(Json::parse(Must({"status", At("Nieuw"), "--json"}).out)["version"], 1);
    const Json opened = Json::parse(Must(Open("Nieuw")).out);
    EXPECT_EQ(opened["marked"], true);
    Must({"save", opened["workingFile"], At("Nieuw"), "--type", "FACT", "--layout", At("layout")});
    Must({"release", At("Nieuw")});
    Must({"layout", "import", At("second")}, layoutText);
    Must({"layout", "export", At("second")});
}

TEST_F(CommandsTest, StatusKnowsTheFilesOfTheTemporaryFolder)
{
    const std::string working = Json::parse(Must(Open("Kas.mdb")).out)["workingFile"];
    const std::string copy = vmlib::test::ReadNative(working);
    std::filesystem::remove(working);
    Must(Create("Other.mdb"));
    Must({"query", At("Other.mdb"), "UPDATE Info SET InGebruikDoor = 'x'"});
    const std::string other = folder_.Read("Other.mdb");
    const struct
    {
        const char* name;
        const std::string contents;
        std::vector<std::string> found;
    } rows[] = {
        {"~FA1A2B.tmp", copy, {"~FA1A2B.tmp: working copy"}},
        {"ConKopie.tmp", copy, {"ConKopie.tmp: conversion copy"}},
        {"~FA1A2B.tmp", other, {}},                       // names another document
        {"~FA1A2B.tmp", "", {"~FA1A2B.tmp: temporary"}},  // made and not yet filled
        {"~FA1A2B.tmp", "half", {"~FA1A2B.tmp: temporary"}},
        {"~XX1A2B.tmp", "half", {}},  // of another type
        {"~XX1A2B.tmp", copy, {"~XX1A2B.tmp: working copy"}},
        {"ConKopie.tmp", "half", {"ConKopie.tmp: conversion copy"}},
        {"vmi1A2B.tmp", "entries of an index", {"vmi1A2B.tmp: temporary"}},
        {"vmist.tmp", "a letter", {}},
        {"Kas.mdb", copy, {}},  // a document that stands there
    };
    for (const auto& row : rows) {
        const std::string path = "tmp/" + std::string(row.name);
        folder_.Write(path, row.contents);
        EXPECT_EQ(Leftovers("Kas.mdb"), row.found) << row.name;
        std::filesystem::remove(At(path));
    }

    folder_.Write("tmp/~FA1A2B.tmp", copy);
    folder_.Write("tmp/~FA1A2B.tmp-journal", "");
    EXPECT_THAT(Leftovers("Kas.mdb"), ElementsAre("~FA1A2B.tmp: working copy", "~FA1A2B.tmp-journal: journal"));
    std::filesystem::create_symlink(At("Kas.mdb"), At("Link.mdb"));
    folder_.Write("tmp/~FA1A2B.tmp", copy);
    EXPECT_THAT(Leftovers("Link.mdb"), ElementsAre(StartsWith("~FA1A2B.tmp"))) << "under the name of a link";
    const auto held = real_.Open(folder_.Path(u"tmp\\~FA1A2B.tmp"), {FileAccess::ReadWrite, FileSharing::Exclusive});
    EXPECT_THAT(Leftovers("Kas.mdb"), IsEmpty()) << "somebody works on it";
}

/// Code page 1252 has no such letters: the working copy names its document as well as it can.
TEST_F(CommandsTest, StatusKnowsTheCopyOfADocumentWhoseNameDoesNotFit)
{
    std::filesystem::copy_file(At("Kas.mdb"), At("\u65E5.mdb"));
    const Outcome opened = Must(Open("\u65E5.mdb"));
    EXPECT_THAT(opened.err, HasSubstr("warning: "));
    EXPECT_THAT(Leftovers("\u65E5.mdb"), ElementsAre(HasSubstr("working copy")));
}

TEST_F(CommandsTest, OpenWarnsWhereAMarkDoesNotFit)
{
    const std::string longName = std::string(120, 'k') + ".mdb";
    std::filesystem::copy_file(At("Kas.mdb"), At(longName));
    const struct
    {
        std::string document;
        Text user;
        const char* warning;  // "" for none
    } rows[] = {
        {"Kas.mdb", u"anna", ""},
        {"Kas.mdb", u"Annemarie van der Meulen", "could not be marked as in use"},
        {longName, u"anna", "the working file could not be marked with the path of"},
    };
    for (const auto& row : rows) {
        system_.userName = row.user;
        const Outcome opened = Must(Open(row.document));
        EXPECT_THAT(opened.err, HasSubstr(row.warning));
        EXPECT_EQ(opened.err.empty(), row.warning[0] == '\0') << opened.err;
        EXPECT_EQ(Json::parse(opened.out)["marked"], row.warning[0] == '\0') << row.document;
        ResumeNext([&] { Run({"release", At(row.document)}); });
    }
}

TEST_F(CommandsTest, EachColumnOfARowIsSeenInJson)
{
    EXPECT_EQ(Must({"query", At("Kas.mdb"), "SELECT Nummer, Nummer FROM Klanten", "--json"}).out,
              "{\"Klanten.Nummer\":1,\"Klanten.Nummer (2)\":1}\n");
    const Outcome both = Run({"query", At("Kas.mdb"), "SELECT Nummer FROM Klanten", "--json", "--csv"});
    EXPECT_EQ(both.code, 2);
    EXPECT_THAT(both.out, IsEmpty());
}

TEST_F(CommandsTest, NamesThatAreNoUtf8AreShownAsFarAsTheyGo)
{
    const Outcome created = Must({"create", At("K\xFF.mdb"), "--type", "FACT", "--layout", At("layout.mdb"), "--json"});
    EXPECT_THAT(Json::parse(created.out)["document"].get<std::string>(), testing::EndsWith("K\uFFFD.mdb"));
}

TEST_F(CommandsTest, NothingToReleaseIsReleased)
{
    for (const char* name : {"", "  "}) EXPECT_EQ(Run({"release", name}).code, 0);
    EXPECT_EQ(Run({"release", At("none.mdb")}).code, 11);
}

TEST_F(CommandsTest, LayoutTextsThatCannotBeMeantAreRefusedWhole)
{
    const std::string text = layoutText;
    std::string lowerCase = text, tooLarge = text;
    lowerCase.replace(text.find("FACT"), 4, "fact");
    tooLarge.replace(text.find("1,"), 1, "1e999");
    const std::string before = folder_.Read("layout.mdb");
    for (const std::string& input : {text + text, text + lowerCase, tooLarge}) {
        const Outcome answer = Run({"layout", "import", At("layout.mdb")}, input);
        EXPECT_EQ(answer.code, 2) << answer.err;
        EXPECT_THAT(answer.err, Not(IsEmpty()));
    }
    EXPECT_EQ(folder_.Read("layout.mdb"), before);
    for (const char* command : {"import", "export"}) {
        const Outcome answer = Run({"layout", command, At("Kas.mdb")}, text);
        EXPECT_EQ(answer.code, 2);
        EXPECT_EQ(answer.err, At("Kas.mdb") + " is no layout database\n");
    }
}

TEST_F(CommandsTest, UnknownCommandsAreNamed)
{
    EXPECT_THAT(Run({"konvert", "Kas.mdb"}).err, HasSubstr("unknown command konvert"));  // one that is not there
    EXPECT_THAT(Run({"layout", "print", "Kas.mdb"}).err, HasSubstr("unknown command print"));
}

TEST_F(CommandsTest, BaseDatabasesSayHowTheyOpened)
{
    const auto base = [this](const char* rights) {
        return Run(
            {"base", At("Kas.mdb"), "--type", "FACT", "--layout", At("layout.mdb"), "--rights", rights, "--json"});
    };
    EXPECT_EQ(Json::parse(base("2").out), Json::parse(R"({"rights":1,"version":1,"layoutVersion":1,"code":0})"));
    EXPECT_EQ(Json::parse(base("0").out)["rights"], 0);
    EXPECT_EQ(base("4").code, 2);
    Must({"query", At("Kas.mdb"), "UPDATE Info SET Versie = 2"});
    const Outcome newer = base("0");
    EXPECT_EQ(newer.code, 17);
    EXPECT_THAT(newer.err, HasSubstr("nieuwer dan de versie van het programma"));
}

}  // namespace
}  // namespace vmlib::host::test
