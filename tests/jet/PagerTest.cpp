#include <gmock/gmock.h>

#include <filesystem>
#include <random>

#include "jet/Damage.h"
#include "jet/PagerFixture.h"

namespace vmlib::jet {
namespace {

using testing::ElementsAre;

class PagerTest : public PagerFixture
{
};

TEST_F(PagerTest, ACommitIsInTheFileAndNothingStaysBesideIt)
{
    Make(At("a.mdb"), {10, 20, 30});
    {
        const auto pager = Open(files_, At("a.mdb"));
        EXPECT_EQ(WordOf(*pager), createdWord);
        UnitOfWork unit(*pager);
        Fill(pager->Edit(2), 21);
        Fill(pager->Extend(), 40);
        EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb", "a.mdb-journal"));
        unit.Commit();
    }
    EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb"));
    const auto pager = Open(files_, At("a.mdb"));
    EXPECT_EQ(MarksOf(*pager), (Marks{10, 21, 30, 40}));
    EXPECT_EQ(WordOf(*pager), createdWord + 1);
}

// An exclusive opener uses one journal for all its units; a user may take it for rubbish meanwhile.
TEST_F(PagerTest, AJournalThatWasDeletedOrReplacedIsMadeAnew)
{
    Make(At("a.mdb"), {10, 20});
    const auto pager = Open(files_, At("a.mdb"));
    const auto change = [&](std::uint32_t mark) {
        UnitOfWork unit(*pager);
        Fill(pager->Edit(1), mark);
        const std::size_t records = folder_.Read("a.mdb-journal").size();
        unit.Commit();
        EXPECT_EQ(folder_.Read("a.mdb-journal").substr(0, 8), std::string(8, '\0')) << records;
    };
    change(11);
    change(12);
    std::filesystem::remove(folder_.Native("a.mdb-journal"));
    change(13);
    std::filesystem::rename(folder_.Native("a.mdb-journal"), folder_.Native("moved"));
    folder_.Write("a.mdb-journal", "somebody's");
    change(14);
    EXPECT_EQ(folder_.Read("a.mdb-journal-1"), "somebody's");
    EXPECT_EQ(MarksOf(*pager), (Marks{14, 20}));
}

TEST_F(PagerTest, CommitWordsStepOverTheTwoThatAreMarks)
{
    EXPECT_EQ(NextCommitWord(0x0100), 0x0101);
    EXPECT_EQ(NextCommitWord(0xFFFF), 0x0100);
    EXPECT_EQ(NextCommitWord(writingWord), 0x0100);
    EXPECT_EQ(NextCommitWord(damagedWord), 0x0100);
}

TEST_F(PagerTest, AUnitThatChangesNothingLeavesTheFileAlone)
{
    Make(At("a.mdb"), {10});
    const std::string before = folder_.Read("a.mdb");
    {
        const auto pager = Open(files_, At("a.mdb"));
        UnitOfWork unit(*pager);
        unit.Commit();
        UnitOfWork dropped(*pager);
        Fill(pager->Edit(1), 99);
    }
    EXPECT_EQ(folder_.Read("a.mdb"), before);
}

TEST_F(PagerTest, AHeldPageShowsRollbacksAndKeepsItsPlace)
{
    Make(At("a.mdb"), {10, 20});
    const auto pager = Open(files_, At("a.mdb"));
    const PageRef held = pager->Read(1);
    const std::uint64_t generation = pager->Generation();
    {
        UnitOfWork unit(*pager);
        Fill(pager->Edit(1), 11);
        EXPECT_EQ(MarkOf(held), 11u);
    }
    EXPECT_EQ(MarkOf(held), 10u);
    EXPECT_GT(pager->Generation(), generation);
}

TEST_F(PagerTest, APageThatIsBeingChangedIsNotLostWhenTheCacheSpills)
{
    Make(At("a.mdb"), Numbered(1, 30));
    Marks expected = Numbered(1, 30);
    {
        const auto pager = Open(files_, At("a.mdb"));
        UnitOfWork unit(*pager);
        PageEdit held = pager->Edit(1);
        for (PageNumber page = 2; page <= 30; ++page) Fill(pager->Edit(page), expected[page - 1] = page);
        Fill(held, expected[0] = 77);
        unit.Commit();
    }
    EXPECT_EQ(MarksOf(*Open(files_, At("a.mdb"))), expected);
}

TEST_F(PagerTest, RefusesWhatCannotBe)
{
    Make(At("a.mdb"), {10});
    PagerOptions options = Small();
    options.readOnly = true;
    const auto reader = Open(files_, At("a.mdb"), options);
    EXPECT_THROW(reader->Read(2), Damaged);
    EXPECT_THROW(reader->Read(0xFFFFFFFF), Damaged);
    UnitOfWork unit(*reader);
    EXPECT_EQ(NumberOf([&] { reader->Edit(1); }), 3027);
    EXPECT_EQ(NumberOf([&] { reader->Extend(); }), 3027);
}

TEST_F(PagerTest, StopsAtOneGigabyte)
{
    Make(At("a.mdb"), {10});
    std::filesystem::resize_file(folder_.Native("a.mdb"), greatestFileSize - pageSize);  // sparse
    const auto pager = Open(files_, At("a.mdb"));
    UnitOfWork unit(*pager);
    EXPECT_EQ(pager->Extend().Number(), greatestFileSize / pageSize - 1);
    EXPECT_EQ(NumberOf([&] { pager->Extend(); }), 3036);
}

// Random changes in random savepoints over a cache of six pages, so that pages are spilled all the time; a vector of
// marks is the model.
class PagerModelTest : public PagerFixture, public testing::WithParamInterface<unsigned>
{
protected:
    void Step()
    {
        switch (random_() % 10) {
            case 0:
                if (saved_.size() < 5) {
                    pager_->BeginUnit();
                    saved_.push_back(marks_);
                }
                break;
            case 1:
                if (saved_.empty()) break;
                pager_->CommitUnit();
                saved_.pop_back();
                break;
            case 2:
                if (saved_.empty()) break;
                pager_->RollbackUnit();
                marks_ = saved_.back();
                saved_.pop_back();
                break;
            case 3:
                ASSERT_EQ(MarksOf(*pager_), marks_);
                break;
            case 4:
                if (saved_.empty() || marks_.size() > 60) break;
                Fill(pager_->Extend(), ++nextMark_);
                marks_.push_back(nextMark_);
                break;
            default: {
                if (saved_.empty()) break;
                const auto page = static_cast<PageNumber>(1 + random_() % marks_.size());
                Fill(random_() % 4 == 0 ? pager_->EditZeroed(page) : pager_->Edit(page), ++nextMark_);
                marks_[page - 1] = nextMark_;
            }
        }
    }

