#include <gmock/gmock.h>

#include <random>

#include "core/ByteOrder.h"
#include "jet/DefinitionCodec.h"
#include "jet/GenuineTables.h"
#include "jet/NumberOf.h"
#include "jet/PageMap.h"
#include "jet/TestFile.h"

namespace vmlib::jet {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Pages that nothing uses.
std::size_t FreePages(TestFile& file)
{
    std::size_t count = 0;
    for (const PageNumber page : PageMap(file.pager, PageMap::freeMapPointer).All())
        count += page < file.pager.PageCount() ? 1 : 0;
    return count;
}

std::vector<Bytes> StoredRows(TestFile& file, Table& table)
{
    std::vector<Bytes> rows;
    for (const PageNumber number : PageMap(file.pager, table.Definition().ownedMap).All()) {
        const DataPage page(file.pager.Read(number), table.Definition().page);
        for (std::size_t i = 0; i < page.SlotCount(); ++i)
            rows.emplace_back(page.At(i).bytes.begin(), page.At(i).bytes.end());
    }
    return rows;
}

/// A table made as a genuine one was has the genuine one's bytes, but for pages and counters and what means nothing.
TEST(NewTable, HasTheBytesOfAGenuineOne)
{
    VMLIB_GENUINE_FILE(path, "testV1997.mdb");
    GenuineTables genuine(path);
    Table* original = nullptr;
    for (const auto& table : genuine.tables) original = table->Definition().name == u"Table1" ? table.get() : original;
    ASSERT_NE(original, nullptr);

    using enum ColumnType;
    std::vector<ColumnDefinition> columns = {Column(u"A", Text, 50), Column(u"B", Text, 100), Column(u"C", Byte),
                                             Column(u"D", Integer),  Column(u"E", Long),      Column(u"F", Double),
                                             Column(u"G", Date),     Column(u"H", Currency),  Column(u"I", Boolean)};
    for (ColumnDefinition& column : columns) column.locale = {1, generalOrder, 1252};
    TestFile file;
    Table& made = file.Add(u"T", columns, {{.name = u"B", .columns = {{1, false}}}, PrimaryKey(0)});

    const auto bytesOf = [](TableDefinition definition, PageNumber) {
        definition.rowCount = definition.ownedMap = definition.roomMap = 0;
        for (ColumnDefinition& column : definition.columns)
            column.fixedOffset = column.fixedSize ? column.fixedOffset : std::uint16_t{0};
        for (TreeDefinition& tree : definition.trees)
            tree.entryCount = tree.distinctKeys = tree.ownedMap = tree.root = 0;
        return EncodeDefinition(definition);
    };
    EXPECT_EQ(bytesOf(made.Definition(), 0), bytesOf(original->Definition(), 0));
}

/// Definitions around the end of a page. One that ends exactly there has an empty page more.
TEST(NewTable, TakesThePagesThatItsDefinitionNeeds)
{
    for (const std::size_t end : {pageSize, 2 * pageSize - 8, 3 * pageSize - 16}) {
        for (const int more : {-1, 0, 1}) {
            const std::size_t length = end + static_cast<std::size_t>(more);
            SCOPED_TRACE(length);
            // 43 bytes of head, 2 of end, 19 and its name a column
            std::vector<ColumnDefinition> columns;
            std::size_t left = length - 45;
            while (left > 0) {
                const std::size_t name = left < 2 * (19 + 40) ? std::min<std::size_t>(left - 19, 40) : 30;
                const std::string number = std::to_string(columns.size());
                columns.push_back(
                    Column(FromUtf8(number + std::string(name - number.size(), 'x')), ColumnType::Boolean));
                left -= 19 + name;
                if (left > 0 && left < 25) {  // too little for another column with a name of its own
                    left += 19 + name;
                    columns.pop_back();
                    const std::size_t half = left / 2 - 19;
                    columns.push_back(
                        Column(FromUtf8(number + std::string(half - number.size(), 'x')), ColumnType::Boolean));
                    left -= 19 + half;
                }
            }
            TestFile file;
            Table& table = file.Add(u"T", columns);
            ASSERT_EQ(EncodeDefinition(table.Definition()).size(), length);
            const auto pages = DefinitionPages(file.pager, table.Definition().page);
            EXPECT_EQ(pages.size(), (end + 16) / pageSize + (more < 0 ? 0 : 1));
            EXPECT_THAT(file.Faults(), IsEmpty());
            EXPECT_EQ(Table::ReadDefinition(file.pager, table.Definition().page).columns.size(), columns.size());
        }
    }
}

TEST(NewTable, RefusesWhatTheFormatDoesNotTake)
{
    TestFile file;
    const auto create = [&](std::vector<ColumnDefinition> columns) {
        return NumberOf([&] { file.Add(u"T", std::move(columns)); });
    };
    EXPECT_EQ(create({}), 3264);
    EXPECT_EQ(create(std::vector<ColumnDefinition>(256, Column(u"C", ColumnType::Byte))), 3190);
    EXPECT_EQ(create({Column(u"C", static_cast<ColumnType>(13))}), 3259);
    EXPECT_EQ(FreePages(file), 0u);
    EXPECT_EQ(create(std::vector<ColumnDefinition>(255, Column(u"C", ColumnType::Byte))), 0);
}

TEST(DestroyedTable, GivesEveryPageBack)
{
    TestFile file;
    const PageNumber pages = file.pager.PageCount();
    UnitOfWork unit(file.pager);
    PageNumber after = 0;
    for (int round = 0; round < 2; ++round) {
        TableDefinition wanted;
        wanted.columns = {Column(u"Id", ColumnType::Long), Column(u"A", ColumnType::Text, 255),
                          Column(u"M", ColumnType::Memo), Column(u"N", ColumnType::Memo)};
        Table table(file.pager, file.allocator, Table::Create(file.pager, file.allocator, wanted));
        file.AddIndex(table, PrimaryKey(0));
        file.AddIndex(table, {.name = u"A", .columns = {{1, false}}});
        for (std::int32_t i = 0; i < 300; ++i)
            table.Insert({i, std::string(200, 'x'), std::string(static_cast<std::size_t>(i) * 40, 'y'), Null()});
        table.Destroy();
        EXPECT_EQ(FreePages(file), file.pager.PageCount() - pages);
        if (round == 0) after = file.pager.PageCount();
    }
    EXPECT_EQ(file.pager.PageCount(), after) << "the second table takes the pages of the first";
    EXPECT_THAT(file.Faults(), IsEmpty());
}

// ----------------------------------------------------------------------------------------------------------------
// indexes

TEST(NewIndex, IsRefusedWithItsReason)
{
    TestFile file;
    std::vector<ColumnDefinition> columns = {Column(u"Id", ColumnType::Long), Column(u"A", ColumnType::Text, 20),
                                             Column(u"M", ColumnType::Memo)};
    for (int i = 0; i < 10; ++i) columns.push_back(Column(u"L" + Decimal(i), ColumnType::Long));
    Table& table = file.Add(u"T", columns);
    UnitOfWork unit(file.pager);
    const auto insert = [&](Value id, Value a) {
        Row row(columns.size());
        row[0] = id;
        row[1] = a;
        table.Insert(row);
    };
    insert(std::int32_t{1}, std::string("a"));
    insert(std::int32_t{2}, std::string("B"));
    insert(std::int32_t{2}, Null());
    insert(Null(), Null());
    insert(std::int32_t{3}, std::string("b"));

    const auto add = [&](NewIndex index) { return NumberOf([&] { file.AddIndex(table, index); }); };
    const Bytes before = file.pager.Contents();
    EXPECT_EQ(add({.name = u"X", .columns = {{0, false}}, .unique = true}), 3022);
    EXPECT_EQ(add({.name = u"X", .columns = {{1, false}}, .unique = true}), 3022) << "case does not count";
    EXPECT_EQ(add({.name = u"X", .columns = {{0, false}}, .primary = true}), 3058);
    EXPECT_EQ(add({.name = u"X", .columns = {{1, false}}, .required = true}), 3058);
    EXPECT_EQ(add({.name = u"X", .columns = {{2, false}}}), 3409) << "memo";
    EXPECT_EQ(add({.name = u"X", .columns = {{99, false}}}), 3409) << "no such column";
    EXPECT_EQ(add({.name = u"X", .columns = std::vector<IndexColumn>(11, IndexColumn{0, false})}), 3277);
    EXPECT_EQ(file.pager.Contents(), before);

    EXPECT_EQ(add({.name = u"L0", .columns = {{3, false}}, .unique = true}), 0) << "Null in every row";
    EXPECT_EQ(add({.name = u"l0", .columns = {{4, false}}}), 3284);
    EXPECT_EQ(add({.name = u"P", .columns = {{0, false}, {1, false}, {3, true}}}), 0);
    for (int i = 2; i < 32; ++i)
        EXPECT_EQ(add({.name = u"I" + Decimal(i), .columns = {{static_cast<std::uint16_t>(3 + i % 10), i % 2 == 0}}}),
                  0);
    EXPECT_EQ(add({.name = u"I33", .columns = {{3, false}}}), 3039);
    EXPECT_EQ(add({.name = u"I33", .columns = {{3, false}}, .primary = true}), 3039);
    EXPECT_THAT(file.Faults(), IsEmpty());
    table.RemoveIndex(u"I5");
    EXPECT_EQ(NumberOf([&] { table.RemoveIndex(u"I5"); }), 3372);
    EXPECT_THAT(file.Faults(), IsEmpty());
}

/// The two sides of a relation: the foreign side shares a tree of the same columns, and a tree goes with its last name.
TEST(RelationIndex, SharesItsTree)
{
    TestFile file;
    Table& table = file.Add(u"T", {Column(u"Id", ColumnType::Long), Column(u"Other", ColumnType::Long)},
                            {PrimaryKey(0), {.name = u"Other", .columns = {{1, false}}}});
    UnitOfWork unit(file.pager);
    for (std::int32_t i = 0; i < 10; ++i) table.Insert({i, i / 2});
    EXPECT_EQ(table.TreeOver({{1, false}}, NativePlatform().files, file.folder.Path()), 1u);
    EXPECT_EQ(table.TreeOver({{1, true}}, NativePlatform().files, file.folder.Path()), 2u)
        << "another direction is another tree";
    EXPECT_EQ(table.Definition().trees[2].entryCount, 10u);
    EXPECT_EQ(table.Definition().trees[2].distinctKeys, 5u);

    IndexDefinition relation;
    relation.name = u"Rel";
    relation.kind = IndexDefinition::Kind::Relation;
    relation.realIndex = 1;
    relation.number = table.NextIndexNumber();
    relation.otherTableKind = 2;
    relation.otherTable = 77;
    relation.cascadeDelete = true;
    EXPECT_EQ(relation.number, 2u);
    table.AddLogicalIndex(relation);
    relation.name = u"Rel2";
    relation.realIndex = 2;
    relation.number = table.NextIndexNumber();
    table.AddLogicalIndex(relation);
    table.SetOtherIndex(3, 12);
    EXPECT_EQ(NumberOf([&] { table.AddLogicalIndex(relation); }), 3284);

    table.RemoveIndex(u"Other");  // the tree stays: the relation has it
    EXPECT_EQ(table.Definition().trees.size(), 3u);
    table.RemoveIndex(u"PrimaryKey");
    const TableDefinition read = Table::ReadDefinition(file.pager, table.Definition().page);
    ASSERT_EQ(read.trees.size(), 2u);
    EXPECT_EQ(read.IndexNamed(u"Rel")->realIndex, 0u);
    EXPECT_EQ(read.TreeOf(*read.IndexNamed(u"Rel2")).columns, (std::vector<IndexColumn>{{1, true}}));
    EXPECT_EQ(read.IndexNamed(u"Rel")->otherIndex, -1);
    EXPECT_EQ(read.IndexNamed(u"Rel2")->otherIndex, 12);
    EXPECT_EQ(read.IndexNamed(u"Rel2")->otherTable, 77u);
    EXPECT_TRUE(read.IndexNamed(u"Rel2")->cascadeDelete);
    EXPECT_FALSE(read.IndexNamed(u"Rel2")->cascadeUpdate);
    EXPECT_EQ(table.NextIndexNumber(), 0u);
    table.Insert({std::int32_t{3}, std::int32_t{1}});  // no primary key any more
}

// ----------------------------------------------------------------------------------------------------------------
// columns

/// A table whose last variable column went: rows of before and after it look alike but for what their column count
/// says.
TEST(Columns, ComeAndGoAroundOldRows)
{
    TestFile file;
    Table& table = file.Add(u"T", {Column(u"A", ColumnType::Long)});
    UnitOfWork unit(file.pager);
    std::vector<Row> expected;
    const auto insert = [&](const Row& row) { table.Insert(row); };
    for (const std::int32_t value : {0, 1, 5, 0x01000000, 0x00030000, -1, 0x00060105}) insert({value});
    table.AddColumn(Column(u"B", ColumnType::Text, 50));
    for (const Bytes& row : StoredRows(file, table)) {
        // Count, long, where the text begins and ends, count of variable fields, presence: as readers expect it now.
        EXPECT_EQ(row.size(), 1u + 4 + 2 + 1 + 1);
    }
    insert({std::int32_t{7}, std::string("b")});
    table.AddColumn(Column(u"C", ColumnType::Boolean));
    table.AddColumn(Column(u"D", ColumnType::Double));
    insert({std::int32_t{8}, std::string("bb"), true, 2.5});
    {
        const auto rows = RowsOf(table);
        EXPECT_EQ(rows.front(), (Row{std::int32_t{0}, Null(), false, Null()}));
        EXPECT_EQ(rows[7], (Row{std::int32_t{7}, std::string("b"), false, Null()}));
    }
    table.RemoveColumn(u"b");
    table.RemoveColumn(u"D");
    EXPECT_EQ(RowsOf(table).front(), (Row{std::int32_t{0}, false}));
    EXPECT_EQ(RowsOf(table).back(), (Row{std::int32_t{8}, true}));
    table.AddColumn(Column(u"E", ColumnType::Long));
    insert({std::int32_t{9}, true, std::int32_t{99}});
    const auto rows = RowsOf(table);
    const std::vector<std::int32_t> firsts = {0, 1, 5, 0x01000000, 0x00030000, -1, 0x00060105, 7, 8, 9};
    ASSERT_EQ(rows.size(), firsts.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i], (Row{firsts[i], i >= 8, i == 9 ? Value(std::int32_t{99}) : Value(Null())})) << i;
    }
    const TableDefinition& definition = table.Definition();
    EXPECT_EQ(definition.columnsEver, 5u);
    EXPECT_EQ(definition.columns.back().number, 4u) << "numbers are not given again";
    EXPECT_EQ(NumberOf([&] { table.RemoveColumn(u"B"); }), 3381);
    unit.Commit();
    EXPECT_THAT(file.Faults(), IsEmpty());
}

