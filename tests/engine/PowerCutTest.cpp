// What a crash leaves: each statement and each Update is there whole or not at all.

#include "automation/ResumeNext.h"
#include "engine/EngineFixture.h"
#include "support/FailingFiles.h"

namespace vmlib::test {
namespace {

/// The port is a base so that it is there before the engine and longer.
struct WithFailingFiles
{
    FailingFiles files{NativePlatform().files};
};

class PowerCutTest : private WithFailingFiles, public EngineTest
{
protected:
    PowerCutTest() : EngineTest(&files) {}

    void Prepare()
    {
        const ObjectRef database = Create(u"a.mdb");
        MakeTable(database, u"P", {{u"Id", 4}, {u"Naam", 10, 20}});
        MakeTable(database, u"K", {{u"Id", 4, 0, 17}, {u"PId", 4}, {u"Noot", 12}});
        MakeIndex(database, u"P", u"PK", u"Id", true, true);
        MakeRelation(database, u"PnaarK", u"P", u"Id", u"K", u"PId", 256 + 4096);
        for (int i = 1; i <= 4; ++i) {
            Execute(database, u"INSERT INTO P VALUES (" + Decimal(i) + u", 'naam')", 128);
            for (int k = 0; k < 3; ++k)
                Execute(database, u"INSERT INTO K (PId, Noot) VALUES (" + Decimal(i) + u", '" + Text(400, u'n') + u"')",
                        128);
        }
        Call(database, u"Close");
    }

    std::vector<std::string> State()
    {
        const ObjectRef database = Open(u"a.mdb");
        std::vector<std::string> rows = Rows(database, u"SELECT * FROM P ORDER BY Id");
        for (const auto& row : Rows(database, u"SELECT Id, PId, Len(Noot) FROM K ORDER BY Id")) rows.push_back(row);
        for (const auto& row : Rows(database, u"SELECT Name FROM MSysObjects WHERE Type = 1 ORDER BY Name"))
            rows.push_back(row);
        // Both ways to the children find the same ones.
        EXPECT_EQ(Rows(database, u"SELECT Count(*) FROM K WHERE PId > 0"),
                  Rows(database, u"SELECT Count(*) FROM K WHERE PId + 0 > 0"));
        Call(database, u"Close");
        EXPECT_THAT(FaultsOf(u"a.mdb"), testing::IsEmpty());
        return rows;
    }

    FailingFiles& Failing() { return files; }
};

TEST_F(PowerCutTest, LeavesTheStateBeforeOrAfter)
{
    Prepare();
    const std::string whole = folder_.Read("a.mdb");
    struct
    {
        const char* what;
        std::function<void(const ObjectRef&)> change;
    } const changes[] = {
        {"cascading delete", [](const ObjectRef& database) { Execute(database, u"DELETE FROM P WHERE Id < 3", 128); }},
        {"cascading update", [](const ObjectRef& database) { Execute(database, u"UPDATE P SET Id = Id + 10", 128); }},
        {"append",
         [](const ObjectRef& database) {
             Execute(database, u"INSERT INTO K (PId, Noot) SELECT PId, Noot FROM K", 128);
         }},
        {"make table", [](const ObjectRef& database) { Execute(database, u"SELECT * INTO Nieuw FROM K"); }},
        {"recordset",
         [](const ObjectRef& database) {
             const ObjectRef records = Records(database, u"SELECT * FROM P ORDER BY Id", 2);
             Call(records, u"Edit");
             Put(records, u"Collect", u"Id", 9);
             Call(records, u"Update");
         }},
        {"transaction",
         [this](const ObjectRef& database) {
             Call(Workspace(), u"BeginTrans");
             Execute(database, u"DELETE FROM K WHERE PId = 4", 128);
             Execute(database, u"INSERT INTO P VALUES (5, 'vijf')", 128);
             Call(Workspace(), u"CommitTrans");
         }},
    };
    for (const auto& each : changes) {
        folder_.Write("a.mdb", whole);
        const auto before = State();
        {
            const ObjectRef database = Open(u"a.mdb");
            each.change(database);
            Call(database, u"Close");
        }
        const auto after = State();
        ASSERT_NE(before, after) << each.what;
        bool struck = true;
        for (int n = 1; struck; ++n) {
            DropEngine();
            folder_.Write("a.mdb", whole);
            bool returned = false;
            {
                const ObjectRef database = Open(u"a.mdb");
                Failing().Arm({.at = n, .kind = FaultKind::PowerCut});
                returned = !ResumeNext([&] { each.change(database); });
                ResumeNext([&] { Call(database, u"Close"); });
            }
            DropEngine();
            struck = Failing().Struck();
            Failing().AfterPowerCut(FailingFiles::Unsynced::Random, static_cast<unsigned>(n));
            Failing().Disarm();
            const auto now = State();
            if (returned) {
                ASSERT_EQ(now, after) << each.what << ", step " << n << ": what returned is on the disk";
            } else {
                ASSERT_TRUE(now == before || now == after) << each.what << ", step " << n;
            }
        }
    }
}

TEST_F(PowerCutTest, AFullDiskIsAnErrorAndChangesNothing)
{
    Prepare();
    const auto before = State();
    bool struck = true;
    for (int n = 1; struck; ++n) {
        // Opened anew each time: a file whose old pages could not be put back is refused until its journal is played
        // back.
        const ObjectRef database = Open(u"a.mdb");
        Failing().Arm(
            {.at = n, .kind = FaultKind::FailsOn, .fault = FileFault::DiskFull, .steps = {Step::Write, Step::Resize}});
        const std::int32_t error =
            ErrorOf([&] { Execute(database, u"INSERT INTO K (PId, Noot) SELECT PId, Noot FROM K"); });
        struck = Failing().Struck();
        Failing().Disarm();
        ResumeNext([&] { Call(database, u"Close"); });
        if (!struck) break;
        EXPECT_EQ(error, 3026) << "write " << n;
        EXPECT_EQ(State(), before) << "write " << n;
    }
    EXPECT_NE(State(), before);
}

}  // namespace
}  // namespace vmlib::test
