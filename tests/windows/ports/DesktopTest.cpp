// The message form and the windows of a host, on a screen that nobody sees. A second thread is the person.

#include <gmock/gmock.h>

#include <cstdlib>
#include <thread>

#include "platform/windows/Wide.h"
#include "platform/windows/WindowsDesktop.h"

namespace vmlib::test {
namespace {

using windows::Wide;

/// Three buttons: yes, no (which has the focus), cancel.
FormLayout Layout(Measures& measures)
{
    FormLayout layout;
    layout.caption = u"Vraag van de test";
    layout.font = Font{u"Tahoma"};
    layout.text = u"Opslaan?";
    layout.client = {300, 100};
    const Size frame = measures.NonClientSize();
    const TwipsPoint pixel = measures.TwipsPerPixel();
    layout.place = {30 * pixel.x, 40 * pixel.y};
    layout.size = {(300 + frame.width) * pixel.x, (100 + frame.height) * pixel.y};
    layout.textPlace = {60, 10, 290, 50};
    layout.icon = MessageIcon::Question;
    layout.iconPlace = {10, 10};
    layout.buttons = {
        {{10, 60, 90, 90}, u"&Ja", 6}, {{100, 60, 180, 90}, u"&Nee", 7}, {{190, 60, 270, 90}, u"Annuleren", 2}};
    layout.focus = 1;
    layout.cancel = 2;
    layout.closeAnswer = 2;
    return layout;
}

/// The form's window, once it is there and has the focus on a button of it.
HWND FormWindow()
{
    for (int i = 0; i < 500; ++i, ::Sleep(10)) {
        const HWND window = ::FindWindowW(L"VMLibMessage", L"Vraag van de test");
        if (!window || !::IsWindowVisible(window)) continue;
        GUITHREADINFO facts = {};
        facts.cbSize = sizeof facts;
        ::GetGUIThreadInfo(::GetWindowThreadProcessId(window, nullptr), &facts);
        if (facts.hwndFocus && ::IsChild(window, facts.hwndFocus)) return window;
    }
    return nullptr;
}

BOOL CALLBACK CloseVisible(HWND window, LPARAM closed)
{
    if (::IsWindowVisible(window)) *reinterpret_cast<bool*>(closed) = ::PostMessageW(window, WM_CLOSE, 0, 0) != 0;
    return TRUE;
}

class WindowsForm : public testing::Test
{
protected:
    /// Shows the form; `act` does what a person would, by its window.
    std::int32_t Ask(const std::function<void(HWND)>& act, const std::function<void(FormLayout&)>& change = {})
    {
        std::thread person([&] {
            const HWND window = FormWindow();
            ASSERT_TRUE(window) << "no form";
            act(window);
        });
        const std::int32_t answer = desktop_.ShowForm({u"Opslaan?", u"Vraag", 3, {}, 1, 2}, [&](Measures& measures) {
            FormLayout layout = Layout(measures);
            if (change) change(layout);
            return layout;
        });
        person.join();
        return answer;
    }
    windows::WindowsDesktop desktop_;
};

TEST_F(WindowsForm, KeepsItsOwnerWaitingAndItsFocus)
{
    const HWND owner = ::CreateWindowExW(0, L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 200, 100,
                                         nullptr, nullptr, nullptr, nullptr);
    ::SetActiveWindow(owner);
    ASSERT_EQ(::GetActiveWindow(), owner);
    const auto act = [&](HWND window) {
        EXPECT_EQ(::GetWindow(window, GW_OWNER), owner);
        EXPECT_FALSE(::IsWindowEnabled(owner));
        // Who goes away and comes back finds the focus where he left it.
        const HWND chosen = ::GetDlgItem(window, 100);
        ::PostMessageW(::GetDlgItem(window, 101), WM_KEYDOWN, VK_LEFT, 1);
        ::SendMessageW(window, WM_NULL, 0, 0);
        ::SendMessageW(window, WM_ACTIVATE, WA_INACTIVE, 0);
        ::SendMessageW(window, WM_ACTIVATE, WA_ACTIVE, 0);
        ::PostMessageW(chosen, WM_KEYDOWN, VK_RETURN, 1);
    };
    EXPECT_EQ(Ask(act), 6);
    EXPECT_TRUE(::IsWindowEnabled(owner));
    ::DestroyWindow(owner);
}

TEST_F(WindowsForm, AThreadThatIsToldToEndTakesTheSafeAnswerAndStillHearsOfIt)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(
        Ask([](HWND window) { ::PostThreadMessageW(::GetWindowThreadProcessId(window, nullptr), WM_QUIT, 0, 0); }), 2);
    testing::internal::GetCapturedStderr();
    MSG message;
    EXPECT_TRUE(::PeekMessageW(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
}

TEST_F(WindowsForm, FormsOfTwoThreadsDoNotDisturbEachOther)
{
    const auto show = [](int times) {
        windows::WindowsDesktop desktop;
        for (int i = 0; i < times; ++i) {
            const auto answersItself = [](Measures& measures) {
                FormLayout layout = Layout(measures);
                layout.caption = u"Een van twee";
                ::PostThreadMessageW(::GetCurrentThreadId(), WM_NULL, 0, 0);
                return layout;
            };
            std::thread person([thread = ::GetCurrentThreadId()] {
                for (bool closed = false; !closed; ::Sleep(5))
                    ::EnumThreadWindows(thread, CloseVisible, reinterpret_cast<LPARAM>(&closed));
            });
            EXPECT_EQ(desktop.ShowForm({u"", u"", 3, {}, 1, 7}, answersItself), 2) << "7 were the safe answer";
            person.join();
        }
    };
    std::thread other(show, 3);
    show(3);
    other.join();
}

TEST_F(WindowsForm, WhereNobodyCanAnswerTheSafeAnswerComesAtOnce)
{
    ::_putenv("VMLIB_DESKTOP=none");
    testing::internal::CaptureStderr();
    EXPECT_EQ(desktop_.MessageBox(u"Een vraag", 4, u"Titel"), 7);
    EXPECT_EQ(desktop_.ShowForm({u"Nog een", u"Titel", 3, {}, 1, 2}, Layout), 2);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Titel: Een vraag\nTitel: Nog een\n");
    EXPECT_EQ(desktop_.ScreenTwips(), std::nullopt);
    ::_putenv("VMLIB_DESKTOP=");
}

TEST_F(WindowsForm, WindowsOfTheHostAnswerByTheirHandles)
{
    const HWND window = ::CreateWindowExW(0, L"EDIT", L"x", WS_POPUP | WS_VISIBLE, 20, 30, 200, 100, nullptr, nullptr,
                                          nullptr, nullptr);
    const auto handle = static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(window));
    EXPECT_EQ(desktop_.WindowRectangle(handle), (Rectangle{20, 30, 220, 130}));
    EXPECT_EQ(desktop_.ToClient(handle, {25, 37}), (Point{5, 7}));
    desktop_.MoveWindow(handle, {50, 60, 150, 260}, true);
    EXPECT_EQ(desktop_.WindowRectangle(handle), (Rectangle{50, 60, 150, 260}));
    EXPECT_EQ(desktop_.SendWindowMessage(handle, WM_GETTEXTLENGTH, 0, 0), 1);
    ::SetForegroundWindow(window);
    ::SetFocus(window);
    desktop_.SendKeys(u"\u20AC,");
    MSG message;
    for (int i = 0; i < 50; ++i, ::Sleep(5))
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            ::TranslateMessage(&message);
            ::DispatchMessageW(&message);
        }
    wchar_t typed[9] = {};
    ::GetWindowTextW(window, typed, 9);
    EXPECT_EQ(windows::FromWide(typed), u"\u20AC,x");
    ::DestroyWindow(window);

    EXPECT_EQ(desktop_.WindowRectangle(4), Rectangle{});
    EXPECT_EQ(desktop_.ToClient(4, {1, 2}), (Point{1, 2}));
    EXPECT_EQ(desktop_.SendWindowMessage(4, WM_GETTEXTLENGTH, 0, 0), 0);
    const HDC context = ::GetDC(nullptr);
    EXPECT_GT(desktop_.TextExtent(static_cast<std::int32_t>(reinterpret_cast<std::intptr_t>(context)), u"text").width,
              8);
    ::ReleaseDC(nullptr, context);
    EXPECT_EQ(desktop_.TextExtent(0, u"text"), Size{});
    EXPECT_GT(desktop_.ScreenTwips()->x, 0);
}

}  // namespace
}  // namespace vmlib::test
