#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/Platform.h"
#include "platform/posix/PosixFiles.h"
#include "support/TemporaryFolder.h"

namespace vmlib {
namespace {

using test::TemporaryFolder;
using testing::ElementsAre;

class FilesTest : public testing::Test
{
protected:
    std::string Contents(TextView path)
    {
        const auto file = files_.Open(path, {});
        std::string bytes(file->Size(), '\0');
        file->ReadAt(0, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()});
        return bytes;
    }

    template <class Step>
    static std::optional<FileFault> FaultOf(Step&& step)
    {
        try {
            step();
            return std::nullopt;
        } catch (const FileError& error) {
            return error.Fault();
        }
    }

    static mode_t ModeOf(const std::filesystem::path& path)
    {
        struct stat facts;
        return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0;
    }

    void ExpectNothingUnfinished()
    {
        for (const std::string& name : folder_.Names()) EXPECT_EQ(name.find("-new-"), std::string::npos) << name;
    }

    TemporaryFolder folder_;
    posix::PosixFiles files_;
};

constexpr FileOpenRequest forWriting{FileAccess::ReadWrite, FileSharing::Shared, FileCreation::OpenExisting};

TEST_F(FilesTest, PathsFollowWindowsRules)
{
    std::filesystem::create_directories(folder_.Native("d/sub"));
    files_.MapDrive(u'd', folder_.Native("d").string());
    const Text current = files_.FullPath(u"x").substr(0, files_.FullPath(u"x").size() - 2);
    const struct
    {
        TextView path;
        Text full;
    } cases[] = {
        {u"D:\\a\\b.mdb", u"D:\\a\\b.mdb"},
        {u"d:/a//b.mdb", u"D:\\a\\b.mdb"},  // either separator, doubled ones count once
        {u"D:\\a\\..\\.\\b\\", u"D:\\b"},   // no separator at the end ...
        {u"D:\\", u"D:\\"},                 // ... unless a root
        {u"D:\\..\\..\\x", u"D:\\x"},       // nothing above a root
        {u"D:x", u"D:\\x"},                 // the current folder is on another drive: from the root
        {u"\\x", u"Z:\\x"},                 // the current drive
        {u"x\\y", current + u"\\x\\y"},
        {u"\\\\server\\share\\x", u"\\\\server\\share\\x"},
    };
    for (const auto& c : cases) EXPECT_EQ(ToUtf8(files_.FullPath(c.path)), ToUtf8(c.full)) << ToUtf8(c.path);
    EXPECT_EQ(FaultOf([&] { files_.FullPath(u""); }), FileFault::InvalidName);
    EXPECT_EQ(files_.CurrentFolder(u'd'), u"D:\\");
    EXPECT_EQ(files_.CurrentFolder(u'Q'), u"");

    // The nearest drive names a native path; a name with "\" in it cannot be said.
    EXPECT_EQ(files_.FromNative(folder_.Native("d/sub/A b.mdb").string()), u"D:\\sub\\A b.mdb");
    EXPECT_EQ(files_.FromNative(folder_.Native("d").string()), u"D:\\");
    EXPECT_EQ(files_.FromNative(folder_.Native("dd/x").string()), folder_.Path(u"dd\\x"));
    EXPECT_EQ(FaultOf([&] { files_.FromNative("/tmp/a\\b"); }), FileFault::InvalidName);
    EXPECT_EQ(files_.ToNative(u"D:\\SUB\\new.mdb"), folder_.Native("d/sub/new.mdb").string());
    EXPECT_EQ(FaultOf([&] { files_.ToNative(u"Q:\\x"); }), FileFault::PathNotFound);
    EXPECT_FALSE(files_.Exists(u"Q:\\x"));
    EXPECT_FALSE(files_.Exists(u"\\\\server\\share\\x"));
}

TEST_F(FilesTest, NamesMatchWithoutRegardToCaseExactOnesFirst)
{
    std::filesystem::create_directory(folder_.Native("Gegevens"));
    folder_.Write("Gegevens/Één.MDB", "one");
    EXPECT_EQ(Contents(folder_.Path(u"GEGEVENS\\één.mdb")), "one");
    EXPECT_EQ(Contents(folder_.Path(u"gegevens\\één.mdb  ")), "one");  // Windows drops blanks and points at the end
    folder_.Write("Gegevens/één.mdb", "two");
    EXPECT_EQ(Contents(folder_.Path(u"gegevens\\één.mdb")), "two");
    EXPECT_EQ(FaultOf([&] {
                  files_.Open(folder_.Path(u"GEGEVENS\\ÉÉN.mdb"),
                              {FileAccess::ReadWrite, FileSharing::Shared, FileCreation::CreateNew});
              }),
              FileFault::Exists);
    files_.Rename(folder_.Path(u"gegevens\\Één.MDB"), folder_.Path(u"gegevens\\Other.mdb"));
    files_.Rename(folder_.Path(u"gegevens\\other.mdb"), folder_.Path(u"gegevens\\OTHER.mdb"));  // a change of case only
    EXPECT_EQ(folder_.Read("Gegevens/OTHER.mdb"), "one");
    EXPECT_THAT(files_.List(folder_.Path(u"GEGEVENS"), u"o*.M?B"), ElementsAre(u"OTHER.mdb"));
    EXPECT_EQ(files_.List(folder_.Path(u"gegevens"), u"*.*").size(), 2u);
}

TEST_F(FilesTest, FaultsSayWhatIsWrong)
{
    std::filesystem::create_directory(folder_.Native("sub"));
    folder_.Write("file", "x");
    ASSERT_EQ(::mkfifo(folder_.Native("pipe").c_str(), 0600), 0);
    const auto openFault = [&](TextView name, FileOpenRequest request = {}) {
        return FaultOf([&] { files_.Open(folder_.Path(name), request); });
    };
    EXPECT_EQ(openFault(u"no"), FileFault::NotFound);
    EXPECT_EQ(openFault(u"no\\no"), FileFault::PathNotFound);
    EXPECT_EQ(openFault(u"file\\no"), FileFault::PathNotFound);
    EXPECT_EQ(openFault(u"no\\no", {FileAccess::ReadWrite, FileSharing::Shared, FileCreation::CreateNew}),
              FileFault::PathNotFound);
    EXPECT_EQ(openFault(u"sub"), FileFault::AccessDenied);
    EXPECT_EQ(openFault(u"pipe"), FileFault::AccessDenied);  // and does not wait for a writer
    EXPECT_EQ(openFault(Text(300, u'x'), {FileAccess::ReadWrite, FileSharing::Shared, FileCreation::CreateNew}),
              FileFault::InvalidName);
    EXPECT_EQ(FaultOf([&] { files_.Open(Text(u"Z:\\a\0b", 6), {}); }), FileFault::InvalidName);
    EXPECT_EQ(FaultOf([&] { files_.Rename(folder_.Path(u"file"), folder_.Path(u"sub")); }), FileFault::Exists);
    EXPECT_EQ(FaultOf([&] { files_.Delete(folder_.Path(u"sub")); }), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.Copy(folder_.Path(u"file"), folder_.Path(u"no\\copy")); }), FileFault::PathNotFound);
    EXPECT_EQ(FaultOf([&] { files_.Open(folder_.Path(u"file"), {})->WriteAt(0, Bytes{1}); }), FileFault::AccessDenied);
    try {
        files_.Open(folder_.Path(u"no"), {});
    } catch (const FileError& error) {
        EXPECT_EQ(error.Number(), 53);
        EXPECT_NE(error.Description().find(folder_.Path(u"no")), Text::npos);
    }
}

