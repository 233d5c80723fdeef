#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/posix/Descriptor.h"
#include "platform/posix/PosixFiles.h"
#include "support/SharingTable.h"
#include "support/TemporaryFolder.h"

namespace vmlib {
namespace {

using test::mayOpen;
using test::Opening;
using test::openings;
using test::TemporaryFolder;

/// A child process that does one thing, says so, and lives until it is killed or let go.
class Child
{
public:
    template <class Work>
    explicit Child(Work work)
    {
        int ready[2], end[2];
        if (::pipe(ready) != 0 || ::pipe(end) != 0) throw std::runtime_error("pipe");
        process_ = ::fork();
        if (process_ == 0) {
            ::close(end[1]);
            {
                char c = '-';
                const auto held = work(c);
                if (::write(ready[1], &c, 1) != 1) ::_exit(2);
                if (::read(end[0], &c, 1) < 0) ::_exit(3);
            }
            ::_exit(0);
        }
        ::close(ready[1]);
        ::close(end[0]);
        end_ = end[1];
        if (::read(ready[0], &answer_, 1) != 1) answer_ = '?';
        ::close(ready[0]);
    }
    ~Child()
    {
        ::close(end_);
        int status;
        if (process_ > 0) ::waitpid(process_, &status, 0);
    }
    void Kill()
    {
        ::kill(process_, SIGKILL);
        int status;
        ::waitpid(std::exchange(process_, 0), &status, 0);
    }
    char Answer() const { return answer_; }

private:
    pid_t process_ = 0;
    int end_ = -1;
    char answer_ = 0;
};

class SharingTest : public testing::Test
{
protected:
    bool CanOpen(const FileOpenRequest& request)
    {
        try {
            files_.Open(path_, request);
            return true;
        } catch (const FileError& error) {
            EXPECT_EQ(error.Fault(), FileFault::SharingViolation) << error.what();
            return false;
        }
    }
    bool CanCopy()
    {
        try {
            files_.Copy(path_, folder_.Path(u"copy"));
            return true;
        } catch (const FileError&) {
            return false;
        }
    }
    Child Holding(const FileOpenRequest& request)
    {
        return Child([&](char& c) {
            posix::PosixFiles own;
            auto file = own.Open(path_, request);
            c = '+';
            return file;
        });
    }

    TemporaryFolder folder_;
    posix::PosixFiles files_{std::chrono::milliseconds(20)};
    Text path_ = (folder_.Write("a.mdb", "contents"), folder_.Path(u"a.mdb"));
};

TEST_F(SharingTest, TableHoldsWithinOneProcess)
{
    for (std::size_t held = 0; held < 4; ++held) {
        const auto file = files_.Open(path_, openings[held].request);
        for (std::size_t asked = 0; asked < 4; ++asked)
            EXPECT_EQ(CanOpen(openings[asked].request), mayOpen[held][asked])
                << openings[held].name << ", then " << openings[asked].name;
    }
}

TEST_F(SharingTest, TableHoldsBetweenProcessesAndEndsWithAKilledOne)
{
    for (std::size_t held = 0; held < 4; ++held) {
        Child other = Holding(openings[held].request);
        ASSERT_EQ(other.Answer(), '+');
        for (std::size_t asked = 0; asked < 4; ++asked)
            EXPECT_EQ(CanOpen(openings[asked].request), mayOpen[held][asked])
                << openings[held].name << ", then " << openings[asked].name;
        other.Kill();
        EXPECT_TRUE(CanOpen(openings[2].request)) << "after " << openings[held].name << " was killed";
    }
}

TEST_F(SharingTest, ReadOnlyFilesAreGuardedTheSameWay)
{
    files_.SetReadOnly(path_, true);
    const auto held = files_.Open(path_, {FileAccess::Read, FileSharing::Exclusive});
    EXPECT_TRUE(CanOpen({FileAccess::Read, FileSharing::Exclusive}));
    EXPECT_FALSE(CanOpen({FileAccess::Read, FileSharing::Shared}));
}

/// Their server takes locks of the older kind, which belong to the process.
TEST_F(SharingTest, UsersOnWindowsAreSeenByTheirLocks)
{
    const std::string native = files_.ToNative(path_);
    const std::string lockFile = native.substr(0, native.rfind('.')) + ".LDB";
    ::close(::open(lockFile.c_str(), O_CREAT | O_WRONLY, 0666));
    for (const Opening& opening : openings) EXPECT_TRUE(CanOpen(opening.request)) << opening.name << ", nobody there";

    Child server([&](char& answer) {
        struct flock user = {};
        user.l_type = F_RDLCK;
        user.l_start = 0x10000001;
        user.l_len = 1;
        const int descriptor = ::open(lockFile.c_str(), O_RDWR);
        answer = ::fcntl(descriptor, F_SETLK, &user) == 0 ? 'y' : 'n';
        return posix::Descriptor(descriptor);
    });
    ASSERT_EQ(server.Answer(), 'y');
    for (const Opening& opening : openings)
        EXPECT_EQ(CanOpen(opening.request), &opening == &openings[0]) << opening.name;
    const Text copy = folder_.Path(u"copy");
    files_.Copy(path_, copy);
    EXPECT_THAT([&] { files_.Replace(copy, path_); }, testing::Throws<FileError>());
    EXPECT_THAT([&] { files_.Delete(path_); }, testing::Throws<FileError>());
    server.Kill();
    files_.Replace(copy, path_);
    files_.Delete(path_);
}

TEST_F(SharingTest, ClosingAnotherDescriptorTakesNoLockAway)
{
    const auto held = files_.Open(path_, openings[2].request);
    EXPECT_FALSE(CanOpen(openings[0].request));  // opened and closed a descriptor of the file
    const std::string native = files_.ToNative(path_);
    ::close(::open(native.c_str(), 0));
    EXPECT_FALSE(CanOpen(openings[0].request));
}

TEST_F(SharingTest, WaitsAShortTimeForOthers)
{
    posix::PosixFiles patient;
    auto held = files_.Open(path_, openings[2].request);
    std::thread closer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
        held.reset();
    });
    EXPECT_NO_THROW(patient.Open(path_, openings[2].request));
    closer.join();
}

