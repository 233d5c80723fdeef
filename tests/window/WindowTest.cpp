#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "platform/Platform.h"
#include "platform/StandardBox.h"
#include "window/ScreenClient.h"
#include "window/ScreenFixture.h"

namespace vmlib::test {
namespace {

/// Four buttons in a window of 300 by 100 pixels, 100 pixels from the left and 50 from the top of the screen.
FormLayout Form()
{
    FormLayout form;
    form.caption = u"Vraag";
    form.client = {300, 100};
    form.place = {1500, 750};
    form.font = {u"Tahoma", 8};
    form.text = u"Wijzigingen opslaan?";
    form.textPlace = {56, 16, 288, 29};
    form.icon = MessageIcon::Question;
    form.iconPlace = {12, 12};
    form.buttons = {{{12, 60, 92, 83}, u"&Ja", 6},
                    {{100, 60, 180, 83}, u"&Nee", 7},
                    {{188, 60, 268, 83}, u"&\u00C9\u00E9n && @", 2},
                    {{274, 60, 298, 83}, u"&+", 5}};
    return form;
}

FormLayout PlainForm(Measures&)
{
    return Form();
}

using WindowTest = ScreenTest;

TEST_F(WindowTest, KeysAndClicksPressButtons)
{
    const struct
    {
        const char* deeds;  // of xdotool
        std::int32_t answer;
        std::size_t focus = 0;
        std::optional<std::size_t> cancel = std::nullopt;
    } cases[] = {
        {"key n", 7},
        {"key shift+n", 7},
        {"key alt+n", 7},
        {"key eacute plus Return", 6},  // not from 0 to z, so only with Alt
        {"key alt+eacute", 2},
        {"key alt+plus", 5},
        {"key x ctrl+n super+n Return", 6},
        {"key Return", 7, 1},
        {"key KP_Enter", 2, 2},
        {"key space", 7, 1},
        {"key Tab Tab Return", 2},
        {"key shift+Tab Return", 5},
        {"key Right Down Left Return", 7},
        {"key Escape", 2, 0, 2},
        {"key Escape n", 7},
        {"key ctrl+Return alt+space alt+Tab super+Return j", 6, 1, 2},  // for the desktop
        {"key ctrl+Escape alt+Escape j", 6, 1, 2},
        {"mousemove 250 120 click 1", 7},
        {"mousemove 250 120 mousedown 1 mousemove 150 120 mouseup 1 key j", 6},  // off the button
    };
    for (const auto& c : cases) {
        FormLayout form = Form();
        form.focus = c.focus;
        form.cancel = c.cancel;
        EXPECT_EQ(AnswerOf([&form](Measures&) { return form; }, Tool(c.deeds)), c.answer) << c.deeds;
    }
}

TEST_F(WindowTest, TextStandsWhereTheLayoutHasIt)
{
    FormLayout form = Form();
    form.text = u"Eerste regel\r\nMet een &";
    form.textPlace = {56, 16, 256, 42};
    const Rectangle around{50, 6, 298, 55};
    const Deeds look = [&](const std::string& window) {
        const Rectangle ink = InkIn(window, around);
        const int left = ink.left - form.textPlace.left, right = form.textPlace.right - ink.right;
        EXPECT_EQ(form.alignment == Alignment::Left, left >= 0 && left < 3) << left;
        EXPECT_EQ(form.alignment == Alignment::Right, right >= 0 && right < 3) << right;
        EXPECT_EQ(form.alignment == Alignment::Centre, std::abs(left - right) < 4) << left << " " << right;
        EXPECT_EQ(ink.Height(), 9 + 13);  // from the top of a capital to the foot of one on the next line
        // The foot of the next button's caption is the line below its access key, one letter wide.
        const Rectangle caption = InkIn(window, {106, 66, 174, 78});
        const Rectangle underline = InkIn(window, {106, caption.bottom - 1, 174, caption.bottom});
        EXPECT_EQ(underline.left, caption.left);
        EXPECT_LT(underline.Width(), caption.Width() / 2);
        Tool("key j")(window);
    };
    for (const Alignment alignment : {Alignment::Left, Alignment::Right, Alignment::Centre}) {
        form.alignment = alignment;
        EXPECT_EQ(AnswerOf([&form](Measures&) { return form; }, look), 6);
    }
}

TEST_F(WindowTest, RightToLeftTextsStandInTheirOrder)
{
    // A full stop at the end is at the left of Hebrew words, and where the whole reads from right to left, of Latin ones.
    const auto leftmost = [this](TextView text, bool readsRightToLeft) {
        FormLayout form = Form();
        form.text = text;
        form.rightToLeft = readsRightToLeft;
        int height = 0;
        AnswerOf([&form](Measures&) { return form; },
                 [&](const std::string& window) {
                     const Rectangle ink = InkIn(window, {50, 6, 298, 55});
                     height = InkIn(window, {ink.left, 6, ink.left + 2, 55}).Height();
                     Tool("key j")(window);
                 });
        return height;
    };
    EXPECT_GT(leftmost(u"MMM.", false), 5);
    EXPECT_LT(leftmost(u"MMM.", true), 4);
}

TEST_F(WindowTest, CloseAnswersWhereTheFormHasIt)
{
    std::string hints;
    const auto answer = [&](bool canClose, const Deeds& deeds) {
        return AnswerOf(
            [canClose](Measures&) {
                FormLayout form = Form();
                form.canClose = canClose;
                form.closeAnswer = 9;
                return form;
            },
            [&](const std::string& window) {
                hints = Printed("xprop -id " + window + " _MOTIF_WM_HINTS WM_NAME _NET_WM_WINDOW_TYPE | tr '\\n' ' '");
                deeds(window);
            });
    };
    EXPECT_EQ(answer(true, SendClose), 9);
    EXPECT_THAT(hints, testing::HasSubstr("= 0x3, 0x24,"));  // functions: move, close
    EXPECT_THAT(hints, testing::HasSubstr("\"Vraag\""));
    EXPECT_THAT(hints, testing::HasSubstr("_NET_WM_WINDOW_TYPE_DIALOG"));
    EXPECT_EQ(answer(false, [](const auto& window) { SendClose(window), Tool("sleep 0.2 key j")(window); }), 6);
    EXPECT_THAT(hints, testing::HasSubstr("= 0x3, 0x4,"));
}

TEST_F(WindowTest, MeasuresAreTahomasAtTheScreensResolution)
{
    EXPECT_EQ(posix::AskScreenTwips(), (TwipsPoint{15360, 11520}));
    const auto measured = [this] {
        const auto file = folder_.Native("measures");
        const auto answer = posix::ShowInWindow([&file](Measures& measures) -> FormLayout {
            std::ofstream out(file);
            const Font plain = measures.MessageFont();
            Font bold = plain;
            bold.bold = true;
            const auto print = [&out](Size size) { out << size.width << "x" << size.height << " "; };
            print(measures.LineSize(u"Cancel", plain));
            print(measures.LineSize(u"Cancel", bold));
            print(measures.LineSize(u"Cancel", {u"No such face", 8}));
            print(measures.TextSize(u"", plain, std::nullopt));
            print(measures.TextSize(u"Cancel\r\n\r\nOK", plain, std::nullopt));
            const Size letters = measures.LineSize(u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", plain);
            out << (letters.width / 26 + 1) / 2;  // the horizontal unit of a dialog
            const auto width = [&](TextView text) { return measures.LineSize(text, plain).width; };
            EXPECT_EQ(width(u"a\tb\u0001"), width(u"a b"));
            EXPECT_EQ(width(Text(100000, u'W')), 100000 * width(u"W"));
            out << (testing::Test::HasFailure() ? " failed" : "");
            out.close();
            throw 1;  // an error there is no answer here
        });
        EXPECT_EQ(answer, std::nullopt);
        return folder_.Read("measures");
    };
    EXPECT_THAT(measured(), testing::MatchesRegex("32x13 3[5-9]x13 [0-9]+x[0-9]+ 0x0 32x39 6"));
    SetResources("Xft.dpi:\t192\n");
    EXPECT_EQ(posix::AskScreenTwips(), (TwipsPoint{7680, 5760}));
    EXPECT_THAT(measured(), testing::MatchesRegex("6[0-9]x25 .*"));  // 21 pixels: 2472 of 2048 units high
}

TEST_F(WindowTest, FormsLargerThanTheScreenKeepTheirButtonsInView)
{
    const Text lines = Replaced(Text(100000, u'\n'), u"\n", u"regel\r\n");
    for (const Text& text : {Text(100000, u'W'), lines, Text(100000, u'\n'), Text(100000, u' ')}) {
        const Message message = StandardMessage(text, 3 | 64, text);
        const auto layOut = [&](Measures& measures) {
            FormLayout form = LayOutStandardBox(message, measures);
            for (auto& button : form.buttons) button.caption += Text(100000, u'x');
            return form;
        };
        const auto start = std::chrono::steady_clock::now();
        const auto clickSecond = [&](const std::string& window) {
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
            const Rectangle place = PlaceOf(window);
            EXPECT_GE(std::min(place.left, place.top), 0);
            EXPECT_LE(place.right, 1024);
            EXPECT_LE(place.bottom, 768);
            if (text[0] > u' ') {
                EXPECT_GT(InkIn(window, {55, 33, 150, 46}).Width(), 15) << "no second line";
            }
            Tool("mousemove " + std::to_string((place.left + place.right) / 2) + " " +
                 std::to_string(place.bottom - 20) + " click 1")(window);
        };
        EXPECT_EQ(AnswerOf(layOut, clickSecond), 7);
    }
}

TEST_F(WindowTest, AScreenThatGoesAwayGivesNoAnswer)
{
    EXPECT_EQ(AnswerOf(PlainForm, [this](const std::string&) { EndServer(); }), std::nullopt);
    // The server of a test that runs beside this one may take the number that is free now; no server takes this one.
    ::setenv("DISPLAY", ":59999", 1);
    EXPECT_EQ(posix::ShowInWindow(PlainForm), std::nullopt);
    EXPECT_EQ(posix::AskScreenTwips(), std::nullopt);
    ::setenv("VMLIB_DESKTOP", "window", 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(NativePlatform().desktop.MessageBox(u"Doorgaan?", 4, u"Vraag"), 7);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Vraag: Doorgaan?\n");
    ::unsetenv("VMLIB_DESKTOP");
}

TEST_F(WindowTest, AScreenThatIsSilentIsGivenUp)
{
    ::kill(process_, SIGSTOP);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(posix::ShowInWindow(PlainForm), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(WindowTest, TheWindowHoldsNoFileOfTheHost)
{
    const std::string path = folder_.Native("document").string();
    const auto lock = [&path] {
        const int file = ::open(path.c_str(), O_RDWR | O_CREAT, 0600);
        EXPECT_EQ(::flock(file, LOCK_EX | LOCK_NB), 0) << "locked";
        return file;
    };
    int file = lock();
    const auto closeAndLock = [&](const std::string& window) {
        ::close(file);
        file = lock();
        Tool("key n")(window);
    };
    EXPECT_EQ(AnswerOf(PlainForm, closeAndLock), 7);
    ::close(file);
}

TEST_F(WindowTest, WaitingForAnAnswerHasNoEnd)
{
    struct sigaction action
    {
    }, before;
    action.sa_handler = [](int) {};  // without SA_RESTART: calls are interrupted
    ::sigaction(SIGUSR1, &action, &before);
    std::optional<std::int32_t> answer;
    std::thread host([&answer] { answer = posix::ShowInWindow(PlainForm); });
    const std::string window = WaitForWindow();
    // Longer, too, than a screen may take to answer.
    for (int i = 0; i < 50; ++i) ::pthread_kill(host.native_handle(), SIGUSR1), ::usleep(50000);
    Tool("key n")(window);
    host.join();
    EXPECT_EQ(answer, 7);
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(WindowTest, TheWindowGoesWithItsHost)
{
    const pid_t host = ::fork();
    if (host == 0) {
        posix::ShowInWindow(PlainForm);
        ::_exit(0);
    }
    WaitForWindow();
    ::kill(host, SIGKILL);
    ::waitpid(host, nullptr, 0);
    EXPECT_TRUE(WaitUntil([] { return VisibleWindow().empty(); }));
}

}  // namespace
}  // namespace vmlib::test