TEST_F(FilesTest, OwnersWriteBitMakesReadOnlyForRootToo)
{
    folder_.Write("a", "old");
    folder_.Write("b", "new");
    files_.SetReadOnly(folder_.Path(u"a"), true);
    EXPECT_TRUE(files_.Facts(folder_.Path(u"A"))->isReadOnly);
    EXPECT_EQ(FaultOf([&] { files_.Open(folder_.Path(u"a"), forWriting); }), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] {
                  files_.Open(folder_.Path(u"a"),
                              {FileAccess::ReadWrite, FileSharing::Shared, FileCreation::CreateOrTruncate});
              }),
              FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.Delete(folder_.Path(u"a")); }), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.Copy(folder_.Path(u"b"), folder_.Path(u"a")); }), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.Replace(folder_.Path(u"b"), folder_.Path(u"a")); }), FileFault::AccessDenied);
    EXPECT_EQ(folder_.Read("a"), "old");
    EXPECT_EQ(folder_.Read("b"), "new");
    files_.SetReadOnly(folder_.Path(u"a"), false);
    files_.Open(folder_.Path(u"a"), forWriting)->WriteAt(0, Bytes{'O'});
    EXPECT_EQ(folder_.Read("a"), "Old");
}

TEST_F(FilesTest, ReadsStopAtTheEndAndWritesExtend)
{
    const auto file =
        files_.Open(folder_.Path(u"a"), {FileAccess::ReadWrite, FileSharing::Shared, FileCreation::CreateNew});
    file->WriteAt(3, Bytes{7, 8});
    Bytes bytes(10, 0xFF);
    EXPECT_EQ(file->ReadAt(1, bytes), 4u);
    EXPECT_THAT(std::span(bytes).first(5), ElementsAre(0, 0, 7, 8, 0xFF));
    EXPECT_EQ(file->ReadAt(100, bytes), 0u);
    file->Resize(4);
    file->Sync();
    EXPECT_EQ(file->Size(), 4u);
    const auto emptied = [&] {
        return files_.Open(folder_.Path(u"a"),
                           {FileAccess::ReadWrite, FileSharing::Shared, FileCreation::CreateOrTruncate});
    };
    EXPECT_EQ(FaultOf(emptied),
              FileFault::SharingViolation);  // whoever shares the file must not find it emptied under him
    EXPECT_EQ(file->Size(), 4u);
}

