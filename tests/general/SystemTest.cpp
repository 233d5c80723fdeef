#include <gmock/gmock.h>

#include "ScriptedPlatform.h"
#include "general/FileServices.h"
#include "general/SystemFacts.h"

namespace vmlib::test {
namespace {

using testing::ElementsAre;
using testing::Pair;

const Text blanks(255, u' ');

class FileServicesTest : public ScriptedPlatform
{
protected:
    /// A caller's variables, all of them used before.
    struct Description
    {
        Text dosName = u"oud", type = u"oud";
        std::int32_t size = 77;
        Date created{1}, modified{2}, accessed{3};
        bool readOnly = true, archive = true, hidden = true, system = true;
        std::vector<double> Numbers() const { return {double(size), created.serial, modified.serial, accessed.serial}; }
        std::vector<bool> Flags() const { return {readOnly, archive, hidden, system}; }
    };
    Description Describe(const Text& extension)
    {
        Description d;
        VmdLib_BepaalEigenschappen(
            platform_, u"C:\\a.doc",
            {d.dosName, d.type, d.size, d.created, d.modified, d.accessed, d.readOnly, d.archive, d.hidden, d.system},
            extension);
        return d;
    }
};

TEST_F(FileServicesTest, ShortNamesThatFit)
{
    const std::pair<std::optional<Text>, Text> cases[] = {{u"C:\\A~1.DOC", u"C:\\A~1.DOC"},
                                                          {std::nullopt, blanks},
                                                          {Text(254, u'a'), Text(254, u'a')},
                                                          {Text(255, u'a'), blanks}};
    for (const auto& [name, expected] : cases) {
        files_.shortPath = name;
        Text out = u"oud";
        VmdLib_GetDosNaam(platform_, u"C:\\a document.doc", out);
        EXPECT_EQ(ToUtf8(out), ToUtf8(expected));
    }
}

TEST_F(FileServicesTest, PropertiesOfAFile)
{
    files_.shortPath = u"C:\\a.doc";
    FileProperties& file = files_.properties.emplace();
    file.size = 0x280000005;
    file.created = {-1.75};  // 29 December 1899
    file.modified = {45356.99999};
    file.accessed = {45357};
    registry_.values[{localMachine, u"SOFTWARE\\Classes\\docfile", u""}] = std::string("Tekst\0", 6);
    const Description d = Describe(u"doc");
    EXPECT_EQ(d.dosName, u"C:\\a.doc");
    EXPECT_THAT(d.Numbers(), ElementsAre(-2147483643, -1, 45356, 45357)) << "the low 32 bits, days without their time";
    EXPECT_EQ(d.type, u"Tekst");
    EXPECT_EQ(Describe(u"").type, u"");

    bool FileProperties::*flags[] = {&FileProperties::isReadOnly, &FileProperties::isArchive, &FileProperties::isHidden,
                                     &FileProperties::isSystem};
    for (std::size_t i = 0; i < 4; ++i) {
        std::vector<bool> expected(4);
        expected[i] = file.*flags[i] = true;
        EXPECT_EQ(Describe(u"").Flags(), expected);
        file.*flags[i] = false;
    }
}

TEST_F(FileServicesTest, WhatCannotBeAskedStays)
{
    registry_.values[{localMachine, u"SOFTWARE\\Classes\\docfile", u""}] = "Tekst";
    const Description nothing = Describe(u"doc");
    EXPECT_EQ(nothing.dosName, blanks);
    EXPECT_THAT(nothing.Flags(), ElementsAre(true, true, true, true));
    EXPECT_THAT(nothing.Numbers(), ElementsAre(77, 1, 2, 3));
    EXPECT_EQ(nothing.type, u"Tekst") << "later steps run";

    files_.properties.emplace().isFolder = true;
    const Description folder = Describe(u"");
    EXPECT_THAT(folder.Flags(), ElementsAre(false, false, false, false));
    EXPECT_THAT(folder.Numbers(), ElementsAre(77, 1, 2, 3)) << "a folder cannot be opened";
    files_.properties.emplace().isReadable = false;
    EXPECT_THAT(Describe(u"").Numbers(), ElementsAre(77, 1, 2, 3)) << "nor a file that others keep to themselves";
}

TEST_F(FileServicesTest, NetworkNames)
{
    struct Case
    {
        std::optional<Text> network;
        Text directory, expected;
    };
    const Case cases[] = {
        {u"\\\\server\\deel", u"K:\\map\\", u"\\\\server\\deel\\map\\"},
        {Text(u" \\\\s\\d \0", 8), Text(u"K:\\m\0\0x", 7), u"\\\\s\\d \\mx"},  // zeros go
        {std::nullopt, Text(u"C:\\m\0", 5), Text(u"C:\\m\0", 5)},
        {u"  ", u"K:\\map", u"K:\\map"},
        {Text(255, u'a'), u"K:\\map", u"K:\\map"},
        {std::nullopt, u"", u""},
    };
    for (const Case& c : cases) {
        files_.networkName = c.network;
        EXPECT_EQ(ToUtf8(VmdLib_GetUNCPad(platform_, c.directory)), ToUtf8(c.expected));
        EXPECT_EQ(files_.askedDrive, c.directory.substr(0, 2));
    }
    files_.networkFails = true;
    EXPECT_EQ(VmdLib_GetUNCPad(platform_, u"K:\\map"), u"") << "an error leaves no result";
}

TEST_F(FileServicesTest, FoldersAreMadeOneByOne)
{
    EXPECT_EQ(VmdLib_MaakDirectory(platform_, folder_.Path(u"een")), -1);
    EXPECT_EQ(VmdLib_MaakDirectory(platform_, folder_.Path(u"een\\twee\\")), -1);
    EXPECT_TRUE(std::filesystem::is_directory(folder_.Native("een/twee")));
    EXPECT_EQ(VmdLib_MaakDirectory(platform_, folder_.Path(u"een")), 0) << "it is there";
    EXPECT_EQ(VmdLib_MaakDirectory(platform_, folder_.Path(u"drie\\vier")), 0) << "its parent is not";
}

using SystemFactsTest = ScriptedPlatform;

TEST_F(SystemFactsTest, WindowsFolder)
{
    const std::pair<std::optional<Text>, Text> cases[] = {
        {Text(u"C:\\W \0x", 7), u"C:\\W "}, {u" C:\\W ", u"C:\\W"}, {Text(260, u'a'), u""}, {std::nullopt, u""}};
    for (const auto& [folder, expected] : cases) {
        system_.windowsFolder = folder;
        EXPECT_EQ(ToUtf8(WinDir(platform_)), ToUtf8(expected));
    }
}

TEST_F(SystemFactsTest, IniFiles)
{
    system_.profile[u"a.ini|S|K"] = u"waarde";
    const auto read = [&](const Text& key, const Text& fallback, std::int16_t number) {
        Text text = u"oud";
        PrivIniRead(platform_, u"S", key, -5, fallback, text, number, u"a.ini");
        return std::pair(ToUtf8(text), int{number});
    };
    EXPECT_THAT(read(u"K", u"anders", 0), Pair("waarde", 0));
    EXPECT_THAT(read(u"geen", u"anders", 0), Pair("anders", 0));
    EXPECT_THAT(read(u"geen", u"", 0), Pair("oud", 0)) << "an empty answer is none";
    EXPECT_THAT(read(u"K", u"anders", 1), Pair("oud", -5));
    system_.profileNumber = 70000;
    EXPECT_THAT(read(u"K", u"anders", -1), Pair("oud", 4464)) << "cut to 16 bits";
}

TEST_F(SystemFactsTest, FamilyOfTheSystem)
{
    struct Case
    {
        std::optional<std::int32_t> family;
        bool isNt, is95;  // of variables that were (true, true)
    };
    const Case cases[] = {{0, false, false}, {1, false, true}, {2, true, false}, {3, true, true}, {{}, true, true}};
    for (const Case& c : cases) {
        system_.family = c.family;
        bool isNt = true, is95 = true;
        VmdLib_BepaalOS(platform_, isNt, is95);
        EXPECT_TRUE(isNt == c.isNt && is95 == c.is95) << c.family.value_or(99);
    }
}

/// An application object; a version number that is not set is no member of it.
class Application : public Object
{
public:
    std::map<Text, Variant> numbers;
    Text TypeName() const override { return u"App"; }
    Variant Invoke(TextView member, InvokeKind, std::span<Variant>) override
    {
        const auto found = numbers.find(Text(member));
        return found != numbers.end() ? found->second : throw Error(ErrorNumber::NoSuchMember);
    }
};

TEST_F(SystemFactsTest, VersionOfAnApplication)
{
    const auto application = std::make_shared<Application>();
    application->numbers = {{u"Major", std::int16_t{2}}, {u"Minor", u"1"}};
    EXPECT_EQ(VmdLib_GetVersie(application), u"") << "no Revision";
    application->numbers[u"Revision"] = 37;
    EXPECT_EQ(VmdLib_GetVersie(application), u"2.1.37");
    EXPECT_EQ(VmdLib_GetVersie(nullptr), u"");
}

TEST_F(SystemFactsTest, ProgramsAreWaitedFor)
{
    EXPECT_EQ(SyncShell(platform_, u"notepad a.txt", 6), -1);
    processes_.finds = false;
    EXPECT_EQ(SyncShell(platform_, u"geen", 1), 0);
    EXPECT_THAT(processes_.started, ElementsAre(Pair(u"notepad a.txt", 6)));
    EXPECT_THAT(processes_.waitedFor, ElementsAre(1));
}

TEST_F(SystemFactsTest, InsertIsToggledAndUp)
{
    for (const auto state : std::initializer_list<std::int16_t>{0, 1, -32768, -32767}) {
        desktop_.keyStates[45] = state;
        EXPECT_EQ(VmdLib_GetInsert(platform_), state == 1) << state;
    }
}

TEST_F(SystemFactsTest, FieldsHaveThirtyCharacters)
{
    EXPECT_EQ(fld(u"  Jan de Vries "), u"Jan de Vries                  ");
    EXPECT_EQ(fld(Text(3, u' ') + Text(29, u'a') + u"bc"), Text(29, u'a') + u'b');
}

}  // namespace
}  // namespace vmlib::test
