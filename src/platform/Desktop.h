#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "platform/FormLayout.h"
#include "platform/Message.h"

namespace vmlib {

inline constexpr std::int16_t defaultPointer = 0;
inline constexpr std::int16_t hourglassPointer = 11;

inline constexpr std::int16_t insertKey = 45;
inline constexpr std::int16_t decimalKey = 110;  // of the numeric keypad

/// What a person sees: messages, the pointer, the keyboard, windows of the host, help.
class Desktop
{
public:
    virtual ~Desktop() = default;

    /// Shows the platform's standard message box and returns its answer. Where nobody can answer, the safe answer at
    /// once.
    virtual std::int16_t MessageBox(TextView text, std::int32_t style, TextView title) = 0;

    /// Places a form by measurements of the screen that it will appear on. May run in another process: it computes, and
    /// changes nothing.
    using Layouter = std::function<FormLayout(Measures&)>;
    /// Shows a message in a form of the library's own and returns the answer. Where there is no screen it is asked as
    /// text, and nothing is placed; where nobody can answer, the safe answer at once.
    virtual std::int32_t ShowForm(const Message& message, const Layouter& layOut) = 0;

    /// The application's mouse pointer; a hook for a busy indicator.
    virtual std::int16_t MousePointer() = 0;
    virtual void SetMousePointer(std::int16_t pointer) = 0;

    /// State of a key by the platform's key code: bit 15 held down, bit 0 toggled on. 0 without a desktop.
    virtual std::int16_t KeyState(std::int16_t key) = 0;
    /// Types text into the window that has the keyboard focus, without waiting for it to be read. Nothing happens
    /// without a desktop.
    virtual void SendKeys(TextView text) = 0;

    /// Width and height of the screen in twips; no value without one.
    virtual std::optional<TwipsPoint> ScreenTwips() = 0;

    // Windows of the host, by their handles. A handle that stands for none answers as the platform's calls do: 0, an
    // empty rectangle, the point as it was.
    virtual std::int32_t SendWindowMessage(std::int32_t window, std::int32_t message, std::int32_t first,
                                           std::int32_t second) = 0;
    virtual Rectangle WindowRectangle(std::int32_t window) = 0;  // outer edges on the screen
    virtual Point ToClient(std::int32_t window, Point onScreen) = 0;
    virtual void MoveWindow(std::int32_t window, const Rectangle& place, bool repaint) = 0;
    virtual Size TextExtent(std::int32_t deviceContext, TextView text) = 0;

    /// Asks the platform's help viewer for something in a help file, by the viewer's command numbers (1 context, 2 quit,
    /// 3 contents, 4 help on help, 9 force file, 257 key, 261 partial key). False when it cannot.
    virtual bool OpenHelp(std::int32_t window, TextView file, std::int32_t command, std::int32_t data) = 0;
};

}  // namespace vmlib