TEST_F(FilesTest, CopyAndReplaceKeepWhoMayReadTheTarget)
{
    folder_.Write("new", "new contents");
    folder_.Write("target", "old");
    ::chmod(folder_.Native("target").c_str(), 0660);
    ::chmod(folder_.Native("new").c_str(), 0440);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(folder_.Native("target").c_str(), 12345, 54321), 0);
    }

    files_.Copy(folder_.Path(u"NEW"), folder_.Path(u"Target"));
    EXPECT_EQ(folder_.Read("target"), "new contents");
    EXPECT_EQ(ModeOf(folder_.Native("target")), 0660u);
    if (::geteuid() == 0) {
        struct stat facts;
        ASSERT_EQ(::stat(folder_.Native("target").c_str(), &facts), 0);
        EXPECT_EQ(facts.st_uid, 12345u);
        EXPECT_EQ(facts.st_gid, 54321u);
    }
    files_.Copy(folder_.Path(u"new"), folder_.Path(u"fresh"));
    EXPECT_EQ(ModeOf(folder_.Native("fresh")), 0440u);  // a copy of a read-only file is read-only

    folder_.Write("newer", "newer contents");
    files_.Replace(folder_.Path(u"newer"), folder_.Path(u"target"));
    EXPECT_EQ(folder_.Read("target"), "newer contents");
    EXPECT_EQ(ModeOf(folder_.Native("target")), 0660u);
    EXPECT_THAT(folder_.Names(), ElementsAre("fresh", "new", "target"));
}

TEST_F(FilesTest, ReplaceMakesTheTargetWhereThereIsNoneAndNeverReplacesAFileByItself)
{
    folder_.Write("a", "x");
    files_.Replace(folder_.Path(u"a"), folder_.Path(u"b"));
    EXPECT_THAT(folder_.Names(), ElementsAre("b"));
    ASSERT_EQ(::symlink("b", folder_.Native("link").c_str()), 0);
    EXPECT_EQ(FaultOf([&] { files_.Replace(folder_.Path(u"B"), folder_.Path(u"b")); }), FileFault::SharingViolation);
    EXPECT_EQ(FaultOf([&] { files_.Replace(folder_.Path(u"link"), folder_.Path(u"b")); }), FileFault::SharingViolation);
    EXPECT_EQ(FaultOf([&] { files_.Copy(folder_.Path(u"b"), folder_.Path(u"B")); }), FileFault::SharingViolation);
    EXPECT_EQ(folder_.Read("b"), "x");

    // Behind a link it is the file that is replaced, not the link.
    folder_.Write("c", "y");
    files_.Replace(folder_.Path(u"c"), folder_.Path(u"link"));
    EXPECT_EQ(folder_.Read("b"), "y");
    EXPECT_TRUE(std::filesystem::is_symlink(folder_.Native("link")));

    // What was private while it was temporary is an ordinary file once it has a name of its own.
    FileOpenRequest request{FileAccess::ReadWrite, FileSharing::Exclusive, FileCreation::CreateNew};
    files_.Open(folder_.Path(u"ordinary"), request);
    request.temporary = true;
    files_.Open(folder_.Path(u"private"), request);
    EXPECT_EQ(ModeOf(folder_.Native("private")), 0600u);
    files_.Replace(folder_.Path(u"private"), folder_.Path(u"saved"));
    EXPECT_EQ(ModeOf(folder_.Native("saved")), ModeOf(folder_.Native("ordinary")));
}

