#include <gmock/gmock.h>

#include <set>

#include "platform/windows/Api.h"
#include "platform/windows/WindowsFiles.h"
#include "support/TemporaryFolder.h"

namespace vmlib::test {
namespace {

using testing::ElementsAre;

class WindowsFilesTest : public testing::Test
{
protected:
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
    std::optional<FileFault> OpenFault(const Text& path, const FileOpenRequest& request = {})
    {
        return FaultOf([&] { files_.Open(path, request); });
    }

    TemporaryFolder folder_;
    windows::WindowsFiles files_;
};

constexpr FileOpenRequest making{FileAccess::ReadWrite, FileSharing::Shared, FileCreation::CreateNew};
constexpr FileOpenRequest writing{FileAccess::ReadWrite, FileSharing::Shared};

TEST_F(WindowsFilesTest, FaultsSayWhatIsWrong)
{
    std::filesystem::create_directory(folder_.Native("sub"));
    folder_.Write("file", "x");
    const Text file = folder_.Path(u"file"), sub = folder_.Path(u"sub");
    EXPECT_EQ(OpenFault(folder_.Path(u"no")), FileFault::NotFound);
    EXPECT_EQ(OpenFault(folder_.Path(u"no\\no")), FileFault::PathNotFound);
    EXPECT_EQ(OpenFault(folder_.Path(u"no\\no"), making), FileFault::PathNotFound);
    EXPECT_EQ(OpenFault(u"Q:\\x"), FileFault::PathNotFound);
    EXPECT_EQ(OpenFault(sub), FileFault::AccessDenied);
    EXPECT_EQ(OpenFault(file, making), FileFault::Exists);
    EXPECT_EQ(OpenFault(u""), FileFault::InvalidName);
    EXPECT_EQ(OpenFault(Text(u"C:\\a\0b", 6)), FileFault::InvalidName);
    EXPECT_EQ(OpenFault(folder_.Path(u"a*b"), making), FileFault::InvalidName);
    EXPECT_EQ(FaultOf([&] { files_.Rename(file, sub); }), FileFault::Exists);
    EXPECT_EQ(FaultOf([&] { files_.Rename(file, folder_.Path(u"no\\x")); }), FileFault::PathNotFound);
    EXPECT_EQ(FaultOf([&] { files_.Rename(folder_.Path(u"no"), folder_.Path(u"x")); }), FileFault::NotFound);
    EXPECT_EQ(FaultOf([&] { files_.Delete(sub); }), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.Delete(folder_.Path(u"no")); }), FileFault::NotFound);
    EXPECT_EQ(FaultOf([&] { files_.Copy(file, folder_.Path(u"no\\copy")); }), FileFault::PathNotFound);
    EXPECT_EQ(FaultOf([&] { files_.Copy(file, sub); }), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.Replace(file, file); }), FileFault::SharingViolation);
    EXPECT_EQ(FaultOf([&] { files_.Open(file, {})->WriteAt(0, Bytes{1}); }), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.CreateUnique(folder_.Path(u"no"), u"~VM"); }), FileFault::PathNotFound);
    EXPECT_EQ(FaultOf([&] { files_.CreateFolder(sub); }), FileFault::Exists);
    for (const Text& path : {folder_.Path(u"no\\no"), folder_.Path(u"a*b"), Text(u"Q:\\x"), Text()})
        EXPECT_FALSE(files_.Facts(path)) << ToUtf8(path);
    EXPECT_THAT(folder_.Names(), ElementsAre("file", "sub"));
}

TEST_F(WindowsFilesTest, ReadOnlyFilesStayAsTheyAre)
{
    folder_.Write("a", "old");
    folder_.Write("b", "new");
    const Text a = folder_.Path(u"a"), b = folder_.Path(u"b"), copy = folder_.Path(u"copy");
    files_.SetReadOnly(a, true);
    EXPECT_TRUE(files_.Facts(folder_.Path(u"A"))->isReadOnly);
    EXPECT_TRUE(files_.Properties(a).isReadOnly);
    EXPECT_EQ(OpenFault(a, writing), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.Delete(a); }), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.Copy(b, a); }), FileFault::AccessDenied);
    EXPECT_EQ(FaultOf([&] { files_.Replace(b, a); }), FileFault::AccessDenied);
    files_.Copy(a, copy);
    EXPECT_TRUE(files_.Facts(copy)->isReadOnly) << "as its source is";
    EXPECT_EQ(folder_.Read("copy"), "old");
    EXPECT_EQ(folder_.Read("b"), "new");
    for (const Text& path : {a, copy}) {
        files_.SetReadOnly(path, false);
        files_.Delete(path);
    }
    EXPECT_THAT(folder_.Names(), ElementsAre("b"));
}

