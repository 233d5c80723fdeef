#include <gmock/gmock.h>

#include <map>
#include <random>
#include <set>

#include "jet/DefinitionCodec.h"
#include "jet/MdbExport.h"
#include "jet/NumberOf.h"
#include "jet/PageMap.h"
#include "jet/TestFile.h"

namespace vmlib::jet {
namespace {

using testing::IsEmpty;

std::string Letters(std::size_t size, char first = 'a')
{
    std::string text;
    for (std::size_t i = 0; i < size; ++i) text += static_cast<char>(first + static_cast<char>(i % 23));
    return text;
}

Bytes BytesOf(std::string_view text)
{
    return Bytes(text.begin(), text.end());
}

// ----------------------------------------------------------------------------------------------------------------
// random changes

struct Shape
{
    const char* name;
    std::vector<ColumnDefinition> columns;
    std::vector<NewIndex> indexes;
    std::size_t longest;  // of texts and long values
};

void PrintTo(const Shape& shape, std::ostream* out)
{
    *out << shape.name;
}

class RandomTable : public testing::TestWithParam<std::tuple<Shape, unsigned>>
{
protected:
    const Shape& Wanted() const { return std::get<0>(GetParam()); }
    std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }
    std::string RandomText(std::size_t longest)
    {
        return Letters(Below(2) ? Below(longest + 1) : Below(longest / 8 + 1), static_cast<char>('a' + Below(4)));
    }

    Value RandomValue(const ColumnDefinition& column)
    {
        if (column.type == ColumnType::Boolean) return Below(2) == 0;
        if (Below(6) == 0) return Null();
        switch (column.type) {
            case ColumnType::Byte:
                return static_cast<std::uint8_t>(Below(256));
            case ColumnType::Integer:
                return static_cast<std::int16_t>(Below(65536));
            case ColumnType::Long:
                return static_cast<std::int32_t>(Below(100000)) - 50000;
            case ColumnType::Currency:
                return Currency{static_cast<std::int64_t>(Below(1000000))};
            case ColumnType::Single:
                return static_cast<float>(Below(1000)) / 4;
            case ColumnType::Double:
                return static_cast<double>(Below(100000)) / -8;
            case ColumnType::Date:
                return Date{static_cast<double>(Below(60000))};
            case ColumnType::Text: {
                const std::string text = RandomText(column.size);
                return column.fixedSize ? text + std::string(column.size - text.size(), ' ') : text;
            }
            case ColumnType::Binary:
                return BytesOf(RandomText(column.size));
            case ColumnType::LongBinary:
                return BytesOf(RandomText(Wanted().longest));
            case ColumnType::Memo:
                return RandomText(Wanted().longest);
            case ColumnType::Guid:
                return Guid{{static_cast<std::uint8_t>(Below(256)), 1, 2}};
            default:
                return Null();
        }
    }

    Row RandomRow(Table& table)
    {
        Row row;
        for (const ColumnDefinition& column : table.Definition().columns) row.push_back(RandomValue(column));
        if (!Wanted().indexes.empty() && Wanted().indexes[0].primary) row[0] = nextKey_++;
        return row;
    }

    /// The model: what the table has to hold.
    using Rows = std::map<RowPointer, Row>;

    static Rows RowsIn(Table& table)
    {
        Rows rows;
        for (auto cursor = table.Scan(); cursor.Next();)
            EXPECT_TRUE(rows.emplace(cursor.Where(), cursor.Current()).second) << "twice";
        return rows;
    }

    void ChangeOnce(Table& table, Rows& rows)
    {
        const auto any =
            rows.empty() ? rows.end() : std::next(rows.begin(), static_cast<std::ptrdiff_t>(Below(rows.size())));
        const std::size_t what = Below(100);
        if (any == rows.end() || what < growth_) {
            const Row row = RandomRow(table);
            rows.emplace(table.Insert(row), row);
        } else if (what < 75) {
            Row row = RandomRow(table);
            for (std::size_t i = 0; i < row.size(); ++i) {
                if (Below(2)) row[i] = any->second[i];
            }
            table.Update(any->first, row);
            any->second = row;
        } else {
            table.Delete(any->first);
            Row gone;
            EXPECT_FALSE(table.Fetch(any->first, gone));
            rows.erase(any);
        }
    }

