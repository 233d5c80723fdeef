// Rows that do not fit in memory, and rows that are never kept.

#include <random>

#include "engine/EngineFixture.h"
#include "engine/KeptRows.h"

namespace vmlib::test {
namespace {

using engine::KeptRows;

TEST(KeptRowsTest, ComeBackFromTheFileAndLeaveNothing)
{
    const TemporaryFolder folder;
    std::mt19937 random(20);
    const auto rowAt = [](std::size_t i) {
        const auto number = static_cast<std::int32_t>(i);
        const jet::Value last = i % 7 == 0 ? jet::Value(Bytes(i % 2000, 7)) : jet::Value(Text(i % 3, u'\u0394'));
        return jet::Row{number, std::string(i % 50, 'x'), i % 5 == 0 ? jet::Value(Null{}) : jet::Value(number / 8.0),
                        i % 2 == 0, last};
    };
    {
        KeptRows rows(NativePlatform().files, folder.Path() + u"\\", 5, 10000);
        for (std::size_t i = 0; i < 3000; ++i) {
            rows.Add(rowAt(i));
            // Also while they are written.
            if (i % 100 == 99) {
                ASSERT_EQ(rows.At(i / 2), rowAt(i / 2)) << i;
            }
        }
        EXPECT_EQ(folder.Names().size(), 1u);
        for (std::size_t i = 0; i < 3000; ++i) ASSERT_EQ(rows.At(i), rowAt(i)) << i;
        for (int n = 0; n < 500; ++n) {
            const std::size_t i = random() % 3000;
            ASSERT_EQ(rows.At(i), rowAt(i)) << i;
        }
    }
    EXPECT_TRUE(folder.Names().empty());
}

class ForwardRowsTest : public EngineTest
{
};

TEST_F(ForwardRowsTest, TheTableMayChangeMeanwhile)
{
    const ObjectRef database = Create(u"f.mdb");
    MakeTable(database, u"T", {{u"Id", 4}, {u"Naam", 10, 200}});
    const Text wide(50, u'n');
    for (int i = 0; i < 300; ++i) Execute(database, u"INSERT INTO T VALUES (" + Decimal(i) + u", '" + wide + u"')");
    const ObjectRef records = Records(database, u"SELECT Naam, Id FROM T", 8);
    std::vector<std::int32_t> seen;
    const auto walk = [&](std::size_t until) {
        for (; seen.size() < until && !ToBoolean(Get(records, u"EOF")); Call(records, u"MoveNext"))
            seen.push_back(ToLong(Field(records, u"Id")));
    };
    walk(100);
    Execute(database, u"DELETE FROM T WHERE Id >= 250 OR Id < 20");
    Execute(database, u"UPDATE T SET Naam = Naam & Naam & Naam WHERE Id Mod 2 = 0");
    for (int i = 0; i < 100; ++i) Execute(database, u"INSERT INTO T VALUES (" + Decimal(1000 + i) + u", 'nieuw')");
    walk(10000);
    ASSERT_EQ(seen.size(), 250u);
    for (std::size_t i = 0; i < seen.size(); ++i) EXPECT_EQ(seen[i], static_cast<std::int32_t>(i));
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"DROP TABLE T"); }), 3211);
    EXPECT_EQ(ToLong(Get(records, u"RecordCount")), 250);
    Call(records, u"Requery");
    EXPECT_EQ(ToLong(Get(records, u"RecordCount")), 1);
    Call(records, u"Close");
    EXPECT_EQ(ErrorOf([&] { Execute(database, u"DROP TABLE T"); }), 0);
}

}  // namespace
}  // namespace vmlib::test
