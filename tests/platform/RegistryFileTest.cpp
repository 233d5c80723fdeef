#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <random>
#include <thread>

#include "platform/RegistryFixture.h"

namespace vmlib {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using test::Answer;

class RegistryFileTest : public testing::Test, protected test::RegistryFixture
{
protected:
    static unsigned Mode(const fs::path& path)
    {
        struct stat facts;
        return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777u : 0u;
    }
    /// The values n0, n1, ... of a key of its own, until all are written or somebody kills it.
    pid_t StartWriter(const std::string& name, int count) const
    {
        const pid_t process = ::fork();
        if (process != 0) return process;
        posix::PosixRegistry own(paths_);
        RegistryHandle key;
        if (own.CreateKey(currentUser, FromUtf8("Software\\" + name), registryAllAccess, key) != 0) ::_exit(1);
        for (int i = 0; i < count; ++i)
            if (own.SetValue(key, FromUtf8("n" + std::to_string(i)), registryText, std::to_string(i)) != 0) ::_exit(2);
        ::_exit(0);
    }
    static int End(pid_t process)
    {
        int status = -1;
        ::waitpid(process, &status, 0);
        return status;
    }
};

TEST_F(RegistryFileTest, FoldersAndFilesAreMadeForTheirUsers)
{
    const fs::path user = folder_.Native("a/b/user.reg"), machine = folder_.Native("c/machine.reg");
    posix::PosixRegistry registry({user.string(), machine.string()});
    RegistryHandle key;
    ASSERT_EQ(registry.CreateKey(currentUser, u"A", registryAllAccess, key), 0);
    ASSERT_EQ(registry.CreateKey(localMachine, u"A", registryAllAccess, key), 0);
    EXPECT_EQ(Mode(user), 0600u);
    EXPECT_EQ(Mode(user.parent_path()), 0700u);
    EXPECT_EQ(Mode(machine), 0644u);
    EXPECT_EQ(Mode(machine.parent_path()) & 0700u, 0700u);
    EXPECT_EQ(Mode(machine.string() + ".lock"), 0600u);
}

TEST_F(RegistryFileTest, LinksAndPermissionsStay)
{
    fs::create_directory(folder_.Native("real"));
    fs::create_symlink("real/settings", folder_.Native("user.reg"));
    const RegistryHandle key = Create(currentUser, u"A");
    ASSERT_NE(key, 0) << "through a link to a file that is not there yet";
    ASSERT_EQ(::chmod(folder_.Native("real/settings").c_str(), 0640), 0);
    EXPECT_EQ(registry_.SetValue(key, u"v", registryText, "1"), 0);
    EXPECT_TRUE(fs::is_symlink(folder_.Native("user.reg")));
    EXPECT_EQ(Mode(folder_.Native("real/settings")), 0640u);
    EXPECT_THAT(folder_.Read("real/settings"), testing::HasSubstr("\"v\"=\"1\"\n"));
    EXPECT_TRUE(fs::exists(folder_.Native("real/settings.lock")));
    EXPECT_FALSE(fs::exists(folder_.Native("real/settings.new")));
}

TEST_F(RegistryFileTest, DamageIsToldAndStays)
{
    const std::string damaged = form + "[HKEY_CURRENT_USER\\A]\n\"v\"=\"1\"\n\"w\"=C:\\\n";
    folder_.Write("user.reg", damaged);
    RegistryHandle opened;
    Text name;
    EXPECT_EQ(registry_.OpenKey(currentUser, u"A", registryAllAccess, opened), 1015);
    EXPECT_EQ(registry_.CreateKey(currentUser, u"B", registryAllAccess, opened), 1015);
    EXPECT_EQ(registry_.SetValue(currentUser, u"v", registryText, "2"), 1015);
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"A"), 1015);
    EXPECT_EQ(registry_.EnumKey(currentUser, 0, 99, name), 1015);
    EXPECT_EQ(Query(currentUser, u"v").result, 1015);
    EXPECT_EQ(User(), damaged);
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("user.reg"));
    EXPECT_THAT(ToUtf8(registry_.Describe(currentUser)), testing::StartsWith(paths_.user + ", line 5: "));
    EXPECT_EQ(ToUtf8(registry_.Describe(localMachine)), paths_.machine) << "sound";
    EXPECT_EQ(registry_.Describe(0), u"");
    WriteUser("[HKEY_CURRENT_USER]\n\"v\"=\"1\"\n");
    EXPECT_EQ(Query(currentUser, u"v"), (Answer{0, 1, "1\0"s})) << "mended";
}

