#include <gmock/gmock.h>

#include "automation/MemberTable.h"
#include "messages/MessageForm.h"
#include "support/FakePorts.h"

// Letters of the fake screen are 6 wide, a line is 13 high; the screen is 1024 by 768 at 15 twips a pixel. All numbers
// follow from the picture in MessageLayout.h.
namespace vmlib::test {
namespace {

struct Given
{
    Text text = u"Klaar.";
    std::int32_t style = 0;
    std::array<Text, 3> captions = {};
    std::int32_t alignment = 0, horizontal = -2, vertical = -2;
    ObjectRef owner = nullptr;
};

FormLayout LayoutOf(const Given& given, FakeDesktop& desktop)
{
    frmMsg(desktop).Box(given.text, given.style, u"Kas", given.captions[0], given.captions[1], given.captions[2],
                        given.owner, given.alignment, given.horizontal, given.vertical);
    return desktop.layouts.back();
}

FormLayout LayoutOf(const Given& given)
{
    FakeDesktop desktop;
    return LayoutOf(given, desktop);
}

Text Words(int count)
{
    Text text = u"woord";
    while (--count > 0) text += u" woord";
    return text;
}

TEST(MessageLayoutTest, TextAndIconDecideSizeAndButtonRow)
{
    const struct
    {
        const char* what;
        Given given;
        Size client;
        Rectangle text, button;
    } cases[] = {
        {"no icon: 16 below the text, as wide as one button needs", {}, {104, 80}, {12, 16, 92, 29}, {12, 45, 92, 68}},
        {"beside an icon a line leaves the row below the icon",
         {u"Klaar.", 64},
         {104, 95},
         {56, 16, 92, 29},
         {12, 60, 92, 83}},
        {"two lines are still beside the icon", {u"a\r\nb", 16}, {104, 95}, {56, 16, 92, 42}, {12, 60, 92, 83}},
        {"three lines are not", {u"a\r\nb\nc", 48}, {104, 106}, {56, 16, 92, 55}, {12, 71, 92, 94}},
        {"icons 5 to 15 are none", {u"Klaar.", 80}, {104, 80}, {12, 16, 92, 29}, {12, 45, 92, 68}},
        {"over 683 pixels it wraps at 683 - 2 x 12: 18 words a line",
         {Words(25)},
         {666, 93},
         {12, 16, 654, 42},
         {293, 58, 373, 81}},
        {"with an icon the margin counts twice: 683 - 2 x 56, 16 words a line",
         {Words(25), 32},
         {638, 95},
         {56, 16, 626, 42},
         {279, 60, 359, 83}},
        {"at 683 exactly it does not wrap: 12 + 111 x 6 is 678",
         {Text(111, u'x')},
         {690, 80},
         {12, 16, 678, 29},
         {305, 45, 385, 68}},
        {"a word that is too wide stays whole", {Text(200, u'x')}, {1224, 80}, {12, 16, 1212, 29}, {572, 45, 652, 68}},
        {"no text: the width that the form was drawn with", {u""}, {200, 67}, {12, 16, 188, 16}, {60, 32, 140, 55}},
        {"no text beside an icon", {u"", 32}, {200, 95}, {56, 16, 188, 16}, {60, 60, 140, 83}},
        {"a line end alone is one line", {u"\r\n"}, {104, 80}, {12, 16, 92, 29}, {12, 45, 92, 68}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const FormLayout layout = LayoutOf(c.given);
        EXPECT_EQ(layout.client, c.client) << layout.client.width << " x " << layout.client.height;
        EXPECT_EQ(layout.textPlace, c.text) << layout.textPlace.right << ", " << layout.textPlace.bottom;
        EXPECT_EQ(layout.buttons.at(0).place, c.button)
            << layout.buttons[0].place.left << ", " << layout.buttons[0].place.top;
    }
}

TEST(MessageLayoutTest, ButtonsStandInARowAndWidenTheForm)
{
    const FormLayout layout = LayoutOf({u"Klaar.", 3});
    EXPECT_EQ(layout.client.width, 280);
    std::vector<int> lefts;
    for (const auto& button : layout.buttons) lefts.push_back(button.place.left);
    EXPECT_THAT(lefts, testing::ElementsAre(12, 100, 188));
    EXPECT_EQ(layout.buttons[2].place.Width(), 80);
}

TEST(MessageLayoutTest, FontAndTwipsDecideTheSizeOfButtons)
{
    FakeDesktop desktop;
    desktop.measures.messageFont = {u"Segoe UI", 9, true, true, true};
    FormLayout layout = LayoutOf({}, desktop);
    EXPECT_EQ(layout.font, (Font{u"Tahoma", 8, true, true, true}));
    EXPECT_EQ(layout.buttons[0].place.Width(), 144);  // twice "Cancel" in bold
    desktop.measures.messageFont = {};
    desktop.measures.twipsPerPixel = {12, 12};
    layout = LayoutOf({}, desktop);
    EXPECT_EQ(layout.buttons[0].place.Width(), 100);
    EXPECT_EQ(layout.buttons[0].place.Height(), 27);
}

TEST(MessageLayoutTest, TextIsAlignedAsTheOptionOrTheStyleSays)
{
    EXPECT_EQ(LayoutOf({}).alignment, Alignment::Left);
    EXPECT_EQ(LayoutOf({.alignment = 1}).alignment, Alignment::Right);
    EXPECT_EQ(LayoutOf({.alignment = 2}).alignment, Alignment::Centre);
    EXPECT_EQ(LayoutOf({.style = 0x80000, .alignment = 2}).alignment, Alignment::Right);
    EXPECT_FALSE(LayoutOf({.style = 0x80000}).rightToLeft);
    EXPECT_TRUE(LayoutOf({.style = 0x100000}).rightToLeft);
}

/// A form somewhere on the screen.
class OwnerForm : public AutomationClass<OwnerForm>
{
public:
    static const MemberTable& Members()
    {
        static const MemberTable table = MemberTable::Of<OwnerForm>(u"Form1")
                                             .Property<&OwnerForm::Left>(u"Left")
                                             .Property<&OwnerForm::Top>(u"Top")
                                             .Property<&OwnerForm::Width>(u"Width")
                                             .Property<&OwnerForm::Height>(u"Height");
        return table;
    }
    float Left() { return 1000; }
    float Top() { return 500; }
    float Width() { return 6000; }
    float Height() { return 3000; }
};

TEST(MessageLayoutTest, WindowIsCentredOnTheScreenOrOverItsOwnerOrWhereItIsPut)
{
    const auto owner = std::make_shared<OwnerForm>();
    const TwipsPoint size = {(104 + 6) * 15, (80 + 25) * 15};
    const TwipsPoint onScreen = {(15360 - size.x) / 2, (11520 - size.y) / 2};
    const struct
    {
        Given given;
        TwipsPoint place;
    } cases[] = {
        {{}, onScreen},
        {{.owner = owner}, onScreen},
        {{.horizontal = -1, .vertical = -1}, onScreen},
        {{.horizontal = -1, .vertical = -1, .owner = owner}, {1000 + (6000 - size.x) / 2, 500 + (3000 - size.y) / 2}},
        {{.horizontal = 300, .vertical = -1, .owner = owner}, {300, 500 + (3000 - size.y) / 2}},
        {{.horizontal = 0, .vertical = -2000}, {0, -2000}},
    };
    for (const auto& c : cases) {
        const FormLayout layout = LayoutOf(c.given);
        EXPECT_EQ(layout.size, size);
        EXPECT_EQ(layout.place, c.place) << c.given.horizontal << ", " << c.given.vertical;
    }
}

TEST(MessageFormTest, ButtonsComeFromTheStyleOrFromTheCaller)
{
    using Buttons = std::vector<MessageButton>;
    constexpr int none = -1;
    const struct
    {
        Given given;
        Buttons buttons;
        int cancel;
        bool canClose;
        std::int32_t closeAnswer, safeAnswer;
    } cases[] = {
        {{.style = 0}, {{1, u"OK"}}, 0, true, 1, 1},
        {{.style = 1}, {{1, u"OK"}, {2, u"Annuleren"}}, 1, true, 2, 2},
        {{.style = 2}, {{3, u"&Afbreken"}, {4, u"&Opnieuw"}, {5, u"&Negeren"}}, none, false, 5, 3},
        {{.style = 3}, {{6, u"&Ja"}, {7, u"&Nee"}, {2, u"Annuleren"}}, 2, true, 2, 2},
        {{.style = 4}, {{6, u"&Ja"}, {7, u"&Nee"}}, none, false, 7, 7},
        {{.style = 5}, {{4, u"&Opnieuw"}, {2, u"&Annuleren"}}, 1, true, 2, 2},
        {{.style = 6}, {{2, u"Annuleren"}}, 0, true, 2, 2},
        {{.style = 15}, {{2, u"Annuleren"}}, 0, true, 2, 2},
        {{.style = 4, .captions = {u"Opslaan", u"", u"Annuleren"}}, {{6, u"Opslaan"}}, none, true, 6, 6},
        {{.captions = {u"Nu", u"Annuleren", u"annuleren"}},
         {{6, u"Nu"}, {7, u"Annuleren"}, {2, u"annuleren"}},
         1,
         true,
         2,
         2},
        {{.captions = {u"Annuleren", u"Annuleren"}}, {{6, u"Annuleren"}, {7, u"Annuleren"}}, 1, true, 7, 7},
        {{.style = 1, .captions = {u"", u"B", u"C"}}, {{1, u"OK"}, {2, u"Annuleren"}}, 1, true, 2, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.given.style);
        FakeDesktop desktop;
        const FormLayout layout = LayoutOf(c.given, desktop);
        Buttons shown;
        for (const auto& button : layout.buttons) shown.push_back({button.answer, button.caption});
        EXPECT_EQ(shown, c.buttons);
        EXPECT_EQ(desktop.forms.back().buttons, c.buttons);
        EXPECT_EQ(desktop.forms.back().safeAnswer, c.safeAnswer);
        EXPECT_EQ(layout.cancel, c.cancel == none ? std::nullopt : std::optional<std::size_t>(c.cancel));
        EXPECT_EQ(layout.canClose, c.canClose);
        EXPECT_EQ(layout.closeAnswer, c.closeAnswer);
    }
}

TEST(MessageFormTest, DefaultButtonIsOneThatIsThere)
{
    const struct
    {
        std::int32_t style;
        std::size_t focus;
    } cases[] = {{3, 0},       {3 | 256, 1}, {3 | 512, 2}, {3 | 768, 0}, {4 | 256, 1},
                 {4 | 512, 1}, {256, 0},     {512, 0},     {6 | 512, 0}};
    for (const auto& c : cases) EXPECT_EQ(LayoutOf({.style = c.style}).focus, c.focus) << c.style;
}

TEST(MessageFormTest, AnswersAndKeepsThePointer)
{
    FakeDesktop desktop;
    desktop.pointer = hourglassPointer;
    desktop.answers = {7};
    EXPECT_EQ(frmMsg(desktop).Box(u"Zeker?", 4, u"Kas", u"", u"", u"", nullptr, 0, -2, -2), 7);
    EXPECT_THAT(desktop.pointersSet, testing::ElementsAre(defaultPointer, hourglassPointer));
}

}  // namespace
}  // namespace vmlib::test
