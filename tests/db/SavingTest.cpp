#include "db/Building.h"
#include "db/DocumentFixture.h"
#include "db/LayoutCatalogue.h"
#include "db/Opening.h"
#include "db/Saving.h"

// Saving and making documents on real files.
namespace vmlib::db::test {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using vmlib::test::DocumentFixture;
using vmlib::test::FailingFiles;
using vmlib::test::Fault;
using vmlib::test::FaultKind;
using vmlib::test::User;

class SavingTest : public DocumentFixture
{
protected:
    void SetUp() override
    {
        MakeLayout(2);
        MakeDocument(document_);
    }

    Text Open(Session& session)
    {
        Text working;
        std::int16_t status = 0, version = 0, layoutVersion = 0, code = 0;
        EXPECT_TRUE(
            DBL_OpenDatabase(session, document_, working, u"ORDERS", layout_, status, version, layoutVersion, code));
        return working;
    }
    int Save(Session& session, const Text& working, const Text& target)
    {
        std::int16_t code = 99;
        const bool saved = DBL_OpslaanDatabase(session, working, target, layout_, u"ORDERS", code);
        EXPECT_EQ(saved, code == 0);
        return code;
    }
    /// Names left in the temporary folder, without the working copy.
    std::vector<Text> LeftOver(const Text& working)
    {
        std::vector<Text> names = real_.List(temporary_, u"*.*");
        std::erase_if(names, [&](const Text& name) { return working.ends_with(name); });
        return names;
    }
};

TEST_F(SavingTest, OwnPathIsReplacedAndStaysInUse)
{
    Session session = anna_.Session();
    const Text working = Open(session);
    anna_.Run(working, {"UPDATE Klant SET naam = 'Slager' WHERE Nr = 1", "CREATE TABLE Eigen (Nr LONG)",
                        "CREATE TABLE mSyStiek (Nr LONG)"});
    EXPECT_EQ(Save(session, working, document_), 0);
    EXPECT_EQ(Customers(document_)[0], "1|Slager");
    EXPECT_EQ(anna_.Info(document_), "2|ORDERS|" + ToUtf8(document_) + "|anna");
    EXPECT_THAT(anna_.Names(document_), UnorderedElementsAre("Info", "Klant", "Weg", "Eigen"))
        << "a table whose name begins with the engine's four letters is not copied";
    EXPECT_THAT(anna_.Names(document_, u"Klant", true), ElementsAre("PrimaryKey"));
    EXPECT_TRUE(session.opened.HoldsOpen(document_));
    EXPECT_THAT(LeftOver(working), IsEmpty());
    EXPECT_EQ(Customers(working)[0], "1|Slager") << "the working copy goes on";
}

TEST_F(SavingTest, NewNameReleasesTheOldDocument)
{
    Session session = anna_.Session();
    const Text working = Open(session), target = Path(u"Nieuw 't.ord");
    EXPECT_EQ(Save(session, working, target), 0);
    EXPECT_EQ(anna_.Info(document_), "2|ORDERS|oud pad| ");
    EXPECT_EQ(anna_.Info(target), "2|ORDERS|" + ToUtf8(target) + "|anna");
    EXPECT_EQ(anna_.Info(working), "2|ORDERS|" + ToUtf8(target) + "|anna");
    EXPECT_FALSE(session.opened.HoldsOpen(document_));
    EXPECT_TRUE(session.opened.HoldsOpen(target));
    EXPECT_EQ(Customers(target), customers_);
    for (const Text& path : {document_, target, working}) EXPECT_THAT(Faults(path), IsEmpty()) << ToUtf8(path);
}

TEST_F(SavingTest, Codes)
{
    User piet(real_, u"piet", temporary_);
    Session pietSession = piet.Session();
    const Text target = Path(u"Doel.ord");
    const auto makeTarget = [&](const char* mark) { return [=, this] { MakeDocument(target, mark); }; };
    dao::Database held;
    struct Case
    {
        const char* reason;
        Text source, target;
        std::function<void()> prepare;
        int code;
    };
    const Text source = Path(u"bron.tmp");
    const Case cases[] = {
        {"no source", Path(u"geen.tmp"), target, [] {}, 1},
        {"folder missing", source, Path(u"nergens\\Doel.ord"), [] {}, 16},
        {"tilde", source, Path(u"~Doel.ord"), [] {}, 18},
        {"source held exclusively", source, target,
         [&] { held = DBL_OpenMdb(pietSession, source, true, false, false); }, 8},
        {"source without Info", source, target, [&] { piet.Run(source, {"DROP TABLE Info"}); }, 5},
        {"source with an empty Info", source, target, [&] { piet.Run(source, {"DELETE FROM Info"}); }, 5},
        {"source without BestandNaam", source, target,
         [&] { piet.Run(source, {"ALTER TABLE Info DROP COLUMN BestandNaam"}); }, 9},
        {"target read-only", source, target,
         [&] {
             MakeDocument(target);
             real_.SetReadOnly(target, true);
         },
         19},
        {"target is no database", source, target, [&] { folder_.Write("Doel.ord", "text"); }, 20},
        {"target held exclusively", source, target,
         [&] {
             MakeDocument(target);
             held = DBL_OpenMdb(pietSession, target, true, false, false);
         },
         20},
        {"target marked by another user", source, target, makeTarget("piet"), 21},
        {"target marked by this user", source, target, makeTarget(" anna "), 0},
        {"target with a blank mark", source, target, makeTarget("  "), 0},
        {"target without Info", source, target,
         [&] {
             MakeDocument(target);
             piet.Run(target, {"DROP TABLE Info"});
         },
         5},
        {"no temporary folder", source, target, [&] { anna_.system.temporaryFolder = Path(u"nergens") + u"\\"; }, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reason);
        MakeDocument(source);
        c.prepare();
        const bool there = real_.Exists(target);
        const std::string before = there ? folder_.Read("Doel.ord") : "";
        Session session = anna_.Session();
        EXPECT_EQ(Save(session, c.source, c.target), c.code);
        if (held) held.Close();
        held = {};
        anna_.system.temporaryFolder = temporary_;
        if (c.code != 0) {
            EXPECT_EQ(real_.Exists(target), there);
            EXPECT_TRUE(!there || folder_.Read("Doel.ord") == before);
            EXPECT_FALSE(session.opened.HoldsOpen(c.target));
        } else {
            EXPECT_TRUE(session.opened.HoldsOpen(c.target));
        }
        if (there || c.code == 0) {
            real_.SetReadOnly(target, false);
            real_.Delete(target);
        }
        EXPECT_FALSE(real_.Exists(Path(u"~Doel.ord")));
    }
}

TEST_F(SavingTest, EngineErrorLeavesTheTargetAndNoTemporaryFile)
{
    struct Case
    {
        const char* reason;
        const char* sql;  // on the working copy
        bool onLayout;
    };
    const Case cases[] = {
        {"a table name that breaks the statement", "CREATE TABLE [Met spatie] (Nr LONG)", false},
        {"rows that break the layout's key", "INSERT INTO Klant VALUES (1, 'dubbel', '')", false},
        {"an index of the layout on a field that is not there", "UPDATE Indexen SET VeldNaam = 'Geen'", true},
        {"no layout table", "DROP TABLE Relaties", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reason);
        SetUp();
        Session session = anna_.Session();
        const Text working = Open(session);
        anna_.Run(working, {"DROP INDEX PrimaryKey ON Klant"});
        anna_.Run(c.onLayout ? layout_ : working, {c.sql});
        const std::string before = folder_.Read("Winkel.ord");
        std::int16_t code = 99;
        EXPECT_THROW(DBL_OpslaanDatabase(session, working, document_, layout_, u"ORDERS", code), Error);
        EXPECT_TRUE(folder_.Read("Winkel.ord") == before);
        EXPECT_THAT(LeftOver(working), IsEmpty());
        real_.Delete(working);
    }
}

TEST_F(SavingTest, TargetOpenElsewhereIsNotReplaced)
{
    Session session = anna_.Session();
    const Text working = Open(session);
    anna_.Run(working, {"DELETE FROM Klant"});
    User piet(real_, u"piet", temporary_);
    Session pietSession = piet.Session();
    const Closing held(DBL_OpenMdb(pietSession, document_, false, true, false));
    std::int16_t code = 99;
    EXPECT_THROW(DBL_OpslaanDatabase(session, working, document_, layout_, u"ORDERS", code), Error);
    EXPECT_THAT(LeftOver(working), IsEmpty());
    EXPECT_EQ(Customers(document_), customers_);
}

TEST_F(SavingTest, FailureAtAnyStepLeavesTheOldDocumentOrTheNewOne)
{
    Session session = anna_.Session();
    const Text working = Open(session);
    anna_.Run(working, {"UPDATE Klant SET naam = 'Slager' WHERE Nr = 1"});
    const std::vector<std::string> after = {"1|Slager", customers_[1], customers_[2]};
    const std::string documentBefore = folder_.Read("Winkel.ord"),
                      workingBefore = vmlib::test::ReadNative(real_.ToNative(working));

    for (const FaultKind kind : {FaultKind::Fails, FaultKind::FailsOn, FaultKind::CutShort, FaultKind::PowerCut}) {
        AtEachStep(kind, [&](const Fault& fault) {
            folder_.Write("Winkel.ord", documentBefore);
            vmlib::test::WriteNative(real_.ToNative(working), workingBefore);
            FailingFiles failing(real_);
            std::int16_t code = 99;
            {
                User user(failing, u"anna", temporary_);
                Session failingSession = user.Session();
                failing.Arm(fault);
                if (ResumeNext(
                        [&] { DBL_OpslaanDatabase(failingSession, working, document_, layout_, u"ORDERS", code); }))
                    code = 98;
            }
            const bool struck = failing.Struck();
            if (failing.PowerIsOff())
                failing.AfterPowerCut(FailingFiles::Unsynced::Random, static_cast<unsigned>(fault.at));
            const auto rows = Customers(document_);
            EXPECT_THAT(rows, AnyOf(customers_, after));
            EXPECT_THAT(Faults(document_), IsEmpty());
            EXPECT_EQ(Customers(working), after) << "the user's work is still there";
            EXPECT_TRUE(code != 0 || rows == after) << "what was reported as saved is saved";
            EXPECT_TRUE(struck || code == 0);
            for (const Text& name : LeftOver(working)) {
                EXPECT_NE(kind, FaultKind::Fails) << ToUtf8(name) << " is left in the temporary folder";
                real_.Delete(temporary_ + name);
            }
            return struck;
        });
    }
}

TEST_F(SavingTest, NewDocumentHasWhatTheLayoutSays)
{
    MakeLayout(3);
    const Text path = Path(u"Vers.ord");
    Session session = anna_.Session();
    std::int16_t code = 0;
    EXPECT_TRUE(DBL_MaakNieuweDatabase(session, path, u"ORDERS", layout_, code));
    EXPECT_THAT(anna_.Names(path), UnorderedElementsAre("Info", "Klant", "Best"));
    EXPECT_THAT(anna_.Names(path, u"Info"), ElementsAre("Versie", "BestandType", "BestandNaam", "InGebruikDoor"));
    EXPECT_THAT(anna_.Names(path, u"Klant", true), Contains("PrimaryKey"));
    anna_.Run(path, {"INSERT INTO Klant (Nr, Naam) VALUES (1, '')", "INSERT INTO Klant (Nr, Email) VALUES (2, '')",
                     "INSERT INTO Best (KlantNr) VALUES (1)", "INSERT INTO Best (KlantNr) VALUES (8)"});
    EXPECT_THAT(Customers(path), ElementsAre("1|")) << "an empty text where the layout allows it only";
    EXPECT_THAT(anna_.Rows(path, "SELECT * FROM Best", {"Id", "KlantNr"}), ElementsAre("1|1")) << "the relation holds";
    EXPECT_THAT(anna_.Rows(path, "SELECT * FROM Info", {"Versie"}), IsEmpty());
    EXPECT_EQ(anna_.desktop.pointer, defaultPointer);
    EXPECT_THAT(Faults(path), IsEmpty());
}

TEST_F(SavingTest, FieldsComeInTheTextOrderOfTheirNumbers)
{
    MakeLayout(layout_, "T", 1, {{"Een", "A", 4}, {"Een", "B", 4}, {"Een", "C", 4}});
    anna_.Run(layout_,
              {"UPDATE LayOut SET RecNr = 1 WHERE VeldNaam = 'A'", "UPDATE LayOut SET RecNr = 2 WHERE VeldNaam = 'B'",
               "UPDATE LayOut SET RecNr = 10 WHERE VeldNaam = 'C'"});
    Session session = anna_.Session();
    std::int16_t code = 0;
    EXPECT_TRUE(DBL_MaakNieuweDatabase(session, Path(u"Vers.t"), u"T", layout_, code));
    EXPECT_THAT(anna_.Names(Path(u"Vers.t"), u"Een"), ElementsAre("A", "C", "B"));
}

TEST_F(SavingTest, NewDocumentCodes)
{
    Session session = anna_.Session();
    std::int16_t code = 5;
    EXPECT_FALSE(DBL_MaakNieuweDatabase(session, Path(u"nergens\\Vers.ord"), u"ORDERS", layout_, code));
    EXPECT_EQ(code, 5) << "a code on entry ends the work";
    code = 0;
    EXPECT_FALSE(DBL_MaakNieuweDatabase(session, Path(u"nergens\\Vers.ord"), u"ORDERS", layout_, code));
    EXPECT_EQ(code, 17);
    code = 0;
    real_.SetReadOnly(document_, true);
    EXPECT_FALSE(DBL_MaakNieuweDatabase(session, document_, u"ORDERS", layout_, code));
    EXPECT_EQ(code, 19);
    EXPECT_EQ(Customers(document_), customers_);
    real_.SetReadOnly(document_, false);
    code = 0;
    EXPECT_THROW(DBL_MaakNieuweDatabase(session, document_, u"ORDERS", Path(u"Geen.ord"), code), Error);
    EXPECT_EQ(Customers(document_), customers_) << "without a layout nothing is deleted";
    EXPECT_EQ(anna_.desktop.pointer, hourglassPointer) << "left to the caller";
    EXPECT_TRUE(DBL_MaakNieuweDatabase(session, document_, u"ORDERS", layout_, code));
    EXPECT_THAT(Customers(document_), IsEmpty()) << "an existing file that may be written is made anew";
}

TEST_F(SavingTest, VersionNumberOfALayout)
{
    Session session = anna_.Session();
    EXPECT_EQ(DBL_GetVersieNummer(session, u"orders", layout_), 2);
    EXPECT_EQ(DBL_GetVersieNummer(session, u"GEEN", layout_), 0);
    EXPECT_EQ(DBL_GetVersieNummer(session, u"O'R", layout_), 0);
    EXPECT_EQ(DBL_GetVersieNummer(session, u"ORDERS", Path(u"Geen.ord")), 0);
}

}  // namespace
}  // namespace vmlib::db::test
