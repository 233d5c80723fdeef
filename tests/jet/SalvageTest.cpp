#include <set>

#include "core/ByteOrder.h"
#include "jet/FileContents.h"
#include "jet/GenuineTables.h"
#include "jet/RowCodec.h"
#include "jet/RowStore.h"
#include "jet/Salvage.h"
#include "jet/SalvageNames.h"
#include "jet/SampleDocument.h"
#include "jet/SecondOpinion.h"
#include "support/FailingFiles.h"

// Repair: whatever is wrong with a file, what comes out is sound, holds every row of the pages that are whole, and says
// what is missing; or the file is as it was.
namespace vmlib::jet {
namespace {

using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Rows of a table with the page that each stands on, to know which damage takes.
using PlacedRows = std::multimap<PageNumber, std::string>;

class SalvageTest : public SampleDocument
{
protected:
    SalvageReport Repair(std::string_view name = "sample.mdb")
    {
        return Salvage(
            files_, folder_.Path(), [] { return now; }, At(name));
    }
    std::int32_t ErrorOfRepair(std::string_view name)
    {
        try {
            Repair(name);
        } catch (const Error& error) {
            return error.Number();
        }
        return 0;
    }
    std::shared_ptr<Database> Open(std::string_view name = "sample.mdb")
    {
        return workspace_->Open(At(name), {.password = u"geheim"});
    }
    static const SalvagedTable& Of(const SalvageReport& report, TextView name)
    {
        static const SalvagedTable none{};
        const auto found = std::ranges::find(report.tables, name, &SalvagedTable::name);
        return found != report.tables.end() ? *found : none;
    }

    /// What a file lets be read of the user tables, row by row, whatever the tables are called.
    std::multiset<std::string> UserRows(Database& database)
    {
        std::multiset<std::string> all;
        for (const auto& [table, rows] : ContentsOf(database))
            if (!table.starts_with("MSys"))
                for (const std::string& row : rows) all.insert(row);
        return all;
    }

    /// Which rows of the sound document touch each page: by their own place, the place that they moved to, or a long
    /// value there.
    std::set<PageNumber> PagesThatMatter(Database& database, std::map<PageNumber, std::multiset<std::string>>& rowsOf)
    {
        std::set<PageNumber> pages;
        for (const Text& name : TableNames(database)) {
            const auto table = database.OpenTable(name);
            const RowCodec codec(table->Definition());
            RowStore store(database.GetPager(), database.Allocator(), table->Definition().page,
                           table->Definition().ownedMap, 0);
            for (auto cursor = table->Scan(); cursor.Next();) {
                std::string text;
                for (const Value& value : cursor.Current()) text += Printed(value) + "|";
                std::set<PageNumber> touched = {cursor.Where().page, store.Find(cursor.Where())->at.page};
                const auto found = store.Find(cursor.Where());
                const RowFields fields = codec.Parse(found->bytes, found->at.page);
                for (std::size_t i = 0; i < codec.ColumnCount(); ++i)
                    if (const auto field = codec.Field(fields, i); field && IsLongValue(codec.Type(i)))
                        AddLongPages(database, *field, touched);
                for (const PageNumber page : touched) rowsOf[page].insert(text);
                pages.insert(touched.begin(), touched.end());
            }
        }
        return pages;
    }
    void AddLongPages(Database& database, std::span<const std::uint8_t> field, std::set<PageNumber>& pages)
    {
        const auto word = LoadLittle<std::uint32_t>(field.data());
        if ((word & 0x80000000) != 0 || (word & 0x3FFFFFFF) == 0) return;
        RowPointer at = RowPointer::Unpack(LoadLittle<std::uint32_t>(field.data() + 4));
        while (at != RowPointer{}) {
            pages.insert(at.page);
            if ((word & 0x40000000) != 0) return;
            const DataPage page(database.GetPager().Read(at.page), DataPage::longValueOwner);
            at = RowPointer::Unpack(LoadLittle<std::uint32_t>(page.At(at.row).bytes.data()));
        }
    }

