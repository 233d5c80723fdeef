#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "platform/posix/LocalTime.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/ShortNames.h"
#include "support/TemporaryFolder.h"

namespace vmlib {
namespace {

using test::TemporaryFolder;
using testing::MatchesRegex;

class ShortNamesTest : public testing::Test
{
protected:
    std::string ShortOf(TextView name)
    {
        const auto path = files_.ShortPath(folder_.Path(name));
        return path ? ToUtf8(path->substr(path->rfind(u'\\') + 1)) : "(none)";
    }
    std::string ContentsOf(TextView name)
    {
        const auto file = files_.Open(folder_.Path(name), {});
        std::string bytes(file->Size(), '\0');
        file->ReadAt(0, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()});
        return bytes;
    }

    TemporaryFolder folder_;
    posix::PosixFiles files_;
};

TEST_F(ShortNamesTest, NamesAreShortByThePlatformsRules)
{
    const std::pair<TextView, const char*> cases[] = {
        {u"kas.mdb", "kas\\.mdb"},  // stays, in its spelling
        {u"Één&2.b!", "Één&2\\.b!"},
        {u"123456789.123", "12[0-9A-F]{4}~1\\.123"},  // nine before the point
        {u"a.html", "A[0-9A-F]{4}~1\\.HTM"},
        {u"a b.doc", "AB[0-9A-F]{4}~1\\.DOC"},           // a blank
        {u"a.b.c", "AB[0-9A-F]{4}~1\\.C"},               // two points
        {u"x+y=z.[1]", "XY[0-9A-F]{4}~1\\.1"},           // signs that short names do not allow
        {u"Ωμέγα.δ", "__[0-9A-F]{4}~1\\._"},             // no characters of the code page
        {u".profile", "PR[0-9A-F]{4}~1"},                // what hides a file is no extension
        {u"éénentwintig.doc", "ÉÉ[0-9A-F]{4}~1\\.DOC"},  // the code page has the capital too
        {u"+++++.txt", "[0-9A-F]{4}~1\\.TXT"},           // shorter than nine, but nothing of it is allowed
    };
    for (const auto& c : cases) {
        folder_.Write(ToUtf8(c.first), "contents of " + ToUtf8(c.first));
        const std::string shortName = ShortOf(c.first);
        EXPECT_THAT(shortName, MatchesRegex(std::string(c.second))) << ToUtf8(c.first);
        EXPECT_TRUE(posix::IsShortName(FromUtf8(shortName))) << shortName;
        EXPECT_EQ(ContentsOf(LowerCase(FromUtf8(shortName))), "contents of " + ToUtf8(c.first)) << shortName;
    }
}

TEST_F(ShortNamesTest, NeighboursChangeNothingAndEachOfManyHasItsOwn)
{
    folder_.Write("Rapport van het jaar.document", "");
    const std::string alone = ShortOf(u"Rapport van het jaar.document");
    std::set<std::string> names{alone};
    const auto nameOf = [](int i) { return u"Rapport " + Decimal(i) + u".document"; };
    for (int i = 0; i < 300; ++i) folder_.Write(ToUtf8(nameOf(i)), std::to_string(i));
    for (int i = 0; i < 300; ++i) {
        const std::string shortName = ShortOf(nameOf(i));
        EXPECT_TRUE(names.insert(shortName).second) << shortName;
        EXPECT_EQ(ContentsOf(FromUtf8(shortName)), std::to_string(i));
    }
    EXPECT_EQ(ShortOf(u"RAPPORT van het jaar.DOCUMENT"), alone);
}

TEST_F(ShortNamesTest, ThoseThatGetTheSameNameCountUpPastNamesThatStandThere)
{
    // Equal without regard to case, so that the hash is equal too.
    folder_.Write("LANGE naam.doc", "first");
    folder_.Write("Lange Naam.doc", "second");
    folder_.Write("lange naam.doc", "third");
    const std::string first = ShortOf(u"LANGE naam.doc"), second = ShortOf(u"Lange Naam.doc");
    EXPECT_THAT(first, MatchesRegex("LA[0-9A-F]{4}~1\\.DOC"));
    std::string taken = first;
    EXPECT_EQ(second, taken.replace(first.find('~') + 1, 1, "2"));
    EXPECT_EQ(ContentsOf(FromUtf8(second)), "second");

    folder_.Write(second, "its own name");  // wins against the derived one
    EXPECT_EQ(ContentsOf(FromUtf8(second)), "its own name");
    taken.replace(first.find('~') + 1, 1, "3");
    EXPECT_EQ(ShortOf(u"Lange Naam.doc"), taken);
    EXPECT_EQ(ContentsOf(FromUtf8(taken)), "second");
}

TEST_F(ShortNamesTest, PathsKeepTheirShapeAndOpenTheSameFile)
{
    std::filesystem::create_directories(folder_.Native("d/Mijn documenten/sub"));
    files_.MapDrive(u'D', folder_.Native("d").string());
    folder_.Write("d/Mijn documenten/sub/Kas boek.mdb", "x");
    const Text whole = files_.ShortPath(u"d:/Mijn documenten\\.\\sub\\..\\sub\\kas boek.mdb").value();
    EXPECT_THAT(ToUtf8(whole),
                MatchesRegex("d:/MI[0-9A-F]{4}~1\\\\\\.\\\\sub\\\\\\.\\.\\\\sub\\\\KA[0-9A-F]{4}~1\\.MDB"));
    EXPECT_EQ(files_.Facts(whole)->identity, files_.Facts(u"D:\\mijn documenten\\sub\\KAS BOEK.MDB")->identity);
    EXPECT_EQ(files_.ShortPath(u"D:\\"), u"D:\\");
    for (const TextView missing : {u"D:\\nothing here.doc", u"Q:\\x", u"", u"\\\\server\\share\\x y"})
        EXPECT_EQ(files_.ShortPath(missing), std::nullopt) << ToUtf8(missing);

    // What is named after a file (journals, lock files) gets the same name from everybody.
    EXPECT_EQ(files_.FullPath(whole + u"\\none~1.x"), u"D:\\Mijn documenten\\sub\\Kas boek.mdb\\none~1.x");
    EXPECT_THROW(files_.CreateFolder(whole), FileError);  // and the short name is taken
}

TEST(NetworkNamesTest, MountsOfFileServersHaveNetworkNames)
{
    const TemporaryFolder folder;
    const std::string mounts =
        "21 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
        "36 21 0:50 / /mnt/archief rw - cifs //server/archief rw,vers=3.0\n"
        "37 21 0:51 / /mnt/net\\040werk rw master:1 shared:2 - smb3 \\134\\134server\\134met\\040blank\\134map rw\n"
        "38 21 0:52 / /srv/kas rw - nfs4 [fe80::1]:/export/kas rw\n"
        "39 38 8:2 / /srv/kas/local rw - ext4 /dev/sdb1 rw\n"
        "40 21 0:53 / /srv/twice rw - nfs old:/x rw\n"
        "41 40 0:54 / /srv/twice rw - nfs new:/ rw\n"
        "42 21 0:55 /map/sub /mnt/bound rw - cifs //server/share/map rw\n"
        "43 21 0:56 /sub /mnt/below rw - cifs //server/share/map rw\n"
        "a line of something else\n"
        "44 21 0:57 / /mnt/odd rw - cifs none rw";
    folder.Write("mounts", mounts);
    const posix::MountTable table(folder.Native("mounts").string());
    const std::pair<const char*, std::optional<Text>> cases[] = {
        {"/mnt/archief", u"\\\\server\\archief"},
        {"/mnt/archief/2024/mei", u"\\\\server\\archief\\2024\\mei"},
        {"/mnt/archiefkast", std::nullopt},  // beside it
        {"/mnt/net werk/x", u"\\\\server\\met blank\\map\\x"},
        {"/srv/kas/in", u"\\\\[fe80::1]\\export\\kas\\in"},
        {"/srv/kas/local/x", std::nullopt},                   // a local disk below
        {"/srv/twice/x", u"\\\\new\\x"},                      // mounted over another
        {"/mnt/bound/x", u"\\\\server\\share\\map\\sub\\x"},  // a folder of the share, told from the share on ...
        {"/mnt/below/x", u"\\\\server\\share\\map\\sub\\x"},  // ... and from the source on
        {"/mnt/odd", std::nullopt},
        {"/home", std::nullopt},
    };
    for (const auto& c : cases) EXPECT_EQ(table.NetworkName(c.first), c.second) << c.first;
    EXPECT_EQ(posix::MountTable(folder.Native("none").string()).NetworkName("/mnt/archief"), std::nullopt);
}

TEST(NetworkNamesTest, DrivesAreLookedUpBehindLinks)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.Native("mnt/archief"));
    std::filesystem::create_symlink(folder.Native("mnt"), folder.Native("link"));
    const std::string real = std::filesystem::canonical(folder.Native("mnt")).string();
    folder.Write("mounts", "21 1 8:1 / / rw - ext4 /dev/sda1 rw\n36 21 0:50 / " + real + " rw - cifs //s/t rw\n");
    posix::PosixFiles files(sharingPatience, posix::MountTable(folder.Native("mounts").string()));
    files.MapDrive(u'k', folder.Native("link/archief").string());
    EXPECT_EQ(files.NetworkName(u"K:"), u"\\\\s\\t\\archief");
    for (const TextView none : {u"Z:", u"Q:", u"K", u"K:\\", u"\\\\", u""})
        EXPECT_EQ(files.NetworkName(none), std::nullopt) << ToUtf8(none);
}