    std::mt19937 random_;
    std::int32_t nextKey_ = 1;
    std::size_t growth_ = 55;
};

TEST_P(RandomTable, HoldsWhatItWasGiven)
{
    const unsigned seed = std::get<1>(GetParam());
    SCOPED_TRACE("seed " + std::to_string(seed));
    random_.seed(seed);
    TestFile file;
    Table& table = file.Add(u"T", Wanted().columns, Wanted().indexes);
    Rows rows;
    for (int round = 0; round < 50; ++round) {
        growth_ = round % 10 < 7 ? 55 : 15;
        Rows changed = rows;
        UnitOfWork unit(file.pager);
        for (int i = 0; i < 20; ++i) ChangeOnce(table, changed);
        if (Below(5) != 0) {
            unit.Commit();
            rows = std::move(changed);
        }
    }
    EXPECT_EQ(RowsIn(table), rows);
    EXPECT_EQ(table.RowCount(), rows.size());
    for (const auto& [at, row] : rows) {
        Row fetched;
        ASSERT_TRUE(table.Fetch(at, fetched));
        EXPECT_EQ(fetched, row);
    }
    EXPECT_THAT(file.Faults(), IsEmpty());
    EXPECT_EQ(file.pager.HeldPages(), 0u);
    CompareWithMdbExport(table, file.Saved());

    // Emptied, it keeps one page of rows, and none of long values beyond one a column.
    UnitOfWork unit(file.pager);
    for (const auto& [at, row] : rows) table.Delete(at);
    unit.Commit();
    EXPECT_EQ(table.RowCount(), 0u);
    EXPECT_LE(PageMap(file.pager, table.Definition().ownedMap).Count(), 1u);
    for (const ColumnDefinition& column : table.Definition().columns) {
        if (column.ownedMap) {
            EXPECT_LE(PageMap(file.pager, *column.ownedMap).Count(), 1u);
        }
    }
    EXPECT_THAT(file.Faults(), IsEmpty());
}

const std::vector<Shape>& Shapes()
{
    using enum ColumnType;
    static const std::vector<Shape> shapes = {
        {"FixedOnly",
         {Column(u"A", Long), Column(u"B", Double), Column(u"C", Boolean), Column(u"D", Integer),
          Column(u"E", Boolean)},
         {},
         0},
        {"OneBoolean", {Column(u"A", Boolean)}, {}, 0},
        {"EveryType",
         {Column(u"Id", Long), Column(u"B", Boolean), Column(u"Y", Byte), Column(u"I", Integer), Column(u"C", Currency),
          Column(u"S", Single), Column(u"D", Double), Column(u"T", Date), Column(u"X", Text, 255),
          Column(u"F", Text, 10, true), Column(u"V", Binary, 100), Column(u"G", Guid), Column(u"M", Memo),
          Column(u"O", LongBinary), Column(u"Z", Text, 20)},
         {PrimaryKey(0),
          {.name = u"ByText", .columns = {{8, false}, {3, true}}},
          {.name = u"ByMoney", .columns = {{4, true}}, .ignoreNulls = true}},
         300},
        {"LongRows",
         {Column(u"Id", Long), Column(u"A", Text, 255), Column(u"B", Text, 255), Column(u"C", Text, 255),
          Column(u"D", Text, 255), Column(u"E", Text, 255), Column(u"F", Text, 255)},
         {PrimaryKey(0), {.name = u"A", .columns = {{1, false}}}},
         0},
        {"LongValues", {Column(u"M", Memo), Column(u"O", LongBinary)}, {}, 9000},
    };
    return shapes;
}

INSTANTIATE_TEST_SUITE_P(Shapes, RandomTable,
                         testing::Combine(testing::ValuesIn(Shapes()), testing::Values(1u, 2u, 3u)),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) + std::to_string(std::get<1>(info.param));
                         });

// ---------------------------------------------------------------------------------------------------------------- rows

/// A table with a memo and a text, for cases about where things go.
class TableChange : public testing::Test
{
protected:
    Row At(RowPointer at)
    {
        Row row;
        EXPECT_TRUE(table_->Fetch(at, row));
        return row;
    }
    SlotState StateOf(RowPointer at)
    {
        return DataPage(file_.pager.Read(at.page), table_->Definition().page).At(at.row).state;
    }
    Row Named(std::int32_t id, std::size_t size) { return {id, Letters(size), Null()}; }