    void ExpectSound(const std::string& what)
    {
        const auto database = Open();
        const CheckReport report = Check(*database);
        EXPECT_THAT(report.faults, IsEmpty()) << what;
        EXPECT_THAT(report.notes, IsEmpty()) << what;
    }
    void ExpectSecondOpinion(const std::string& what)
    {
        if (const auto second = SecondOpinion(folder_.Native("sample.mdb"))) {
            EXPECT_THAT(*second, testing::StartsWith("ok ")) << what;
        }
    }
};

TEST_F(SalvageTest, ASoundFileStaysWhatItIs)
{
    const std::string before = Make();
    EXPECT_TRUE(Repair().wasSound);
    EXPECT_EQ(folder_.Read("sample.mdb"), before);

    std::string marked = before;
    marked[0x600] = marked[0x601] = 0;     // somebody died while writing
    marked[0x604] = 1, marked[0x605] = 0;  // somebody met damage
    folder_.Write("sample.mdb", marked);
    const SalvageReport report = Repair();
    EXPECT_TRUE(report.wasSound && report.LostNothing());
    EXPECT_EQ(Of(report, u"Klanten").rows, 300u);
    std::string after = folder_.Read("sample.mdb");
    EXPECT_NE(after.substr(0x600, 2), std::string(2, '\0'));
    after.replace(0x600, 512, before, 0x600, 512);
    EXPECT_EQ(after, before);
}

TEST_F(SalvageTest, EveryPageMayBeLost)
{
    const std::string sound = Make();
    std::map<PageNumber, std::multiset<std::string>> rowsOf;
    std::multiset<std::string> all;
    std::set<PageNumber> definitions;
    {
        const auto database = Open();
        PagesThatMatter(*database, rowsOf);
        all = UserRows(*database);
        for (const Text& name : TableNames(*database)) definitions.insert(database->OpenTable(name)->Definition().page);
    }
    std::mt19937 random(5);
    std::size_t lost = 0;
    // Of the many pages behind the system's and the first of each kind every third.
    for (PageNumber page = 0; page < sound.size() / pageSize; page += page < 60 ? 1 : 3) {
        std::string wounded = sound;
        for (std::size_t at = 0; at < pageSize; ++at)
            wounded[page * pageSize + at] = page % 2 == 0 ? '\0' : static_cast<char>(random());
        folder_.Write("sample.mdb", wounded);
        const std::string what = "page " + std::to_string(page);
        SalvageReport report;
        ASSERT_NO_THROW(report = Repair()) << what;
        ExpectSound(what);
        std::multiset<std::string> expected = all;
        if (const auto rows = rowsOf.find(page); rows != rowsOf.end()) {
            for (const std::string& row : rows->second) expected.erase(expected.find(row));
        }
        const auto database = Open();
        const auto left = UserRows(*database);
        if (!definitions.contains(page)) {
            EXPECT_TRUE(std::ranges::includes(left, expected)) << what;
        }
        if (left != all) {
            EXPECT_FALSE(report.LostNothing()) << what;
            ++lost;
        }
        if (HasFailure()) break;
    }
    EXPECT_GT(lost, 10u);
}

TEST_F(SalvageTest, SaysWhatIsMissing)
{
    const std::string sound = Make();
    std::map<PageNumber, std::multiset<std::string>> rowsOf;
    PageNumber lines = 0, longValue = 0, definition = 0;
    {
        const auto database = Open();
        PagesThatMatter(*database, rowsOf);
        const auto table = database->OpenTable(u"Regels");
        auto cursor = table->Scan();
        cursor.Next();
        lines = cursor.Where().page;
        definition = table->Definition().page;
        for (const auto& [page, rows] : rowsOf)
            if (DataPage::Is(database->GetPager().Read(page), DataPage::longValueOwner)) longValue = page;
    }
    const auto wound = [&](PageNumber page) {
        std::string wounded = sound;
        wounded.replace(page * pageSize, pageSize, pageSize, '\0');
        folder_.Write("sample.mdb", wounded);
    };
    wound(lines);
    SalvageReport report = Repair();
    EXPECT_FALSE(report.wasSound);
    EXPECT_EQ(Of(report, u"Regels").lostPages, 1u);
    EXPECT_EQ(Of(report, u"Regels").lostRows, rowsOf[lines].size());
    EXPECT_TRUE(Of(report, u"Klanten").LostNothing());
    EXPECT_THAT(ToUtf8(Of(report, u"Regels").Summary()), HasSubstr("page " + std::to_string(lines)));

    wound(longValue);
    report = Repair();
    EXPECT_EQ(Of(report, u"Klanten").rows, 300u);
    EXPECT_EQ(Of(report, u"Klanten").lostLongValues + Of(report, u"Klanten").cutLongValues, rowsOf[longValue].size());

    wound(definition);
    report = Repair();
    EXPECT_GT(Of(report, u"Regels").lostRows, 600u);
    EXPECT_EQ(Of(report, u"Klanten").rows, 300u);
    EXPECT_THAT(Open()->Relations(), IsEmpty());
}

/// The catalogue's own pages: tables are found by their definitions, names by the catalogue's indexes, relations by
/// their own.
TEST_F(SalvageTest, FindsTablesThatTheCatalogueLost)
{
    const std::string sound = Make();
    std::set<PageNumber> rows, leaves;
    std::multiset<std::string> all;
    {
        const auto database = Open();
        all = UserRows(*database);
        for (const TextView name : {u"MSysObjects", u"MSysRelationships"}) {
            const auto table = database->OpenTable(name);
            for (auto cursor = table->Scan(); cursor.Next();) rows.insert(cursor.Where().page);
        }
        for (const TreeDefinition& tree : database->OpenTable(u"MSysObjects")->Definition().trees)
            leaves.insert(tree.root);
    }
    for (const bool withNames : {true, false}) {
        std::string file = sound;
        for (const PageNumber page : rows) file.replace(page * pageSize, pageSize, pageSize, '\xAA');
        if (!withNames)
            for (const PageNumber page : leaves) file.replace(page * pageSize, pageSize, pageSize, '\xAA');
        folder_.Write("sample.mdb", file);
        EXPECT_FALSE(Repair().LostNothing());
        ExpectSound("without a catalogue");
        ExpectSecondOpinion("without a catalogue");
        const auto database = Open();
        EXPECT_THAT(TableNames(*database),
                    withNames ? ElementsAre(u"Klanten", u"Regels") : ElementsAre(u"Hersteld 1", u"Hersteld 2"));
        EXPECT_EQ(UserRows(*database), all);
        ASSERT_EQ(database->Queries().size(), 1u);
        EXPECT_EQ(database->Queries()[0].name, withNames ? u"Alle klanten" : u"Hersteld 3");
        EXPECT_EQ(database->Queries()[0].rows.size(), 4u);
        ASSERT_EQ(database->Relations().size(), 1u);
        EXPECT_EQ(database->Relations()[0].name, u"KlantenRegels");
        EXPECT_EQ(database->Relations()[0].attributes, 256u | 4096u);
        EXPECT_EQ(database->Relations()[0].fields, (std::vector<std::pair<Text, Text>>{{u"Id", u"Klant"}}));
    }
}

TEST_F(SalvageTest, KeysGiveTheirTextBack)
{
    const struct
    {
        const char* text;
        const char* expected;
    } cases[] = {
        {"KLANTEN", "Klanten"},
        {"Order details 2", "Order details 2"},
        {"Caf\xE9", "Caf\xE9"},
        {"\xD6"
         "ber_x",
         "\xD6"
         "ber_x"},
        {"a\xE7\xE8", "A\xE7\xE8"},
        {"Stra\xDF"
         "e",
         "Strasse"},
    };
    for (const auto& each : cases) {
        Key key;
        IndexKey::AppendText(key, each.text, dutchOrder);
        EXPECT_EQ(TextOfKey(key, dutchOrder), std::optional<std::string>(each.expected));
    }
    EXPECT_EQ(TextOfKey("\x60\x61", dutchOrder), std::nullopt);
    EXPECT_EQ(TextOfKey("\xFE\x00", dutchOrder), std::nullopt);
}

/// No row is left out because of an index.
TEST_F(SalvageTest, RatherLosesAnIndexThanARow)
{
    std::string file = Make();
    {
        const auto database = Open();
        const auto table = database->OpenTable(u"Klanten");
        auto cursor = table->Scan();
        cursor.Next();
        RowStore store(database->GetPager(), database->Allocator(), table->Definition().page,
                       table->Definition().ownedMap, 0);
        std::vector<std::size_t> places;  // of the key in two rows
        for (int i = 0; i < 3; ++i, cursor.Next()) {
            const auto found = store.Find(cursor.Where());
            places.push_back(found->page.Number() * pageSize +
                             static_cast<std::size_t>(found->bytes.data() - found->page.Data()) + 1);
        }
        file.replace(places[1], 4, file, places[2], 4);
    }
    folder_.Write("sample.mdb", file);
    const SalvageReport report = Repair();
    ExpectSound("a key that comes twice");
    ExpectSecondOpinion("a key that comes twice");
    const auto database = Open();
    const auto table = database->OpenTable(u"Klanten");
    EXPECT_EQ(table->RowCount(), 300u);
    const IndexDefinition* index = table->Definition().IndexNamed(u"PrimaryKey");
    ASSERT_NE(index, nullptr);
    EXPECT_EQ(index->kind, IndexDefinition::Kind::Plain);
    EXPECT_FALSE(table->Definition().TreeOf(*index).unique);
    EXPECT_EQ(database->Relations()[0].attributes & 2, 2u);
    EXPECT_THAT(ToUtf8(Of(report, u"Klanten").Summary()), HasSubstr("PrimaryKey is no longer unique"));
    EXPECT_THAT(ToUtf8(Of(report, u"Regels").Summary()), HasSubstr("KlantenRegels is no longer enforced"));
}

/// Damage of every kind, at random: it ends, and what comes out is sound.
TEST_F(SalvageTest, WhateverComesOutIsSound)
{
    const char* asked = std::getenv("VMLIB_FUZZ_ROUNDS");
    const int rounds = asked != nullptr ? std::atoi(asked) : 60;
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string sound = Make(u"");
    const std::size_t pages = sound.size() / pageSize;
    int repaired = 0;
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        std::string wounded = sound;
        for (auto n = random() % 4; n-- > 0;) {
            // Not the header: it may come out with a password that nobody knows.
            const std::size_t page = (1 + random() % (pages - 1)) * pageSize;
            switch (random() % 3) {
                case 0:
                    wounded.replace(random() % pages * pageSize, pageSize, sound, page, pageSize);
                    break;
                case 1:
                    for (auto i = random() % 40; i-- > 0;)
                        wounded[page + random() % (random() % 2 == 0 ? 64 : pageSize)] = static_cast<char>(random());
                    break;
                default:
                    wounded.replace(page + random() % pageSize / 2, pageSize / 2, pageSize / 2, '\xFF');
            }
        }
        if (random() % 5 == 0) wounded.resize(random() % wounded.size());
        folder_.Write("sample.mdb", wounded);
        const std::int32_t error = ErrorOfRepair("sample.mdb");
        if (error == 0) {
            ExpectSound("round " + std::to_string(round));
            if (round % 8 == 0) ExpectSecondOpinion("round " + std::to_string(round));
            ++repaired;
        } else {
            EXPECT_THAT(error, AnyOf(3056, 3343)) << "round " << round;
            EXPECT_EQ(folder_.Read("sample.mdb"), wounded);
        }
        EXPECT_THAT(folder_.Names(), ElementsAre("sample.mdb"));
    }
    EXPECT_GT(repaired, rounds / 2);
}

TEST_F(SalvageTest, RefusesWithTheNumberOfTheObstacle)
{
    Make();
    folder_.Write("text.mdb", std::string(10000, 'x'));
    folder_.Write("empty.mdb", "");
    const auto held = NewWorkspace(files_);
    workspace_->Create(At("held.mdb"), {}, u"")->Close();
    const auto holder = held->Open(At("held.mdb"), {});
    folder_.Write("locked.mdb", folder_.Read("held.mdb"));
    files_.SetReadOnly(At("locked.mdb"), true);
    EXPECT_EQ(ErrorOfRepair("none.mdb"), 3024);
    EXPECT_EQ(ErrorOfRepair("none\\none.mdb"), 3044);
    EXPECT_EQ(ErrorOfRepair("text.mdb"), 3343);
    EXPECT_EQ(ErrorOfRepair("empty.mdb"), 3343);
    EXPECT_EQ(ErrorOfRepair("held.mdb"), 3196);
    EXPECT_EQ(ErrorOfRepair("locked.mdb"), 3051);
    files_.SetReadOnly(At("locked.mdb"), false);
}

TEST_F(SalvageTest, TheFileIsTheOldOneOrTheNewOneWheneverItStops)
{
    std::string wounded = Make();
    wounded.replace(40 * pageSize, pageSize, pageSize, '\0');
    Repair();
    folder_.Write("sample.mdb", wounded);
    Repair();
    const FileContents whole = ContentsOf(*Open());
    test::FailingFiles failing(files_);
    for (const auto kind : {test::FaultKind::PowerCut, test::FaultKind::FailsOn}) {
        bool struck = true;
        for (int n = 1; struck; ++n) {
            folder_.Write("sample.mdb", wounded);
            failing.Arm({.at = n, .kind = kind, .fault = FileFault::DiskFull});
            try {
                Salvage(
                    failing, folder_.Path(), [] { return now; }, At("sample.mdb"));
            } catch (const Error&) {
                EXPECT_TRUE(failing.Struck()) << "step " << n;
            }
            struck = failing.Struck();
            if (kind == test::FaultKind::PowerCut)
                failing.AfterPowerCut(test::FailingFiles::Unsynced::Random, static_cast<unsigned>(n));
            failing.Disarm();
            if (folder_.Read("sample.mdb") != wounded) {
                EXPECT_EQ(ContentsOf(*Open()), whole) << "step " << n;
            }
            for (const std::string& name : folder_.Names())
                if (name != "sample.mdb") files_.Delete(At(name));
        }
        EXPECT_NE(folder_.Read("sample.mdb"), wounded);
    }
}

class GenuineSalvage : public SalvageTest, public testing::WithParamInterface<const char*>
{
};

TEST_P(GenuineSalvage, LosesNothingOfASoundFileEvenWhenItIsBuiltAnew)
{
    VMLIB_GENUINE_FILE(genuine, GetParam());
    const Text path = CopyOf(genuine);
    FileContents before;
    {
        const auto database = workspace_->Open(path, {});
        before = Sorted(ContentsOf(*database));
    }
    std::string file = folder_.Read(GetParam());
    file.replace(pageSize, pageSize, pageSize, '\0');  // the free map
    folder_.Write(GetParam(), file);
    const SalvageReport report = Repair(GetParam());
    EXPECT_FALSE(report.wasSound);
    for (const SalvagedTable& table : report.tables) EXPECT_TRUE(table.LostNothing()) << ToUtf8(table.Summary());
    const auto database = workspace_->Open(path, {});
    EXPECT_THAT(Check(*database).faults, IsEmpty());
    EXPECT_EQ(Sorted(ContentsOf(*database)), before);
}

INSTANTIATE_TEST_SUITE_P(Files, GenuineSalvage, GenuineFileNames(), GenuineCaseName);

}  // namespace
}  // namespace vmlib::jet