TEST(FilePropertiesTest, TimesAreUniversalAndFlagsFollowNameAndRights)
{
    const TemporaryFolder folder;
    posix::PosixFiles files;
    folder.Write(".verborgen", "12345");
    const timespec times[] = {{951782400, 0}, {1709614800, 0}};  // 29 February 2000, 0:00; 5 March 2024, 5:00
    ASSERT_EQ(::utimensat(AT_FDCWD, folder.Native(".verborgen").c_str(), times, 0), 0);
    ::setenv("TZ", "XYZ-13", 1);
    ::tzset();
    FileProperties file = files.Properties(folder.Path(u".Verborgen"));
    ::unsetenv("TZ");
    ::tzset();
    EXPECT_EQ(file.size, 5u);
    EXPECT_EQ(file.accessed.serial, 36585);
    EXPECT_NEAR(file.modified.serial, 45356 + 5.0 / 24, 1e-9);
    EXPECT_TRUE(file.isArchive && file.isHidden && !file.isReadOnly && !file.isSystem && !file.isFolder);
    // Made just now where the file system knows it, else the earliest moment that it knows.
    const double now = posix::UniversalTime(::time(nullptr)).serial;
    EXPECT_TRUE(file.created == file.accessed || std::abs(file.created.serial - now) < 1) << file.created.serial;

    files.SetReadOnly(folder.Path(u".verborgen"), true);
    EXPECT_TRUE(files.Properties(folder.Path(u".verborgen")).isReadOnly);
    file = files.Properties(folder.Path());
    EXPECT_TRUE(file.isFolder && !file.isArchive && !file.isHidden && !file.isReadOnly);
    EXPECT_THROW(files.Properties(folder.Path(u"none")), FileError);
}

}  // namespace
}  // namespace vmlib
