// Who may have a file open with whom, as the table in platform/Files.h says, and what names may change meanwhile.

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "platform/UserRecord.h"
#include "platform/windows/WindowsFiles.h"
#include "support/SharingTable.h"
#include "support/TemporaryFolder.h"
#include "windows/ports/Child.h"

namespace vmlib::test {
namespace {

class WindowsSharing : public testing::Test
{
protected:
    std::optional<FileFault> OpenFault(const FileOpenRequest& request)
    {
        try {
            files_.Open(path_, request);
            return std::nullopt;
        } catch (const FileError& error) {
            return error.Fault();
        }
    }
    void ExpectRow(std::size_t held, const char* by)
    {
        for (std::size_t asked = 0; asked < 4; ++asked)
            EXPECT_EQ(OpenFault(openings[asked].request),
                      mayOpen[held][asked] ? std::nullopt : std::optional(FileFault::SharingViolation))
                << openings[held].name << " held by " << by << ", then " << openings[asked].name;
    }

    TemporaryFolder folder_;
    windows::WindowsFiles files_{std::chrono::milliseconds(20)};
    Text path_ = (folder_.Write("a.mdb", "contents"), folder_.Path(u"a.mdb"));
};

TEST_F(WindowsSharing, TableHoldsWithinAndBetweenProcessesAndEndsWithAKilledOne)
{
    for (std::size_t held = 0; held < 4; ++held) {
        {
            const auto file = files_.Open(path_, openings[held].request);
            ExpectRow(held, "this process");
        }
        const FileOpenRequest& request = openings[held].request;
        Child other({u"hold", request.access == FileAccess::Read ? u"0" : u"1",
                     request.sharing == FileSharing::Shared ? u"0" : u"1", path_});
        ASSERT_EQ(other.Answer(), '+');
        ExpectRow(held, "another");
        other.Kill();
        EXPECT_EQ(OpenFault(openings[2].request), std::nullopt) << openings[held].name << " was killed";
    }
}

TEST_F(WindowsSharing, NamesDoNotChangeWhileTheFileIsHeld)
{
    const Text other = (folder_.Write("b", "b"), folder_.Path(u"b"));
    for (const Opening& opening : openings) {
        const auto held = files_.Open(path_, opening.request);
        const auto refused = [&](auto step, const char* what) {
            try {
                step();
                ADD_FAILURE() << what << " while held " << opening.name;
            } catch (const FileError& error) {
                EXPECT_EQ(error.Fault(), FileFault::SharingViolation) << what << ", " << error.what();
            }
        };
        refused([&] { files_.Delete(path_); }, "delete");
        refused([&] { files_.Rename(path_, folder_.Path(u"c")); }, "rename");
        refused([&] { files_.Copy(other, path_); }, "copy over");
        refused([&] { files_.Copy(path_, path_); }, "copy to itself");
        refused([&] { files_.Replace(other, path_); }, "replace");
        refused([&] { files_.Replace(path_, other); }, "replace by");
        const FileOpenRequest emptying{FileAccess::ReadWrite, FileSharing::Shared, FileCreation::CreateOrTruncate};
        refused([&] { files_.Open(path_, emptying); }, "empty");
    }
    EXPECT_EQ(folder_.Read("a.mdb"), "contents");
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("a.mdb", "b"));
}

TEST_F(WindowsSharing, ADatabaseThatAnotherProgramSharesMayOnlyBeRead)
{
    const Text list = UserListPath(path_);
    Child other({u"lock", FromUtf8(std::to_string(listedUserBytes)), list});
    ASSERT_EQ(other.Answer(), '+');
    EXPECT_EQ(OpenFault(openings[0].request), std::nullopt);
    EXPECT_EQ(OpenFault(openings[1].request), FileFault::SharingViolation);
    other.Kill();
    FileOpenRequest request = openings[1].request;
    request.listedAs = u"Jürgen";
    {
        const auto file = files_.Open(path_, request);
        EXPECT_EQ(OpenFault(openings[1].request), std::nullopt) << "one of ours";
        EXPECT_EQ(files_.FirstUser(path_)->user, u"Jürgen");
    }
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("a.mdb")) << "the last one out deletes the list";
}

