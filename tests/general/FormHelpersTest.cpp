#include <gmock/gmock.h>

#include <thread>

#include "ScriptedPlatform.h"
#include "automation/Arithmetic.h"
#include "automation/Convert.h"
#include "general/FormHelpers.h"
#include "general/Help.h"

namespace vmlib::test {
namespace {

using testing::ElementsAre;

/// A form or control that has only these members. A control is measured in pixels of 15 twips when its form is.
struct FakeForm : Object
{
    FakeForm(std::map<Text, Variant> values, FakeForm* form = {}) : values(std::move(values)), form(form) {}
    Text TypeName() const override { return u"Form"; }
    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override
    {
        const Text name(member);
        if (!values.contains(name) || (kind == InvokeKind::Put && name == refused)) throw Error(438, u"");
        if (name == u"TextWidth") {
            const Variant width = Multiply(values[name], static_cast<std::int32_t>(ToText(arguments[0]).size()));
            return values[name].IsText() ? ToText(width) : width;
        }
        if (name == u"ScaleX") return Divide(arguments[0], ToLong(arguments[1]) == 1 ? 15.0F : 1.0F);
        const bool isScaled = form && name != u"hWnd" && ToLong(form->values[u"ScaleMode"]) == 3;
        if (kind == InvokeKind::Put) put.push_back(name);
        if (kind == InvokeKind::Put) values[name] = isScaled ? Multiply(arguments[0], 15.0F) : arguments[0];
        return isScaled ? Divide(values[name], 15.0F) : values[name];
    }
    std::map<Text, Variant> values;
    FakeForm* form;
    Text refused;
    std::vector<Text> put;
};

std::shared_ptr<FakeForm> Form(Variant left, Variant top, Variant width, Variant height, FakeForm* form = {})
{
    return std::make_shared<FakeForm>(std::map<Text, Variant>{{u"hWnd", form ? 20 : 10},
                                                              {u"ScaleMode", 1},
                                                              {u"ScaleX", 0},
                                                              {u"Left", left},
                                                              {u"Top", top},
                                                              {u"Width", width},
                                                              {u"Height", height}},
                                      form);
}

using FormHelpersTest = ScriptedPlatform;

TEST_F(FormHelpersTest, ListsOfComboBoxes)
{
    const auto form = Form(0, 0, 9000, 6000), combo = Form(300.0F, 1500.0F, 2250.0F, 315.0F, form.get());
    ComboBreedte(platform_, form, combo, 3000);
    EXPECT_THROW(ComboBreedte(platform_, form, nullptr, 3000), Error);
    desktop_.windowAnswer = 16;  // the height of a line
    desktop_.windows = {{10, {300, 200, 900, 800}}, {20, {320, 300, 470, 321}}};
    const std::tuple<std::int16_t, Variant, Variant, int, int> cases[] = {
        {20, 6000, 2257.5F, 150, 352},      // two more lines; half a pixel goes to the even one
        {20, 400.0F, 2272.5F, 152, 295},    // twips of the form less pixels of the control less 5
        {32767, 6000, 2250.0F, 150, 5895},  // more lines than 16 bits count
        {20, u"hoog", u"breed", 0, 0},      // steps that fail are skipped
    };
    for (const auto& [lines, formHeight, comboWidth, width, height] : cases) {
        form->values[u"Height"] = formHeight;
        combo->values[u"Width"] = comboWidth;
        const auto before = std::pair(form->values, combo->values);
        ComboHoogte(platform_, form, combo, lines);
        EXPECT_EQ(desktop_.moved.back(), std::tuple(20, Rectangle{20, 100, 20 + width, 100 + height}, true)) << height;
        EXPECT_EQ(std::pair(form->values, combo->values), before);
    }
    combo->put.clear();
    SizeCombo(platform_, nullptr, combo);
    EXPECT_THAT(combo->put, ElementsAre(u"Top", u"Left", u"Width"));
    EXPECT_EQ(std::get<1>(desktop_.moved.back()), (Rectangle{320, 300, 320, 300})) << "places on the screen";
    desktop_.sent.resize(2);
    EXPECT_THAT(desktop_.sent, ElementsAre(std::array{20, 352, 200, 0}, std::array{20, 340, 0, 0}));
}

TEST_F(FormHelpersTest, FormsAreCentred)  // on a screen of 15360 by 11520 twips
{
    const auto expect = [](const auto& form, double left, double top, const char* reason) {
        EXPECT_EQ(ToDouble(form->values[u"Left"]), left) << reason;
        EXPECT_EQ(ToDouble(form->values[u"Top"]), top) << reason;
    };
    const auto form = Form(14860, -8, 4801.0F, u"3000"), small = Form(7, 8, 1001, 500),
               large = Form(7, 8, 16000, 12000);
    VmdLib_Centreer(platform_, form);
    expect(form, 5279.5, 4260, "not rounded");
    VmdLib_Centreer2(platform_, Form(1000.0, 2000.0, 3000, u"2000"), small);
    expect(small, 1999.5, 2750, "in the middle of its owner");
    VmdLib_Centreer2(platform_, Form(15000, 11000, 3000, 2000), small);
    expect(small, 14359, 11020, "an owner half outside to the right and below");
    VmdLib_Centreer2(platform_, Form(-1100, -800, 3000, 2000), small);
    expect(small, 0, 0, "to the left and above");
    VmdLib_Centreer2(platform_, Form(1000, 2000, 3000, 2000), large);
    expect(large, 0, 0, "larger than the screen");

    form->values[u"Left"] = 14860;
    form->refused = u"Top";
    VmdLib_Centreer2(platform_, nullptr, form);
    expect(form, 10559, 4260, "no owner: it is only moved onto the screen");
    desktop_.screenTwips.reset();
    VmdLib_Centreer(platform_, form);
    VmdLib_Centreer2(platform_, form, nullptr);
    expect(form, 10559, 4260, "no screen");
}

TEST_F(FormHelpersTest, PathsAreShortenedToAWidth)
{
    const Text path = u"C:\\Documenten\\Sub\\file.txt", oneFolder = u"C:\\... \\Sub\\file.txt";  // 26 letters, 20
    const std::tuple<Text, std::int16_t, Variant, Text, std::int16_t> cases[] = {
        {path, 2600, 100, path, 2600},
        {path, 2000, 100, oneFolder, 1300},
        {path, 1999, 100, u"C:\\... \\file.txt", 1299},
        {u"C:\\\\langenaam", 1000, 100, u"C:\\... \\langenaam", 300},  // "\" at the beginning of the rest
        {u"", 0, 100, u"", 0},
        {path, 12, 0.5F, oneFolder, 8},                 // 8.5, to the even one
        {path, 20, u"1", oneFolder, 13},                // widths as text
        {path, 300, u"?", u"C:\\... \\file.txt", 300},  // a form that cannot measure
        {path, 300, Null(), path, 300},
        {path, 300, 10000, u"C:\\... \\file.txt", 300},  // beyond 16 bits
    };
    for (const auto& [in, width, letter, shortened, widthLeft] : cases) {
        const auto form = std::make_shared<FakeForm>(std::map<Text, Variant>{{u"TextWidth", letter}});
        std::pair<Text, std::int16_t> result(in, width);
        VmdLib_PadNaamInkorten(form, result.first, result.second);
        EXPECT_EQ(result, std::pair(shortened, widthLeft)) << ToUtf8(result.first) << " for " << width;
    }
}

TEST_F(FormHelpersTest, WidthOfTextOnADevice)  // of 7 pixels a letter
{
    EXPECT_EQ(PrintAPI_TextWidth(platform_, 1, u""), 0);
    EXPECT_EQ(PrintAPI_TextWidth(platform_, -2, Text(10000, u'\u0416')), 4464) << "70000 cut to 16 bits";
    EXPECT_THAT(desktop_.contexts, ElementsAre(-2));
}

TEST_F(FormHelpersTest, OwnerLivesUntilTheNextOneOfItsThread)
{
    std::string gone;
    const auto owner = [&gone](char name, ObjectRef next) {
        return ObjectRef(new FakeForm({}), [&gone, name, next](Object* object) {
            delete object;
            gone += name;
            if (next) ZetOwner(next);  // a host's code comes back
        });
    };
    ZetOwner(owner('a', nullptr));
    std::thread([&] { ZetOwner(owner('t', nullptr)); }).join();
    ZetOwner(owner('b', owner('c', nullptr)));
    ZetOwner(nullptr);
    EXPECT_EQ(gone, "tab") << "c is the owner now";
    ZetOwner(nullptr);
    EXPECT_EQ(gone, "tabc");
}

TEST_F(FormHelpersTest, HelpIsAskedForWithNumbers)
{
    const Text file = u"C:\\Ord\u0113.hlp";
    for (const TextView keyword : {u"order", u" ", u"2147483648"}) HelpKey(platform_, 5, file, Text(keyword));
    HelpForceFile(platform_, 5, file);
    HelpQuit(platform_, 5, file);
    EXPECT_TRUE(desktop_.help.empty());
    Help(platform_, 5, file, -7);
    HelpKey(platform_, 5, file, u" 12 ");
    HelpSearch(platform_, -5, file);
    HelpOnHelp(platform_, 5, file);
    HelpOnderwerpen(platform_, file);
    EXPECT_THAT(processes_.started, ElementsAre(std::pair(u"WINHLP32.EXE " + file, 1)));
    processes_.finds = false;
    HelpOnderwerpen(platform_, file);
    const decltype(desktop_.help) expected = {
        {5, file, 1, -7}, {5, file, 257, 12}, {-5, file, 261, 0}, {5, file, 4, 0}, {0, file, 3, 0}};
    EXPECT_EQ(desktop_.help, expected);
}

}  // namespace
}  // namespace vmlib::test
