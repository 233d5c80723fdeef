#include "db/DocumentFixture.h"
#include "db/ErrorCodes.h"
#include "db/InUse.h"
#include "db/Info.h"
#include "db/Opening.h"

// Opening, in-use registration and engine access on real files.
namespace vmlib::db::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using vmlib::test::DocumentFixture;
using vmlib::test::FakeDesktop;
using vmlib::test::User;

struct Opened
{
    bool result = false;
    Text workingFile = u"?";
    std::int16_t status = -1, version = 77, layoutVersion = 88, code = 99;
};

class OpeningTest : public DocumentFixture
{
protected:
    Opened Open(Session& session, const Text& path, const Text& type = u"orders")
    {
        Opened o;
        o.result =
            DBL_OpenDatabase(session, path, o.workingFile, type, layout_, o.status, o.version, o.layoutVersion, o.code);
        EXPECT_EQ(o.result, o.code == 0);
        EXPECT_EQ(session.platform.desktop.MousePointer(), defaultPointer);
        return o;
    }
    std::string InfoOf(const std::string& mark, const Text& name, int version = 2)
    {
        return std::to_string(version) + "|ORDERS|" + ToUtf8(name) + "|" + mark;
    }
    bool Release(Session& session, const Text& path, int expected)
    {
        std::int16_t code = 99;
        const bool result = DBL_BestandVrijgeven(session, path, code);
        EXPECT_EQ(code, expected);
        return result;
    }
    User piet_{real_, u"piet", temporary_};
    Session pietSession_ = piet_.Session();
    dao::Database held_;
};

TEST_F(OpeningTest, MarksCopiesAndLists)
{
    MakeLayout(2);
    MakeDocument(document_);
    Session session = anna_.Session();
    const Opened o = Open(session, document_);
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(o.status, 0);
    EXPECT_EQ(o.version, 2);
    EXPECT_EQ(o.layoutVersion, 2);
    EXPECT_THAT(ToUtf8(o.workingFile), StartsWith(ToUtf8(temporary_) + "~or"));
    EXPECT_EQ(anna_.Info(document_), InfoOf("anna", u"oud pad"));
    EXPECT_EQ(anna_.Info(o.workingFile), InfoOf("anna", document_));
    EXPECT_EQ(Customers(o.workingFile), customers_);
    EXPECT_THAT(anna_.desktop.messages, IsEmpty());
    EXPECT_THAT(anna_.desktop.pointersSet, ElementsAre(hourglassPointer, defaultPointer));

    EXPECT_EQ(Open(session, UpperCase(document_)).code, 15);
    EXPECT_TRUE(Release(session, document_, 0));
    EXPECT_EQ(anna_.Info(document_), InfoOf(" ", u"oud pad"));
    EXPECT_EQ(Open(session, document_).code, 0) << "a released entry does not count";
}

TEST_F(OpeningTest, MarksThatCountAsFree)
{
    MakeLayout(2);
    for (const char* mark : {" ", "   ", "anna", "anna  "}) {
        MakeDocument(document_, mark);
        Session session = anna_.Session();
        EXPECT_EQ(Open(session, document_).status, 0) << mark;
        EXPECT_THAT(anna_.desktop.messages, IsEmpty()) << mark;
    }
}

TEST_F(OpeningTest, MarkOfAnotherAsksAndNoIsCode14)
{
    MakeLayout(2);
    MakeDocument(document_, "Anna");  // the comparison is exact
    Session session = anna_.Session();
    EXPECT_EQ(Open(session, document_).code, 14);
    EXPECT_EQ(anna_.Info(document_), InfoOf("Anna", u"oud pad"));
    EXPECT_THAT(anna_.desktop.messages,
                ElementsAre(FakeDesktop::Message{u"Het bestand " + document_ +
                                                     u" is al in gebruik \r\ndoor gebruiker Anna.\r\nWilt u werken met "
                                                     u"een kopie van dit bestand?",
                                                 52, u"Openen bestand"}));
    EXPECT_EQ(folder_.Names().size(), 3u) << "document, layout, temporary folder";
}

TEST_F(OpeningTest, MarkOfAnotherAndYesWorksOnACopy)
{
    MakeLayout(2);
    MakeDocument(document_, "piet");
    anna_.desktop.answers = {6};
    Session session = anna_.Session();
    const Opened o = Open(session, document_);
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(o.status, 2);
    EXPECT_EQ(anna_.Info(document_), InfoOf("piet", u"oud pad"));
    EXPECT_EQ(anna_.Info(o.workingFile), InfoOf("anna", document_));
    EXPECT_FALSE(Release(session, document_, 21));
    EXPECT_EQ(anna_.Info(document_), InfoOf("piet", u"oud pad"));
}

