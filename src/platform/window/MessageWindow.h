#pragma once

#include <FL/Fl_Double_Window.H>

#include <functional>
#include <optional>
#include <vector>

#include "platform/FormLayout.h"
#include "platform/window/Lettering.h"
#include "platform/window/MessageIcons.h"

namespace vmlib::window {

/// A form on the screen: draws a layout, and makes an answer of keys, clicks and Close.
class MessageWindow : public Fl_Double_Window
{
public:
    /// @param layout  not larger than the screen
    /// @param place   of its outer edges, in pixels
    /// @param dpi     pixels of an inch, for the size of the letters
    MessageWindow(FormLayout layout, Point place, int dpi);

    /// Shows it until it is answered; no value when the screen's owner takes it away.
    /// @param onShown  called once the server has the window
    std::optional<std::int32_t> Ask(const std::function<void()>& onShown);

private:
    void draw() override;
    void flush() override;
    int handle(int event) override;

    void DrawText();
    void DrawButton(std::size_t index);
    void DrawCaption(TextView caption, const Rectangle& place);

    void TakeKey();
    void TakeCharacter();
    void MoveFocus(bool forward);
    void TakeMouse(int event);
    std::optional<std::size_t> ButtonUnderMouse() const;
    void Press(std::size_t index);
    void Close();

    FormLayout layout_;
    Lettering lettering_;
    std::vector<TextView> lines_;
    IconPixels icon_;
    std::size_t focus_;
    std::optional<std::size_t> held_;  // where the mouse button went down
    std::optional<std::size_t> hovered_;
    std::optional<std::int32_t> answer_;
    bool hasAppeared_ = false;
    std::optional<unsigned long> keyboardBefore_;  // the window that had it
};

}  // namespace vmlib::window
