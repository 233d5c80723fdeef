#include "db/BaseDatabase.h"
#include "db/DocumentFixture.h"
#include "db/Repairing.h"

// Base databases on real files.
namespace vmlib::db::test {
namespace {

using vmlib::test::DocumentFixture;
using vmlib::test::User;

class BaseDatabaseTest : public DocumentFixture
{
protected:
    struct Outcome
    {
        int code = 99, opened = -1, version = -1, layoutVersion = -1;
    };

    void SetUp() override { MakeDocument(base_); }

    Outcome Check(int rights, const Text& type = u"ORDERS")
    {
        Session session = anna_.Session();
        std::int16_t opened = -1, version = -1, layoutVersion = -1, code = 99;
        const bool isFit = DBL_CheckBasisDatabase(session, base_, type, layout_, static_cast<std::int16_t>(rights),
                                                  opened, version, layoutVersion, code);
        EXPECT_EQ(isFit, code == 0);
        return {code, opened, version, layoutVersion};
    }

    Text base_ = Path(u"Artikelen.bas");
};

TEST_F(BaseDatabaseTest, RightsAreThoseThatCanBeHad)
{
    MakeLayout(2);
    for (const auto& [wanted, opened] : {std::pair(-3, 0), {0, 0}, {1, 1}, {2, 1}, {3, 1}, {9, 1}}) {
        const Outcome outcome = Check(wanted);
        EXPECT_EQ(outcome.code, 0) << wanted;
        EXPECT_EQ(outcome.opened, opened) << wanted;
    }
    EXPECT_EQ(anna_.Info(base_), "2|ORDERS|oud pad| ");
}

TEST_F(BaseDatabaseTest, WhatIsWrongHasItsCode)
{
    MakeLayout(2);
    const struct
    {
        const char* what;
        const char* statement;
        const char16_t* type;
        int code;
    } cases[] = {
        {"newer than the layout", "UPDATE Info SET Versie = 3", u"ORDERS", 7},
        {"another type", "UPDATE Info SET Versie = 2", u"orders", 6},
        {"type unknown to the layout", "UPDATE Info SET BestandType = 'X'", u"X", 12},
        {"a type that breaks the statement", "UPDATE Info SET BestandType = 'O''X'", u"O'X", 11},
        {"dotted, so the type does not count, but its layout does", "UPDATE Info SET Versie = 2", u"a.b", 12},
        {"no record", "DELETE FROM Info", u"ORDERS", 9},
        {"a field is missing", "ALTER TABLE Info DROP COLUMN InGebruikDoor", u"ORDERS", 9},
        {"no table", "DROP TABLE Info", u"ORDERS", 5},
    };
    for (const auto& c : cases) {
        anna_.Run(base_, {c.statement});
        EXPECT_EQ(Check(2, c.type).code, c.code) << c.what;
    }
    real_.Delete(layout_);
    MakeDocument(Path(u"ander.bas"));
    base_ = Path(u"ander.bas");
    EXPECT_EQ(Check(0).code, 10);
    {
        User piet(real_, u"piet", temporary_);
        Session session = piet.Session();
        const Closing holder(OpenShared(session, base_));
        EXPECT_EQ(Check(0).code, 24);
    }
    base_ = Path(u"geen.bas");
    EXPECT_EQ(Check(0).code, 1);
}

TEST_F(BaseDatabaseTest, AnOlderOneIsConvertedInPlace)
{
    MakeLayout(3);
    real_.SetReadOnly(base_, true);
    EXPECT_EQ(Check(0).code, 13);
    real_.SetReadOnly(base_, false);
    EXPECT_EQ(anna_.Info(base_), "2|ORDERS|oud pad| ");

    const Outcome done = Check(0);
    EXPECT_EQ(done.code, 0);
    EXPECT_EQ(done.opened, 0);
    EXPECT_EQ(done.version, 2) << "what it was";
    EXPECT_EQ(done.layoutVersion, 3);
    EXPECT_EQ(anna_.Info(base_), "3|ORDERS|oud pad| ");
    EXPECT_THAT(anna_.Names(base_), testing::UnorderedElementsAre("Info", "Klant", "Best"));
    EXPECT_EQ(Customers(base_)[0], "1|Bakker");
}

TEST_F(BaseDatabaseTest, ADottedTypeIsOnlyStamped)
{
    MakeLayout(layout_, "tarief.bas", 7, Fields(3));
    EXPECT_EQ(Check(1, u"tarief.bas").code, 0);
    EXPECT_EQ(anna_.Info(base_), "7|ORDERS|oud pad| ");
    EXPECT_THAT(anna_.Names(base_), testing::UnorderedElementsAre("Info", "Klant", "Weg"));
}

TEST_F(BaseDatabaseTest, AConversionThatFailsSaysSo)
{
    MakeLayout(layout_, "ORDERS", 3, {});  // a type without tables
    EXPECT_EQ(Check(1).code, 26);
    EXPECT_EQ(anna_.Info(base_), "2|ORDERS|oud pad| ");
}

TEST_F(BaseDatabaseTest, RepairingNeedsAFile)
{
    Session session = anna_.Session();
    std::int16_t code = 99;
    EXPECT_FALSE(DBL_RepareerDataBase(session, Path(u"geen.bas"), code));
    EXPECT_EQ(code, 1);
}

}  // namespace
}  // namespace vmlib::db::test
