#include <gmock/gmock.h>

#include <filesystem>

#include "jet/PagerFixture.h"

namespace vmlib::jet {
namespace {

using test::FailingFiles;
using test::FaultKind;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using Unsynced = FailingFiles::Unsynced;

/// A change of an existing file: which pages it touches decides whether the cache (of six pages) spills.
struct Change
{
    const char* name;
    std::size_t pages;   // of the file
    std::size_t edited;  // from page 1 on
    std::size_t added;
    bool second = false;  // the pager has committed a unit before, and its journal is used again
    bool shared = false;  // where all fits in memory the journal is sealed
};

const Change changes[] = {
    {"one page", 3, 1, 0},
    {"new pages that the old ones point at", 3, 2, 3},
    {"more than the cache holds", 12, 12, 9},
    {"one page, in a journal used before", 3, 1, 0, true},
    {"one page, shared", 3, 1, 0, false, true},
    {"new pages that the old ones point at, shared", 3, 2, 3, true, true},
    {"more than the cache holds, shared", 12, 12, 9, false, true},
};

std::ostream& operator<<(std::ostream& out, const Change& change)
{
    return out << change.name;
}

class FaultTest : public PagerFixture, public testing::WithParamInterface<Change>
{
protected:
    Marks Before() const { return Numbered(1, GetParam().pages); }
    Marks After() const
    {
        Marks marks = Before();
        for (std::size_t i = 0; i < GetParam().edited; ++i) marks[i] += 0x100;
        for (std::size_t i = 0; i < GetParam().added; ++i) marks.push_back(0x7000 + static_cast<std::uint32_t>(i));
        return marks;
    }

    void Apply(FilePager& pager) const
    {
        const Marks after = After();
        UnitOfWork unit(pager);
        for (PageNumber page = 1; page <= after.size(); ++page) {
            if (page == pager.PageCount()) {
                Fill(pager.Extend(), after[page - 1]);
            } else if (page <= GetParam().edited) {
                Fill(pager.Edit(page), after[page - 1]);
            }
        }
        unit.Commit();
    }

    std::uint16_t WordBefore() const { return GetParam().second ? createdWord + 1 : createdWord; }

    /// A pager that is about to apply the change.
    std::unique_ptr<FilePager> Ready(FailingFiles& files) const
    {
        PagerOptions options = Small();
        options.shared = GetParam().shared;
        auto pager = Open(files, At("a.mdb"), options);
        if (GetParam().second) {
            UnitOfWork unit(*pager);
            for (PageNumber page = 1; page < pager->PageCount(); ++page)
                pager->Edit(page);  // a longer journal than the change needs
            unit.Commit();
        }
        return pager;
    }

    void Renew() const
    {
        for (const std::string& name : folder_.Names()) std::filesystem::remove(folder_.Native(name));
        Make(At("a.mdb"), Before());
    }

