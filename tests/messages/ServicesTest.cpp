#include <gmock/gmock.h>

#include "automation/Locale.h"
#include "core/Error.h"
#include "messages/MessageServices.h"
#include "support/FakePorts.h"

namespace vmlib::test {
namespace {

class ServicesTest : public testing::Test
{
protected:
    void SetUp() override { Locale::SetUser(Locale::Dutch(), Locale::Dutch()); }
    void TearDown() override { Locale::SetUser(Locale::English(), Locale::English()); }

    /// The report of an error number; "" when nothing was shown.
    Text ReportOf(const Variant& number)
    {
        desktop_.messages.clear();
        VmdAfHandel2(desktop_, u"LeesKas", u"frmKas", result_, number);
        return desktop_.messages.empty() ? Text() : desktop_.messages.back().text;
    }

    FakeDesktop desktop_;
    std::int16_t result_ = 99;
};

TEST_F(ServicesTest, ValuesOutOfRangeAreReportedInDutchWithTheCallersCaption)
{
    OngeldigeWaarde(desktop_, u"Bedrag", 0, 100);
    OngeldigPercentage(desktop_, u"Korting", -12.5, 1e15);
    EXPECT_THAT(
        desktop_.messages,
        testing::ElementsAre(
            FakeDesktop::Message{u"Ongeldige waarde ingevoerd, waarde moet liggen tussen 0 en 100!", 48, u"Bedrag"},
            FakeDesktop::Message{u"Ongeldige percentage ingevoerd, waarde moet liggen tussen -12,5 en 1E+15!", 48,
                                 u"Korting"}));
}

TEST_F(ServicesTest, ErrorsHaveFamilies)
{
    const struct
    {
        std::int32_t number;
        TextView start;
    } cases[] = {
        {1, u"GENERAL ERROR\r\n\r\nMelding 1 ("},
        {76, u"GENERAL ERROR\r\n\r\nMelding 76 ("},
        {77, u"\r\nMelding 77 ("},
        {259, u"\r\nM"},
        {260, u"WINDOWS EROR\r\n"},
        {521, u"WINDOWS EROR\r\n"},
        {522, u"\r\nM"},
        {600, u"ODBC ERROR\r\n"},
        {648, u"ODBC ERROR\r\n"},
        {649, u"\r\nM"},
        {3001, u"DATA ACCESS ERROR\r\n"},
        {3299, u"DATA ACCESS ERROR\r\n"},
        {3300, u"\r\nM"},
        {20475, u"\r\nM"},
        {20476, u"COMMON DIALOG ERROR\r\n"},
        {28671, u"COMMON DIALOG ERROR\r\n"},
        {28672, u"\r\nM"},
        {30000, u"GRID ERROR\r\n"},
        {30019, u"GRID ERROR\r\n"},
        {31001, u"OLE ERROR\r\n"},
        {31039, u"OLE ERROR\r\n"},
        {31040, u"\r\nM"},
        {32751, u"COMMON DIALOG ERROR\r\n"},
        {32765, u"COMMON DIALOG ERROR\r\n"},
        {32766, u"\r\nM"},
    };
    for (const auto& c : cases) EXPECT_TRUE(ReportOf(c.number).starts_with(c.start)) << c.number;
}

TEST_F(ServicesTest, ReportsSayNumberDescriptionAndPlace)
{
    desktop_.answers = {5};
    EXPECT_EQ(ReportOf(std::int16_t{76}),
              u"GENERAL ERROR\r\n\r\nMelding 76 (Path not found)\r\n\r\nin LeesKas, routine : frmKas");
    EXPECT_EQ(desktop_.messages.back().style, 274);
    EXPECT_EQ(desktop_.messages.back().title, u"Velmora");
    EXPECT_EQ(result_, 5);
    // The run-time library knows no texts of the engine.
    EXPECT_EQ(ReportOf(std::int32_t{3021}),
              u"DATA ACCESS ERROR\r\n\r\nMelding 3021 (Application-defined or "
              u"object-defined error)\r\n\r\nin LeesKas, routine : frmKas");
    EXPECT_TRUE(ReportOf(u" 53 ").starts_with(u"GENERAL ERROR\r\n\r\nMelding  53  (File not found)"));
}

TEST_F(ServicesTest, NoErrorShowsNothing)
{
    for (const Variant& none : {Variant(std::int16_t{0}), Variant(u"0"), Variant(), Variant(false), Variant(0.0)})
        EXPECT_EQ(ReportOf(none), u"");
    EXPECT_EQ(result_, 99);
}

TEST_F(ServicesTest, WhatIsNoErrorNumberIsRefused)
{
    const struct
    {
        Variant number;
        std::int32_t error;
    } cases[] = {{u"abc", 13},          {Variant::Missing(), 13}, {Null{}, 94},
                 {std::int32_t{-1}, 5}, {std::int32_t{65536}, 6}, {1e300, 6}};
    for (const auto& c : cases) {
        try {
            ReportOf(c.number);
            ADD_FAILURE() << c.error;
        } catch (const Error& error) {
            EXPECT_EQ(error.Number(), c.error);
        }
        EXPECT_TRUE(desktop_.messages.empty());
    }
    EXPECT_EQ(result_, 99);
}

}  // namespace
}  // namespace vmlib::test
