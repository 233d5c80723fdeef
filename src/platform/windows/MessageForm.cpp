#include "platform/windows/MessageForm.h"

#include <algorithm>
#include <cmath>
#include <mutex>

#include "platform/Message.h"
#include "platform/windows/Wide.h"

namespace vmlib::windows {

namespace {

constexpr wchar_t className[] = L"VMLibMessage";
constexpr int firstButton = 100;  // the numbers of the buttons as controls

/// The module that this code is in, also as a DLL: window classes belong to it.
HINSTANCE ThisModule()
{
    HMODULE module = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         className, &module);
    return module;
}

LPCWSTR IconOf(MessageIcon icon)
{
    switch (icon) {
        case MessageIcon::Stop:
            return reinterpret_cast<LPCWSTR>(IDI_HAND);
        case MessageIcon::Question:
            return reinterpret_cast<LPCWSTR>(IDI_QUESTION);
        case MessageIcon::Exclamation:
            return reinterpret_cast<LPCWSTR>(IDI_EXCLAMATION);
        case MessageIcon::Information:
            return reinterpret_cast<LPCWSTR>(IDI_ASTERISK);
        case MessageIcon::None:
            break;
    }
    return nullptr;
}

int Pixels(double twips, double perPixel)
{
    return static_cast<int>(std::lround(twips / perPixel));
}

void WakeLoop()
{
    ::PostThreadMessageW(::GetCurrentThreadId(), WM_NULL, 0, 0);
}

bool IsHeld(int key)
{
    return (::GetKeyState(key) & 0x8000) != 0;
}

/// The window class, for as long as there is a form in any thread: a DLL that is unloaded leaves none that points into
/// it, and no form takes the class away under another.
class WindowClass
{
public:
    static void Add(WNDPROC procedure)
    {
        const std::lock_guard lock(mutex_);
        if (forms_++ > 0) return;
        WNDCLASSW kind = {};
        kind.lpfnWndProc = procedure;
        kind.hInstance = ThisModule();
        kind.lpszClassName = className;
        kind.hCursor = ::LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
        kind.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<std::intptr_t>(COLOR_BTNFACE + 1));
        ::RegisterClassW(&kind);
    }
    static void Remove()
    {
        const std::lock_guard lock(mutex_);
        if (--forms_ == 0) ::UnregisterClassW(className, ThisModule());
    }

private:
    static inline std::mutex mutex_;
    static inline int forms_ = 0;
};

/// The window that waits for the answer takes no input meanwhile, as behind any message box.
class DisabledOwner
{
public:
    explicit DisabledOwner(HWND owner) : owner_(owner && ::IsWindowEnabled(owner) ? owner : nullptr)
    {
        if (owner_) ::EnableWindow(owner_, FALSE);
    }
    ~DisabledOwner()
    {
        if (owner_) ::EnableWindow(owner_, TRUE);
    }
    DisabledOwner(const DisabledOwner&) = delete;
    DisabledOwner& operator=(const DisabledOwner&) = delete;

private:
    HWND owner_;
};

}  // namespace

MessageForm::MessageForm(FormLayout layout, const GdiMeasures& measures)
    : layout_(std::move(layout)), font_(measures.Make(layout_.font)), focus_(layout_.focus)
{
    WindowClass::Add(Procedure);
    if (Create(const_cast<GdiMeasures&>(measures))) {
        AddIcon();
        AddText();
        AddButtons();
    }
}

MessageForm::~MessageForm()
{
    if (window_) ::DestroyWindow(window_);
    WindowClass::Remove();
    if (font_) ::DeleteObject(font_);
}

bool MessageForm::Create(const GdiMeasures& measures)
{
    const TwipsPoint pixel = const_cast<GdiMeasures&>(measures).TwipsPerPixel();
    const DWORD extended = formExtendedStyle | (layout_.rightToLeft ? WS_EX_RTLREADING : 0);
    window_ = ::CreateWindowExW(extended, className, Wide(layout_.caption), formStyle, Pixels(layout_.place.x, pixel.x),
                                Pixels(layout_.place.y, pixel.y), Pixels(layout_.size.x, pixel.x),
                                Pixels(layout_.size.y, pixel.y), ::GetActiveWindow(), nullptr, ThisModule(), this);
    if (window_ && !layout_.canClose) ::DeleteMenu(::GetSystemMenu(window_, FALSE), SC_CLOSE, MF_BYCOMMAND);
    return window_ != nullptr;
}

HWND MessageForm::AddControl(const wchar_t* kind, const Text& caption, DWORD style, const Rectangle& place, int number)
{
    const HWND control =
        ::CreateWindowExW(layout_.rightToLeft ? WS_EX_RTLREADING : 0, kind, Wide(caption),
                          WS_CHILD | WS_VISIBLE | style, place.left, place.top, place.Width(), place.Height(), window_,
                          reinterpret_cast<HMENU>(static_cast<std::intptr_t>(number)), ThisModule(), nullptr);
    ::SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
    return control;
}

void MessageForm::AddIcon()
{
    const LPCWSTR icon = IconOf(layout_.icon);
    if (!icon) return;
    const Point at = layout_.iconPlace;
    const HWND control = AddControl(L"STATIC", {}, SS_ICON, {at.x, at.y, at.x + iconSize, at.y + iconSize}, -1);
    ::SendMessageW(control, STM_SETICON, reinterpret_cast<WPARAM>(::LoadIconW(nullptr, icon)), 0);
}