TEST_F(OpeningTest, WorkingFileIsOpenedInPlace)
{
    MakeLayout(2);
    const Text working = Path(u"~or12.tmp");
    MakeDocument(working, "piet", ToUtf8(document_));
    Session session = anna_.Session();
    const Opened o = Open(session, working);
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(o.status, 1);
    EXPECT_EQ(o.workingFile, working);
    EXPECT_THAT(anna_.desktop.messages, IsEmpty());
    EXPECT_EQ(anna_.Info(working), InfoOf("anna", document_)) << "marked in itself";
    EXPECT_TRUE(session.opened.HoldsOpen(document_)) << "listed as the document";
    EXPECT_EQ(Open(session, working).code, 15);
}

TEST_F(OpeningTest, Codes)
{
    struct Case
    {
        const char* reason;
        Text path;
        Text type;
        std::function<void()> prepare;
        int code;
        const char* markAfter;
    };
    const Case cases[] = {
        {"no such file", Path(u"Geen.ord"), u"ORDERS", [] {}, 1, " "},
        {"a folder is no file", folder_.Path(), u"ORDERS", [] {}, 1, " "},
        {"no layout", document_, u"ORDERS", [&] { real_.Delete(layout_); }, 10, " "},
        {"layout is no database", document_, u"ORDERS", [&] { folder_.Write("Layout.ord", "no database"); }, 10, " "},
        {"layout held by another user", document_, u"ORDERS",
         [&] { held_ = DBL_OpenMdb(pietSession_, layout_, false, false, false); }, 10, " "},
        {"layout without Info", document_, u"ORDERS", [&] { piet_.Run(layout_, {"DROP TABLE Info"}); }, 11, " "},
        {"a quote in the type breaks the statement", document_, u"OR'S", [] {}, 11, " "},
        {"type not in the layout", document_, u"ORDER", [] {}, 12, " "},
        {"version in the layout is Null", document_, u"ORDERS",
         [&] { piet_.Run(layout_, {"UPDATE Info SET Versie = Null"}); }, 12, " "},
        {"layout older than the document", document_, u"ORDERS",
         [&] { piet_.Run(layout_, {"UPDATE Info SET Versie = 1"}); }, 7, " "},
        {"no temporary folder", document_, u"ORDERS", [&] { anna_.system.temporaryFolder = Path(u"nergens") + u"\\"; },
         3, "anna"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reason);
        MakeLayout(2);
        MakeDocument(document_);
        Session session = anna_.Session();
        c.prepare();
        const Opened o = Open(session, c.path, c.type);
        EXPECT_EQ(o.code, c.code);
        EXPECT_FALSE(session.opened.HoldsOpen(c.path));
        if (held_) held_.Close();
        held_ = {};
        EXPECT_EQ(anna_.Info(document_), InfoOf(c.markAfter, u"oud pad"));
        anna_.system.temporaryFolder = temporary_;
    }
}

TEST_F(OpeningTest, DocumentWithoutReadableInfoCountsAsFree)
{
    MakeLayout(2);
    MakeDocument(document_, "piet");
    piet_.Run(document_, {"DROP TABLE Info"});
    Session session = anna_.Session();
    Opened o;
    o.version = 2;
    DBL_OpenDatabase(session, document_, o.workingFile, u"ORDERS", layout_, o.status, o.version, o.layoutVersion,
                     o.code);
    EXPECT_EQ(o.code, 0);
    EXPECT_EQ(o.version, 2) << "what the caller passed";
    EXPECT_EQ(Customers(o.workingFile), customers_);
}

TEST_F(OpeningTest, DocumentHeldByAnotherUserIsCopiedAllTheSame)
{
    MakeLayout(2);
    MakeDocument(document_, "piet");
    Session pietSession = piet_.Session();
    const Closing held(DBL_OpenMdb(pietSession, document_, false, false, false));
    Session session = anna_.Session();
    Opened o;
    o.version = 2;
    DBL_OpenDatabase(session, document_, o.workingFile, u"ORDERS", layout_, o.status, o.version, o.layoutVersion,
                     o.code);
    EXPECT_EQ(o.code, 0) << "Info cannot be read exclusively, so the document counts as free";
    EXPECT_EQ(Customers(o.workingFile), customers_);
}

