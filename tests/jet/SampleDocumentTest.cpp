#include "jet/HeaderPage.h"
#include "jet/MemoryPager.h"
#include "jet/PageMap.h"
#include "jet/SampleDocument.h"
#include "jet/SecondOpinion.h"

namespace vmlib::jet {
namespace {

using testing::IsEmpty;

class TwoCheckers : public SampleDocument
{
protected:
    void ExpectBothFindItSound(Database& database)
    {
        const CheckReport report = Check(database);
        EXPECT_THAT(report.faults, IsEmpty());
        EXPECT_THAT(report.notes, IsEmpty());
        counted_ = "ok " + std::to_string(report.tables) + " tables " + std::to_string(report.rows) + " rows " +
                   std::to_string(report.indexEntries) + " index entries " + std::to_string(report.pages) + " pages";
    }
    void ExpectSecondOpinion(std::string_view name)
    {
        const auto second = SecondOpinion(folder_.Native(name));
        if (!second) GTEST_SKIP() << "python3 is not installed";
        EXPECT_EQ(*second, counted_ + "\n");
    }

    std::string counted_;
};

TEST_F(TwoCheckers, FindTheSampleDocumentSound)
{
    Make();
    OpenOptions options;
    options.password = u"geheim";
    auto database = workspace_->Open(At("sample.mdb"), options);
    ExpectBothFindItSound(*database);
    database->Close();
    ExpectSecondOpinion("sample.mdb");
}

TEST_F(TwoCheckers, AgreeAfterRandomChanges)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Make(u"");
    for (int round = 0; round < 3; ++round) {
        auto database = workspace_->Open(At("sample.mdb"), {});
        const auto table = database->OpenTable(u"Klanten");
        std::vector<RowPointer> rows;
        for (auto cursor = table->Scan(); cursor.Next();) rows.push_back(cursor.Where());
        int next = 1000 * (round + 1);
        UnitOfWork outer(database->GetPager());  // one sync for all
        for (int change = 0; change < 300; ++change) {
            const std::vector<RowPointer> before = rows;
            UnitOfWork unit(database->GetPager());
            const std::size_t victim = random() % rows.size();
            Row old;
            ASSERT_TRUE(table->Fetch(rows[victim], old));
            Row row = Customer(table->Definition(), static_cast<int>(random() % 300), random);
            row[0] = next;
            switch (random() % 3) {
                case 0:
                    table->NoteAutoNumber(next++);
                    rows.push_back(table->Insert(row));
                    break;
                case 1:
                    row[0] = old[0];  // lines point at it
                    table->Update(rows[victim], row);
                    break;
                default:
                    if (std::get<std::int32_t>(old[0]) < 1000) break;
                    table->Delete(rows[victim]);
                    rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(victim));
            }
            if (random() % 5 != 0) {
                unit.Commit();
            } else {
                rows = before;  // it is rolled back
            }
        }
        outer.Commit();
        ExpectBothFindItSound(*database);
        database->Close();
        ExpectSecondOpinion("sample.mdb");
    }
}

// ----------------------------------------------------------------------------------------------- damage

/// Opens, checks and reads everything of a file; whatever it holds, this ends, and what goes wrong is an Error. Returns
/// what it met.
struct Visit
{
    std::size_t faults = 0, errors = 0, rows = 0;
};