TEST_F(FilesTest, CopyIncludesWhatThisProcessKeepsInMemory)
{
    folder_.Write("a", "old");
    const auto file = files_.Open(folder_.Path(u"a"), forWriting);
    file->OnCopy([&] { file->WriteAt(0, Bytes{'n', 'e', 'w'}); });
    files_.Copy(folder_.Path(u"A"), folder_.Path(u"b"));
    EXPECT_EQ(folder_.Read("b"), "new");
    {
        const auto second = files_.Open(folder_.Path(u"a"), forWriting);
        second->OnCopy([] { ADD_FAILURE() << "called after it was closed"; });
    }
    file->OnCopy({});
    files_.Copy(folder_.Path(u"a"), folder_.Path(u"c"));
}

TEST_F(FilesTest, FullDiskLeavesNothingBehind)
{
    NativePlatform();  // turns the signal at the limit into an error
    folder_.Write("big", std::string(300'000, 'x'));
    folder_.Write("target", "old");
    rlimit before;
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit low{100'000, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &low);
    const auto copyFault = FaultOf([&] { files_.Copy(folder_.Path(u"big"), folder_.Path(u"target")); });
    const auto replaceFault = FaultOf([&] { files_.Replace(folder_.Path(u"big"), folder_.Path(u"none")); });
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(copyFault, FileFault::DiskFull);
    EXPECT_EQ(replaceFault, FileFault::DiskFull);
    EXPECT_EQ(folder_.Read("target"), "old");
    EXPECT_THAT(folder_.Names(), ElementsAre("big", "target"));
    ExpectNothingUnfinished();
}

TEST_F(FilesTest, UniqueFilesAreEmptyPrivateAndNeverTaken)
{
    std::set<Text> names;
    for (int i = 0; i < 50; ++i) {
        const auto [path, number] = files_.CreateUnique(folder_.Path() + u"\\", u"~VMD");
        EXPECT_NE(number, 0);
        EXPECT_TRUE(path.starts_with(folder_.Path(u"~VM"))) << ToUtf8(path);
        EXPECT_EQ(path.size(), folder_.Path(u"~VM0000.tmp").size());
        EXPECT_TRUE(names.insert(path).second);
    }
    EXPECT_EQ(folder_.Names().size(), 50u);
    EXPECT_EQ(ModeOf(folder_.Native(folder_.Names()[0])), 0600u);
    EXPECT_EQ(FaultOf([&] { files_.CreateUnique(folder_.Path(u"none"), u"~VM"); }), FileFault::PathNotFound);
}

TEST_F(FilesTest, RenameAcrossFileSystemsKeepsTheContents)
{
    struct stat here, memory;
    if (::stat("/dev/shm", &memory) != 0 || ::stat(folder_.Native().c_str(), &here) != 0 ||
        here.st_dev == memory.st_dev || ::access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "no second file system at /dev/shm";
    const std::string elsewhere = "/dev/shm/vmlib-rename-" + std::to_string(::getpid());
    folder_.Write("a", "contents");
    files_.Rename(folder_.Path(u"a"), files_.FromNative(elsewhere));
    EXPECT_EQ(test::ReadNative(elsewhere), "contents");
    EXPECT_TRUE(folder_.Names().empty());
    files_.Delete(files_.FromNative(elsewhere));
}

}  // namespace
}  // namespace vmlib
