#include "db/Conversion.h"
#include "db/DocumentFixture.h"
#include "db/Opening.h"

// Conversion to a newer layout on real files.
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

/// A host's converter that runs a step of the test.
class Converter : public Object
{
public:
    using Step = std::function<void(Variant& database, std::vector<Variant> rest)>;
    explicit Converter(Step step) : step_(std::move(step)) {}
    Text TypeName() const override { return u"Converter"; }
    Variant Invoke(TextView member, InvokeKind, std::span<Variant> arguments) override
    {
        if (member != u"PakketConvert") throw Error(ErrorNumber::NoSuchMember);
        step_(arguments[0], {arguments.begin() + 1, arguments.end()});
        return u"ignored";
    }

private:
    Step step_;
};

class ConversionTest : public DocumentFixture
{
protected:
    void SetUp() override
    {
        MakeLayout(3);
        MakeDocument(document_);
    }

    /// Converts the document in place; the error's number, or 0.
    std::int32_t Convert(Session& session, const Text& type = u"ORDERS")
    {
        dao::Database document = OpenShared(session, document_);
        const auto error = ResumeNext([&] { DBL_AutoConvert2(session, document, type, layout_); });
        EXPECT_TRUE(error || document.Name() == document_);
        if (document) ResumeNext([&] { document.Close(); });
        return error ? error->Number() : 0;
    }

    Session WithConverter(Converter::Step step)
    {
        anna_.classes.Register(u"Test.Converter", [step] { return std::make_shared<Converter>(step); });
        Session session = anna_.Session();
        DBL_AutoConvertPakket(session, u"Test.Converter");
        return session;
    }

    bool CopyIsLeft() { return real_.Exists(temporary_ + Text(conversionCopyName)); }
};

TEST_F(ConversionTest, KeepsWhatFits)
{
    real_.Copy(document_, temporary_ + Text(conversionCopyName));  // left by an earlier conversion
    Session session = anna_.Session();
    EXPECT_EQ(Convert(session), 0);
    EXPECT_EQ(Customers(document_), customers_) << "field names match without case";
    EXPECT_THAT(anna_.Names(document_), UnorderedElementsAre("Info", "Klant", "Best"));
    EXPECT_THAT(anna_.Names(document_, u"Klant"), UnorderedElementsAre("Nr", "Naam", "Email"));
    EXPECT_THAT(anna_.Rows(document_, "SELECT * FROM Klant", {"Email"}), ElementsAre("Null", "Null", "Null"));
    EXPECT_THAT(anna_.Names(document_, u"Klant", true), Contains("PrimaryKey"));
    EXPECT_EQ(anna_.Info(document_), "2|ORDERS|oud pad| ") << "the version is the caller's business";
    EXPECT_FALSE(CopyIsLeft());
    EXPECT_THAT(Faults(document_), IsEmpty());
    anna_.Run(document_, {"INSERT INTO Best (KlantNr) VALUES (8)"});
    EXPECT_THAT(anna_.Rows(document_, "SELECT * FROM Best", {"Id"}), IsEmpty()) << "the relation holds";
}

TEST_F(ConversionTest, OpeningConvertsTheWorkingCopyAndStampsIt)
{
    Session session = anna_.Session();
    Text working;
    std::int16_t status = 9, version = 9, layoutVersion = 9, code = 9;
    EXPECT_TRUE(
        DBL_OpenDatabase(session, document_, working, u"ORDERS", layout_, status, version, layoutVersion, code));
    EXPECT_EQ(version, 2);
    EXPECT_EQ(layoutVersion, 3);
    EXPECT_EQ(anna_.Info(working), "3|ORDERS|" + ToUtf8(document_) + "|anna");
    EXPECT_EQ(Customers(working), customers_);
    EXPECT_EQ(anna_.Info(document_), "2|ORDERS|oud pad|anna") << "the document waits for the save";
}

TEST_F(ConversionTest, FailureOfAConversionIsCode26AndKeepsTheMark)
{
    anna_.Run(layout_, {"UPDATE Indexen SET VeldNaam = 'Geen'"});
    Session session = anna_.Session();
    Text working;
    std::int16_t status = 9, version = 9, layoutVersion = 9, code = 9;
    EXPECT_FALSE(
        DBL_OpenDatabase(session, document_, working, u"ORDERS", layout_, status, version, layoutVersion, code));
    EXPECT_EQ(code, 26);
    EXPECT_EQ(anna_.Info(document_), "2|ORDERS|oud pad|anna");
    EXPECT_EQ(anna_.Info(working), "2|ORDERS|" + ToUtf8(document_) + "|anna") << "the working copy is what it was";
    EXPECT_FALSE(session.opened.HoldsOpen(document_));
    EXPECT_TRUE(CopyIsLeft());
}

