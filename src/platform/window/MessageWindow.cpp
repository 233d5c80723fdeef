#include "platform/window/MessageWindow.h"

#include <FL/Fl.H>
#include <FL/fl_draw.H>
#include <FL/x.H>

#include <algorithm>
#include <tuple>

#include "platform/Message.h"
#include "platform/window/Bidi.h"
#include "platform/window/ScreenFit.h"
#include "platform/window/X11Screen.h"

#undef None  // a macro of Xlib

namespace vmlib::window {

namespace {

constexpr Colour ground{240, 240, 240}, ink{0, 0, 0};
constexpr Colour face{225, 225, 225}, hoveredFace{229, 238, 248}, heldFace{204, 221, 240};
constexpr Colour rim{160, 160, 160}, focusRim{30, 100, 180};

void Use(Colour colour)
{
    fl_color(fl_rgb_color(colour.red, colour.green, colour.blue));
}

void Frame(const Rectangle& place)
{
    fl_rect(place.left, place.top, place.Width(), place.Height());
}

Rectangle Inner(const Rectangle& place, int by)
{
    return {place.left + by, place.top + by, place.right - by, place.bottom - by};
}

/// What a window manager can show in a caption.
std::string WindowCaption(TextView caption)
{
    constexpr std::size_t longest = 300;
    Text shown(caption.substr(0, longest));
    for (char16_t& c : shown)
        if (c < 0x20) c = u' ';
    return ToUtf8(shown);
}

/// The place of the access key in the caption as it is shown.
std::optional<std::size_t> UnderlinedPlace(TextView caption)
{
    const std::size_t mark = caption.find(u'&');
    const bool isKey = mark < caption.size() && mark + 1 < caption.size() && caption[mark + 1] != u'&';
    return isKey ? std::optional(mark) : std::nullopt;
}

}  // namespace

MessageWindow::MessageWindow(FormLayout layout, Point place, int dpi)
    : Fl_Double_Window(place.x, place.y, layout.client.width, layout.client.height),
      layout_(std::move(layout)),
      lettering_(layout_.font, dpi, layout_.rightToLeft),
      icon_(DrawnIcon(layout_.icon, ground)),
      focus_(layout_.focus < layout_.buttons.size() ? layout_.focus : 0)
{
    end();
    lines_ =
        FittingLines(layout_.text, layout_.textPlace.Width(), [this](TextView run) { return lettering_.Width(run); });
    copy_label(WindowCaption(layout_.caption).c_str());
    xclass("VMLib");
    set_modal();
    force_position(1);
    callback([](Fl_Widget*, void* window) { static_cast<MessageWindow*>(window)->Close(); }, this);
}

std::optional<std::int32_t> MessageWindow::Ask(const std::function<void()>& onShown)
{
    // A window manager takes a first look as soon as the window is there; it waits until everything is.
    XGrabServer(fl_display);
    show();
    DescribeDialog(fl_xid(this), layout_.canClose);
    XUngrabServer(fl_display);
    XSync(fl_display, False);  // the server has it, whenever a window manager lets it be seen
    HoldScreen();
    onShown();
    while (!answer_ && shown()) Fl::wait();
    if (keyboardBefore_) TakeKeyboard(*keyboardBefore_);
    hide();
    Fl::flush();
    return answer_;
}

void MessageWindow::draw()
{
    Use(ground);
    fl_rectf(0, 0, w(), h());
    if (layout_.icon != MessageIcon::None)
        fl_draw_image(icon_.data(), layout_.iconPlace.x, layout_.iconPlace.y, iconSize, iconSize, 3);
    DrawText();
    for (std::size_t i = 0; i < layout_.buttons.size(); ++i) DrawButton(i);
}

/// Drawn for the first time, the window can be seen; only such a one can have the keyboard.
void MessageWindow::flush()
{
    Fl_Double_Window::flush();
    if (!hasAppeared_ && !HasWindowManager()) keyboardBefore_ = TakeKeyboard(fl_xid(this));
    hasAppeared_ = true;
}

/// Lines that have no room give way to dots.
void MessageWindow::DrawText()
{
    Use(ink);
    const Rectangle& place = layout_.textPlace;
    const int lineHeight = lettering_.LineHeight();
    const auto room = static_cast<std::size_t>(std::max(0, place.Height() / lineHeight));
    const bool isCut = lines_.size() > room;
    int top = place.top;
    for (std::size_t i = 0; i < std::min(lines_.size(), room); ++i, top += lineHeight) {
        const TextView line = isCut && i + 1 == room ? TextView(u"...") : lines_[i];
        const int spare = std::max(0, place.Width() - lettering_.Width(line));
        int left = place.left;
        if (layout_.alignment == Alignment::Right) left += spare;
        if (layout_.alignment == Alignment::Centre) left += spare / 2;
        lettering_.Draw(line, left, top, place);
    }
}

void MessageWindow::DrawButton(std::size_t index)
{
    const FormLayout::Button& button = layout_.buttons[index];
    const bool isUnderMouse = hovered_ == index, isHeld = held_ == index && isUnderMouse;
    Use(isHeld ? heldFace : isUnderMouse && !held_ ? hoveredFace : face);
    fl_rectf(button.place.left, button.place.top, button.place.Width(), button.place.Height());
    Use(index == focus_ ? focusRim : rim);
    Frame(button.place);
    if (index == focus_) {
        Frame(Inner(button.place, 1));
        Use(ink);
        fl_line_style(FL_DOT);
        Frame(Inner(button.place, 4));
        fl_line_style(FL_SOLID);
    }
    DrawCaption(button.caption, Inner(button.place, 6));
}

/// In the middle; from its beginning where it does not fit.
void MessageWindow::DrawCaption(TextView caption, const Rectangle& place)
{
    Use(ink);
    const Text shown = ShownCaption(caption);
    const int lineHeight = lettering_.LineHeight();
    const int left = place.left + std::max(0, place.Width() - lettering_.Width(shown)) / 2;
    const int top = place.top + (place.Height() - lineHeight) / 2;
    lettering_.Draw(shown, left, top, place);
    const bool isReordered = InVisualOrder(shown, layout_.rightToLeft) != shown;
    if (const auto key = UnderlinedPlace(caption); key && !isReordered) {
        const int start = left + lettering_.Width(TextView(shown).substr(0, *key));
        const int end = start + lettering_.Width(TextView(shown).substr(*key, 1)) - 1;
        const int baseline = top + lettering_.Ascent();
        if (start < place.right) fl_xyline(start, baseline + 1, std::min(end, place.right - 1));
    }
}

int MessageWindow::handle(int event)
{
    switch (event) {
        case FL_FOCUS:
        case FL_UNFOCUS:
        case FL_ENTER:
            return 1;
        case FL_KEYBOARD:
        case FL_SHORTCUT:
            TakeKey();
            return 1;  // FLTK has keys of its own
        case FL_PUSH:
        case FL_DRAG:
        case FL_RELEASE:
        case FL_MOVE:
        case FL_LEAVE:
            TakeMouse(event);
            return 1;
        default:
            return Fl_Double_Window::handle(event);
    }
}

void MessageWindow::TakeKey()
{
    const bool isPlain = !Fl::event_state(FL_CTRL | FL_META | FL_ALT);
    if (!isPlain) {  // combinations are for the desktop, but for Alt with an access key
        if (!Fl::event_state(FL_CTRL | FL_META)) TakeCharacter();
        return;
    }
    switch (Fl::event_key()) {
        case FL_Escape:
            if (layout_.cancel) Press(*layout_.cancel);
            break;
        case FL_Enter:
        case FL_KP_Enter:
        case ' ':
            Press(focus_);
            break;
        case FL_Tab:
            MoveFocus(!Fl::event_state(FL_SHIFT));
            break;
        case FL_Right:
        case FL_Down:
            MoveFocus(true);
            break;
        case FL_Left:
        case FL_Up:
            MoveFocus(false);
            break;
        default:
            TakeCharacter();
    }
}

/// A character alone presses a button as far as it is between "0" and "z", with Alt any does.
void MessageWindow::TakeCharacter()
{
    const Text typed = FromUtf8({Fl::event_text(), static_cast<std::size_t>(Fl::event_length())});
    if (typed.size() != 1 || typed[0] == 0) return;
    if (!Fl::event_state(FL_ALT) && (typed[0] < 48 || typed[0] > 122)) return;
    const auto& buttons = layout_.buttons;
    const auto found = std::find_if(buttons.begin(), buttons.end(), [key = UpperCase(typed[0])](const auto& button) {
        return AccessKey(button.caption) == key;
    });
    if (found != buttons.end()) answer_ = found->answer;
}

void MessageWindow::Press(std::size_t index)
{
    if (index < layout_.buttons.size()) answer_ = layout_.buttons[index].answer;
}

void MessageWindow::MoveFocus(bool forward)
{
    const std::size_t count = layout_.buttons.size();
    if (count == 0) return;
    focus_ = (focus_ + (forward ? 1 : count - 1)) % count;
    redraw();
}

void MessageWindow::TakeMouse(int event)
{
    const auto before = std::tuple(hovered_, held_, focus_);
    hovered_ = event == FL_LEAVE ? std::nullopt : ButtonUnderMouse();
    const bool isLeft = Fl::event_button() == FL_LEFT_MOUSE;
    if (event == FL_PUSH && isLeft) {
        held_ = hovered_;
        if (held_) focus_ = *held_;
    }
    if (event == FL_RELEASE && isLeft) {
        if (held_ && held_ == hovered_) Press(*held_);
        held_.reset();
    }
    if (before != std::tuple(hovered_, held_, focus_)) redraw();
}

std::optional<std::size_t> MessageWindow::ButtonUnderMouse() const
{
    const int x = Fl::event_x(), y = Fl::event_y();
    for (std::size_t i = 0; i < layout_.buttons.size(); ++i) {
        const Rectangle& place = layout_.buttons[i].place;
        if (x >= place.left && x < place.right && y >= place.top && y < place.bottom) return i;
    }
    return std::nullopt;
}

void MessageWindow::Close()
{
    if (layout_.canClose) answer_ = layout_.closeAnswer;
}

}  // namespace vmlib::window