TEST_F(WindowsFilesTest, CopyAndReplaceLeaveOneWholeFile)
{
    folder_.Write("new", std::string(3'000'000, 'n'));
    folder_.Write("target", "old");
    const Text target = folder_.Path(u"target");
    files_.Copy(folder_.Path(u"NEW"), folder_.Path(u"Target"));
    EXPECT_EQ(folder_.Read("target"), std::string(3'000'000, 'n'));
    const FileIdentity before = files_.Facts(target)->identity;
    folder_.Write("newer", "newer");
    const FileIdentity newer = files_.Facts(folder_.Path(u"newer"))->identity;
    files_.Replace(folder_.Path(u"newer"), target);
    EXPECT_EQ(folder_.Read("target"), "newer");
    EXPECT_EQ(files_.Facts(target)->identity, newer) << "the file itself takes the name";
    EXPECT_NE(before, newer);
    files_.Replace(target, folder_.Path(u"free"));
    EXPECT_THAT(folder_.Names(), ElementsAre("free", "new"));

    const auto file = files_.Open(folder_.Path(u"free"), writing);
    file->OnCopy([&] { file->WriteAt(0, Bytes{'N'}); });
    files_.Copy(folder_.Path(u"free"), folder_.Path(u"copy"));
    EXPECT_EQ(folder_.Read("copy"), "Newer") << "with what this process keeps in memory";
    file->OnCopy({});
}

TEST_F(WindowsFilesTest, ReadsStopAtTheEndAndWritesExtend)
{
    const auto file = files_.Open(folder_.Path(u"a"), making);
    file->WriteAt(3, Bytes{7, 8});
    Bytes bytes(10, 0xFF);
    EXPECT_EQ(file->ReadAt(1, bytes), 4u);
    EXPECT_THAT(std::span(bytes).first(5), ElementsAre(0, 0, 7, 8, 0xFF));
    EXPECT_EQ(file->ReadAt(100, bytes), 0u);
    file->Resize(4);
    file->Sync();
    EXPECT_EQ(file->Size(), 4u);
}

TEST_F(WindowsFilesTest, PathsAreWhatWindowsMakesOfThem)
{
    folder_.Write("a long name.document", "x");
    folder_.Write("b.mdb", "x");
    const Text longPath = folder_.Path(u"a long name.document");
    const auto shortPath = files_.ShortPath(longPath);
    ASSERT_TRUE(shortPath);
    EXPECT_LE(shortPath->size() - shortPath->rfind(u'\\') - 1, 12u) << ToUtf8(*shortPath);
    EXPECT_EQ(files_.FullPath(*shortPath), longPath);
    EXPECT_EQ(files_.FullPath(*shortPath + u"\\..\\none~1\\.\\"), folder_.Path(u"none~1"));
    EXPECT_EQ(files_.ShortPath(folder_.Path(u"no")), std::nullopt);
    EXPECT_EQ(files_.FullPath(u"c:\\..\\x\\"), u"c:\\x");
    EXPECT_EQ(files_.FullPath(u"C:\\"), u"C:\\");
    EXPECT_EQ(files_.FullPath(u"\\\\server\\share\\a\\..\\x"), u"\\\\server\\share\\x");
    EXPECT_EQ(files_.CurrentFolder(u'Q'), u"");
    EXPECT_EQ(files_.CurrentFolder(files_.CurrentFolder()[0]), files_.CurrentFolder());
    EXPECT_EQ(files_.FromNative("C:/Größe/\xE2\x82\xAC.mdb"), u"C:\\Größe\\€.mdb");
    EXPECT_EQ(files_.ToNative(u"C:\\Größe\\€.mdb"),
              "C:\\Gr\xC3\xB6\xC3\x9F"
              "e\\\xE2\x82\xAC.mdb");
    EXPECT_EQ(files_.NetworkName(u"C:"), std::nullopt);
    EXPECT_THAT(files_.List(folder_.Path(), u"*.*"), ElementsAre(u"a long name.document", u"b.mdb"));
    EXPECT_THAT(files_.List(folder_.Path(), u"?.M*"), ElementsAre(u"b.mdb"));
}

TEST_F(WindowsFilesTest, UniqueFilesAreEmptyAndNeverTaken)
{
    std::set<Text> names;
    for (int i = 0; i < 50; ++i) {
        const auto [path, number] = files_.CreateUnique(folder_.Path() + u"\\", u"~VMD");
        char digits[8];
        std::snprintf(digits, sizeof digits, "%04X", static_cast<unsigned>(number));
        EXPECT_EQ(path, folder_.Path(u"~VM") + FromUtf8(digits) + u".tmp");
        EXPECT_NE(number, 0);
        EXPECT_TRUE(names.insert(path).second);
        EXPECT_EQ(files_.Facts(path)->size, 0u);
    }
}

TEST_F(WindowsFilesTest, TimesAreOfTheirKind)
{
    folder_.Write("a", "x");
    const Text path = folder_.Path(u"a");
    const HANDLE file =
        ::CreateFileA(folder_.Native("a").string().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    const SYSTEMTIME noon{2024, 3, 0, 5, 18, 0, 0, 0};  // 5 March 2024, 18:00, coordinated universal time
    FILETIME time;
    ::SystemTimeToFileTime(&noon, &time);
    ::SetFileTime(file, nullptr, nullptr, &time);
    ::CloseHandle(file);
    EXPECT_DOUBLE_EQ(files_.Properties(path).modified.serial, 45356.75);
    SYSTEMTIME local;
    ::SystemTimeToTzSpecificLocalTime(nullptr, &noon, &local);
    EXPECT_NEAR(files_.Facts(path)->modified.serial,
                45356 + (local.wDay - 5) + (local.wHour * 60 + local.wMinute) / 1440.0, 1e-9);
}

}  // namespace
}  // namespace vmlib::test