    // What a fresh opener sees; nothing may be left beside the file.
    Marks Reopened(std::string_view what)
    {
        Marks marks;
        {
            const auto pager = Open(files_, At("a.mdb"));
            marks = MarksOf(*pager);
            const std::uint16_t word = WordOf(*pager);
            EXPECT_EQ(word, WordBefore() + (marks == Before() ? 0 : 1)) << what;
        }
        EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb")) << what;
        EXPECT_EQ(std::filesystem::file_size(folder_.Native("a.mdb")), (marks.size() + 1) * pageSize) << what;
        return marks;
    }
};

TEST_P(FaultTest, APowerCutAtEveryStepLeavesTheOldStateOrTheNew)
{
    const std::pair<Unsynced, unsigned> fates[] = {{Unsynced::Lost, 1},   {Unsynced::Kept, 1},   {Unsynced::Random, 1},
                                                   {Unsynced::Random, 2}, {Unsynced::Random, 3}, {Unsynced::Random, 4}};
    for (const auto& [unsynced, seed] : fates) {
        bool struck = true;
        for (int n = 1; struck; ++n) {
            const std::string what = "step " + std::to_string(n) + ", seed " + std::to_string(seed);
            Renew();
            FailingFiles files(files_);
            auto pager = Ready(files);
            files.Arm({.at = n, .kind = FaultKind::PowerCut});
            const bool told = NumberOf([&] { Apply(*pager); }) == 0;
            pager.reset();
            struck = files.Struck();
            files.AfterPowerCut(unsynced, seed);
            const Marks found = Reopened(what);
            if (told) {
                EXPECT_EQ(found, After()) << what;
            } else {
                EXPECT_THAT(found, AnyOf(Before(), After())) << what;
            }
        }
    }
}

TEST_P(FaultTest, PlayingBackMayBeCutOffToo)
{
    // A hot journal: the power goes at the sync of the file, with everything written.
    bool played = false;
    for (int n = 1; !played; ++n) {
        Renew();
        FailingFiles files(files_);
        auto pager = Ready(files);
        files.Arm({.at = 2, .kind = FaultKind::PowerCut, .steps = {test::Step::Sync}});
        EXPECT_NE(NumberOf([&] { Apply(*pager); }), 0);
        pager.reset();
        files.AfterPowerCut(Unsynced::Kept);

        files.Arm({.at = n, .kind = FaultKind::PowerCut});
        played = NumberOf([&] { Open(files, At("a.mdb")); }) == 0;
        files.AfterPowerCut(Unsynced::Random, static_cast<unsigned>(n));
        // Behind a sealed journal the unit was complete, until the second cut lost some of it.
        const Marks found = Reopened("step " + std::to_string(n));
        if (GetParam().shared) {
            EXPECT_THAT(found, AnyOf(Before(), After()));
        } else {
            EXPECT_EQ(found, Before());
        }
    }
}

TEST_P(FaultTest, AFailingStepReachesTheCallerAndUndoesTheChange)
{
    const std::pair<FileFault, std::int32_t> faults[] = {{FileFault::DiskFull, 3026}, {FileFault::Io, 3043}};
    for (const FaultKind kind : {FaultKind::Fails, FaultKind::FailsOn, FaultKind::CutShort}) {
        for (const auto& [fault, number] : faults) {
            bool struck = true;
            for (int n = 1; struck; ++n) {
                const std::string what = "step " + std::to_string(n);
                Renew();
                FailingFiles files(files_);
                {
                    const auto pager = Ready(files);
                    files.Arm({.at = n, .kind = kind, .fault = fault});
                    const std::int32_t told = NumberOf([&] { Apply(*pager); });
                    struck = files.Struck();
                    files.Disarm();
                    // The journal's deletion may fail: what it holds no longer counts.
                    EXPECT_THAT(told, AnyOf(0, number)) << what;
                    // The pager shows the outcome or says that it cannot go on.
                    Marks seen;
                    if (NumberOf([&] { seen = MarksOf(*pager); }) == 0) {
                        EXPECT_EQ(seen, told == 0 ? After() : Before()) << what;
                    } else {
                        EXPECT_NE(told, 0) << what;
                    }
                    if (told != 0) struck = true;
                    if (told == 0) {
                        EXPECT_EQ(seen, After()) << what;
                    }
                }
                const auto pager = Open(files_, At("a.mdb"));
                const Marks found = MarksOf(*pager);
                EXPECT_THAT(found, AnyOf(Before(), After())) << what;
            }
        }
    }
}

TEST_P(FaultTest, AfterAFailureThePagerGoesOnAndTheNextCommitCounts)
{
    bool struck = true;
    for (int n = 1; struck; ++n) {
        Renew();
        FailingFiles files(files_);
        const auto pager = Ready(files);
        files.Arm({.at = n,
                   .kind = FaultKind::Fails,
                   .fault = FileFault::DiskFull,
                   .steps = {test::Step::Write, test::Step::Create}});
        const std::int32_t told = NumberOf([&] { Apply(*pager); });
        struck = files.Struck();
        EXPECT_EQ(told, struck ? 3026 : 0) << "write " << n;
        if (told != 0) Apply(*pager);
        EXPECT_EQ(MarksOf(*pager), After()) << "write " << n;
    }
}

TEST_P(FaultTest, SettlingANewFileIsToldOrDone)
{
    for (unsigned seed = 0; seed < 8; ++seed) {
        bool struck = true;
        for (int n = 1; struck; ++n) {
            const std::string what = "step " + std::to_string(n) + ", seed " + std::to_string(seed);
            for (const std::string& name : folder_.Names()) std::filesystem::remove(folder_.Native(name));
            FailingFiles files(files_);
            files.Arm({.at = n, .kind = seed == 0 ? FaultKind::Fails : FaultKind::PowerCut});
            const bool told = NumberOf([&] { Create(files, At("a.mdb"), Before())->Settle(); }) == 0;
            struck = files.Struck();
            EXPECT_EQ(told, !struck) << what;
            files.AfterPowerCut(Unsynced::Random, seed);
            if (!files_.Exists(At("a.mdb"))) continue;
            // A file that was not finished says so in its commit word, or has none.
            const auto pager = Open(files_, At("a.mdb"));
            if (pager->PageCount() == 0 || WordOf(*pager) != createdWord) {
                EXPECT_FALSE(told) << what;
            } else {
                EXPECT_EQ(MarksOf(*pager), Before()) << what;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Changes, FaultTest, testing::ValuesIn(changes));

class JournalTest : public PagerFixture
{
};

TEST_F(JournalTest, OfAnotherFileIsNeverPlayedAndNeverLost)
{
    Make(At("a.mdb"), {1, 2, 3});
    Make(At("other.mdb"), {50, 60, 70});
    Die(At("a.mdb"), 99);
    const std::string journal = folder_.Read("a.mdb-journal");
    const struct
    {
        const char* how;
        bool sameFile;  // the other document is copied over the file, which stays who it is
    } cases[] = {{"renamed into its place", false}, {"copied over it", true}};
    for (const auto& row : cases) {
        const std::string other = folder_.Read("other.mdb");
        if (!row.sameFile) std::filesystem::remove(folder_.Native("a.mdb"));
        folder_.Write("a.mdb", other);
        folder_.Write("a.mdb-journal", journal);
        {
            const auto pager = Open(files_, At("a.mdb"));
            EXPECT_EQ(MarksOf(*pager), (Marks{50, 60, 70})) << row.how;
            EXPECT_EQ(folder_.Read("a.mdb-journal"), journal) << row.how;
            UnitOfWork unit(*pager);
            Fill(pager->Edit(1), 51);
            unit.Commit();
        }
        EXPECT_EQ(MarksOf(*Open(files_, At("a.mdb"))), (Marks{51, 60, 70})) << row.how;
        EXPECT_THAT(folder_.Names(), Not(Contains("a.mdb-journal"))) << row.how;
    }
    EXPECT_EQ(folder_.Read("a.mdb-journal-1"), journal);
    EXPECT_EQ(folder_.Read("a.mdb-journal-2"), journal);
}

TEST_F(JournalTest, IsPlayedBackWhereFileAndJournalWereCopiedTogether)
{
    Make(At("a.mdb"), {1, 2, 3});
    Die(At("a.mdb"), 99);
    folder_.Write("b.mdb", folder_.Read("a.mdb"));
    folder_.Write("b.mdb-journal", folder_.Read("a.mdb-journal"));
    EXPECT_EQ(MarksOf(*Open(files_, At("b.mdb"))), (Marks{1, 2, 3}));
    EXPECT_THAT(folder_.Names(), Not(Contains("b.mdb-journal")));
}

TEST_F(JournalTest, IsAsPrivateAsItsFile)
{
    using std::filesystem::perms;
    constexpr perms owners = perms::owner_read | perms::owner_write;
    const std::pair<const char*, perms> cases[] = {{"a.mdb", owners},
                                                   {"b.mdb", owners | perms::group_read | perms::group_write}};
    for (const auto& [name, mode] : cases) {
        Make(At(name), {1, 2, 3});
        std::filesystem::permissions(folder_.Native(name), mode);
        Die(At(name), 99);
        EXPECT_EQ(std::filesystem::status(folder_.Native(name + std::string("-journal"))).permissions(), mode) << name;
    }
}

TEST_F(JournalTest, ThatLostSomethingIsNotPlayedHalf)
{
    Make(At("a.mdb"), Numbered(1, 5));
    Die(At("a.mdb"), 99);
    const std::string file = folder_.Read("a.mdb");
    const std::string journal = folder_.Read("a.mdb-journal");
    ASSERT_GT(journal.size(), 2 * pageSize);
    const auto settled = [&](std::size_t size) {
        folder_.Write("a.mdb-journal", std::string_view(journal).substr(0, size));
        return SettleJournal(files_, At("a.mdb"));
    };
    for (std::size_t size = 512; size < journal.size(); size += 300) {
        EXPECT_EQ(settled(size), Settled::NotOurs) << size;  // a changed page has no record
        EXPECT_TRUE(files_.Exists(At("a.mdb-journal"))) << size;
    }
    for (std::size_t size = 0; size < 512; size += 73) {
        EXPECT_EQ(settled(size), Settled::Removed) << size;  // what overwriting the header means: the unit is complete
        EXPECT_FALSE(files_.Exists(At("a.mdb-journal"))) << size;
    }
    EXPECT_EQ(folder_.Read("a.mdb"), file);

    std::string halfWritten = file;
    halfWritten[commitWordsAt] = halfWritten[commitWordsAt + 1] = 0;
    folder_.Write("a.mdb", halfWritten);
    EXPECT_EQ(settled(400), Settled::NotOurs);  // the file says that somebody was writing: evidence of damage
    EXPECT_EQ(folder_.Read("a.mdb"), halfWritten);
}

TEST_F(JournalTest, BytesThatAreWrongNeverReachTheFile)
{
    Make(At("a.mdb"), Numbered(1, 5));
    Die(At("a.mdb"), 99);
    const std::string file = folder_.Read("a.mdb");
    const std::string journal = folder_.Read("a.mdb-journal");
    for (std::size_t at = 0; at < journal.size(); at += 61) {
        std::string wrong = journal;
        wrong[at] = static_cast<char>(wrong[at] ^ 0x41);
        folder_.Write("a.mdb", file);
        folder_.Write("a.mdb-journal", wrong);
        Marks marks;
        const std::int32_t number = NumberOf([&] { marks = MarksOf(*Open(files_, At("a.mdb"))); });
        if (number == 0) {
            marks[0] = marks[0] == 99 ? 1 : marks[0];  // a record that does not count leaves the page as it is
            EXPECT_EQ(marks, Numbered(1, 5)) << at;
        }
    }
}

TEST_F(JournalTest, ANewLengthAndAllZerosAreNoJournal)
{
    Make(At("a.mdb"), {1, 2});
    for (const std::size_t size : {std::size_t{0}, std::size_t{511}, std::size_t{512}, std::size_t{9000}}) {
        folder_.Write("a.mdb-journal", std::string(size, '\0'));
        EXPECT_EQ(MarksOf(*Open(files_, At("a.mdb"))), (Marks{1, 2}));
        EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb"));
    }
}

TEST_F(JournalTest, AReaderWithRightsToWriteGetsTheOldState)
{
    Make(At("a.mdb"), {1, 2, 3});
    Die(At("a.mdb"), 99);
    PagerOptions options = Small();
    options.readOnly = true;
    EXPECT_EQ(MarksOf(*Open(files_, At("a.mdb"), options)), (Marks{1, 2, 3}));
    EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb"));
}

}  // namespace
}  // namespace vmlib::jet
