#include <gtest/gtest.h>

#include <future>

#include "platform/StandardBox.h"
#include "platform/windows/MessageForm.h"
#include "platform/windows/Wide.h"

namespace vmlib::test {
namespace {

using windows::FromWide;

/// Three buttons in a window 100 pixels from the left and 50 from the top.
FormLayout Form()
{
    FormLayout form;
    form.caption = u"Vraag";
    form.client = {300, 100};
    windows::GdiMeasures measures;
    const TwipsPoint pixel = measures.TwipsPerPixel();
    const Size frame = measures.NonClientSize();
    form.place = {100 * pixel.x, 50 * pixel.y};
    form.size = {(300 + frame.width) * pixel.x, (100 + frame.height) * pixel.y};
    form.font = {u"Tahoma", 8};
    form.text = u"Wijzigingen & meer opslaan?";
    form.textPlace = {56, 16, 288, 29};
    form.icon = MessageIcon::Question;
    form.iconPlace = {12, 12};
    form.buttons = {
        {{12, 60, 92, 83}, u"&Ja", 6}, {{100, 60, 180, 83}, u"&Nee", 7}, {{188, 60, 268, 83}, u"\u00C9\u00E9n", 2}};
    return form;
}

/// Shows a form on a thread of its own and does something to its window from this one.
std::optional<std::int32_t> AnswerOf(const FormLayout& form, const std::function<void(HWND)>& deed)
{
    auto answer = std::async(std::launch::async, [&form] {
        windows::GdiMeasures measures;
        return windows::MessageForm(form, measures).Ask();
    });
    HWND window = nullptr;
    for (int i = 0; i < 200 && !(window && ::IsWindowVisible(window)); ++i) {
        ::Sleep(20);
        window = ::FindWindowW(L"VMLibMessage", nullptr);
    }
    EXPECT_TRUE(window);
    deed(window);
    if (answer.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
        ADD_FAILURE() << "no answer";
        ::PostThreadMessageW(::GetWindowThreadProcessId(window, nullptr), WM_QUIT, 0, 0);
    }
    return answer.get();
}

std::function<void(HWND)> Key(WPARAM key, UINT message = WM_KEYDOWN)
{
    return [=](HWND window) { ::PostMessageW(window, message, key, 1); };
}

Text TextOf(HWND window)
{
    wchar_t text[100] = {};
    ::GetWindowTextW(window, text, 100);
    return FromWide(text);
}

TEST(MessageFormTest, StandsWhereTheLayoutHasIt)
{
    const FormLayout form = Form();
    EXPECT_EQ(
        AnswerOf(
            form,
            [&](HWND window) {
                RECT outer = {}, client = {};
                ::GetWindowRect(window, &outer);
                ::GetClientRect(window, &client);
                EXPECT_EQ(outer.left, 100);
                EXPECT_EQ(outer.top, 50);
                EXPECT_EQ(client.right, 300);
                EXPECT_EQ(client.bottom, 100);
                EXPECT_EQ(TextOf(window), u"Vraag");
                for (std::size_t i = 0; i < form.buttons.size(); ++i) {
                    const HWND button = ::GetDlgItem(window, 100 + static_cast<int>(i));
                    RECT place = {};
                    ::GetWindowRect(button, &place);
                    ::MapWindowPoints(nullptr, window, reinterpret_cast<POINT*>(&place), 2);
                    EXPECT_EQ((Rectangle{place.left, place.top, place.right, place.bottom}), form.buttons[i].place);
                    EXPECT_EQ(TextOf(button), form.buttons[i].caption);
                }
                const HWND text =
                    ::FindWindowExW(window, nullptr, L"STATIC", reinterpret_cast<const wchar_t*>(form.text.c_str()));
                EXPECT_TRUE(text);
                ::SendMessageW(::GetDlgItem(window, 101), BM_CLICK, 0, 0);
            }),
        7);
}

TEST(MessageFormTest, KeysPressButtons)
{
    FormLayout form = Form();
    form.focus = 1;
    form.cancel = 2;
    const struct
    {
        const char* what;
        std::function<void(HWND)> deed;
        std::int32_t answer;
    } cases[] = {
        {"Enter", Key(VK_RETURN), 7},
        {"space", Key(VK_SPACE), 7},
        {"Escape", Key(VK_ESCAPE), 2},
        {"access key", Key('j', WM_CHAR), 6},
        {"access key with Alt", Key('J', WM_SYSCHAR), 6},
        {"no key of a button, then one",
         [](HWND w) { Key('x', WM_CHAR)(w), Key(0xE9, WM_CHAR)(w), Key('n', WM_CHAR)(w); }, 7},
        {"Tab and Enter", [](HWND w) { Key(VK_TAB)(w), Key(VK_RETURN)(w); }, 2},
        {"arrow and Enter", [](HWND w) { Key(VK_LEFT)(w), Key(VK_RETURN)(w); }, 6},
    };
    for (const auto& c : cases) EXPECT_EQ(AnswerOf(form, c.deed), c.answer) << c.what;
}

TEST(MessageFormTest, ClosesOnlyWhereTheFormHasIt)
{
    FormLayout form = Form();
    form.closeAnswer = 9;
    const auto close = [](HWND window) {
        ::SendMessageW(window, WM_CLOSE, 0, 0);
        Key('j', WM_CHAR)(window);
    };
    EXPECT_EQ(AnswerOf(form, close), 9);
    form.canClose = false;
    EXPECT_EQ(AnswerOf(form, close), 6);
}

TEST(MessageFormTest, ATextIsMeasuredAsItIsDrawn)
{
    windows::GdiMeasures measures;
    const Font font{u"Tahoma", 8};
    const Size line = measures.LineSize(u"Wijzigingen", font),
               two = measures.TextSize(u"Een\r\nTwee", font, std::nullopt);
    EXPECT_GT(line.width, 40);
    EXPECT_EQ(two.height, 2 * line.height);
    EXPECT_EQ(measures.TextSize(u"", font, std::nullopt).height, 0);
    EXPECT_GT(measures.ScreenSize().width, 300);
}

}  // namespace
}  // namespace vmlib::test