TEST_F(SharingTest, ChangesOfNamesFailWhileTheFileIsHeld)
{
    const Text other = (folder_.Write("b", "b"), folder_.Path(u"b"));
    for (const Opening& opening : openings) {
        const auto held = files_.Open(path_, opening.request);
        const auto refused = [&](auto step, const char* what) {
            try {
                step();
                ADD_FAILURE() << what << " while held " << opening.name;
            } catch (const FileError& error) {
                EXPECT_EQ(error.Fault(), FileFault::SharingViolation) << what;
            }
        };
        refused([&] { files_.Delete(path_); }, "delete");
        refused([&] { files_.Rename(path_, folder_.Path(u"c")); }, "rename");
        refused([&] { files_.Copy(other, path_); }, "copy over");
        refused([&] { files_.Replace(other, path_); }, "replace");
        refused([&] { files_.Replace(path_, other); }, "replace by");
        EXPECT_EQ(CanCopy(),
                  opening.request.sharing == FileSharing::Shared || opening.request.access == FileAccess::Read)
            << opening.name;
    }
    EXPECT_EQ(folder_.Read("a.mdb"), "contents");
}

TEST_F(SharingTest, AnOpenerThatWaitedGetsTheFileThatHasTheNameNow)
{
    // Each writer replaces the file while readers open it: a reader must never end up in a file without a name.
    std::atomic<bool> stop = false;
    std::thread replacer([&] {
        posix::PosixFiles own;
        for (int i = 0; i < 60; ++i) {
            folder_.Write("next", "contents");
            try {
                own.Replace(folder_.Path(u"next"), path_);
            } catch (const FileError&) {
            }
        }
        stop = true;
    });
    int opened = 0;
    while (!stop) {
        try {
            const auto file = files_.Open(path_, {FileAccess::Read, FileSharing::Shared});
            const auto second = files_.Open(path_, {FileAccess::Read, FileSharing::Shared});
            EXPECT_EQ(file->Identity(), second->Identity());
            ++opened;
        } catch (const FileError& error) {
            EXPECT_EQ(error.Fault(), FileFault::SharingViolation) << error.what();
        }
    }
    replacer.join();
    EXPECT_GT(opened, 0);
}

TEST_F(SharingTest, ByteLocksExcludeEachOtherAsTheirModesSay)
{
    const auto a = files_.Open(path_, openings[1].request);
    const auto b = files_.Open(path_, openings[1].request);
    const auto reader = files_.Open(path_, openings[0].request);
    EXPECT_TRUE(a->Lock(FileLock::Reading, false, 0));
    EXPECT_TRUE(reader->Lock(FileLock::Reading, false, 0));
    EXPECT_FALSE(b->Lock(FileLock::Reading, true, 20));
    EXPECT_TRUE(b->Lock(FileLock::Writing, true, 0));  // another byte
    EXPECT_FALSE(a->Lock(FileLock::Writing, true, 0));
    EXPECT_FALSE(reader->Lock(FileLock::Writing, false, 0));
    reader->Unlock(FileLock::Reading);
    EXPECT_TRUE(a->Lock(FileLock::Reading, true, 0));  // a second lock changes the mode
    EXPECT_FALSE(reader->Lock(FileLock::Reading, false, 0));
    a->Unlock(FileLock::Reading);

    // Without a writable descriptor: given when nobody holds it, and writers stay out.
    EXPECT_TRUE(reader->Lock(FileLock::Reading, true, 0));
    EXPECT_FALSE(a->Lock(FileLock::Reading, true, 0));
    reader->Unlock(FileLock::Reading);
    EXPECT_TRUE(a->Lock(FileLock::Reading, false, 0));
    EXPECT_FALSE(reader->Lock(FileLock::Reading, true, 0));
}

TEST_F(SharingTest, CopyWaitsForHimWhoWritesPages)
{
    auto writer = files_.Open(path_, openings[1].request);
    ASSERT_TRUE(writer->Lock(FileLock::Reading, true, 0));
    writer->WriteAt(0, Bytes{'H', 'A'});
    std::thread finisher([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(80));
        writer->WriteAt(2, Bytes{'L', 'F'});
        writer->Unlock(FileLock::Reading);
    });
    files_.Copy(path_, folder_.Path(u"copy"));
    finisher.join();
    EXPECT_EQ(folder_.Read("copy"), "HALFents");
}

TEST_F(SharingTest, ManyExclusiveOpenersAreNeverTwoAtOnce)
{
    std::atomic<int> inside = 0, turns = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            posix::PosixFiles own;
            for (int i = 0; i < 40; ++i) try {
                    const auto file = own.Open(path_, openings[2].request);
                    EXPECT_EQ(inside.fetch_add(1), 0);
                    std::this_thread::yield();
                    inside.fetch_sub(1);
                    ++turns;
                } catch (const FileError&) {
                }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_GT(turns, 100);  // and with their patience nearly all come to their turn
}

}  // namespace
}  // namespace vmlib