TEST_F(WindowsSharing, LocksForMomentsExcludeEachOtherAsTheirModesSay)
{
    const auto a = files_.Open(path_, openings[1].request), b = files_.Open(path_, openings[1].request);
    const auto reader = files_.Open(path_, openings[0].request);
    EXPECT_TRUE(a->Lock(FileLock::Reading, false, 0));
    EXPECT_TRUE(reader->Lock(FileLock::Reading, false, 0));
    EXPECT_FALSE(b->Lock(FileLock::Reading, true, 20));
    EXPECT_TRUE(b->Lock(FileLock::Writing, true, 0));  // another byte
    EXPECT_FALSE(a->Lock(FileLock::Writing, true, 0));
    reader->Unlock(FileLock::Reading);
    EXPECT_TRUE(a->Lock(FileLock::Reading, true, 0));  // a second lock changes the mode
    EXPECT_FALSE(reader->Lock(FileLock::Reading, false, 0));
    a->WriteAt(0, Bytes{'H', 'A'});
    std::thread finisher([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(80));
        a->WriteAt(2, Bytes{'L', 'F'});
        a->Unlock(FileLock::Reading);
    });
    files_.Copy(path_, folder_.Path(u"copy"));  // waits for him who writes pages
    finisher.join();
    EXPECT_EQ(folder_.Read("copy"), "HALFents");
    EXPECT_TRUE(reader->Lock(FileLock::Reading, true, 0)) << "given to a reader, too";

    EXPECT_TRUE(a->LockPage(7, 0));
    EXPECT_TRUE(a->LockPage(7, 0)) << "its own";
    EXPECT_FALSE(a->IsPageLocked(7));
    EXPECT_TRUE(b->IsPageLocked(7));
    EXPECT_FALSE(b->LockPage(7, 20));
    EXPECT_TRUE(b->LockPage(8, 0));
    a->UnlockPage(7);
    EXPECT_TRUE(b->LockPage(7, 0));
}

TEST_F(WindowsSharing, AReplacedFileIsTheOldOneOrTheNewOneForWhoeverOpensIt)
{
    std::atomic<bool> stop = false;
    std::atomic<int> replaced = 0;
    std::thread replacer([&] {
        windows::WindowsFiles own;
        for (int i = 0; i < 30; ++i) {
            folder_.Write("next", i % 2 ? "contents" : "CONTENTS");
            try {
                own.Replace(folder_.Path(u"next"), path_);
                ++replaced;
            } catch (const FileError& error) {
                EXPECT_EQ(error.Fault(), FileFault::SharingViolation) << error.what();
            }
        }
        stop = true;
    });
    int opened = 0;
    while (!stop) {
        try {
            const auto file = files_.Open(path_, openings[0].request), second = files_.Open(path_, openings[0].request);
            EXPECT_EQ(file->Identity(), second->Identity());
            EXPECT_EQ(file->Size(), 8u);
            ++opened;
        } catch (const FileError& error) {
            EXPECT_EQ(error.Fault(), FileFault::SharingViolation) << error.what();
        }
        ::Sleep(3);
    }
    replacer.join();
    EXPECT_GT(opened, 0);
    EXPECT_GT(replaced, 0);
}

TEST_F(WindowsSharing, OpenersThatMakeAFileAtOnceAllGetIt)
{
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            windows::WindowsFiles own{std::chrono::milliseconds(5000)};
            for (int i = 0; i < 20; ++i) try {
                    own.Open(folder_.Path(u"made"),
                             {FileAccess::ReadWrite, FileSharing::Shared, FileCreation::CreateOrTruncate});
                } catch (const FileError&) {
                    ++failures;
                }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace vmlib::test
