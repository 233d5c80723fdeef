#include "jet/Compaction.h"
#include "jet/FileContents.h"
#include "jet/GenuineTables.h"
#include "jet/HeaderPage.h"
#include "jet/MdbExport.h"
#include "jet/SampleDocument.h"
#include "jet/SecondOpinion.h"
#include "support/FailingFiles.h"

// Compaction: the new file holds everything that the old one did, in order, and the old one is as it was.
namespace vmlib::jet {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

class CompactionTest : public SampleDocument
{
protected:
    void Compact(const Compaction& wanted)
    {
        jet::Compact(
            files_, folder_.Path(), [] { return now; }, wanted);
    }
    void Compact(std::string_view from, std::string_view to, TextView password = u"geheim")
    {
        Compact({.source = At(from), .target = At(to), .sourcePassword = Text(password)});
    }
    std::shared_ptr<Database> Open(std::string_view name, TextView password = u"geheim")
    {
        return workspace_->Open(At(name), {.password = Text(password)});
    }

    /// By both checkers.
    void ExpectSound(std::string_view name, TextView password = u"geheim")
    {
        const CheckReport report = Check(*Open(name, password));
        EXPECT_THAT(report.faults, IsEmpty());
        EXPECT_THAT(report.notes, IsEmpty());
        const auto second = SecondOpinion(folder_.Native(name));
        if (!second) return;
        EXPECT_EQ(*second, "ok " + std::to_string(report.tables) + " tables " + std::to_string(report.rows) + " rows " +
                               std::to_string(report.indexEntries) + " index entries " + std::to_string(report.pages) +
                               " pages\n");
    }
    std::int32_t ErrorOf(const Compaction& wanted)
    {
        try {
            Compact(wanted);
        } catch (const Error& error) {
            return error.Number();
        }
        return 0;
    }
};

TEST_F(CompactionTest, HoldsEverythingInTheOrderOfThePrimaryKey)
{
    Make();
    {
        const auto database = Open("sample.mdb");
        UnitOfWork unit(database->GetPager());
        const auto table = database->OpenTable(u"Klanten");
        for (const TextView name : {u"Klanten", u"Regels"}) {  // 291 and up, by the first column of each
            const auto changed = database->OpenTable(name);
            std::vector<RowPointer> doomed;
            for (auto cursor = changed->Scan(); cursor.Next();) {
                const auto* id = std::get_if<std::int32_t>(&cursor.Current()[0]);
                if (id != nullptr && *id > 290) doomed.push_back(cursor.Where());
            }
            for (const RowPointer at : doomed) changed->Delete(at);
        }
        // One that is stored last and comes first.
        std::mt19937 random(7);
        Row row = Customer(table->Definition(), 1, random);
        row[0] = -5;
        table->Insert(row);
        unit.Commit();
    }
    const std::string before = folder_.Read("sample.mdb");
    Compact("sample.mdb", "new.mdb");
    EXPECT_EQ(folder_.Read("sample.mdb"), before);
    EXPECT_THAT(folder_.Names(), ElementsAre("new.mdb", "sample.mdb"));
    EXPECT_LT(folder_.Read("new.mdb").size(), before.size());
    ExpectSound("new.mdb");

    const auto from = Open("sample.mdb"), to = Open("new.mdb");
    const FileContents contents = ContentsOf(*to);
    EXPECT_EQ(Sorted(contents), Sorted(ContentsOf(*from)));
    EXPECT_EQ(contents.at("Regels"), ContentsOf(*from).at("Regels"));  // without a primary key
    std::vector<std::int32_t> ids;
    const auto table = to->OpenTable(u"Klanten");
    for (auto cursor = table->Scan(); cursor.Next();) ids.push_back(std::get<std::int32_t>(cursor.Current()[0]));
    EXPECT_EQ(ids.front(), -5);
    EXPECT_TRUE(std::ranges::is_sorted(ids));
    {
        UnitOfWork unit(to->GetPager());
        EXPECT_EQ(table->TakeAutoNumber(), 291);
    }
    const TableDefinition &made = table->Definition(), &model = from->OpenTable(u"Klanten")->Definition();
    ASSERT_EQ(made.columns.size(), model.columns.size());
    EXPECT_EQ(made.columnsEver, made.columns.size());
    for (std::size_t i = 0; i < made.columns.size(); ++i) {
        EXPECT_EQ(made.columns[i].name, model.columns[i].name);
        EXPECT_EQ(made.columns[i].flags, model.columns[i].flags);
        EXPECT_EQ(made.columns[i].properties.All().size(), model.columns[i].properties.All().size());
    }
    ASSERT_EQ(to->Relations().size(), 1u);
    EXPECT_EQ(to->Relations()[0].attributes, 256u | 4096u);
    EXPECT_EQ(to->Queries()[0].rows.size(), 4u);
}

TEST_F(CompactionTest, TakesOrKeepsLocaleAndPassword)
{
    const SortLocale general{0, generalOrder, 1252}, dutch{0, dutchOrder, 1252};
    const struct
    {
        const char* reason;
        std::optional<SortLocale> locale;
        std::optional<Text> password;
        SortLocale expected;
        TextView opens;
        bool isProtected;
    } cases[] = {
        {"nothing given", {}, {}, dutch, u"geheim", true},
        {"another order keeps the password", general, {}, general, u"geheim", true},
        {"a new password", {}, u"nieuw", dutch, u"nieuw", true},
        {"none", general, u"", general, u"", false},
    };
    Make();
    for (const auto& each : cases) {
        SCOPED_TRACE(each.reason);
        Compact({At("sample.mdb"), At("new.mdb"), u"geheim", each.locale, each.password});
        const auto database = Open("new.mdb", each.opens);
        EXPECT_EQ(database->GetFacts().locale, each.expected);
        EXPECT_EQ(database->GetFacts().hasPassword, each.isProtected);
        database->Close();
        ExpectSound("new.mdb", each.opens);
        files_.Delete(At("new.mdb"));
    }
}

TEST_F(CompactionTest, RefusesWithTheNumberOfTheObstacle)
{
    Make();
    folder_.Write("text.mdb", "no database");
    std::string damaged = folder_.Read("sample.mdb");
    damaged.replace(19 * pageSize, pageSize, pageSize, 'x');
    folder_.Write("damaged.mdb", damaged);
    const auto held = NewWorkspace(files_);
    workspace_->Create(At("held.mdb"), {}, u"")->Close();
    const auto holder = held->Open(At("held.mdb"), {});
    const struct
    {
        const char* reason;
        Compaction wanted;
        std::int32_t error;
    } cases[] = {
        {"no source", {At("none.mdb"), At("new.mdb")}, 3024},
        {"no folder", {At("sample.mdb"), At("none") + u"\\new.mdb", u"geheim"}, 3044},
        {"target exists", {At("sample.mdb"), At("text.mdb"), u"geheim"}, 3204},
        {"onto itself", {At("sample.mdb"), At("SAMPLE.MDB"), u"geheim"}, 3204},
        {"wrong password", {At("sample.mdb"), At("new.mdb"), u"Geheim"}, 3031},
        {"in use", {At("held.mdb"), At("new.mdb")}, 3196},
        {"no database", {At("text.mdb"), At("new.mdb")}, 3343},
        {"damaged within", {At("damaged.mdb"), At("new.mdb"), u"geheim"}, 3428},
        {"unknown order", {At("sample.mdb"), At("new.mdb"), u"geheim", SortLocale{0, 0x041D, 1252}}, 3424},
        {"long password", {At("sample.mdb"), At("new.mdb"), u"geheim", {}, Text(15, u'x')}, 3031},
    };
    const auto names = folder_.Names();
    for (const auto& each : cases) {
        EXPECT_EQ(ErrorOf(each.wanted), each.error) << each.reason;
        EXPECT_EQ(folder_.Names(), names) << each.reason;
    }
}

TEST_F(CompactionTest, ThereIsNoTargetOrAWholeOneWheneverItStops)
{
    const std::string before = Make();
    Compact("sample.mdb", "new.mdb");
    const FileContents whole = ContentsOf(*Open("new.mdb"));
    files_.Delete(At("new.mdb"));
    test::FailingFiles failing(files_);
    for (const auto kind : {test::FaultKind::PowerCut, test::FaultKind::FailsOn, test::FaultKind::CutShort}) {
        bool struck = true;
        for (int n = 1; struck; ++n) {
            failing.Arm({.at = n, .kind = kind, .fault = FileFault::DiskFull});
            bool finished = true;
            try {
                jet::Compact(failing, folder_.Path(), [] { return now; }, {At("sample.mdb"), At("new.mdb"), u"geheim"});
            } catch (const Error&) {
                finished = false;
            }
            struck = failing.Struck();
            if (kind == test::FaultKind::PowerCut)
                failing.AfterPowerCut(test::FailingFiles::Unsynced::Random, static_cast<unsigned>(n));
            failing.Disarm();
            EXPECT_EQ(folder_.Read("sample.mdb"), before);
            if (finished) {
                ASSERT_TRUE(files_.Exists(At("new.mdb"))) << "step " << n;
            }
            if (files_.Exists(At("new.mdb"))) {
                EXPECT_EQ(ContentsOf(*Open("new.mdb")), whole) << "step " << n;
            }
            for (const std::string& name : folder_.Names())
                if (name != "sample.mdb") files_.Delete(At(name));
        }
    }
}

/// The sort goes through files, indexes are built in two batches, a memo goes over several pages.
TEST_F(CompactionTest, LargeTablesKeepTheirOrder)
{
    const auto database = workspace_->Create(At("large.mdb"), {}, u"");
    std::vector<ColumnDefinition> columns = {Column(u"Id", ColumnType::Text, 200), Column(u"Noot", ColumnType::Memo)};
    for (int i = 0; i < 8; ++i) columns.push_back(Column(u"N" + Decimal(i), ColumnType::Long));
    database->CreateTable(TableOf(u"T", columns));
    auto table = database->OpenTable(u"T");
    {
        UnitOfWork unit(database->GetPager());
        for (int n = 0; n < 30000; ++n) {
            Row row(10, Value(n % 1000));
            row[0] = std::string(150, static_cast<char>('a' + n % 7)) + std::to_string(n * 7919 % 30011);
            row[1] = std::string(n % 1000 == 0 ? 5000 : 5, 'm');
            table->Insert(row);
        }
        unit.Commit();
    }
    database->CreateIndex(u"T", IndexOver(*table, u"PK", {u"Id"}, true));
    for (int i = 0; i < 8; ++i) database->CreateIndex(u"T", IndexOver(*table, u"N" + Decimal(i), {u"N" + Decimal(i)}));
    const FileContents before = Sorted(ContentsOf(*database));
    table.reset();
    database->Close();
    Compact("large.mdb", "new.mdb");
    ExpectSound("new.mdb", u"");
    const FileContents after = ContentsOf(*Open("new.mdb"));
    EXPECT_TRUE(std::ranges::is_sorted(after.at("T")));
    EXPECT_TRUE(Sorted(after) == before);
}

class GenuineCompaction : public CompactionTest, public testing::WithParamInterface<const char*>
{
};

TEST_P(GenuineCompaction, KeepsEveryRow)
{
    VMLIB_GENUINE_FILE(genuine, GetParam());
    const Text source = CopyOf(genuine);
    Compact(GetParam(), "new.mdb");
    const auto from = workspace_->Open(source, {.readOnly = true});
    const auto to = Open("new.mdb");
    EXPECT_EQ(Sorted(ContentsOf(*to)), Sorted(ContentsOf(*from)));
    EXPECT_THAT(Check(*to).faults, IsEmpty());
    if (const auto second = SecondOpinion(folder_.Native("new.mdb"))) {
        EXPECT_THAT(*second, testing::HasSubstr("ok "));
    }
    for (const ObjectEntry& entry : to->Objects())
        if (entry.type == 1) CompareWithMdbExport(*to->OpenTable(entry.name), folder_.Native("new.mdb"));
}

INSTANTIATE_TEST_SUITE_P(Files, GenuineCompaction, GenuineFileNames(), GenuineCaseName);

}  // namespace
}  // namespace vmlib::jet
