#include "platform/windows/WindowsDesktop.h"

#include <cstdlib>
#include <iostream>
#include <string_view>
#include <vector>

#include "platform/windows/GdiMeasures.h"
#include "platform/windows/MessageForm.h"
#include "platform/windows/Wide.h"

namespace vmlib::windows {

namespace {

/// A service has a desktop that nobody sees; a message there would never be answered.
bool HasScreen()
{
    const char* const chosen = std::getenv("VMLIB_DESKTOP");
    if (chosen && std::string_view(chosen) == "none") return false;
    USEROBJECTFLAGS flags = {};
    DWORD size = 0;
    const bool isKnown =
        ::GetUserObjectInformationW(::GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, &size) != 0;
    return !isKnown || (flags.dwFlags & WSF_VISIBLE);
}

std::int32_t SafeAnswer(const Message& message)
{
    std::cerr << ToUtf8(message.title + u": " + message.text) << std::endl;
    return message.safeAnswer;
}

}  // namespace

std::int16_t WindowsDesktop::MessageBox(TextView text, std::int32_t style, TextView title)
{
    if (!HasScreen()) return static_cast<std::int16_t>(SafeAnswer(StandardMessage(text, style, title)));
    const HWND owner = ::GetActiveWindow();
    const UINT flags = static_cast<UINT>(style) | (owner ? 0 : MB_TASKMODAL);
    const int answer = ::MessageBoxW(owner, Wide(Text(text)), Wide(Text(title)), flags);
    // Otherwise it could not be shown.
    return static_cast<std::int16_t>(answer > 0 ? answer : SafeAnswer(StandardMessage(text, style, title)));
}

std::int32_t WindowsDesktop::ShowForm(const Message& message, const Layouter& layOut)
{
    if (HasScreen()) {
        GdiMeasures measures;
        if (const auto answer = MessageForm(layOut(measures), measures).Ask()) return *answer;
    }
    return SafeAnswer(message);
}

void WindowsDesktop::SetMousePointer(std::int16_t pointer)
{
    pointer_ = pointer;
    ::SetCursor(::LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(pointer == hourglassPointer ? IDC_WAIT : IDC_ARROW)));
}

std::int16_t WindowsDesktop::KeyState(std::int16_t key)
{
    return ::GetKeyState(key);
}

void WindowsDesktop::SendKeys(TextView text)
{
    std::vector<INPUT> inputs;
    for (const char16_t character : text)
        for (const DWORD flags : {DWORD{KEYEVENTF_UNICODE}, DWORD{KEYEVENTF_UNICODE | KEYEVENTF_KEYUP}}) {
            INPUT input = {};
            input.type = INPUT_KEYBOARD;
            input.ki.wScan = character;
            input.ki.dwFlags = flags;
            inputs.push_back(input);
        }
    if (!inputs.empty()) ::SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
}

std::optional<TwipsPoint> WindowsDesktop::ScreenTwips()
{
    if (!HasScreen()) return std::nullopt;
    GdiMeasures measures;
    const Size screen = measures.ScreenSize();
    const TwipsPoint pixel = measures.TwipsPerPixel();
    return TwipsPoint{screen.width * pixel.x, screen.height * pixel.y};
}

std::int32_t WindowsDesktop::SendWindowMessage(std::int32_t window, std::int32_t message, std::int32_t first,
                                               std::int32_t second)
{
    const LRESULT result = ::SendMessageW(HandleOf<HWND>(window), static_cast<UINT>(message),
                                          static_cast<WPARAM>(static_cast<std::intptr_t>(first)), second);
    return static_cast<std::int32_t>(result);
}

Rectangle WindowsDesktop::WindowRectangle(std::int32_t window)
{
    RECT place = {};
    if (!::GetWindowRect(HandleOf<HWND>(window), &place)) return {};
    return {place.left, place.top, place.right, place.bottom};
}

Point WindowsDesktop::ToClient(std::int32_t window, Point onScreen)
{
    POINT point{onScreen.x, onScreen.y};
    if (!::ScreenToClient(HandleOf<HWND>(window), &point)) return onScreen;
    return {point.x, point.y};
}

void WindowsDesktop::MoveWindow(std::int32_t window, const Rectangle& place, bool repaint)
{
    ::MoveWindow(HandleOf<HWND>(window), place.left, place.top, place.Width(), place.Height(), repaint);
}

Size WindowsDesktop::TextExtent(std::int32_t deviceContext, TextView text)
{
    SIZE size = {};
    if (!::GetTextExtentPoint32W(HandleOf<HDC>(deviceContext), Wide(Text(text)), static_cast<int>(text.size()), &size))
        return {};
    return {size.cx, size.cy};
}

bool WindowsDesktop::OpenHelp(std::int32_t window, TextView file, std::int32_t command, std::int32_t data)
{
    return HasScreen() && ::WinHelpW(HandleOf<HWND>(window), Wide(Text(file)), static_cast<UINT>(command),
                                     static_cast<ULONG_PTR>(static_cast<std::intptr_t>(data)));
}

}  // namespace vmlib::windows