TEST_F(RegistryFileTest, WhatCannotBeWrittenCanBeRead)
{
    folder_.Write("machine.reg", form + "[HKLM\\A]\n\"v\"=\"1\"\n");
    ASSERT_EQ(::chmod(folder_.Native("machine.reg").c_str(), 0444), 0);
    const RegistryHandle key = Open(localMachine, u"A");
    EXPECT_EQ(Query(key, u"v").data, "1\0"s);
    EXPECT_EQ(registry_.SetValue(key, u"v", registryText, "1"), 0) << "nothing to write";
    EXPECT_EQ(registry_.SetValue(key, u"v", registryText, "2"), 5);
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("machine.reg"));
    fs::create_directory(folder_.Native("user.reg"));
    EXPECT_EQ(Query(currentUser, u"v").result, 5) << "no file";
    EXPECT_THAT(ToUtf8(registry_.Describe(currentUser)), testing::HasSubstr(paths_.user));
}

TEST_F(RegistryFileTest, AFullDiskOrAFolderThatCannotBeMadeLeavesAllAsItIs)
{
    WriteUser("[HKCU]\n\"v\"=\"1\"\n");
    const std::string before = User();
    const pid_t process = ::fork();
    if (process == 0) {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{100, 100};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const auto result = registry_.SetValue(currentUser, u"v", registryText, std::string(1000, 'x'));
        ::_exit(result == registryDiskFull ? 0 : 1);
    }
    EXPECT_EQ(End(process), 0);
    EXPECT_EQ(User(), before);
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("user.reg", "user.reg.lock"));
    for (const char* path : {"/proc/none/a/user.reg", "/dev/null/a/user.reg"}) {
        posix::PosixRegistry registry({path, path});
        EXPECT_EQ(registry.SetValue(currentUser, u"v", registryText, "1"), 1016) << path;
    }
}

TEST_F(RegistryFileTest, ChangesOfOthersShowAtOnce)
{
    WriteUser("[HKCU\\A]\n\"v\"=\"0\"\n");
    // Old enough that a reader may believe in the times of the file.
    const timespec old[2] = {{1'000'000, 0}, {1'000'000, 0}};
    for (int i = 0; i < 200; ++i) {
        const std::string digit(1, static_cast<char>('0' + i % 10));
        WriteUser("[HKCU\\A]\n\"v\"=\"" + digit + "\"\n");  // in place, of the same size, within a tick of the clock
        ::utimensat(AT_FDCWD, paths_.user.c_str(), old, 0);
        ASSERT_EQ(Query(Open(currentUser, u"A"), u"v").data, digit + "\0"s) << i;
    }
}

TEST_F(RegistryFileTest, WhatChangesNothingWritesNothing)
{
    const RegistryHandle key = Create(currentUser, u"A");
    registry_.SetValue(key, u"v", registryText, "1");
    const auto before = fs::last_write_time(paths_.user);
    fs::remove(paths_.user + ".lock");
    EXPECT_EQ(registry_.SetValue(key, u"V", registryText, "1\0"s), 0);
    EXPECT_NE(Create(currentUser, u"a"), 0);
    EXPECT_EQ(registry_.DeleteValue(key, u"none"), 2);
    EXPECT_EQ(registry_.DeleteKey(currentUser, u"none"), 2);
    EXPECT_EQ(fs::last_write_time(paths_.user), before);
    EXPECT_THAT(folder_.Names(), testing::ElementsAre("user.reg"));
}