TEST_F(ConversionTest, TableNamesMatchExactlyAndRowsThatDoNotFitAreLeftOut)
{
    auto fields = Fields(3);
    fields.push_back({"WEG", "Nr", 4});
    MakeLayout(layout_, "ORDERS", 3, fields);
    anna_.Run(document_, {"DROP INDEX PrimaryKey ON Klant", "INSERT INTO Klant VALUES (3, 'nog een drie', 'x')"});
    Session session = anna_.Session();
    EXPECT_EQ(Convert(session), 0);
    EXPECT_THAT(anna_.Rows(document_, "SELECT * FROM WEG", {"Nr"}), IsEmpty());
    EXPECT_EQ(Customers(document_).size(), 4u);
}

TEST_F(ConversionTest, ErrorsFromTheIndexesOnLeaveTheDocument)
{
    struct Case
    {
        const char* reason;
        const char* sql;
        bool onLayout;
    };
    const Case cases[] = {
        {"rows that break a unique index", "INSERT INTO Klant VALUES (3, 'nog een drie', 'x')", false},
        {"an index on a field that is not there", "UPDATE Indexen SET VeldNaam = 'Geen'", true},
        {"no table of relations", "DROP TABLE Relaties", true},
        {"no table of the file type", "DELETE FROM LayOut", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reason);
        SetUp();
        anna_.Run(document_, {"DROP INDEX PrimaryKey ON Klant"});
        anna_.Run(c.onLayout ? layout_ : document_, {c.sql});
        const std::string before = folder_.Read("Winkel.ord");
        Session session = anna_.Session();
        EXPECT_NE(Convert(session), 0);
        EXPECT_TRUE(folder_.Read("Winkel.ord") == before);
        EXPECT_TRUE(CopyIsLeft());
        MakeLayout(3);
        anna_.Run(document_, {"DELETE FROM Klant WHERE Oud = 'x' AND Nr = 3"});
        EXPECT_EQ(Convert(session), 0) << "nothing is held from the failure";
    }
}

TEST_F(ConversionTest, MissingLayoutOrCopyLeavesTheDocument)
{
    const std::string before = folder_.Read("Winkel.ord");
    Session session = anna_.Session();
    {
        // Somebody else works on a conversion with the same temporary folder.
        User piet(real_, u"piet", temporary_);
        Session pietSession = piet.Session();
        const Closing held(CreateDatabase(pietSession, temporary_ + Text(conversionCopyName)));
        EXPECT_NE(Convert(session), 0);
    }
    real_.Delete(layout_);
    EXPECT_NE(Convert(session), 0);
    EXPECT_TRUE(folder_.Read("Winkel.ord") == before);
}

TEST_F(ConversionTest, DocumentOpenElsewhereIsNotReplaced)
{
    User piet(real_, u"piet", temporary_);
    Session pietSession = piet.Session();
    Closing held(DBL_OpenMdb(pietSession, document_, false, true, false));
    const std::string before = folder_.Read("Winkel.ord");
    Session session = anna_.Session();
    EXPECT_NE(Convert(session), 0);
    EXPECT_TRUE(folder_.Read("Winkel.ord") == before);
    held.Close();
    EXPECT_EQ(Convert(session), 0);
}

TEST_F(ConversionTest, HostConverterReworksTheData)
{
    std::vector<Variant> seen;
    Session session = WithConverter([&](Variant& database, std::vector<Variant> rest) {
        seen = rest;
        Call(ToObject(database), u"Execute", u"UPDATE Klant SET Email = Naam & '@x'");
    });
    EXPECT_EQ(Convert(session), 0);
    EXPECT_THAT(seen, ElementsAre(Variant(u"ORDERS"), Variant(std::int32_t{2}), Variant(std::int32_t{3})));
    EXPECT_THAT(anna_.Rows(document_, "SELECT * FROM Klant WHERE Nr = 1", {"Email"}), ElementsAre("Bakker@x"));
}

