#include "jet/DatabaseFixture.h"
#include "support/FailingFiles.h"

namespace vmlib::jet {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const SortLocale dutch{0, dutchOrder, 1252};

class WorkspaceTest : public DatabaseFixture
{
};

TEST_F(WorkspaceTest, Passwords)
{
    workspace_->Create(At("p.mdb"), dutch, u"Gehéim€")->Close();
    workspace_->Create(At("open.mdb"), dutch, u"")->Close();
    const struct
    {
        const char* name;
        Text password;
        std::int32_t number;
    } cases[] = {
        {"p.mdb", u"Gehéim€", 0},   {"p.mdb", u"gehéim€", 3031},  {"p.mdb", u"", 3031},
        {"p.mdb", u"Gehéim", 3031}, {"p.mdb", u"Gehéim€ ", 3031}, {"p.mdb", Text(100, u'x'), 3031},
        {"open.mdb", u"any", 0},    {"open.mdb", u"", 0},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(NumberOf([&] { workspace_->Open(At(row.name), {.password = row.password}); }), row.number)
            << row.name << " " << ToUtf8(row.password);
    }
}

TEST_F(WorkspaceTest, SetPassword)
{
    workspace_->Create(At("a.mdb"), dutch, u"een")->Close();
    {
        const auto shared = workspace_->Open(At("a.mdb"), {.password = u"een"});
        EXPECT_EQ(NumberOf([&] { shared->SetPassword(u"een", u"twee"); }), 3621);
    }
    {
        const auto database = workspace_->Open(At("a.mdb"), {.exclusive = true, .password = u"een"});
        EXPECT_EQ(NumberOf([&] { database->SetPassword(u"EEN", u"twee"); }), 3031);
        database->SetPassword(u"een", u"twee");
        EXPECT_EQ(NumberOf([&] { workspace_->Open(At("a.mdb"), {.password = u"een"}); }), 3031);
        EXPECT_EQ(NumberOf([&] { workspace_->Open(At("a.mdb"), {.password = u"twee"}); }), 0);
        database->SetPassword(u"twee", u"");
    }
    EXPECT_EQ(NumberOf([&] { workspace_->Open(At("a.mdb"), {}); }), 0);
}

TEST_F(WorkspaceTest, OpenRefuses)
{
    workspace_->Create(At("good.mdb"), dutch, u"")->Close();
    const std::string good = folder_.Read("good.mdb");
    const auto changed = [&](const char* name, std::size_t at, std::string_view bytes) {
        std::string file = good;
        folder_.Write(name, file.replace(at, bytes.size(), bytes));
    };
    folder_.Write("empty.mdb", "");
    folder_.Write("text.mdb", std::string(5000, 'x'));
    folder_.Write("short.mdb", good.substr(0, 2000));
    changed("encrypted.mdb", 0x3E, "wxyz");
    changed("unknown.mdb", 0x14, std::string_view("\7", 1));
    changed("writing.mdb", 0x600, std::string_view("\0\0", 2));
    changed("otherwriting.mdb", 0x610, std::string_view("\0\0", 2));
    changed("damaged.mdb", 0x602, std::string_view("\1\0", 2));
    std::filesystem::create_directory(folder_.Native("folder.mdb"));
    const struct
    {
        const char* name;
        std::int32_t number;
        const char* text;
    } cases[] = {
        {"no\\a.mdb", 3044, ""},
        {"missing.mdb", 3024, "missing.mdb"},
        {"folder.mdb", 3051, ""},
        {"empty.mdb", 3343, "empty.mdb"},
        {"text.mdb", 3343, "text.mdb"},
        {"short.mdb", 3343, "short.mdb"},
        {"encrypted.mdb", 3343, "encrypted"},
        {"unknown.mdb", 3343, "unknown"},
        {"writing.mdb", 3049, "writing"},
        {"otherwriting.mdb", 3049, ""},
        {"damaged.mdb", 3428, ""},
    };
    for (const auto& row : cases) {
        for (const bool readOnly : {false, true}) {
            try {
                workspace_->Open(At(row.name), {.readOnly = readOnly});
                ADD_FAILURE() << row.name << " was opened";
            } catch (const Error& error) {
                EXPECT_EQ(error.Number(), row.number) << row.name;
                EXPECT_THAT(ToUtf8(error.Description()), HasSubstr(row.text)) << row.name;
            }
        }
    }
    for (const char* name : {"writing.mdb", "otherwriting.mdb", "damaged.mdb"}) {
        workspace_->Open(At(name), {.exclusive = true, .forRepair = true})->ClearDamageMarks();
        EXPECT_EQ(NumberOf([&] { workspace_->Open(At(name), {}); }), 0) << name;
    }
}

TEST_F(WorkspaceTest, AnEncryptedFileIsRefusedByName)
{
    VMLIB_GENUINE_FILE(genuine, "db97-enc.mdb");
    try {
        workspace_->Open(CopyOf(genuine), {});
        ADD_FAILURE();
    } catch (const Error& error) {
        EXPECT_EQ(error.Number(), 3343);
        EXPECT_THAT(ToUtf8(error.Description()), AllOf(HasSubstr("db97-enc.mdb"), HasSubstr("encrypted")));
    }
}

TEST_F(WorkspaceTest, SharingBetweenWorkspaces)
{
    workspace_->Create(At("a.mdb"), dutch, u"")->Close();
    const OpenOptions shared{}, reading{.readOnly = true}, exclusive{.exclusive = true},
        exclusiveReading{.exclusive = true, .readOnly = true};
    const struct
    {
        const char* what;
        OpenOptions held, wanted;
        std::int32_t number;
    } cases[] = {
        {"shared, shared", shared, shared, 0},
        {"shared, reading", shared, reading, 0},
        {"reading, shared", reading, shared, 0},
        {"shared, exclusive", shared, exclusive, 3356},
        {"reading, exclusive", reading, exclusive, 3356},
        {"shared, exclusive reading", shared, exclusiveReading, 3356},
        {"exclusive, shared", exclusive, shared, 3045},
        {"exclusive, reading", exclusive, reading, 3045},
        {"exclusive, exclusive", exclusive, exclusive, 3045},
        {"exclusive, exclusive reading", exclusive, exclusiveReading, 3045},
        {"exclusive reading, shared", exclusiveReading, shared, 3045},
        {"exclusive reading, exclusive", exclusiveReading, exclusive, 3045},
        {"exclusive reading, exclusive reading", exclusiveReading, exclusiveReading, 0},
    };
    const auto other = NewWorkspace(files_);
    for (const auto& row : cases) {
        const auto held = workspace_->Open(At("a.mdb"), row.held);
        EXPECT_EQ(NumberOf([&] { other->Open(At("a.mdb"), row.wanted); }), row.number) << row.what;
    }
    EXPECT_EQ(NumberOf([&] { other->Open(At("a.mdb"), exclusive); }), 0);  // nothing is held any more
}

TEST_F(WorkspaceTest, OneWorkspaceOpensItsFileAgain)
{
    const auto created = workspace_->Create(At("a.mdb"), dutch, u"pw");
    created->CreateTable(TableOf(u"T", {Column(u"Id", ColumnType::Long)}));
    // By another spelling and by another name of the same file.
    std::filesystem::create_hard_link(folder_.Native("a.mdb"), folder_.Native("b.mdb"));
    for (const char* name : {"A.MDB", "b.mdb"}) {
        const auto again = workspace_->Open(At(name), {.password = u"pw"});
        EXPECT_THAT(TableNames(*again), ElementsAre(u"T")) << name;
        Insert(*again, u"T", {std::int32_t{1}});
        EXPECT_EQ(&again->GetPager(), &created->GetPager()) << name;
        EXPECT_EQ(NumberOf([&] { workspace_->Open(At(name), {.password = u"x"}); }), 3031) << name;
    }
    EXPECT_EQ(created->OpenTable(u"T")->RowCount(), 2u);
    EXPECT_EQ(workspace_->Find(At("b.mdb")), created);
    EXPECT_EQ(workspace_->Find(At("c.mdb")), nullptr);
}

TEST_F(WorkspaceTest, ASecondOpenGetsTheRightsThatAreMissing)
{
    workspace_->Create(At("a.mdb"), dutch, u"")->Close();
    const auto other = NewWorkspace(files_);
    const auto reading = workspace_->Open(At("a.mdb"), {.readOnly = true});
    EXPECT_EQ(NumberOf([&] { reading->CreateTable(TableOf(u"T", {Column(u"Id", ColumnType::Long)})); }), 3370);
    {
        const auto theirs = other->Open(At("a.mdb"), {});
        const auto writing = workspace_->Open(At("a.mdb"), {});
        writing->CreateTable(TableOf(u"T", {Column(u"Id", ColumnType::Long)}));
        EXPECT_THAT(TableNames(*reading), ElementsAre(u"T"));
        EXPECT_THAT(TableNames(*theirs), ElementsAre(u"T"));
        EXPECT_EQ(NumberOf([&] { workspace_->Open(At("a.mdb"), {.exclusive = true}); }), 3356);
        EXPECT_THAT(TableNames(*reading), ElementsAre(u"T"));  // what was open stays open
    }
    const auto exclusive = workspace_->Open(At("a.mdb"), {.exclusive = true});
    EXPECT_EQ(NumberOf([&] { other->Open(At("a.mdb"), {}); }), 3045);
    EXPECT_THAT(TableNames(*reading), ElementsAre(u"T"));
}

TEST_F(WorkspaceTest, AFileWithTheReadOnlyAttributeOpensReadOnly)
{
    workspace_->Create(At("a.mdb"), dutch, u"")->Close();
    files_.SetReadOnly(At("a.mdb"), true);
    const auto database = workspace_->Open(At("a.mdb"), {});
    EXPECT_TRUE(database->IsReadOnly());
    EXPECT_EQ(NumberOf([&] { database->CreateTable(TableOf(u"T", {Column(u"Id", ColumnType::Long)})); }), 3370);
    EXPECT_EQ(NumberOf([&] {
                  Insert(*database, u"MSysACEs", {std::int32_t{1}, Bytes{3, 1}, std::int32_t{0}, false});
              }),
              3027);
    files_.SetReadOnly(At("a.mdb"), false);
}

TEST_F(WorkspaceTest, TransactionsSpanFilesAndNest)
{
    const auto one = workspace_->Create(At("a.mdb"), dutch, u"");
    one->CreateTable(TableOf(u"T", {Column(u"Id", ColumnType::Long)}));
    workspace_->Create(At("b.mdb"), dutch, u"")->Close();
    const auto count = [](Database& database) { return database.OpenTable(u"T")->RowCount(); };

    workspace_->Begin();
    const auto two = workspace_->Open(At("b.mdb"), {});  // opened during it, takes part
    two->CreateTable(TableOf(u"T", {Column(u"Id", ColumnType::Long)}));
    Insert(*one, u"T", {std::int32_t{1}});
    workspace_->Begin();
    Insert(*one, u"T", {std::int32_t{2}});
    Insert(*two, u"T", {std::int32_t{2}});
    workspace_->Rollback();
    EXPECT_EQ(count(*one), 1u);
    EXPECT_EQ(count(*two), 0u);
    workspace_->Begin();
    Insert(*two, u"T", {std::int32_t{3}});
    workspace_->Commit();
    workspace_->Rollback();
    EXPECT_EQ(count(*one), 0u);
    EXPECT_THAT(TableNames(*two), ElementsAre());

    workspace_->Begin();
    Insert(*one, u"T", {std::int32_t{4}});
    two->CreateTable(TableOf(u"U", {Column(u"Id", ColumnType::Long)}));
    workspace_->Commit();
    EXPECT_EQ(count(*one), 1u);
    EXPECT_THAT(TableNames(*two), ElementsAre(u"U"));
    EXPECT_TRUE(Check(*one).Sound());
    EXPECT_TRUE(Check(*two).Sound());

    EXPECT_EQ(NumberOf([&] { workspace_->Rollback(); }), 3034);
    for (int i = 0; i < 5; ++i) workspace_->Begin();
    EXPECT_EQ(NumberOf([&] { workspace_->Begin(); }), 3003);
    for (int i = 0; i < 5; ++i) workspace_->Commit();
    EXPECT_EQ(NumberOf([&] { workspace_->Commit(); }), 3034);
}

TEST_F(WorkspaceTest, AFileClosedWithinATransactionGoesWithIt)
{
    workspace_->Create(At("a.mdb"), dutch, u"")->Close();
    for (const bool commits : {false, true}) {
        workspace_->Begin();
        workspace_->Open(At("a.mdb"), {})->CreateTable(TableOf(u"T", {Column(u"Id", ColumnType::Long)}));
        commits ? workspace_->Commit() : workspace_->Rollback();
        const auto database = NewWorkspace(files_)->Open(At("a.mdb"), {.exclusive = true});  // nobody holds it
        EXPECT_EQ(TableNames(*database).size(), commits ? 1u : 0u);
    }
}

TEST_F(WorkspaceTest, ATransactionOverTwoFilesIsUndoneInBothWhenTheDiskIsFull)
{
    using namespace test;
    for (const char* name : {"a.mdb", "b.mdb"}) {
        const auto database = workspace_->Create(At(name), dutch, u"");
        database->CreateTable(TableOf(u"T", {Column(u"Id", ColumnType::Long)}));
        Insert(*database, u"T", {std::int32_t{0}});
    }
    int writes = 3;  // of a commit that succeeds; the last two mark the journals as done, one file after the other
    for (int n = 0; n <= writes - 2; ++n) {
        FailingFiles failing(files_);
        const auto workspace = NewWorkspace(failing);
        const auto one = workspace->Open(At("a.mdb"), {}), two = workspace->Open(At("b.mdb"), {});
        const std::uint32_t before = one->OpenTable(u"T")->RowCount();
        failing.Arm(
            {.at = n, .kind = FaultKind::FailsOn, .fault = FileFault::DiskFull, .steps = {Step::Write, Step::Resize}});
        const std::int32_t number = NumberOf([&] {
            workspace->Begin();
            Insert(*one, u"T", {std::int32_t{n}});
            Insert(*two, u"T", {std::int32_t{n}});
            workspace->Commit();
        });
        if (n == 0) {
            writes = failing.Count();
            continue;
        }
        EXPECT_EQ(number, 3026) << n;
        failing.Disarm();
        if (workspace->TransactionDepth() > 0) workspace->Rollback();
        one->Close();
        two->Close();
        for (const char* name : {"a.mdb", "b.mdb"}) {
            EXPECT_EQ(workspace_->Open(At(name), {})->OpenTable(u"T")->RowCount(), before)
                << name << " after write " << n;
        }
    }
    EXPECT_GT(writes, 10);
}

TEST_F(WorkspaceTest, GenuineFilesOpenAndKeepTheirBytes)
{
    const struct
    {
        const char* name;
        std::vector<Text> tables;
    } cases[] = {
        {"testV1997.mdb", {u"Table1", u"Table2", u"Table3", u"Table4"}},
        {"test2V1997.mdb", {u"MSP_PROJECTS"}},
        {"indexTestV1997.mdb", {u"Table1", u"Table2", u"Table3"}},
        {"queryTestV1997.mdb", {u"Table1", u"Table2", u"Table3"}},
        {"employee.mdb", {u"Employee8", u"Employee8Empty"}},
    };
    for (const auto& row : cases) {
        VMLIB_GENUINE_FILE(genuine, row.name);
        const Text copy = CopyOf(genuine);
        {
            const auto database = workspace_->Open(copy, {});
            EXPECT_EQ(TableNames(*database), row.tables) << row.name;
            EXPECT_EQ(database->GetFacts().locale.langid, generalOrder);
            for (const Text& name : row.tables) EXPECT_EQ(database->OpenTable(name + u"  ")->Definition().name, name);
        }
        EXPECT_EQ(folder_.Read(row.name), test::ReadNative(genuine)) << row.name;
    }
}

}  // namespace
}  // namespace vmlib::jet