/// Other readers count the fixed fields of a row to tell whether it has a newer one.
TEST(Columns, ThatWentAreNotTakenForNewerOnes)
{
    TestFile file;
    Table& table = file.Add(u"T", {Column(u"A", ColumnType::Long), Column(u"B", ColumnType::Long)});
    UnitOfWork unit(file.pager);
    table.Insert({std::int32_t{1}, std::int32_t{2}});
    table.AddColumn(Column(u"C", ColumnType::Boolean));
    const auto columnsOfTheRow = [&] { return StoredRows(file, table).front().front(); };
    EXPECT_EQ(columnsOfTheRow(), 2) << "the row has the fields of its time";
    table.RemoveColumn(u"B");
    EXPECT_EQ(columnsOfTheRow(), 3);
    table.AddColumn(Column(u"D", ColumnType::Byte));
    EXPECT_EQ(columnsOfTheRow(), 4);
    EXPECT_EQ(RowsOf(table).front(), (Row{std::int32_t{1}, false, Null()}));
    unit.Commit();
    EXPECT_THAT(file.Faults(), IsEmpty());
}

TEST(Columns, OfLongValuesGiveTheirPagesBack)
{
    TestFile file;
    Table& table = file.Add(u"T", {Column(u"A", ColumnType::Long), Column(u"M", ColumnType::Memo)});
    UnitOfWork unit(file.pager);
    for (std::int32_t i = 0; i < 20; ++i) table.Insert({i, std::string(5000, 'x')});
    const std::size_t free = FreePages(file);
    table.RemoveColumn(u"M");
    EXPECT_GE(FreePages(file), free + 40);
    EXPECT_THAT(file.Faults(), IsEmpty());
    table.AddColumn(Column(u"M", ColumnType::Memo));
    table.Insert({std::int32_t{20}, std::string(100, 'y')});
    table.AddColumn(Column(u"N", ColumnType::Byte));
    table.RemoveColumn(u"N");
    table.AddColumn(Column(u"O", ColumnType::Byte));  // writes all rows anew, the long value stays where it is
    EXPECT_EQ(RowsOf(table).back(), (Row{std::int32_t{20}, std::string(100, 'y'), Null()}));
    table.RemoveColumn(u"O");
    const auto first = [&] {
        auto cursor = table.Scan();
        cursor.Next();
        return cursor.Where();
    }();
    table.Update(first, {std::int32_t{0}, std::string(3000, 'z')});
    EXPECT_THAT(file.Faults(), IsEmpty());
}

