#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/posix/FileLocks.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/UserList.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {
namespace {

using Names = std::vector<std::string>;

class UserListTest : public testing::Test
{
protected:
    UserListTest() { folder_.Write("kas.mdb", "database"); }

    std::unique_ptr<OpenFile> Share(TextView user, FileAccess access = FileAccess::Read)
    {
        return files_.Open(path_, {.access = access, .listedAs = user});
    }

    /// A program on Windows, whose server passes its locks on: they carry no mark of this library's.
    posix::Descriptor FromWindows(off_t byte)
    {
        posix::Descriptor list(::open(folder_.Native("kas.ldb").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
        EXPECT_TRUE(posix::SetLock(list.Number(), F_WRLCK, {byte, 1}));
        return list;
    }

    TemporaryFolder folder_;
    Text path_ = folder_.Path(u"kas.mdb");
    posix::PosixFiles files_{std::chrono::milliseconds(20)};
};

TEST_F(UserListTest, StandsBesideTheFileAsLongAsSomebodySharesIt)
{
    auto first = Share(u"admin", FileAccess::ReadWrite);
    auto second = Share(u"piet");
    const std::string list = folder_.Read("kas.ldb");
    ASSERT_EQ(list.size(), 128u);
    EXPECT_STREQ(list.c_str() + 32, "admin");
    EXPECT_STREQ(list.c_str() + 96, "piet");
    EXPECT_EQ(files_.FirstUser(path_)->user, u"admin");

    first.reset();
    EXPECT_EQ(files_.FirstUser(path_)->user, u"piet");
    auto third = Share(u"anna");  // the first place is free again
    EXPECT_STREQ(folder_.Read("kas.ldb").c_str() + 32, "anna");
    second.reset();
    third.reset();
    EXPECT_EQ(folder_.Names(), Names{"kas.mdb"});

    files_.Open(path_, {.access = FileAccess::ReadWrite, .sharing = FileSharing::Exclusive});
    EXPECT_EQ(folder_.Names(), Names{"kas.mdb"});
}

TEST_F(UserListTest, OneThatAKilledProcessLeftIsUsedAndGoes)
{
    folder_.Write("kas.ldb", std::string(64, 'x'));
    EXPECT_EQ(files_.FirstUser(path_), std::nullopt);
    auto file = Share(u"admin");
    EXPECT_EQ(folder_.Read("kas.ldb").size(), 64u);
    EXPECT_EQ(files_.FirstUser(path_)->user, u"admin");
    file.reset();
    EXPECT_EQ(folder_.Names(), Names{"kas.mdb"});
}

TEST_F(UserListTest, UsersOnWindowsAreTheOnlyOnesInTheWay)
{
    auto own = Share(u"admin");
    EXPECT_NO_THROW(Share(u"piet", FileAccess::ReadWrite));
    for (const off_t byte : {0x10000001 + 1, 0x10000001 + 254, 0x20000000, 0x6FF800FF, 0x10000000}) {
        const posix::Descriptor user = FromWindows(byte);
        EXPECT_THROW(Share(u"piet", FileAccess::ReadWrite), FileError) << byte;
        EXPECT_NO_THROW(Share(u"piet")) << byte;
        EXPECT_THROW(files_.Delete(path_), FileError) << byte;
    }
    EXPECT_NO_THROW(Share(u"piet", FileAccess::ReadWrite));

    // A place of theirs is not taken, and a list that they use stays.
    const posix::Descriptor user = FromWindows(0x10000001 + 1);
    auto next = Share(u"piet");
    EXPECT_STREQ(folder_.Read("kas.ldb").c_str() + 128 + 32, "piet");
    own.reset();
    next.reset();
    EXPECT_EQ(folder_.Names(), (Names{"kas.ldb", "kas.mdb"}));
}

TEST_F(UserListTest, WhatCannotBeAListOpensNothing)
{
    const auto fault = [this]() -> std::optional<FileFault> {
        try {
            Share(u"admin");
            return std::nullopt;
        } catch (const FileError& error) {
            return error.Fault();
        }
    };
    folder_.Write("secret", "secret");
    std::filesystem::create_symlink(folder_.Native("secret"), folder_.Native("kas.ldb"));
    EXPECT_EQ(fault(), FileFault::NotListed);
    EXPECT_EQ(folder_.Read("secret"), "secret");
    std::filesystem::remove(folder_.Native("kas.ldb"));
    std::filesystem::create_directory(folder_.Native("kas.ldb"));
    EXPECT_EQ(fault(), FileFault::NotListed);
    std::filesystem::remove(folder_.Native("kas.ldb"));
    ASSERT_EQ(::mkfifo(folder_.Native("kas.ldb").c_str(), 0600), 0);
    EXPECT_EQ(fault(), FileFault::NotListed);
    std::filesystem::remove(folder_.Native("kas.ldb"));

    std::vector<std::unique_ptr<OpenFile>> users;
    for (int i = 0; i < 255; ++i) users.push_back(Share(u"admin"));
    EXPECT_EQ(fault(), FileFault::NotListed);
    users.pop_back();
    EXPECT_EQ(fault(), std::nullopt);
}

}  // namespace
}  // namespace vmlib::test