    TestFile file_;
    Table* table_ = &file_.Add(u"T", {Column(u"Id", ColumnType::Long), Column(u"Name", ColumnType::Text, 255),
                                      Column(u"Memo", ColumnType::Memo)});
    UnitOfWork unit_{file_.pager};
};

TEST_F(TableChange, RowThatMovesTwiceKeepsOnePointerAndComesHomeWhereItFits)
{
    std::vector<RowPointer> rows;
    for (int i = 0; i < 45; ++i) rows.push_back(table_->Insert(Named(i, 185)));  // ten a page, 68 bytes left
    const RowPointer mover = rows[2];
    const RowPointer neighbour = rows[3];
    ASSERT_EQ(mover.page, neighbour.page);
    const auto standsOn = [&] {
        const auto slot = DataPage(file_.pager.Read(mover.page), table_->Definition().page).At(mover.row);
        return RowPointer::Unpack(LoadLittle<std::uint32_t>(slot.bytes.data()));
    };

    table_->Update(mover, Named(2, 255));
    ASSERT_EQ(StateOf(mover), SlotState::MovedAway);
    const RowPointer first = standsOn();
    EXPECT_EQ(StateOf(first), SlotState::MovedHere);

    for (const std::size_t size : {255u, 255u, 230u})
        table_->Insert(Named(45, size));  // fill its second page but for ten bytes
    for (int i = 48; i < 60; ++i) table_->Insert(Named(i, 185));
    Row big = Named(2, 255);
    big[2] = Letters(32);
    table_->Update(mover, big);
    ASSERT_EQ(StateOf(mover), SlotState::MovedAway);
    EXPECT_EQ(StateOf(standsOn()), SlotState::MovedHere);
    EXPECT_NE(standsOn(), first);
    EXPECT_EQ(StateOf(first), SlotState::Deleted);
    EXPECT_EQ(At(mover), big);

    table_->Delete(neighbour);
    const RowPointer second = standsOn();
    table_->Update(mover, Named(2, 200));
    EXPECT_EQ(StateOf(mover), SlotState::Row);
    EXPECT_EQ(StateOf(second), SlotState::Deleted);
    EXPECT_EQ(RowsOf(*table_).size(), 59u);
    EXPECT_EQ(At(mover), Named(2, 200));
    unit_.Commit();
    EXPECT_THAT(file_.Faults(), IsEmpty());
}

TEST_F(TableChange, DeletedRowsStayDeletedWhileTheTableIsSmall)
{
    const RowPointer first = table_->Insert(Named(1, 10));
    table_->Delete(first);
    EXPECT_EQ(NumberOf([&] { table_->Delete(first); }), 3167);
    EXPECT_EQ(NumberOf([&] { table_->Update(first, Named(1, 1)); }), 3167);
    EXPECT_NE(table_->Insert(Named(2, 10)), first) << "whoever still holds the old pointer must not get the new row";
    Row row;
    EXPECT_FALSE(table_->Fetch(first, row));
    EXPECT_FALSE(table_->Fetch({first.page, 200}, row));
    EXPECT_FALSE(table_->Fetch({objectsTablePage, 0}, row));
    EXPECT_FALSE(table_->Fetch({9999, 0}, row));
}

TEST_F(TableChange, RoomOfDeletedRowsIsUsedAgain)
{
    std::vector<RowPointer> rows;
    for (int i = 0; i < 200; ++i) rows.push_back(table_->Insert({std::int32_t{i}, Letters(200), Letters(300)}));
    for (std::size_t i = 0; i < rows.size(); i += 2) table_->Delete(rows[i]);
    const PageNumber pages = file_.pager.PageCount();
    for (int i = 0; i < 90; ++i) table_->Insert({std::int32_t{i}, Letters(200), Letters(300)});
    EXPECT_EQ(file_.pager.PageCount(), pages);
    unit_.Commit();
    EXPECT_THAT(file_.Faults(), IsEmpty());
}