void MessageForm::AddText()
{
    DWORD style = SS_NOPREFIX;
    if (layout_.alignment == Alignment::Left) style |= SS_LEFT;
    if (layout_.alignment == Alignment::Right) style |= SS_RIGHT;
    if (layout_.alignment == Alignment::Centre) style |= SS_CENTER;
    AddControl(L"STATIC", layout_.text, style, layout_.textPlace, -1);
}

void MessageForm::AddButtons()
{
    for (std::size_t i = 0; i < layout_.buttons.size(); ++i) {
        const FormLayout::Button& button = layout_.buttons[i];
        const DWORD kind = i == layout_.focus ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON;
        buttons_.push_back(
            AddControl(L"BUTTON", button.caption, WS_TABSTOP | kind, button.place, firstButton + static_cast<int>(i)));
    }
}

std::optional<std::int32_t> MessageForm::Ask()
{
    if (!window_) return std::nullopt;
    const DisabledOwner owner(::GetWindow(window_, GW_OWNER));
    ::ShowWindow(window_, SW_SHOW);
    ::SetForegroundWindow(window_);
    if (layout_.focus < buttons_.size()) ::SetFocus(buttons_[layout_.focus]);
    MSG message;
    while (!answer_ && window_) {
        const BOOL got = ::GetMessageW(&message, nullptr, 0, 0);
        if (got <= 0) {  // the thread ends: whoever runs its loop must hear of it too
            ::PostQuitMessage(static_cast<int>(message.wParam));
            return std::nullopt;
        }
        const bool isOurs = message.hwnd && (message.hwnd == window_ || ::IsChild(window_, message.hwnd));
        if (isOurs && (answer_ || TakeKey(message) || TakeCharacter(message))) continue;
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return answer_;
}

bool MessageForm::TakeKey(const MSG& message)
{
    if (message.message != WM_KEYDOWN || IsHeld(VK_CONTROL) || IsHeld(VK_MENU)) return false;
    switch (message.wParam) {
        case VK_ESCAPE:
            if (layout_.cancel) Press(*layout_.cancel);
            return true;
        case VK_RETURN:
        case VK_SPACE:
            Press(FocusedButton());
            return true;
        case VK_TAB:
            MoveFocus(!IsHeld(VK_SHIFT));
            return true;
        case VK_RIGHT:
        case VK_DOWN:
            MoveFocus(true);
            return true;
        case VK_LEFT:
        case VK_UP:
            MoveFocus(false);
            return true;
        default:
            return false;
    }
}

bool MessageForm::TakeCharacter(const MSG& message)
{
    const bool withAlt = message.message == WM_SYSCHAR;
    if (message.message != WM_CHAR && !withAlt) return false;
    const auto typed = static_cast<char16_t>(message.wParam);
    if (!withAlt && (typed < u'0' || typed > u'z')) return true;
    const auto& buttons = layout_.buttons;
    const auto found = std::find_if(buttons.begin(), buttons.end(), [key = UpperCase(typed)](const auto& button) {
        return AccessKey(button.caption) == key;
    });
    if (found == buttons.end()) return !withAlt;  // with Alt it may be the window menu's
    Take(found->answer);
    return true;
}

std::size_t MessageForm::FocusedButton() const
{
    const auto found = std::find(buttons_.begin(), buttons_.end(), ::GetFocus());
    return found == buttons_.end() ? focus_ : static_cast<std::size_t>(found - buttons_.begin());
}

void MessageForm::MoveFocus(bool forward)
{
    const std::size_t count = buttons_.size();
    if (count == 0) return;
    const std::size_t before = FocusedButton(), next = (before + (forward ? 1 : count - 1)) % count;
    ::SendMessageW(buttons_[before], BM_SETSTYLE, BS_PUSHBUTTON, TRUE);
    ::SendMessageW(buttons_[next], BM_SETSTYLE, BS_DEFPUSHBUTTON, TRUE);
    ::SetFocus(buttons_[next]);
}

void MessageForm::Press(std::size_t index)
{
    if (index < layout_.buttons.size()) Take(layout_.buttons[index].answer);
}

/// The first answer counts. One that a sent message brought wakes the loop, which waits for a posted one.
void MessageForm::Take(std::int32_t answer)
{
    if (answer_) return;
    answer_ = answer;
    ::PostMessageW(window_, WM_NULL, 0, 0);
}

LRESULT CALLBACK MessageForm::Procedure(HWND window, UINT message, WPARAM first, LPARAM second)
{
    if (message == WM_NCCREATE) {
        const auto* const created = reinterpret_cast<const CREATESTRUCTW*>(second);
        ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(created->lpCreateParams));
    }
    auto* const form = reinterpret_cast<MessageForm*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!form) return ::DefWindowProcW(window, message, first, second);
    switch (message) {
        case WM_COMMAND:
            if (HIWORD(first) == BN_CLICKED && LOWORD(first) >= firstButton)
                form->Press(static_cast<std::size_t>(LOWORD(first) - firstButton));
            return 0;
        // Who comes back from another window finds the focus where he left it.
        case WM_ACTIVATE:
            if (LOWORD(first) == WA_INACTIVE) form->focus_ = form->FocusedButton();
            break;
        case WM_SETFOCUS:
            if (form->focus_ < form->buttons_.size()) ::SetFocus(form->buttons_[form->focus_]);
            return 0;
        case WM_CLOSE:
            if (form->layout_.canClose) form->Take(form->layout_.closeAnswer);
            return 0;
        case WM_NCDESTROY:  // by somebody else, or by the destructor
            form->window_ = nullptr;
            WakeLoop();
            break;
        default:
            break;
    }
    return ::DefWindowProcW(window, message, first, second);
}

}  // namespace vmlib::windows