TEST_F(RegistryFileTest, ProcessesThatWriteAtOnceLoseNothing)
{
    constexpr int count = 150;
    const pid_t first = StartWriter("first", count), second = StartWriter("second", count);
    EXPECT_EQ(End(first), 0);
    EXPECT_EQ(End(second), 0);
    for (const char16_t* name : {u"Software\\first", u"Software\\second"}) {
        const RegistryHandle key = Open(currentUser, name);
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(Query(key, FromUtf8("n" + std::to_string(i))).data, std::to_string(i) + "\0"s);
    }
}

TEST_F(RegistryFileTest, ThreadsThatWriteAtOnceLoseNothing)
{
    const RegistryHandle key = Create(currentUser, u"A");
    std::vector<std::thread> threads;
    for (const char16_t* name : {u"a", u"b", u"c"})
        threads.emplace_back([&, name] {
            for (char16_t i = u'a'; i <= u'z'; ++i) registry_.SetValue(key, Text(name) + i, registryText, "1");
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(Query(key, u"az").data + Query(key, u"bz").data + Query(key, u"cz").data,
              "1\0"
              "1\0"
              "1\0"s);
    Text name;
    std::uint32_t type, size;
    std::string room(9, '-');
    EXPECT_EQ(registry_.EnumValue(key, 3 * 26 - 1, 9, name, type, room, size), 0);
}

TEST_F(RegistryFileTest, AKilledWriterLeavesAWholeFileAndNoLock)
{
    std::minstd_rand random(1);
    int most = 0;
    for (int round = 0; round < 40; ++round) {
        const pid_t writer = StartWriter("w" + std::to_string(round), 100'000);
        std::this_thread::sleep_for(std::chrono::microseconds(2'000 + random() % 20'000));
        ::kill(writer, SIGKILL);
        EXPECT_TRUE(WIFSIGNALED(End(writer)));
        const RegistryHandle key = Create(currentUser, FromUtf8("Software\\w" + std::to_string(round)));
        ASSERT_NE(key, 0) << ToUtf8(registry_.Describe(currentUser));
        int count = 0;
        while (Query(key, FromUtf8("n" + std::to_string(count))).data == std::to_string(count) + "\0"s) ++count;
        EXPECT_EQ(ValueNames(key).find("n" + std::to_string(count) + "|"), std::string::npos) << "no gap";
        most = std::max(most, count);
    }
    EXPECT_GT(most, 0) << "none came to write before it was killed";
}

TEST(RegistryPaths, FollowTheEnvironment)
{
    struct Row
    {
        const char *home, *configuration, *machine;
        std::string user, machinePath;
    };
    const Row rows[] = {
        {"/h", "", "", "/h/.config/vmlib/user.reg", "/etc/vmlib/machine.reg"},
        {"/h", "/c", "/m/x.reg", "/c/vmlib/user.reg", "/m/x.reg"},
        {"/h", "c", "", "/h/.config/vmlib/user.reg", "/etc/vmlib/machine.reg"},
    };
    for (const Row& row : rows) {
        const pid_t process = ::fork();
        if (process == 0) {
            ::setenv("HOME", row.home, 1);
            ::setenv("XDG_CONFIG_HOME", row.configuration, 1);
            ::setenv("VMLIB_MACHINE_REGISTRY", row.machine, 1);
            const auto paths = posix::RegistryPaths::OfEnvironment();
            ::_exit(paths.user == row.user && paths.machine == row.machinePath ? 0 : 1);
        }
        int status = -1;
        ::waitpid(process, &status, 0);
        EXPECT_EQ(status, 0) << row.user << ", " << row.machinePath;
    }
}

}  // namespace
}  // namespace vmlib