TEST_F(TableChange, ScanGoesOnWhileRowsMoveGoAndCome)
{
    for (int i = 0; i < 300; ++i) table_->Insert(Named(i, 20));
    std::set<std::int32_t> seen;
    for (auto cursor = table_->Scan({true, false, false}); cursor.Next();) {
        const auto id = std::get<std::int32_t>(cursor.Current()[0]);
        EXPECT_TRUE(seen.insert(id).second) << "row " << id << " comes twice";
        EXPECT_TRUE(IsNull(cursor.Current()[1])) << "not asked for";
        ASSERT_LT(id, 300) << "inserted since";
        table_->Update(cursor.Where(), Named(id, 250));  // most of them move
        table_->Insert(Named(1000 + id, 20));
        if (id % 3 == 0) table_->Delete(cursor.Where());
    }
    EXPECT_EQ(seen.size(), 300u);

    std::size_t count = 0;
    for (auto cursor = table_->Scan(); cursor.Next(); ++count)
        table_->Delete(cursor.Where());  // pages vanish behind the cursor
    EXPECT_EQ(count, 500u);
    EXPECT_EQ(table_->RowCount(), 0u);
    unit_.Commit();
    EXPECT_THAT(file_.Faults(), IsEmpty());
}

TEST_F(TableChange, ScanSurvivesPagesThatOthersTakeOver)
{
    std::vector<RowPointer> rows;
    for (int i = 0; i < 100; ++i) rows.push_back(table_->Insert(Named(i, 200)));
    auto cursor = table_->Scan();
    ASSERT_TRUE(cursor.Next());
    for (std::size_t i = 20; i < 60; ++i) table_->Delete(rows[i]);
    Table& other = file_.Add(u"Other", {Column(u"A", ColumnType::Text, 255)});
    for (int i = 0; i < 30; ++i) other.Insert({Letters(200)});
    for (int i = 0; i < 30; ++i) table_->Insert(Named(500 + i, 200));
    std::size_t count = 1;
    while (cursor.Next()) {
        ++count;
        EXPECT_LT(std::get<std::int32_t>(cursor.Current()[0]), 100);
    }
    EXPECT_EQ(count, 60u);
}

TEST_F(TableChange, RolledBackChangesAreForgottenInMemoryToo)
{
    table_->Insert(Named(1, 10));
    auto cursor = table_->Scan();
    {
        UnitOfWork inner(file_.pager);
        for (int i = 0; i < 200; ++i) table_->Insert(Named(2, 200));
        table_->TakeAutoNumber();
    }
    EXPECT_EQ(table_->RowCount(), 1u);
    EXPECT_EQ(table_->Definition().lastAutoNumber, 0u);
    table_->Insert(Named(3, 10));
    std::size_t count = 0;
    while (cursor.Next()) ++count;
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(RowsOf(*table_).size(), 2u);
}

TEST_F(TableChange, LongValuesStandWhereTheirLengthSays)
{
    struct Case
    {
        std::size_t size;
        std::size_t rows;  // of long value pages
        const char* reason;
    };
    const Case cases[] = {
        {0, 0, "empty text is a value"}, {32, 0, "the most in the row"}, {33, 1, "one row"},
        {2036, 1, "the longest row"},    {2037, 2, "a chain"},           {4064, 2, "two full rows"},
        {4065, 3, "and a byte"},         {100000, 50, "many"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.reason);
        const Row row = {std::int32_t{1}, Null(), Letters(one.size)};
        const RowPointer at = table_->Insert(row);
        EXPECT_EQ(At(at), row);
        const std::uint32_t map = *table_->Definition().columns[2].ownedMap;
        std::size_t count = 0;
        for (const PageNumber page : PageMap(file_.pager, map).All()) {
            const DataPage rows(file_.pager.Read(page), DataPage::longValueOwner);
            for (std::size_t i = 0; i < rows.SlotCount(); ++i) count += rows.At(i).state == SlotState::Row ? 1 : 0;
        }
        EXPECT_EQ(count, one.rows);

        // What stays the same is not written again; what goes is given back.
        const auto before = file_.pager.Contents();
        table_->Update(at, {std::int32_t{1}, Null(), Letters(one.size)});
        EXPECT_EQ(file_.pager.Contents(), before);
        table_->Update(at, {std::int32_t{1}, Null(), Null()});
        EXPECT_LE(PageMap(file_.pager, map).Count(), 1u);
        table_->Delete(at);
    }
    unit_.Commit();
    EXPECT_THAT(file_.Faults(), IsEmpty());
}

/// Not behind a row that may be deleted once: there mdb-reader loses the end of the value.
TEST_F(TableChange, RowsOfAChainBeginAPage)
{
    table_->Insert({std::int32_t{1}, Null(), Letters(100)});
    table_->Insert({std::int32_t{2}, Null(), Letters(3000)});
    table_->Insert({std::int32_t{3}, Null(), Letters(100)});
    PageMap map(file_.pager, *table_->Definition().columns[2].ownedMap);
    EXPECT_EQ(map.Count(), 3u) << "of the short values, and two of the long one";
}

