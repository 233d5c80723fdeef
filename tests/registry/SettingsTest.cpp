#include <limits>

#include "registry/RegistryFixture.h"
#include "registry/Settings.h"

namespace vmlib::registry {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Text planner = u"Planner", options = u"Opties";

class Settings : public RegistryTest
{
protected:
    const Section section_{1, planner, options};
    Variant Stored(const Text& name)
    {
        return RegGetAnyStr(store_, currentUser, VMDKeyNaam(planner, options), name, Null{});
    }
};

TEST(SettingsKeys, OfPackageAndSection)
{
    EXPECT_EQ(VMDKeyNaam(u"Planner", u"Opties"), u"Software\\VMD\\Planner\\Opties");
    EXPECT_EQ(VMDKeyNaam(u"Planner\\", u"Opties"), u"Software\\VMD\\Planner\\Opties");
    EXPECT_EQ(VMDKeyNaam(u"Planner", u""), u"Software\\VMD\\Planner\\");
    EXPECT_EQ(VMDKeyNaam(u"", u"Opties"), u"Software\\VMD\\");
}

TEST_F(Settings, DoublesAreStoredWithAPointInEveryLocale)
{
    struct Case
    {
        double number;
        Text stored;
        double read;
    };
    const Case cases[] = {
        {0.25, u"0.25", 0.25},
        {12.5, u"12.5", 12.5},
        {-3, u"-3", -3},
        {-1.5, u"-1.5", -0.5},
        {1e20, u"1E+20", 1e20},
        {0.00001, u"0.00001", 0.00001},
        {0, u"0", 0},
        {-0.25, u"-0.25", 0.25},
        {1234567, u"1234567", 1234567},
        {1.5e20, u"1.5E+20", 1 + 5e20 / 1e5},
    };
    for (const Locale* locale : {&Locale::English(), &Locale::Dutch()}) {
        Locale::SetUser(*locale, *locale);
        for (const Case& c : cases) {
            RegSetDbl(store_, section_, u"Getal", c.number);
            EXPECT_EQ(Stored(u"Getal"), Variant(c.stored)) << c.number;
            EXPECT_DOUBLE_EQ(RegGetDbl(store_, section_, u"Getal", 7), c.read) << c.number;
        }
        EXPECT_EQ(RegGetDbl(store_, section_, u"Geen", 2.5), 2.5);
        EXPECT_EQ(RegGetDbl(store_, section_, u"Geen", -2.5), -1.5) << "the default goes the same way";
        RegSetDbl(store_, section_, u"Oneindig", std::numeric_limits<double>::infinity());
        RegGetDbl(store_, section_, u"Oneindig", 0);
    }
}

TEST_F(Settings, DoublesThatOthersWrote)
{
    const std::pair<Text, double> cases[] = {
        {u"0,25", 0.25},
        {u" 0.25 ", 0.25},
        {u"", 0},
        {u"abc", 0},
        {u".5", 0.5},
        {u"12.", 12},
        {u"x.5", 0.5},
        {u"3.x", 3},
        {u"7", 7},
        {u"-0,5", 0.5},
        {u"1.2.3", 1.023},   // the rest is read as Dutch text: 23 behind three characters
        {u"1,2,3", 1.0023},  // 2.3 behind three characters
        {Text(u"4.5\0z", 5), 4.5},
    };
    Locale::SetUser(Locale::Dutch(), Locale::Dutch());
    for (const auto& [text, number] : cases) {
        RegSetStr(store_, section_, u"Getal", text);
        EXPECT_DOUBLE_EQ(RegGetDbl(store_, section_, u"Getal", 7), number) << ToUtf8(text);
    }
}

TEST_F(Settings, TextsNumbersAndBooleans)
{
    RegSetStr(store_, section_, u"Naam", u"De Ster");
    EXPECT_EQ(RegGetStr(store_, section_, u"naam", u"x"), u"De Ster");
    RegSetStr(store_, section_, u"Leeg", u"");
    EXPECT_EQ(RegGetStr(store_, section_, u"Leeg", u"x"), u"") << "empty is not missing";
    RegSetStr(store_, section_, u"Nul", Text(u"a\0b", 3));
    EXPECT_EQ(RegGetStr(store_, section_, u"Nul", u"x"), u"a");
    RegSetStr(store_, section_, u"Nul", Text(u"\0b", 2));
    EXPECT_EQ(RegGetStr(store_, section_, u"Nul", u"x"), Text(u"\0b\0", 3)) << "a zero in front cuts nothing";

    RegSetLng(store_, section_, u"Aantal", -7);
    EXPECT_EQ(RegGetLng(store_, section_, u"Aantal", 1), -7);
    EXPECT_EQ(RegGetStr(store_, section_, u"Aantal", u"x"), u"-7");
    RegSetStr(store_, section_, u"Aantal", u"12");
    EXPECT_EQ(RegGetLng(store_, section_, u"Aantal", 1), 12) << "text that is a number, closing zero and all";
    RegSetStr(store_, section_, u"Aantal", u"twaalf");
    EXPECT_EQ(RegGetLng(store_, section_, u"Aantal", 1), 0);
    EXPECT_EQ(RegGetLng(store_, section_, u"Geen", 5), 5);

    RegSetBool(store_, section_, u"Aan", true);
    EXPECT_EQ(Stored(u"Aan"), Variant(std::int32_t{-1}));
    EXPECT_TRUE(RegGetBool(store_, section_, u"Aan", false));
    EXPECT_EQ(RegGetTF(store_, section_, u"Aan", 0), -1);
    RegSetTF(store_, section_, u"Aan", 0);
    EXPECT_FALSE(RegGetBool(store_, section_, u"Aan", true));
    RegSetLng(store_, section_, u"Aan", 1);
    EXPECT_FALSE(RegGetBool(store_, section_, u"Aan", true)) << "another program's 1";
    EXPECT_EQ(RegGetTF(store_, section_, u"Aan", -1), 0);
    EXPECT_TRUE(RegGetBool(store_, section_, u"Geen", true));
    EXPECT_EQ(RegGetTF(store_, section_, u"Geen", 1), 0) << "as a stored 1";
}

TEST_F(Settings, TheMachineHasItsOwn)
{
    const Section machine{0, planner, options};
    RegSetLng(store_, machine, u"Aantal", 3);
    EXPECT_EQ(RegGetLng(store_, section_, u"Aantal", 0), 0);
    EXPECT_EQ(RegGetLng(store_, machine, u"Aantal", 0), 3);
    EXPECT_THAT(Items(RegValues(store_, false, planner, options)), ElementsAre(Variant(u"Aantal"), Variant(3.0)));
    EXPECT_THAT(Items(RegSubkeys(store_, false, planner)), ElementsAre(Variant(options)));
    EXPECT_THAT(Items(RegSubkeys(store_, true, planner)), IsEmpty());
}

TEST_F(Settings, DeletionOfValuesAndSections)
{
    const Text nested = u"Opties\\Druk";
    RegSetLng(store_, section_, u"Een", 1);
    RegSetLng(store_, section_, u"5", 2);
    RegSetLng(store_, Section{1, planner, nested}, u"Drie", 3);
    RegDelReg(store_, section_, u"Een");
    RegDelReg(store_, section_, std::int16_t{5});
    EXPECT_THAT(Items(RegValues(store_, true, planner, options)), IsEmpty());
    RegDelReg(store_, section_, Variant::Missing());
    EXPECT_THAT(Items(RegSubkeys(store_, true, planner)), ElementsAre(Variant(options))) << "it has a section";
    RegDelReg(store_, Section{1, planner, nested}, Null{});
    EXPECT_EQ(RegGetLng(store_, Section{1, planner, nested}, u"Drie", 0), 3) << "a name that is none deletes nothing";
    RegDelReg(store_, Section{1, planner, nested}, u"");
    RegDelReg(store_, section_, Variant::Missing());
    EXPECT_THAT(Items(RegSubkeys(store_, true, planner)), IsEmpty());
}

}  // namespace
}  // namespace vmlib::registry
