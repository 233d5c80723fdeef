#include <gmock/gmock.h>

#include "jet/PagerFixture.h"

namespace vmlib::jet {
namespace {

using test::FailingFiles;
using test::FaultKind;
using testing::ElementsAre;

// Two openers of one file, as two processes would have it.
class SharingTest : public PagerFixture
{
protected:
    std::unique_ptr<FilePager> Shared(bool readOnly = false, TextView path = {})
    {
        PagerOptions options = Small();
        options.shared = true;
        options.readOnly = readOnly;
        return Open(files_, path.empty() ? At("a.mdb") : Text(path), options);
    }
};

TEST_F(SharingTest, ACommitIsSeenAtTheNextReadAndNotBefore)
{
    Make(At("a.mdb"), {1, 2, 3});
    const auto writer = Shared();
    const auto reader = Shared(true);
    EXPECT_EQ(MarksOf(*reader), (Marks{1, 2, 3}));
    const std::uint64_t generation = reader->Generation();
    {
        UnitOfWork unit(*writer);
        Fill(writer->Edit(2), 22);
        Fill(writer->Extend(), 4);
        EXPECT_EQ(MarksOf(*reader), (Marks{1, 2, 3}));
        EXPECT_EQ(reader->Generation(), generation);
        unit.Commit();
    }
    EXPECT_EQ(MarksOf(*reader), (Marks{1, 22, 3, 4}));
    EXPECT_GT(reader->Generation(), generation);
}

TEST_F(SharingTest, OneWriterAtATime)
{
    Make(At("a.mdb"), {1, 2, 3});
    const auto one = Shared();
    const auto two = Shared();
    {
        UnitOfWork unit(*one);
        EXPECT_EQ(NumberOf([&] { UnitOfWork second(*two); }), 3188);
        Fill(one->Edit(1), 11);
        unit.Commit();
    }
    UnitOfWork unit(*two);
    EXPECT_EQ(MarkOf(two->Read(1)), 11u);  // what the other wrote, not what was in memory
    Fill(two->Edit(1), 12);
    unit.Commit();
    EXPECT_EQ(MarksOf(*one), (Marks{12, 2, 3}));
}

TEST_F(SharingTest, ACommitWaitsForReadersAndGivesUpWhole)
{
    Make(At("a.mdb"), {1, 2, 3});
    const auto writer = Shared();
    const auto reader = Shared();
    {
        const ReadScope scope(*reader);
        UnitOfWork unit(*writer);
        Fill(writer->Edit(1), 11);
        EXPECT_EQ(NumberOf([&] { unit.Commit(); }), 3046);
        EXPECT_EQ(MarkOf(reader->Read(1)), 1u);
    }
    EXPECT_EQ(MarksOf(*writer), (Marks{1, 2, 3}));
    EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb"));
}

TEST_F(SharingTest, ALazyUnitLocksNothingUntilItChangesSomething)
{
    Make(At("a.mdb"), {1, 2, 3});
    const auto one = Shared();
    const auto two = Shared();
    one->BeginLazyUnit();
    EXPECT_EQ(MarksOf(*one), (Marks{1, 2, 3}));
    {
        UnitOfWork unit(*two);
        Fill(two->Edit(1), 11);
        unit.Commit();
    }
    EXPECT_EQ(NumberOf([&] { one->Edit(1); }), 3197);  // it would be based on what is no longer so
    {
        UnitOfWork unit(*one);
        EXPECT_EQ(MarkOf(one->Read(1)), 11u);
        Fill(one->Edit(2), 22);
        unit.Commit();
    }
    EXPECT_EQ(NumberOf([&] { UnitOfWork unit(*two); }), 3188);
    one->CommitUnit();
    EXPECT_EQ(MarksOf(*two), (Marks{11, 22, 3}));
}

TEST_F(SharingTest, AWriterThatDiedBehindHisLastPageHasCommitted)
{
    // The page that he wrote last, and then what of it is in the file: his journal's seal tells whole from torn.
    for (const bool torn : {false, true}) {
        SCOPED_TRACE(torn);
        const Text path = torn ? At("torn.mdb") : At("whole.mdb");
        Make(path, {1, 2, 3});
        const auto alive = Shared(false, path);
        EXPECT_EQ(MarksOf(*alive), (Marks{1, 2, 3}));
        Die(path, 99, true);
        ASSERT_TRUE(files_.Exists(path + u"-journal"));
        if (torn) {
            const std::uint8_t other[] = {7};
            files_.Open(path, {FileAccess::ReadWrite})->WriteAt(2 * pageSize - 1, other);
        }
        UnitOfWork unit(*alive);
        EXPECT_EQ(MarkOf(alive->Read(1)), torn ? 1u : 99u);
        Fill(alive->Edit(2), 22);
        unit.Commit();
        EXPECT_EQ(MarksOf(*Shared(false, path)), (Marks{torn ? 1u : 99u, 22, 3}));
        EXPECT_FALSE(files_.Exists(path + u"-journal"));
    }
}

TEST_F(SharingTest, AReaderMeetsAWriterThatDiedHalfWay)
{
    Make(At("a.mdb"), Numbered(1, 8));
    const auto alive = Shared(true);
    MarksOf(*alive);
    FailingFiles files(files_);
    PagerOptions options = Small();
    options.shared = true;
    // Writes: journal records, its header, the mark of writing, the first page, and then it dies.
    files.Arm({.at = 5, .kind = FaultKind::PowerCut, .steps = {test::Step::Write}});
    EXPECT_NE(NumberOf([&] {
                  const auto pager = Open(files, At("a.mdb"), options);
                  UnitOfWork unit(*pager);
                  Fill(pager->Edit(1), 98);
                  Fill(pager->Edit(2), 99);
                  unit.Commit();
              }),
              0);
    EXPECT_EQ(MarksOf(*alive), Numbered(1, 8));
    EXPECT_THAT(folder_.Names(), ElementsAre("a.mdb"));
}

TEST_F(SharingTest, TheJournalOfALivingWriterIsLeftAlone)
{
    Make(At("a.mdb"), {1, 2, 3});
    const auto writer = Shared();
    UnitOfWork unit(*writer);
    Fill(writer->Edit(1), 11);
    EXPECT_EQ(SettleJournal(files_, At("a.mdb")), Settled::InUse);
    EXPECT_EQ(MarksOf(*Shared()), (Marks{1, 2, 3}));
    unit.Commit();
    EXPECT_EQ(MarksOf(*Shared()), (Marks{11, 2, 3}));
}

TEST_F(SharingTest, AnOpenerMayGetOtherRights)
{
    Make(At("a.mdb"), {1, 2, 3});
    const auto open = [&](bool readOnly, bool shared) {
        return files_.Open(At("a.mdb"),
                           {readOnly ? FileAccess::Read : FileAccess::ReadWrite,
                            shared ? FileSharing::Shared : FileSharing::Exclusive, FileCreation::OpenExisting});
    };
    const auto pager = Shared(true);
    MarksOf(*pager);
    {
        const auto other = Shared();
        pager->Reopen(open, false, true);  // from reading to writing, others may have it open
        UnitOfWork unit(*other);
        Fill(other->Edit(1), 11);
        unit.Commit();
        EXPECT_EQ(NumberOf([&] { pager->Reopen(open, false, false); }), 70);
        EXPECT_EQ(MarksOf(*pager), (Marks{11, 2, 3}));  // still as it was
    }
    pager->Reopen(open, false, false);
    UnitOfWork unit(*pager);
    Fill(pager->Edit(1), 12);
    unit.Commit();
    EXPECT_EQ(NumberOf([&] { Shared(); }), 70);
}

}  // namespace
}  // namespace vmlib::jet