TEST(TableRows, AreNoLongerThanTheFormatTakes)
{
    TestFile file;
    std::vector<ColumnDefinition> texts, fixed;
    for (int i = 0; i < 8; ++i) texts.push_back(Column(u"T" + Decimal(i), ColumnType::Text, 255));
    for (int i = 0; i < 250; ++i) fixed.push_back(Column(u"F" + Decimal(i), ColumnType::Double));
    Table& text = file.Add(u"Texts", texts);
    UnitOfWork unit(file.pager);
    // count 1, ends 9, jumps 7, count 1, presence 1
    Row row(8, Value(Letters(255)));
    row[7] = Letters(2012 - 19 - 7 * 255);
    const RowPointer at = text.Insert(row);
    Row read;
    EXPECT_TRUE(text.Fetch(at, read));
    EXPECT_EQ(read, row);
    row[7] = Letters(2012 - 19 - 7 * 255 + 1);
    EXPECT_EQ(NumberOf([&] { text.Insert(row); }), 3047);
    EXPECT_EQ(NumberOf([&] { text.Update(at, row); }), 3047);

    fixed.resize(246);  // 1 + 246 * 8 + 31 = 2000
    Table& fits = file.Add(u"Fits", fixed);
    EXPECT_EQ(NumberOf([&] { fits.Insert(Row(246, Value(1.5))); }), 0);
    fixed.push_back(Column(u"One more", ColumnType::Double));
    Table& tooLong = file.Add(u"TooLong", fixed);
    EXPECT_EQ(NumberOf([&] { tooLong.Insert(Row(247)); }), 3047);
}

/// Row lengths around each block of 256 bytes, with many variable fields and with few, where jumps and their number
/// change.
TEST(TableRows, OfEveryLengthComeBack)
{
    TestFile file;
    std::vector<ColumnDefinition> few, many;
    for (int i = 0; i < 4; ++i) few.push_back(Column(u"T" + Decimal(i), ColumnType::Text, 255));
    for (int i = 0; i < 255; ++i) many.push_back(Column(u"T" + Decimal(i), ColumnType::Text, 255));
    Table& four = file.Add(u"Four", few);
    Table& most = file.Add(u"Most", many);
    UnitOfWork unit(file.pager);
    std::map<RowPointer, Row> ofFour, ofMost;
    for (std::size_t size = 0; size <= 1020; ++size) {
        Row row(4, Value(Null()));
        for (std::size_t i = 0, left = size; i < 4 && left > 0; ++i) {
            row[i] = Letters(std::min<std::size_t>(left, 255));
            left -= std::min<std::size_t>(left, 255);
        }
        ofFour.emplace(four.Insert(row), row);
        Row wide(255, Value(Null()));
        for (std::size_t i = 0; i < size; i += 100)
            wide[(i * 7 + size) % 255] = Letters(std::min<std::size_t>(size - i, 100));
        ofMost.emplace(most.Insert(wide), wide);
    }
    for (auto cursor = four.Scan(); cursor.Next();) EXPECT_EQ(cursor.Current(), ofFour.at(cursor.Where()));
    for (auto cursor = most.Scan(); cursor.Next();) EXPECT_EQ(cursor.Current(), ofMost.at(cursor.Where()));
    CompareWithMdbExport(four, file.Saved());
}

// ----------------------------------------------------------------------------------------------------------------
// indexes

