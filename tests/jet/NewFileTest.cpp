#include "jet/DatabaseFixture.h"
#include "support/FailingFiles.h"

namespace vmlib::jet {
namespace {

using testing::AnyOf;
using testing::ElementsAre;

const SortLocale dutch{0, dutchOrder, 1252};

class NewFileTest : public DatabaseFixture
{
};

TEST_F(NewFileTest, ANewFileIsTheEmptyFileOfTheFormat)
{
    workspace_->Create(At("a"), dutch, u"geheim")->Close();
    EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb"));
    const std::string file = folder_.Read("a.mdb");
    ASSERT_EQ(file.size(), 20 * pageSize);
    const auto byte = [&](std::size_t page, std::size_t at) {
        return static_cast<unsigned char>(file[page * pageSize + at]);
    };

    // What each page is, in the order in which the genuine engine takes them.
    const char kinds[] = {0, 1, 2, 2, 2, 2, 1, 1, 1, 4, 1, 4, 1, 4, 4, 4, 4, 4, 1, 1};
    const int owners[] = {-1, 1, -1, -1, -1, -1, 0, 0, 0, 2, 0, 2, 0, 3, 4, 5, 5, 5, 2, 3};
    const int rows[] = {-1, 2, -1, -1, -1, -1, 15, 1, 1, -1, 1, -1, 13, -1, -1, -1, -1, -1, 8, 16};
    for (std::size_t page = 0; page < 20; ++page) {
        EXPECT_EQ(byte(page, 0), kinds[page]) << page;
        if (owners[page] >= 0) {
            EXPECT_EQ(byte(page, 4), owners[page]) << page;
        }
        if (rows[page] >= 0) {
            EXPECT_EQ(byte(page, 8), rows[page]) << page;
        }
    }
    // Free pages: the 20 of the file are taken, what lies behind is free.
    const std::size_t freeMap = pageSize - 133 + 5;
    EXPECT_EQ(byte(1, freeMap), 0x00);
    EXPECT_EQ(byte(1, freeMap + 1), 0x00);
    EXPECT_EQ(byte(1, freeMap + 2), 0xF0);
    EXPECT_EQ(byte(1, freeMap + 3), 0xFF);
    EXPECT_EQ(byte(0, 0x600), 0x01);
    EXPECT_EQ(byte(0, 0x601), 0x01);
    EXPECT_EQ(byte(0, 0x602), 0x00);
    EXPECT_EQ(byte(0, 0x603), 0x01);
}

TEST_F(NewFileTest, ANewFileIsSoundAndHoldsTheSystemTables)
{
    const auto database = workspace_->Create(At("a.mdb"), dutch, u"");
    EXPECT_TRUE(database->IsExclusive());
    std::vector<Text> names;
    for (const ObjectEntry& entry : database->Objects()) names.push_back(entry.name);
    EXPECT_THAT(names, ElementsAre(u"Databases", u"MSysACEs", u"MSysDb", u"MSysObjects", u"MSysQueries",
                                   u"MSysRelationships", u"Relationships", u"Tables"));
    EXPECT_EQ(database->OpenTable(u"MSysACEs")->RowCount(), 16u);
    EXPECT_EQ(database->GetFacts().locale, dutch);
    const CheckReport report = Check(*database);
    EXPECT_THAT(report.faults, ElementsAre());
    EXPECT_THAT(report.notes, ElementsAre());
}

// A new file has the system tables of a genuine one: the same columns, indexes and maps at the same places.
TEST_F(NewFileTest, DefinitionsOfANewFileEqualThoseOfGenuineOnes)
{
    VMLIB_GENUINE_FILE(genuine, "employee.mdb");
    const auto ours = workspace_->Create(At("a.mdb"), {0, generalOrder, 1252}, u"");
    const auto theirs = workspace_->Open(CopyOf(genuine), {.readOnly = true});
    for (const PageNumber page : {objectsTablePage, acesTablePage, queriesTablePage, relationshipsTablePage}) {
        const TableDefinition left = Table::ReadDefinition(ours->GetPager(), page);
        const TableDefinition right = Table::ReadDefinition(theirs->GetPager(), page);
        ASSERT_EQ(left.columns.size(), right.columns.size()) << page;
        for (std::size_t i = 0; i < left.columns.size(); ++i) {
            const ColumnDefinition &one = left.columns[i], &other = right.columns[i];
            SCOPED_TRACE(ToUtf8(other.name));
            EXPECT_EQ(one.name, other.name);
            EXPECT_EQ(one.type, other.type);
            EXPECT_EQ(one.number, other.number);
            EXPECT_EQ(one.variableOrdinal, other.variableOrdinal);
            EXPECT_EQ(one.ordinalPosition, other.ordinalPosition);
            EXPECT_EQ(one.flags, other.flags);
            EXPECT_EQ(one.size, other.size);
            EXPECT_EQ(one.locale, other.locale);
            EXPECT_EQ(one.ownedMap, other.ownedMap);
            EXPECT_EQ(one.roomMap, other.roomMap);
            if (one.fixedSize) {
                EXPECT_EQ(one.fixedOffset, other.fixedOffset);
            }
        }
        ASSERT_EQ(left.trees.size(), right.trees.size());
        for (std::size_t i = 0; i < left.trees.size(); ++i) {
            EXPECT_EQ(left.trees[i].columns, right.trees[i].columns);
            EXPECT_EQ(left.trees[i].unique, right.trees[i].unique);
            EXPECT_EQ(left.trees[i].ignoreNulls, right.trees[i].ignoreNulls);
            EXPECT_EQ(left.trees[i].required, right.trees[i].required);
            EXPECT_EQ(left.trees[i].ownedMap, right.trees[i].ownedMap);
            EXPECT_EQ(left.trees[i].root, right.trees[i].root);
        }
        ASSERT_EQ(left.indexes.size(), right.indexes.size());
        for (std::size_t i = 0; i < left.indexes.size(); ++i) {
            EXPECT_EQ(left.indexes[i].name, right.indexes[i].name);
            EXPECT_EQ(left.indexes[i].number, right.indexes[i].number);
            EXPECT_EQ(left.indexes[i].realIndex, right.indexes[i].realIndex);
            EXPECT_EQ(left.indexes[i].kind, right.indexes[i].kind);
        }
        EXPECT_EQ(left.ownedMap, right.ownedMap);
        EXPECT_EQ(left.roomMap, right.roomMap);
    }
}

// Headers of genuine files differ from ours in what the engine notes of itself only.
TEST_F(NewFileTest, HeaderOfANewFileEqualsAGenuineOne)
{
    VMLIB_GENUINE_FILE(genuine, "employee.mdb");
    std::string theirs = test::ReadNative(genuine).substr(0, pageSize);
    workspace_->Create(At("a.mdb"), {0, generalOrder, 1252}, u"")->Close();
    std::string ours = folder_.Read("a.mdb").substr(0, pageSize);
    for (std::string* header : {&ours, &theirs}) {
        header->replace(0x56, 2, "bb");     // build
        header->replace(0x600, 4, "wwww");  // commit words of the users
    }
    EXPECT_EQ(ours, theirs);
}

TEST_F(NewFileTest, CreateRefuses)
{
    folder_.Write("there.mdb", "x");
    const struct
    {
        const char* why;
        Text path;
        SortLocale locale;
        Text password;
        std::int32_t number;
    } cases[] = {
        {"exists", At("there.mdb"), dutch, u"", 3204},
        {"exists without its extension", At("there"), dutch, u"", 3204},
        {"no such folder", At("no\\a.mdb"), dutch, u"", 3044},
        {"a sort order nobody knows", At("b.mdb"), {0, 0x041F, 1252}, u"", 3424},
        {"a code page that is not written", At("b.mdb"), {0, dutchOrder, 1250}, u"", 3424},
        {"password of 15 characters", At("b.mdb"), dutch, u"123456789012345", 3031},
        {"password outside the code page", At("b.mdb"), dutch, u"\u0416", 3031},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(NumberOf([&] { workspace_->Create(row.path, row.locale, row.password); }), row.number) << row.why;
        EXPECT_THAT(folder_.Names(), ElementsAre("there.mdb")) << row.why;
    }
}

// Whatever step of making a file fails, what is left is no file, a whole file or one that says that it is not complete.
TEST_F(NewFileTest, CreatingMayFailAtEveryStep)
{
    using namespace test;
    const std::pair<FaultKind, FailingFiles::Unsynced> faults[] = {
        {FaultKind::Fails, FailingFiles::Unsynced::Kept},
        {FaultKind::FailsOn, FailingFiles::Unsynced::Kept},
        {FaultKind::PowerCut, FailingFiles::Unsynced::Lost},
        {FaultKind::PowerCut, FailingFiles::Unsynced::Kept},
        {FaultKind::PowerCut, FailingFiles::Unsynced::Random}};
    for (const auto& [kind, unsynced] : faults) {
        bool struck = true;
        for (int n = 1; struck; ++n) {
            FailingFiles failing(files_);
            failing.Arm({.at = n, .kind = kind});
            const std::int32_t told = NumberOf([&] {
                const auto workspace = NewWorkspace(failing);
                const auto database = workspace->Create(At("a.mdb"), dutch, u"");
                database->CreateTable(TableOf(u"T", {Column(u"Id", ColumnType::Long)}));
                database->Close();
            });
            struck = failing.Struck();
            failing.AfterPowerCut(unsynced, static_cast<unsigned>(n));
            failing.Disarm();
            EXPECT_EQ(told != 0, struck) << "step " << n;
            if (files_.Exists(At("a.mdb"))) {
                const std::int32_t opens =
                    NumberOf([&] { EXPECT_THAT(TableNames(*workspace_->Open(At("a.mdb"), {})), ElementsAre(u"T")); });
                EXPECT_THAT(opens, told == 0 ? testing::Matcher<std::int32_t>(0) : AnyOf(0, 3049, 3343))
                    << "step " << n;
                files_.Delete(At("a.mdb"));
            } else {
                EXPECT_NE(told, 0) << "step " << n;
            }
        }
    }
}

}  // namespace
}  // namespace vmlib::jet
