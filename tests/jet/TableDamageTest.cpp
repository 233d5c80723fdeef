#include <gmock/gmock.h>

#include <functional>
#include <random>
#include <set>

#include "core/ByteOrder.h"
#include "jet/DefinitionCodec.h"
#include "jet/PageMap.h"
#include "jet/TestFile.h"

// A file may hold anything. Whatever stands in it, reading and changing a table end, with an Error at worst, and touch
// nothing outside their pages.
namespace vmlib::jet {
namespace {

/// A table with everything: a definition of two pages, moved and deleted rows, long values of each kind, three indexes,
/// both kinds of maps.
struct Sample
{
    Bytes file;
    PageNumber definition = noPage;
    std::uint32_t ownedMap = 0, roomMap = 0;
    std::vector<PageNumber> definitionPages, dataPages, longPages;

    static const Sample& Get()
    {
        static const Sample sample;
        return sample;
    }

private:
    Sample()
    {
        std::vector<ColumnDefinition> columns = {
            Column(u"Id", ColumnType::Long), Column(u"Name", ColumnType::Text, 200), Column(u"Memo", ColumnType::Memo),
            Column(u"Flag", ColumnType::Boolean), Column(u"Price", ColumnType::Currency)};
        for (int i = 0; i < 60; ++i)
            columns.push_back(Column(u"A column with a long name " + Decimal(i), ColumnType::Text, 20));
        TestFile test;
        Table& table = test.Add(u"T", columns,
                                {PrimaryKey(0),
                                 {.name = u"Name", .columns = {{1, false}, {4, true}}},
                                 {.name = u"Price", .columns = {{4, false}}}});
        UnitOfWork unit(test.pager);
        std::vector<RowPointer> rows;
        const auto rowFor = [&](std::int32_t id, std::size_t size) {
            Row row(columns.size());
            row[0] = id;
            row[1] = std::string(size, static_cast<char>('a' + id % 20));
            row[2] = std::string(static_cast<std::size_t>(id) * static_cast<std::size_t>(id), 'm');
            row[3] = id % 2 == 0;
            row[4] = Currency{id / 3};
            return row;
        };
        for (std::int32_t i = 0; i < 80; ++i) rows.push_back(table.Insert(rowFor(i, 10)));
        for (std::int32_t i = 0; i < 80; i += 4) table.Update(rows[static_cast<std::size_t>(i)], rowFor(i, 100));
        for (std::size_t i = 1; i < 80; i += 9) table.Delete(rows[i]);
        unit.Commit();
        file = test.pager.Contents();
        const TableDefinition& made = table.Definition();
        definition = made.page;
        ownedMap = made.ownedMap;
        roomMap = made.roomMap;
        definitionPages = DefinitionPages(test.pager, definition);
        dataPages = PageMap(test.pager, ownedMap).All();
        longPages = PageMap(test.pager, *made.columns[2].ownedMap).All();
    }
};

/// Everything that one can do with a table; gives the numbers of the errors that came.
std::set<std::int32_t> UseAll(MemoryPager& pager)
{
    std::set<std::int32_t> errors;
    const auto attempt = [&](const std::function<void()>& step) {
        try {
            UnitOfWork unit(pager);
            step();
            unit.Commit();
            return true;
        } catch (const Error& error) {
            errors.insert(error.Number());
            return false;
        }
    };
    PageAllocator allocator(pager);
    std::unique_ptr<Table> table;
    attempt([&] {
        table = std::make_unique<Table>(pager, allocator, Table::ReadDefinition(pager, Sample::Get().definition));
    });
    if (!table) return errors;
    std::vector<std::pair<RowPointer, Row>> rows;
    Table::Cursor cursor;
    attempt([&] { cursor = table->Scan(); });
    for (bool more = true; more;) {
        attempt([&] {
            more = cursor.Next();
            if (more && rows.size() < 500) rows.emplace_back(cursor.Where(), cursor.Current());
        });
    }
    for (std::size_t i = 0; i < rows.size(); i += 5) {
        attempt([&] {
            Row row;
            table->Fetch(rows[i].first, row);
            for (Value& value : row) {
                if (auto* text = std::get_if<std::string>(&value)) text->append("xxxxxxxxxx");
            }
            table->Update(rows[i].first, row);
        });
    }
    for (std::size_t i = 0; i < rows.size(); i += 7) attempt([&] { table->Delete(rows[i].first); });
    for (int i = 0; i < 10 && !rows.empty(); ++i) {
        attempt([&] {
            Row row = rows[0].second;
            if (row.size() > 1) row[0] = std::int32_t{1000 + i};
            table->Insert(row);
        });
    }
    attempt([&] { table->AddColumn(Column(u"New", ColumnType::Memo)); });
    attempt([&] { table->RemoveIndex(u"Name"); });
    attempt([&] { table->RemoveColumn(u"Memo"); });
    attempt([&] { table->Destroy(); });
    cursor = {};
    EXPECT_EQ(pager.HeldPages(), 0u);
    return errors;
}

TEST(DamagedTable, SampleIsSound)
{
    MemoryPager pager(Sample::Get().file);
    EXPECT_TRUE(Check(pager).Sound());
    EXPECT_THAT(UseAll(pager), testing::IsEmpty());
    EXPECT_GT(Sample::Get().definitionPages.size(), 1u);
    EXPECT_GT(Sample::Get().longPages.size(), 10u);
}

/// Random bytes in random places, some at the head of a page, where its structure is.
class RandomDamage : public testing::TestWithParam<unsigned>
{
};

TEST_P(RandomDamage, EndsInErrors)
{
    std::mt19937 random(GetParam());
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    const Sample& sample = Sample::Get();
    const std::uint8_t telling[] = {0x00, 0x01, 0x7F, 0x80, 0xC0, 0xFF};
    for (int round = 0; round < 30; ++round) {
        SCOPED_TRACE("seed " + std::to_string(GetParam()) + " round " + std::to_string(round));
        Bytes file = sample.file;
        const std::size_t wounds = 1 + below(4);
        for (std::size_t i = 0; i < wounds; ++i) {
            const std::size_t page = 1 + below(file.size() / pageSize - 1);
            const std::size_t at = page * pageSize + (below(2) ? below(60) : below(pageSize));
            file[at] = below(2) ? telling[below(std::size(telling))] : static_cast<std::uint8_t>(below(256));
        }
        MemoryPager pager(file);
        UseAll(pager);
        MemoryPager again(file);
        Check(again);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomDamage, testing::Range(1u, 11u));

TEST(DamagedTable, CutOffAnywhereEndsInErrors)
{
    const Sample& sample = Sample::Get();
    for (std::size_t size = 0; size < sample.file.size(); size += 1500) {
        SCOPED_TRACE(size);
        MemoryPager pager(Bytes(sample.file.begin(), sample.file.begin() + static_cast<std::ptrdiff_t>(size)));
        UseAll(pager);
    }
}

// ---------------------------------------------------------------------------------------------------------------- one
// wound, one finding

struct Wound
{
    const char* reason;
    void (*make)(std::uint8_t* file);
    const char* finding;  // part of the error that a walk over the table gives; "": none, the rows that are left come
};

void PrintTo(const Wound& wound, std::ostream* out)
{
    *out << wound.reason;
}

std::uint8_t* PageOf(std::uint8_t* file, PageNumber page)
{
    return file + page * pageSize;
}

std::uint8_t* RowOf(std::uint8_t* file, RowPointer at)
{
    std::uint8_t* page = PageOf(file, at.page);
    return page + (LoadLittle<std::uint16_t>(page + 10 + 2 * at.row) & 0x3FFF);
}

std::uint8_t* MapOf(std::uint8_t* file, std::uint32_t pointer)
{
    return RowOf(file, RowPointer::Unpack(pointer));
}

std::uint8_t* Definition(std::uint8_t* file, std::size_t page = 0)
{
    return PageOf(file, Sample::Get().definitionPages[page]);
}

std::uint8_t* Data(std::uint8_t* file)
{
    return PageOf(file, Sample::Get().dataPages[0]);
}

/// First slot of the first data page with that state.
std::uint8_t FirstSlot(std::uint8_t* file, std::uint16_t state)
{
    std::uint8_t slot = 0;
    while ((LoadLittle<std::uint16_t>(Data(file) + 10 + 2 * slot) & 0xC000) != state) ++slot;
    return slot;
}

std::uint8_t* FirstRow(std::uint8_t* file, std::uint16_t state)
{
    return RowOf(file, {Sample::Get().dataPages[0], FirstSlot(file, state)});
}

/// A page of a long value whose first row is the first of a chain of at least two, as the definition of the sample
/// makes some.
std::uint8_t* ChainRow(std::uint8_t* file)
{
    for (const PageNumber page : Sample::Get().longPages) {
        std::uint8_t* row = RowOf(file, {page, 0});
        const std::size_t size = static_cast<std::size_t>(PageOf(file, page) + pageSize - row);
        if (size == DataPage::greatestRowSize && row[4] == 'm' && row[0] != 'm') return row;
    }
    return nullptr;
}

class WoundedTable : public testing::TestWithParam<Wound>
{
};

TEST_P(WoundedTable, SaysWhatIsWrong)
{
    Bytes file = Sample::Get().file;
    GetParam().make(file.data());
    MemoryPager pager(file);
    PageAllocator allocator(pager);
    std::string finding;
    std::size_t rows = 0;
    try {
        Table table(pager, allocator, Table::ReadDefinition(pager, Sample::Get().definition));
        auto cursor = table.Scan();
        for (bool more = true; more;) {
            try {
                more = cursor.Next();
                rows += more ? 1 : 0;
            } catch (const Damaged& damage) {
                if (finding.empty()) finding = damage.what();
            }
        }
        EXPECT_GT(rows, 20u) << "rows of sound pages still come";
    } catch (const Damaged& damage) {
        finding = damage.what();
    }
    EXPECT_THAT(finding, testing::HasSubstr(GetParam().finding));
    EXPECT_EQ(finding.empty(), *GetParam().finding == 0) << finding;
    UseAll(pager);
}

const Wound wounds[] = {
    {"the definition's pages go in a circle",
     [](std::uint8_t* f) { StoreLittle(Definition(f, 1) + 4, Sample::Get().definition); }, "never end"},
    {"the definition's next page is data",
     [](std::uint8_t* f) { StoreLittle(Definition(f) + 4, Sample::Get().dataPages[0]); }, "of another kind"},
    {"the definition's next page is missing", [](std::uint8_t* f) { StoreLittle(Definition(f) + 4, 0x00FFFFFFu); },
     "beh"},
    {"the definition says that it is longer", [](std::uint8_t* f) { StoreLittle(Definition(f) + 8, 100000u); },
     "longer than its pages"},
    {"the definition says that it is shorter", [](std::uint8_t* f) { StoreLittle(Definition(f) + 8, 1000u); },
     "ends within its contents"},
    {"it says so by two bytes",
     [](std::uint8_t* f) { StoreLittle(Definition(f) + 8, LoadLittle<std::uint32_t>(Definition(f) + 8) + 2); },
     "ends before"},
    {"more columns than ever were", [](std::uint8_t* f) { StoreLittle<std::uint16_t>(Definition(f) + 25, 66); },
     "more columns"},
    {"fewer columns than there are", [](std::uint8_t* f) { StoreLittle<std::uint16_t>(Definition(f) + 25, 60); },
     "the table definition"},
    {"a billion real indexes", [](std::uint8_t* f) { StoreLittle(Definition(f) + 31, 1000000000u); }, "more indexes"},
    {"a column of an unknown type", [](std::uint8_t* f) { Definition(f)[43 + 3 * 8] = 14; }, "unknown type"},
    {"two columns of one number", [](std::uint8_t* f) { Definition(f)[43 + 3 * 8 + 18 + 1] = 0; },
     "a number that cannot be"},
    {"a fixed field outside any row", [](std::uint8_t* f) { Definition(f)[43 + 3 * 8 + 15] = 0xFF; },
     "a place outside a row"},
    {"no map of the pages", [](std::uint8_t* f) { StoreLittle(Definition(f) + 35, 0u); }, "no page map"},
    {"the map is a row of data",
     [](std::uint8_t* f) { StoreLittle(Definition(f) + 35, Sample::Get().dataPages[0] << 8); },
     "belongs to another owner"},
    {"the map is a row that is not there", [](std::uint8_t* f) { Definition(f)[35] = 200; }, "is missing"},
    {"the map is of an unknown kind", [](std::uint8_t* f) { MapOf(f, Sample::Get().ownedMap)[0] = 2; },
     "is no page map"},
    {"the map's pages of bits are no such",
     [](std::uint8_t* f) {
         MapOf(f, Sample::Get().ownedMap)[0] = 1;
         StoreLittle(MapOf(f, Sample::Get().ownedMap) + 1, Sample::Get().definition);
     },
     "of map bits"},
    {"the map lists a page that is not there", [](std::uint8_t* f) { MapOf(f, Sample::Get().ownedMap)[132] = 0x80; },
     "beh"},
    {"the map lists a page of another table",
     [](std::uint8_t* f) { MapOf(f, Sample::Get().ownedMap)[5 + 18 / 8] |= 1 << (18 % 8); }, "another owner"},
    {"the room map lists nonsense", [](std::uint8_t* f) { MapOf(f, Sample::Get().roomMap)[5] = 0xFF; }, ""},
    {"a page counts 256 rows", [](std::uint8_t* f) { StoreLittle<std::uint16_t>(Data(f) + 8, 256); }, "more than 255"},
    {"a page counts more rows than it has", [](std::uint8_t* f) { StoreLittle<std::uint16_t>(Data(f) + 8, 200); },
     "row "},
    {"a row begins among the offsets", [](std::uint8_t* f) { StoreLittle<std::uint16_t>(Data(f) + 10, 12); },
     "row 0 begins before"},
    {"a row begins behind the one before it", [](std::uint8_t* f) { StoreLittle<std::uint16_t>(Data(f) + 12, 2047); },
     "row 1 does not end"},
    {"a page lies about its free bytes", [](std::uint8_t* f) { StoreLittle<std::uint16_t>(Data(f) + 2, 2000); }, ""},
    {"a row has more columns than its table", [](std::uint8_t* f) { *FirstRow(f, 0) = 66; },
     "more columns than its table"},
    {"a row has no columns", [](std::uint8_t* f) { *FirstRow(f, 0) = 0; }, ""},
    {"a pointer leads to a row that is not there", [](std::uint8_t* f) { FirstRow(f, 0x4000)[0] = 250; },
     "to which a row moved, is missing"},
    {"a pointer leads to itself",
     [](std::uint8_t* f) {
         const std::uint8_t slot = FirstSlot(f, 0x4000);
         StoreLittle(FirstRow(f, 0x4000), RowPointer{Sample::Get().dataPages[0], slot}.Packed());
     },
     "is not one that moved"},
    {"a pointer leads to another table",
     [](std::uint8_t* f) {
         StoreLittle(FirstRow(f, 0x4000), RowPointer{18, 0}.Packed());
     },
     "another owner"},
    {"a chain comes back to itself",
     [](std::uint8_t* f) {
         std::uint8_t* row = ChainRow(f);
         StoreLittle(row, static_cast<std::uint32_t>((row - f) / static_cast<std::ptrdiff_t>(pageSize)) << 8);
     },
     "long value"},
    {"a chain ends too early", [](std::uint8_t* f) { StoreLittle(ChainRow(f), 0u); }, "longer or shorter"},
    {"a chain goes on where no page is",
     [](std::uint8_t* f) {
         std::uint8_t* row = ChainRow(f);
         while (const auto next = LoadLittle<std::uint32_t>(row)) row = RowOf(f, RowPointer::Unpack(next));
         *row = 5;
     },
     "longer or shorter"},
    {"a chain leads into a table",
     [](std::uint8_t* f) {
         StoreLittle(ChainRow(f), RowPointer{18, 0}.Packed());
     },
     "another owner"},
};

INSTANTIATE_TEST_SUITE_P(Wounds, WoundedTable, testing::ValuesIn(wounds));

}  // namespace
}  // namespace vmlib::jet