TEST_F(OpeningTest, VersionIsTheLeadingNumberOfItsText)
{
    MakeDocument(document_);
    struct Case
    {
        const char* stored;
        int version;
    };
    for (const auto& [stored, version] :
         {Case{"'3'", 3}, {"'3b'", 3}, {"'x'", 0}, {"' 1 2'", 12}, {"Null", 0}, {"'40000'", 77}}) {
        piet_.Run(document_, {"DROP TABLE Info",
                              "CREATE TABLE Info (Versie TEXT(20), BestandType TEXT(20), BestandNaam TEXT(255), "
                              "InGebruikDoor TEXT(30))"});
        piet_.Run(document_, {("INSERT INTO Info (Versie) VALUES (" + std::string(stored) + ")").c_str()});
        Session session = anna_.Session();
        InfoRecord info{.versie = 77, .bestandType = u"keeps", .bestandNaam = u"", .inGebruikDoor = u""};
        EXPECT_EQ(LeesInfo(session, document_, info), 0);
        EXPECT_EQ(info.versie, version) << stored;
        EXPECT_EQ(info.bestandType, u"") << "Null reads as an empty text";
    }
}

TEST_F(OpeningTest, InfoThatCannotBeRead)
{
    MakeDocument(document_);
    Session session = anna_.Session();
    InfoRecord info{.versie = 7, .bestandType = u"t", .bestandNaam = u"n", .inGebruikDoor = u"g"};
    EXPECT_EQ(LeesInfo(session, Path(u"Geen.ord"), info), 8);
    piet_.Run(document_, {"DELETE FROM Info"});
    EXPECT_EQ(LeesInfo(session, document_, info), 5) << "no record";
    piet_.Run(document_, {"DROP TABLE Info"});
    EXPECT_EQ(LeesInfo(session, document_, info), 5) << "no table";
    EXPECT_EQ(info.bestandType, u"t");
    piet_.Run(document_,
              {"CREATE TABLE Info (Versie SHORT, InGebruikDoor TEXT(30))", "INSERT INTO Info VALUES (4, 'piet')"});
    EXPECT_EQ(LeesInfo(session, document_, info), 0) << "missing fields are passed over";
    EXPECT_EQ(info.versie, 4);
    EXPECT_EQ(info.bestandNaam, u"n");
    EXPECT_EQ(info.inGebruikDoor, u"piet");
}

TEST_F(OpeningTest, ReleaseCodes)
{
    MakeDocument(document_, "anna");
    Session session = anna_.Session();
    EXPECT_TRUE(Release(session, u"", 0));
    EXPECT_TRUE(Release(session, u"  ", 0));
    EXPECT_FALSE(Release(session, Path(u"Geen.ord"), 1));
    EXPECT_FALSE(Release(session, document_, 23)) << "never opened here, and cleared all the same";
    EXPECT_EQ(anna_.Info(document_), InfoOf(" ", u"oud pad"));

    session.opened.Add(UpperCase(document_));
    EXPECT_TRUE(Release(session, document_, 0));
    EXPECT_FALSE(Release(session, document_, 23));

    real_.SetReadOnly(document_, true);
    EXPECT_FALSE(Release(session, document_, 17));
    real_.SetReadOnly(document_, false);
    {
        Session pietSession = piet_.Session();
        const Closing held(DBL_OpenMdb(pietSession, document_, true, false, false));
        EXPECT_FALSE(Release(session, document_, 5)) << "held exclusively";
    }
    piet_.Run(document_, {"UPDATE Info SET InGebruikDoor = 'piet'"});
    session.opened.Add(document_);
    EXPECT_FALSE(Release(session, document_, 21));
    EXPECT_EQ(anna_.Info(document_), InfoOf("piet", u"oud pad"));
    EXPECT_FALSE(session.opened.HoldsOpen(document_)) << "the entry goes first";
    piet_.Run(document_, {"ALTER TABLE Info DROP COLUMN InGebruikDoor"});
    EXPECT_FALSE(Release(session, document_, 5)) << "no such field";
}

