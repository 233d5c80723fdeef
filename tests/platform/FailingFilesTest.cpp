#include <gmock/gmock.h>

#include "platform/posix/PosixFiles.h"
#include "support/FailingFiles.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {
namespace {

// The other tests rely on what this port says a power cut leaves, so it is tested itself.

class FailingFilesTest : public testing::Test
{
protected:
    void Change()
    {
        const auto file = failing_.Open(folder_.Path(u"a"), {FileAccess::ReadWrite, FileSharing::Exclusive});
        file->WriteAt(0, Bytes{'1'});
        file->Sync();
        file->WriteAt(1, Bytes{'2', '3'});
        file->Resize(6);
        file->WriteAt(6, Bytes{'7', '8'});
    }

    TemporaryFolder folder_;
    posix::PosixFiles real_;
    FailingFiles failing_{real_};
};

TEST_F(FailingFilesTest, PowerCutLosesWhatWasNotSynced)
{
    folder_.Write("a", "abcdefghij");
    Change();
    EXPECT_EQ(folder_.Read("a"), "123def78");
    failing_.AfterPowerCut(FailingFiles::Unsynced::Lost);
    EXPECT_EQ(folder_.Read("a"), "1bcdefghij");
    Change();
    failing_.AfterPowerCut(FailingFiles::Unsynced::Kept);
    EXPECT_EQ(folder_.Read("a"), "123def78");
}

TEST_F(FailingFilesTest, RandomPowerCutsGiveSeveralStates)
{
    std::set<std::string> seen;
    for (unsigned seed = 0; seed < 40; ++seed) {
        folder_.Write("a", "abcdefghij");
        Change();
        failing_.AfterPowerCut(FailingFiles::Unsynced::Random, seed);
        seen.insert(folder_.Read("a"));
    }
    EXPECT_GE(seen.size(), 5u);
    for (const std::string& state : seen) EXPECT_EQ(state[0], '1') << state;
}

TEST_F(FailingFilesTest, StrikesAtTheStepAskedFor)
{
    folder_.Write("a", "abcdefghij");
    failing_.Arm({.at = 2, .kind = FaultKind::CutShort, .steps = {Step::Write}});
    EXPECT_THROW(Change(), FileError);
    EXPECT_EQ(folder_.Read("a"), "12cdefghij");
    EXPECT_TRUE(failing_.Struck());

    failing_.Arm({.at = 3, .kind = FaultKind::PowerCut});
    EXPECT_THROW(Change(), FileError);
    EXPECT_THROW(failing_.Delete(folder_.Path(u"a")), FileError);
    failing_.AfterPowerCut(FailingFiles::Unsynced::Lost);
    Change();

    failing_.Arm({.at = 1, .kind = FaultKind::Fails, .fault = FileFault::DiskFull, .steps = {Step::Sync}});
    try {
        Change();
        ADD_FAILURE();
    } catch (const FileError& error) {
        EXPECT_EQ(error.Number(), 61);
    }
    Change();  // Fails strikes once
}

TEST_F(FailingFilesTest, AFileMadeAndNeverSyncedIsGone)
{
    const FileOpenRequest create{FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateNew};
    failing_.Open(folder_.Path(u"lost"), create)->WriteAt(0, Bytes{1});
    failing_.Open(folder_.Path(u"kept"), create)->Sync();
    failing_.AfterPowerCut(FailingFiles::Unsynced::Lost);
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("kept"));
}

}  // namespace
}  // namespace vmlib::test