class DamagedDocument : public SampleDocument
{
protected:
    Visit VisitAll(std::string_view name, bool write)
    {
        Visit visit;
        const auto step = [&](auto&& action) {
            try {
                action();
            } catch (const Error&) {
                ++visit.errors;
            }
        };
        std::shared_ptr<Database> database;
        step([&] { database = workspace_->Open(At(name), {}); });
        if (!database) return visit;
        step([&] { visit.faults = Check(*database).faults.size(); });
        step([&] { database->Relations(); });
        step([&] { database->Queries(); });
        std::vector<Text> names = {u"MSysObjects",       u"MSysACEs", u"MSysQueries",
                                   u"MSysRelationships", u"Klanten",  u"Regels"};
        for (const Text& table : names) {
            step([&] {
                const ReadScope scope(database->GetPager());
                const auto open = database->OpenTable(table);
                step([&] {
                    for (auto cursor = open->Scan(); cursor.Next();) ++visit.rows;
                });
                for (std::size_t tree = 0; tree < open->Definition().trees.size(); ++tree) {
                    step([&] {
                        Row row;
                        for (auto at = open->Tree(tree).First(); !at.AtEnd(); at.Next())
                            visit.rows += open->Fetch(at.Row(), row);
                    });
                    step([&] {
                        for (auto at = open->Tree(tree).Last(); !at.AtEnd(); at.Previous()) ++visit.rows;
                    });
                }
            });
        }
        if (write)
            step([&] {
                UnitOfWork unit(database->GetPager());
                const auto open = database->OpenTable(u"Regels");
                step([&] {
                    for (int n = 0; n < 5; ++n)
                        open->Insert({Null{}, static_cast<std::int16_t>(20000 + n), std::string("nieuw")});
                });
            });
        step([&] { database->Close(); });
        return visit;
    }
};

TEST_F(DamagedDocument, NeverBreaksAReader)
{
    const char* asked = std::getenv("VMLIB_FUZZ_ROUNDS");
    const int rounds = asked != nullptr ? std::atoi(asked) : 120;
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string sound = Make(u"");
    ASSERT_EQ(VisitAll("sample.mdb", false).faults, 0u);
    ASSERT_EQ(VisitAll("sample.mdb", false).errors, 0u);
    const std::size_t pages = sound.size() / pageSize;
    int noticed = 0;
    for (int round = 0; round < rounds; ++round) {
        std::string wounded = sound;
        const auto anywhere = [&] {
            return random() % pages * pageSize + random() % (random() % 2 == 0 ? 260 : pageSize);
        };
        switch (random() % 6) {
            case 0:  // some bytes
                for (auto n = random() % 20; n-- > 0;) wounded[anywhere()] = static_cast<char>(random());
                break;
            case 1: {  // a number that is extreme, or that of another page
                static constexpr std::uint32_t extremes[] = {0,      1,       2,          0xFF,       0x7FFF,    0x8000,
                                                             0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
                for (int n = 0; n < 3; ++n) {
                    const std::size_t at = std::min(anywhere() & ~std::size_t{1}, sound.size() - 4);
                    const std::uint32_t value = random() % 2 == 0 ? extremes[random() % std::size(extremes)]
                                                                  : static_cast<std::uint32_t>(random() % pages);
                    StoreLittle(reinterpret_cast<std::uint8_t*>(wounded.data()) + at, value);
                }
                break;
            }
            case 2:  // cut off, also within a page
                wounded.resize(random() % wounded.size());
                break;
            case 3: {  // a page in place of another
                const std::size_t from = random() % pages * pageSize;
                const std::size_t to = (1 + random() % (pages - 1)) * pageSize;
                wounded.replace(to, pageSize, sound, from, pageSize);
                break;
            }
            case 4:  // a page of zeros
                wounded.replace((1 + random() % (pages - 1)) * pageSize, pageSize, pageSize, '\0');
                break;
            default:  // the head of one page, thoroughly
                const std::size_t page = random() % pages * pageSize;
                for (std::size_t at = 0; at < 64; ++at) {
                    if (random() % 4 == 0) wounded[page + at] = static_cast<char>(random());
                }
        }
        const std::string name = "w" + std::to_string(round % 2) + ".mdb";
        folder_.Write(name, wounded);
        const Visit visit = VisitAll(name, round % 4 == 0);
        if (visit.faults + visit.errors > 0 && wounded != sound) ++noticed;
        if (HasFailure()) break;
    }
    EXPECT_GT(noticed, rounds * 6 / 10);  // some bytes are nobody's: free space, values of no index
}

}  // namespace
}  // namespace vmlib::jet