TEST_F(ConversionTest, HostConverterMayReplaceTheDatabase)
{
    Session* used = nullptr;
    Session session = WithConverter([&](Variant& database, std::vector<Variant>) {
        const Text path = ToText(Get(ToObject(database), u"Name"));
        Call(ToObject(database), u"Close");
        database = OpenExclusive(*used, path).Reference();
        Call(ToObject(database), u"Execute", u"DELETE FROM Klant WHERE Nr = 2");
        throw Error(ErrorNumber::Overflow);  // what it did before stays done
    });
    used = &session;
    EXPECT_EQ(Convert(session), 0);
    EXPECT_THAT(Customers(document_), ElementsAre("1|Bakker", "3|Null"));
}

TEST_F(ConversionTest, ADatabaseThatTheConverterKeepsDoesNotStandInTheWay)
{
    Session* used = nullptr;
    ObjectRef kept;
    bool toNothing = false;
    Session session = WithConverter([&](Variant& database, std::vector<Variant>) {
        kept = ToObject(database);
        database = toNothing ? ObjectRef() : OpenShared(*used, ToText(Get(kept, u"Name"))).Reference();
    });
    used = &session;
    EXPECT_EQ(Convert(session), 0) << "another one on the same file";
    EXPECT_EQ(Customers(document_), customers_);
    SetUp();
    toNothing = true;
    EXPECT_EQ(Convert(session), 91);
    toNothing = false;
    EXPECT_EQ(Convert(session), 0) << "nothing is held from the failure";
}

TEST_F(ConversionTest, TheWorkingCopyIsPrivate)
{
    const auto permissions = [&] {
        return std::filesystem::status(real_.ToNative(temporary_ + Text(conversionCopyName))).permissions();
    };
    std::filesystem::perms seen = std::filesystem::perms::all;
    Session session = WithConverter([&](Variant&, std::vector<Variant>) { seen = permissions(); });
    EXPECT_EQ(Convert(session), 0);
    EXPECT_EQ(seen, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(ConversionTest, ADamagedPageLosesNoRows)
{
    std::string bytes = folder_.Read("Winkel.ord");
    const std::size_t row = bytes.find("Bakker");
    ASSERT_NE(row, std::string::npos);
    bytes.replace(row / 2048 * 2048, 2048, 2048, '\0');
    folder_.Write("Winkel.ord", bytes);
    Session session = anna_.Session();
    EXPECT_EQ(Convert(session), 3428) << "not a document without customers";
    EXPECT_TRUE(folder_.Read("Winkel.ord") == bytes);
}

TEST_F(ConversionTest, ConvertersThatAreNotCalled)
{
    int calls = 0;
    Session session = WithConverter([&](Variant&, std::vector<Variant>) { ++calls; });
    DBL_AutoConvertPakket(session, u"");
    EXPECT_EQ(Convert(session), 0);
    MakeDocument(document_);
    DBL_AutoConvertPakket(session, u"Geen.Converter");
    EXPECT_EQ(Convert(session), 0) << "a class that nobody knows is skipped";
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(Customers(document_), customers_);
}

TEST_F(ConversionTest, FailureAtAnyStepLeavesTheOldDocumentOrTheNewOne)
{
    const std::string before = folder_.Read("Winkel.ord");
    for (const FaultKind kind : {FaultKind::Fails, FaultKind::FailsOn, FaultKind::CutShort, FaultKind::PowerCut}) {
        AtEachStep(kind, [&](const Fault& fault) {
            folder_.Write("Winkel.ord", before);
            FailingFiles failing(real_);
            bool reportedDone = false;
            {
                User user(failing, u"anna", temporary_);
                Session session = user.Session();
                dao::Database document = OpenShared(session, document_);
                failing.Arm(fault);
                reportedDone = !ResumeNext([&] { DBL_AutoConvert2(session, document, u"ORDERS", layout_); });
                if (document) ResumeNext([&] { document.Close(); });
            }
            const bool struck = failing.Struck();
            if (failing.PowerIsOff())
                failing.AfterPowerCut(FailingFiles::Unsynced::Random, static_cast<unsigned>(fault.at));
            const auto tables = anna_.Names(document_);
            EXPECT_THAT(tables, AnyOf(UnorderedElementsAre("Info", "Klant", "Weg"),
                                      UnorderedElementsAre("Info", "Klant", "Best")));
            EXPECT_EQ(Customers(document_), customers_);
            EXPECT_THAT(Faults(document_), IsEmpty());
            EXPECT_TRUE(!reportedDone || std::count(tables.begin(), tables.end(), "Best") == 1);
            EXPECT_TRUE(struck || reportedDone);
            return struck;
        });
    }
}

}  // namespace
}  // namespace vmlib::db::test