TEST(TableIndexes, RefuseWhatTheyMust)
{
    TestFile file;
    const std::vector<ColumnDefinition> columns = {Column(u"Id", ColumnType::Long), Column(u"A", ColumnType::Text, 50),
                                                   Column(u"B", ColumnType::Long)};
    Table& table =
        file.Add(u"T", columns, {PrimaryKey(0), {.name = u"AB", .columns = {{1, false}, {2, false}}, .unique = true}});
    UnitOfWork unit(file.pager);
    const auto insert = [&](Value id, Value a, Value b) { return NumberOf([&] { table.Insert({id, a, b}); }); };
    using std::string;
    const std::int32_t one = 1, two = 2, three = 3, four = 4, five = 5, six = 6;
    EXPECT_EQ(insert(one, string("a"), one), 0);
    EXPECT_EQ(insert(one, string("b"), one), 3022) << "primary key";
    EXPECT_EQ(insert(Null(), string("b"), one), 3058) << "primary key";
    EXPECT_EQ(insert(two, string("A "), one), 3022) << "neither case nor trailing blanks count";
    EXPECT_EQ(insert(two, string("a"), Null()), 0);
    EXPECT_EQ(insert(three, string("a"), Null()), 3022) << "keys with some Null collide";
    EXPECT_EQ(insert(three, Null(), Null()), 0);
    EXPECT_EQ(insert(four, Null(), Null()), 0) << "keys that are Null throughout do not";
    EXPECT_EQ(insert(five, Null(), one), 0);
    EXPECT_EQ(insert(six, Null(), one), 3022);
    EXPECT_EQ(table.RowCount(), 5u);

    const auto rows = [&] {
        std::map<std::int32_t, RowPointer> found;
        for (auto cursor = table.Scan(); cursor.Next();)
            found[std::get<std::int32_t>(cursor.Current()[0])] = cursor.Where();
        return found;
    }();
    const auto update = [&](std::int32_t id, Row row) { return NumberOf([&] { table.Update(rows.at(id), row); }); };
    EXPECT_EQ(update(1, {one, string("A"), one}), 0) << "its own key is no duplicate";
    EXPECT_EQ(update(1, {two, string("A"), one}), 3022);
    EXPECT_EQ(update(1, {Null(), string("A"), one}), 3058);
    EXPECT_EQ(update(2, {two, string("a"), one}), 3022);
    EXPECT_EQ(update(2, {six, string("x"), one}), 0);
    EXPECT_EQ(insert(two, string("a"), Null()), 0) << "the key that was given up is free";
    unit.Commit();
    EXPECT_THAT(file.Faults(), IsEmpty());
    EXPECT_EQ(table.Definition().trees[0].distinctKeys, 6u);
}

// ----------------------------------------------------------------------------------------------------------------
// counters, bulk, full disk

TEST(TableCounters, AutoNumberIsTheHighestEver)
{
    TestFile file;
    ColumnDefinition id = Column(u"Id", ColumnType::Long);
    id.autoNumber = true;
    Table& table = file.Add(u"T", {id});
    UnitOfWork unit(file.pager);
    EXPECT_EQ(table.TakeAutoNumber(), 1);
    EXPECT_EQ(table.TakeAutoNumber(), 2);
    table.NoteAutoNumber(10);
    table.NoteAutoNumber(5);
    table.NoteAutoNumber(-3);
    EXPECT_EQ(table.TakeAutoNumber(), 11);
    EXPECT_EQ(Table::ReadDefinition(file.pager, table.Definition().page).lastAutoNumber, 11u);
    EXPECT_TRUE(table.Definition().columns[0].autoNumber);
}

/// Maps have to grow, and beyond some 15,000 pages become pages of bits, the free map too.
TEST(TableMaps, GrowWithTheFile)
{
    TestFile file;
    Table& table = file.Add(u"T", {Column(u"Id", ColumnType::Long), Column(u"A", ColumnType::Text, 255),
                                   Column(u"B", ColumnType::Text, 255), Column(u"C", ColumnType::Text, 255),
                                   Column(u"D", ColumnType::Text, 255)});
    const std::string wide = Letters(255);
    UnitOfWork unit(file.pager);
    std::vector<RowPointer> rows;
    const std::int32_t count = 20000;  // one a page
    for (std::int32_t i = 0; i < count; ++i) rows.push_back(table.Insert({i, wide, wide, wide, wide}));
    std::int32_t next = 0;
    for (auto cursor = table.Scan({true, false, false, false, false}); cursor.Next(); ++next) {
        ASSERT_EQ(std::get<std::int32_t>(cursor.Current()[0]), next);
    }
    EXPECT_EQ(next, count);
    EXPECT_EQ(PageMap(file.pager, table.Definition().ownedMap).MapPages().size(), 2u);
    EXPECT_THAT(file.Faults(), IsEmpty());

    for (std::size_t i = 100; i < rows.size(); ++i) table.Delete(rows[i]);
    EXPECT_THAT(file.Faults(), IsEmpty());
    const PageNumber pages = file.pager.PageCount();
    for (std::int32_t i = 100; i < count; ++i) table.Insert({i, wide, wide, wide, wide});
    EXPECT_EQ(file.pager.PageCount(), pages) << "free pages go first";
    EXPECT_THAT(file.Faults(), IsEmpty());
}

