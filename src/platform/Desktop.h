#pragma once

#include <cstdint>
#include <span>

#include "core/Text.h"

namespace vmlib {

inline constexpr std::int16_t defaultPointer = 0;
inline constexpr std::int16_t hourglassPointer = 11;

inline constexpr std::int16_t insertKey = 45;
inline constexpr std::int16_t decimalKey = 110;  // of the numeric keypad

/// What a person sees. Message-box styles: button sets 0 to 5, icons 16, 32, 48, 64, default button 0, 256, 512;
/// answers 1 OK, 2 Cancel, 3 Abort, 4 Retry, 5 Ignore, 6 Yes, 7 No.
class Desktop
{
public:
    virtual ~Desktop() = default;

    /// Shows a message and returns the answer. Where nobody can answer, the safe answer at once: OK 1; OK and Cancel 2;
    /// Abort, Retry and Ignore 3; Yes, No and Cancel 2; Yes and No 7; Retry and Cancel 2.
    virtual std::int16_t MessageBox(TextView text, std::int32_t style, TextView title) = 0;

    /// The application's mouse pointer; a hook for a busy indicator.
    virtual std::int16_t MousePointer() = 0;
    virtual void SetMousePointer(std::int16_t pointer) = 0;

    /// State of a key by the platform's key code: bit 15 held down, bit 0 toggled on. 0 without a desktop.
    virtual std::int16_t KeyState(std::int16_t key) = 0;
    /// Types text into the window that has the keyboard focus, without waiting for it to be read. Nothing happens
    /// without a desktop.
    virtual void SendKeys(TextView text) = 0;
};

/// The safe answer of a button set (style and 15).
std::int16_t SafeAnswer(std::int32_t style);

/// A button of the standard message box: its answer and its Dutch caption with "&" before the access key.
struct MessageButton
{
    std::int16_t answer;
    TextView caption;
};

/// The buttons of a style from left to right, and the position of its default button among them.
std::span<const MessageButton> MessageButtons(std::int32_t style);
std::size_t DefaultButton(std::int32_t style);

}  // namespace vmlib
