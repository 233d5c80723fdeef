#pragma once

#include <optional>
#include <vector>

#include "platform/windows/Api.h"
#include "platform/windows/GdiMeasures.h"

namespace vmlib::windows {

/// A form as a window of the calling thread, which keeps the thread's other windows from input until it is answered.
/// Keys: Enter and the space bar press the button with the focus, Escape the cancel button, a character from "0" to "z"
/// the button with that access key, with Alt any character does; Tab and the arrows move the focus.
class MessageForm
{
public:
    MessageForm(FormLayout layout, const GdiMeasures& measures);
    ~MessageForm();
    MessageForm(const MessageForm&) = delete;
    MessageForm& operator=(const MessageForm&) = delete;

    /// Shows it until it is answered; no value when there can be no window, or the thread is told to end.
    std::optional<std::int32_t> Ask();

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM first, LPARAM second);
    bool Create(const GdiMeasures& measures);
    HWND AddControl(const wchar_t* kind, const Text& caption, DWORD style, const Rectangle& place, int number);
    void AddIcon();
    void AddText();
    void AddButtons();

    bool TakeKey(const MSG& message);
    bool TakeCharacter(const MSG& message);
    void MoveFocus(bool forward);
    void Press(std::size_t index);
    void TakeAnswer(std::int32_t answer);
    void Take(std::int32_t answer);
    std::size_t FocusedButton() const;

    FormLayout layout_;
    HFONT font_ = nullptr;
    HWND window_ = nullptr;
    std::vector<HWND> buttons_;
    std::size_t focus_;  // the button that has the keyboard, or had it when another window took it
    std::optional<std::int32_t> answer_;
};

}  // namespace vmlib::windows