/// The disk is full at the n-th page that a change touches: nothing of it stays, though the unit around it goes on.
TEST(TableFaults, LeaveNothingHalfDone)
{
    const auto prepare = [](TestFile& file) -> Table& {
        Table& table = file.Add(u"T",
                                {Column(u"Id", ColumnType::Long), Column(u"Name", ColumnType::Text, 255),
                                 Column(u"Memo", ColumnType::Memo)},
                                {PrimaryKey(0), {.name = u"Name", .columns = {{1, false}}}});
        UnitOfWork unit(file.pager);
        for (std::int32_t i = 0; i < 60; ++i)
            table.Insert(
                {i, Letters(static_cast<std::size_t>(100 + i), 'b'), Letters(static_cast<std::size_t>(i) * 100)});
        unit.Commit();
        return table;
    };
    using Change = void (*)(TestFile&, Table&, RowPointer);
    const std::pair<const char*, Change> changes[] = {
        {"insert",
         [](TestFile&, Table& table, RowPointer) {
             table.Insert({std::int32_t{1000}, Letters(250), Letters(9000)});
         }},
        {"update",
         [](TestFile&, Table& table, RowPointer at) {
             table.Update(at, {std::int32_t{1000}, Letters(250), Letters(7000)});
         }},
        {"delete", [](TestFile&, Table& table, RowPointer at) { table.Delete(at); }},
        {"index",
         [](TestFile& file, Table& table, RowPointer) {
             file.AddIndex(table, {.name = u"New", .columns = {{1, true}}});
         }},
        {"drop index", [](TestFile&, Table& table, RowPointer) { table.RemoveIndex(u"Name"); }},
        {"column", [](TestFile&, Table& table, RowPointer) { table.AddColumn(Column(u"New", ColumnType::Memo)); }},
        {"drop column", [](TestFile&, Table& table, RowPointer) { table.RemoveColumn(u"Memo"); }},
    };
    for (const auto& one : changes) {
        SCOPED_TRACE(one.first);
        const Change change = one.second;
        TestFile file;
        Table& table = prepare(file);
        RowPointer at;
        auto cursor = table.Scan();
        for (int i = 0; i < 40; ++i) ASSERT_TRUE(cursor.Next());
        at = cursor.Where();
        const std::vector<Row> before = RowsOf(table);
        const Bytes bytes = file.pager.Contents();

        UnitOfWork unit(file.pager);
        bool finished = false;
        std::size_t n = 0;
        while (!finished) {
            file.pager.failAtEdit = file.pager.editCount + ++n;
            finished = NumberOf([&] { change(file, table, at); }) == 0;
            if (!finished) {
                EXPECT_EQ(RowsOf(table), before) << "page " << n;
                EXPECT_EQ(file.pager.Contents().size(), bytes.size()) << "page " << n;
            }
        }
        file.pager.failAtEdit = 0;
        EXPECT_GT(n, 2u);
        EXPECT_THAT(file.Faults(), IsEmpty());
    }
}

/// Rows of a table without indexes and long values go without a unit of their own; a full disk then must not leave a
/// row that is not counted.
TEST(TableFaults, LeaveTheCountInStepWithTheRows)
{
    TestFile file;
    Table& table = file.Add(u"T", {Column(u"Id", ColumnType::Long), Column(u"Name", ColumnType::Text, 255)});
    UnitOfWork unit(file.pager);
    std::size_t inserted = 0, failed = 0;
    for (std::size_t n = 1; n <= 40; ++n) {
        file.pager.failAtEdit = file.pager.editCount + n;
        while (NumberOf([&] { table.Insert({static_cast<std::int32_t>(inserted), Letters(200)}); }) == 0) ++inserted;
        ++failed;
        EXPECT_EQ(RowsOf(table).size(), inserted) << "page " << n;
        EXPECT_EQ(table.RowCount(), inserted) << "page " << n;
    }
    file.pager.failAtEdit = 0;
    EXPECT_EQ(failed, 40u);
    EXPECT_GT(inserted, 300u);
    EXPECT_THAT(file.Faults(), IsEmpty());
}

}  // namespace
}  // namespace vmlib::jet
