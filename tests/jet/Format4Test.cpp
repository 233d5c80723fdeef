#include <gmock/gmock.h>

#include <functional>

#include "jet/Compaction.h"
#include "jet/Damage.h"
#include "jet/DatabaseFixture.h"
#include "jet/FileContents.h"
#include "jet/Format4Rows.h"
#include "jet/MdbExport.h"
#include "jet/SecondOpinion.h"

namespace vmlib::jet::format4 {
namespace {

struct TextCase
{
    const char* reason;
    Bytes stored;
    Text expected;
};

TEST(Format4Text, IsReadPlainAndCompressed)
{
    const std::vector<TextCase> cases = {
        {"plain", {'a', 0, 0x42, 1}, u"a\u0142"},
        {"compressed", {0xFF, 0xFE, 'a', 0xE9}, u"a\u00E9"},
        {"a 00 changes to UTF-16 and back", {0xFF, 0xFE, 'a', 0, 0x42, 1, 'b', 0, 0, 'c'}, u"a\u0142bc"},
        {"nothing behind the mark", {0xFF, 0xFE}, u""},
    };
    for (const TextCase& each : cases) EXPECT_EQ(DecodeText(each.stored, 7), each.expected) << each.reason;
    EXPECT_THROW(DecodeText(Bytes{'a', 0, 'b'}, 7), Damaged);
}

TEST(Format4Text, IsOfCodePage1252WhereThatLosesNothing)
{
    EXPECT_EQ(ValueOf(u"\u20AC"), Value(std::string("\x80")));
    EXPECT_EQ(ValueOf(u"\u0142"), Value(Text(u"\u0142")));
}

class Format4File : public DatabaseFixture
{
protected:
    std::vector<Text> StoredTables(Database& database)
    {
        std::vector<Text> names;
        for (const ObjectEntry& entry : database.Objects())
            if (entry.type == 1) names.push_back(entry.name);
        return names;
    }
};

TEST_F(Format4File, RowsReadAsAnotherReaderReadsThem)
{
    VMLIB_GENUINE_FILE(genuine, "test2V2000.mdb");
    const auto database = workspace_->Open(CopyOf(genuine), {});
    std::size_t compared = 0;
    for (const Text& name : StoredTables(*database)) {
        if (name == u"MSysAccessObjects") continue;  // mdb-export does not know the type of its binary column
        const auto count = CompareWithMdbExport(*database->OpenTable(name), genuine);
        if (!count) GTEST_SKIP() << "mdb-export is not there";
        compared += *count;
    }
    EXPECT_GT(compared, 500u);
}

TEST_F(Format4File, IsNeverChanged)
{
    VMLIB_GENUINE_FILE(genuine, "test2V2000.mdb");
    const auto database = workspace_->Open(CopyOf(genuine), {});
    EXPECT_TRUE(database->IsReadOnly());
    const auto table = database->OpenTable(u"MSP_PROJECTS");
    auto cursor = table->Scan();
    ASSERT_TRUE(cursor.Next());
    const Row row = cursor.Current();
    const RowPointer at = cursor.Where();
    const Text column = table->Definition().columns.front().name;
    const std::vector<std::function<void()>> changes = {
        [&] { table->Insert(row); },
        [&] { table->Update(at, row); },
        [&] { table->Delete(at); },
        [&] { table->TakeAutoNumber(); },
        [&] { table->NoteAutoNumber(9); },
        [&] { table->AddIndex(IndexOver(*table, u"New", {column}), files_, folder_.Path()); },
        [&] { table->RemoveIndex(table->Definition().indexes.at(0).name); },
        [&] { table->AddColumn(Column(u"New", ColumnType::Long)); },
        [&] { table->RemoveColumn(column); },
        [&] { table->RenameColumn(column, u"New"); },
        [&] { table->RewriteDefinition(table->Definition()); },
        [&] { table->Destroy(); },
    };
    for (std::size_t i = 0; i < changes.size(); ++i) EXPECT_EQ(NumberOf(changes[i]), 3027) << i;
    EXPECT_EQ(folder_.Read("test2V2000.mdb"), test::ReadNative(genuine));
}

TEST_F(Format4File, BecomesASoundFileOfFormat3WithTheSameRows)
{
    VMLIB_GENUINE_FILE(genuine, "test2V2000.mdb");
    const Text source = CopyOf(genuine), target = At("new.mdb");
    Compact(files_, folder_.Path(), [] { return now; }, {.source = source, .target = target});
    const auto before = workspace_->Open(source, {}), after = workspace_->Open(target, {});
    EXPECT_EQ(after->GetFacts().format, 3);
    EXPECT_EQ(StoredTables(*after), StoredTables(*before));
    const FileContents expected = Sorted(ContentsOf(*before)), found = Sorted(ContentsOf(*after));
    for (const auto& [name, rows] : expected) {
        if (name.starts_with("MSys")) continue;
        EXPECT_EQ(found.at(name), rows) << name;
    }
    EXPECT_THAT(Check(*after).faults, testing::IsEmpty());
    const std::string second = SecondOpinion(folder_.Native("new.mdb")).value_or("ok ");
    EXPECT_THAT(second, testing::HasSubstr("ok "));  // a note may stand in front: objects keep the rights they had
}

}  // namespace
}  // namespace vmlib::jet::format4