    void Run()
    {
        for (int step = 0; step < 3000; ++step) {
            SCOPED_TRACE("step " + std::to_string(step));
            Step();
            if (HasFailure()) return;
        }
        while (!saved_.empty()) {
            pager_->CommitUnit();
            saved_.pop_back();
        }
        EXPECT_EQ(MarksOf(*pager_), marks_);
        pager_->Settle();
        pager_.reset();
        EXPECT_EQ(MarksOf(*Open(files_, At("a.mdb"))), marks_);
        EXPECT_EQ(folder_.Read("a.mdb").size(), (marks_.size() + 1) * pageSize);
        EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb"));
    }

    std::mt19937 random_{GetParam()};
    std::unique_ptr<FilePager> pager_;
    Marks marks_ = Numbered(1, 20);
    std::vector<Marks> saved_;
    std::uint32_t nextMark_ = 0x01000000;
};

TEST_P(PagerModelTest, Journalled)
{
    Make(At("a.mdb"), marks_);
    pager_ = Open(files_, At("a.mdb"));
    Run();
}

TEST_P(PagerModelTest, Private)
{
    pager_ = Create(files_, At("a.mdb"), marks_);
    Run();
}

TEST_P(PagerModelTest, SharedWithAReader)
{
    Make(At("a.mdb"), marks_);
    PagerOptions options = Small();
    options.shared = true;
    options.readerWait = 0;
    pager_ = Open(files_, At("a.mdb"), options);
    const auto reader = Open(files_, At("a.mdb"), options);
    Marks committed = marks_;
    for (int step = 0; step < 1000; ++step) {
        SCOPED_TRACE("step " + std::to_string(step));
        Step();
        if (HasFailure()) return;
        if (saved_.empty()) committed = marks_;
        // While the writer has pages in the file that do not count yet, readers wait in vain; else they see the last
        // commit.
        Marks seen;
        if (NumberOf([&] { seen = MarksOf(*reader); }) == 0) {
            ASSERT_EQ(seen, committed);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, PagerModelTest, testing::Range(1u, 5u));

TEST_F(PagerTest, PrivateFilesAreWrittenOnceWhenTheySettle)
{
    test::FailingFiles counted(files_);
    counted.Arm({.steps = {test::Step::Sync}});
    const auto pager = Create(counted, At("a.mdb"), Numbered(1, 5));
    for (std::uint32_t i = 0; i < 50; ++i) {
        UnitOfWork unit(*pager);
        Fill(pager->Edit(1 + i % 5), i);
        unit.Commit();
    }
    EXPECT_EQ(counted.Count(), 0);
    EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb"));
    pager->Settle();
    EXPECT_EQ(counted.Count(), 2);  // the pages; then the commit word that says that they are there
    pager->Settle();
    EXPECT_EQ(counted.Count(), 2);
    EXPECT_EQ(WordOf(*pager), createdWord);
}

TEST_F(PagerTest, SettlingWaitsForTheEndOfAUnit)
{
    const auto pager = Create(files_, At("a.mdb"), {1, 2});
    UnitOfWork unit(*pager);
    Fill(pager->Edit(1), 3);
    pager->Settle();
    EXPECT_TRUE(pager->IsPrivate());
    unit.Commit();
    EXPECT_FALSE(pager->IsPrivate());
}

TEST_F(PagerTest, ACopyByNameIsWholeOrRefused)
{
    const auto pager = Create(files_, At("a.mdb"), {1, 2});
    UnitOfWork unit(*pager);
    Fill(pager->Edit(1), 3);
    EXPECT_EQ(NumberOf([&] { files_.Copy(At("a.mdb"), At("b.mdb")); }), 70);
    unit.Commit();
    const auto copy = [&] { files_.Copy(At("a.mdb"), At("b.mdb")); };
    if (NumberOf(copy) == 0) {
        EXPECT_EQ(MarksOf(*Open(files_, At("b.mdb"))), (Marks{3, 2}));
    }
}

}  // namespace
}  // namespace vmlib::jet