TEST(Columns, KeepTheirPlaceWhenTheOrderChanges)
{
    TestFile file;
    Table& table = file.Add(
        u"T", {Column(u"A", ColumnType::Long), Column(u"B", ColumnType::Text, 10), Column(u"C", ColumnType::Long)});
    UnitOfWork unit(file.pager);
    table.Insert({std::int32_t{1}, std::string("b"), std::int32_t{3}});
    table.RenameColumn(u"b", u"A name that is much longer than the old one was");
    TableDefinition wanted = table.Definition();
    wanted.columns[0].ordinalPosition = 9;
    wanted.columns[1].size = 100;
    wanted.columns[1].flags |= 0x80;
    table.RewriteDefinition(wanted);
    EXPECT_THAT(RowsOf(table), ElementsAre(Row{std::string("b"), std::int32_t{3}, std::int32_t{1}}));
    const TableDefinition read = Table::ReadDefinition(file.pager, table.Definition().page);
    EXPECT_EQ(read.columns[0].name, u"A name that is much longer than the old one was");
    EXPECT_EQ(read.columns[0].size, 100u);
    EXPECT_EQ(read.columns[0].flags, 0x82);
}

/// Design and rows change in random order; the model has values by column name.
TEST(Columns, ChangeAmongRows)
{
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const auto below = [&](std::size_t limit) {
            return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
        };
        const ColumnType types[] = {ColumnType::Long, ColumnType::Text, ColumnType::Boolean, ColumnType::Memo,
                                    ColumnType::Double};
        const auto valueFor = [&](const ColumnDefinition& column) -> Value {
            const std::size_t x = below(1000);
            if (column.type == ColumnType::Boolean) return x % 2 == 0;
            if (x % 5 == 0) return Null();
            if (column.type == ColumnType::Long) return static_cast<std::int32_t>(x);
            if (column.type == ColumnType::Double) return static_cast<double>(x);
            return std::string(column.type == ColumnType::Memo ? x * 3 : x % 50, static_cast<char>('a' + x % 26));
        };
        using Fields = std::map<Text, Value>;
        std::map<RowPointer, Fields> rows;
        TestFile file;
        Table& table = file.Add(u"T", {Column(u"First", ColumnType::Long)});
        UnitOfWork unit(file.pager);
        const auto absent = [](ColumnType type) { return type == ColumnType::Boolean ? Value(false) : Value(Null()); };
        const auto store = [&](RowPointer* at) {
            Row row;
            Fields fields;
            for (const ColumnDefinition& column : table.Definition().columns) {
                row.push_back(valueFor(column));
                fields[column.name] = row.back();
            }
            if (at) {
                table.Update(*at, row);
                rows[*at] = fields;
            } else {
                rows[table.Insert(row)] = fields;
            }
        };
        int made = 0;
        for (int step = 0; step < 600; ++step) {
            const TableDefinition definition = table.Definition();
            const std::size_t what = below(100);
            if (what < 4 && definition.columnsEver < 60) {
                ColumnDefinition column = Column(u"C" + Decimal(made++), types[below(5)], 50);
                column.ordinalPosition = static_cast<std::uint16_t>(below(20));
                table.AddColumn(column);
                for (auto& [at, fields] : rows) fields[column.name] = absent(column.type);
            } else if (what < 7 && definition.columns.size() > 1) {
                const ColumnDefinition& column = definition.columns[below(definition.columns.size())];
                if (NumberOf([&] { table.RemoveColumn(column.name); }) == 0) {
                    for (auto& [at, fields] : rows) fields.erase(column.name);
                }
            } else if (what < 10 && definition.indexes.size() < 6) {
                const ColumnDefinition& column = definition.columns[below(definition.columns.size())];
                NumberOf([&] {
                    file.AddIndex(table, {.name = u"I" + Decimal(made++),
                                          .columns = {{column.number, below(2) == 0}},
                                          .ignoreNulls = below(2) == 0});
                });
            } else if (what < 12 && !definition.indexes.empty()) {
                table.RemoveIndex(definition.indexes[below(definition.indexes.size())].name);
            } else if (what < 60 || rows.empty()) {
                store(nullptr);
            } else {
                auto any = std::next(rows.begin(), static_cast<std::ptrdiff_t>(below(rows.size())));
                RowPointer at = any->first;
                if (what < 85) {
                    store(&at);
                } else {
                    table.Delete(at);
                    rows.erase(any);
                }
            }
        }
        std::map<RowPointer, Fields> read;
        const TableDefinition definition = table.Definition();
        for (auto cursor = table.Scan(); cursor.Next();) {
            for (std::size_t i = 0; i < definition.columns.size(); ++i)
                read[cursor.Where()][definition.columns[i].name] = cursor.Current()[i];
        }
        EXPECT_EQ(read, rows);
        EXPECT_THAT(file.Faults(), IsEmpty());
    }
}

}  // namespace
}  // namespace vmlib::jet