TEST_F(OpeningTest, InUseDependsOnWhatIsWanted)
{
    MakeDocument(document_);
    Session session = anna_.Session();
    Session pietSession = piet_.Session();
    struct Case
    {
        const char* reason;
        bool heldExclusive, heldReadOnly, readOnlyFile, wantsToWrite, inUse;
    };
    const Case cases[] = {
        {"reading beside a shared opener", false, false, false, false, false},
        {"writing beside a shared opener", false, false, false, true, true},
        {"reading beside an exclusive opener", true, false, false, false, true},
        {"a read-only file is tried exclusively", false, true, true, false, true},
        {"two exclusive readers of a read-only file", true, true, true, false, false},
    };
    for (const Case& c : cases) {
        real_.SetReadOnly(document_, c.readOnlyFile);
        const Closing held(DBL_OpenMdb(pietSession, document_, c.heldExclusive, c.heldReadOnly, false));
        ASSERT_TRUE(held) << c.reason;
        std::int16_t code = 99;
        EXPECT_EQ(DBL_Ingebruik(session, document_, c.wantsToWrite, code), c.inUse) << c.reason;
        EXPECT_EQ(code, c.inUse ? 8 : 0) << c.reason;
    }
}

TEST_F(OpeningTest, RecoverableWorkingFiles)
{
    MakeDocument(Path(u"~or1.tmp"), " ", "C:\\Origineel.ord");
    folder_.Write("~or3.tmp", "text");
    MakeDocument(document_);
    Session session = anna_.Session();
    struct Case
    {
        const char* reason;
        Text path, type;
        bool recoverable;
        Text original;
    };
    const Case cases[] = {
        {"good", Path(u"~or1.tmp"), u"ORDERS", true, u"C:\\Origineel.ord"},
        {"type compares exactly", Path(u"~or1.tmp"), u"Orders", false, u"C:\\Origineel.ord"},
        {"no tilde", document_, u"ORDERS", false, u"oud pad"},
        {"not there", Path(u"~or2.tmp"), u"ORDERS", false, u"as it was"},
        {"no database", Path(u"~or3.tmp"), u"ORDERS", false, u"as it was"},
    };
    for (const Case& c : cases) {
        Text original = u"as it was";
        EXPECT_EQ(DBL_CheckTmp(session, c.path, c.type, original), c.recoverable) << c.reason;
        EXPECT_EQ(ToUtf8(original), ToUtf8(c.original)) << c.reason;
    }
}

TEST_F(OpeningTest, Rights)
{
    MakeDocument(document_);
    Session session = anna_.Session();
    EXPECT_EQ(DBL_GetRechten(session, document_), 1);
    EXPECT_EQ(DBL_GetRechten(session, Path(u"Nieuw.ord")), 1);
    EXPECT_EQ(DBL_GetRechten(session, Path(u"nergens\\Nieuw.ord")), 0);
    real_.SetReadOnly(document_, true);
    EXPECT_EQ(DBL_GetRechten(session, document_), 0);
}

TEST_F(OpeningTest, OpenMdbReportsOnlyThatItFailed)
{
    MakeDocument(document_);
    Session session = anna_.Session(), pietSession = piet_.Session(), withoutPassword = anna_.Session();
    withoutPassword.connect.clear();
    Variant error;
    {
        const Closing held(DBL_OpenMdb(pietSession, document_, true, false, false));
        EXPECT_FALSE(DBL_OpenMdb(session, document_, false, false, false, &error));
        EXPECT_EQ(error, Variant(true));
    }
    EXPECT_FALSE(DBL_OpenMdb(withoutPassword, document_, false, false, false, &error));
    EXPECT_EQ(error, Variant(true));
    Closing open(DBL_OpenMdb(session, document_, false, false, false, &error));
    EXPECT_TRUE(open);
    EXPECT_EQ(error, Variant(false));
    open.Close();

    struct Case
    {
        bool readOnlyFile, exclusive, readOnly;  // as asked
        bool sharedWithOthers;
    };
    // With the rights determined the wanted sharing does not count.
    for (const auto& [readOnlyFile, exclusive, readOnly, shared] :
         {Case{true, false, true, false}, {false, true, true, true}, {false, true, false, true}}) {
        real_.SetReadOnly(document_, readOnlyFile);
        const Closing mine(DBL_OpenMdb(session, document_, exclusive, readOnly, true));
        ASSERT_TRUE(mine);
        const Closing other(DBL_OpenMdb(pietSession, document_, false, true, false));
        EXPECT_EQ(static_cast<bool>(other), shared) << readOnlyFile << exclusive << readOnly;
    }
}

}  // namespace
}  // namespace vmlib::db::test
