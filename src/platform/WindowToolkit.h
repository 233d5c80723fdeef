#pragma once

#include <functional>
#include <optional>

#include "platform/FormLayout.h"

namespace vmlib {

/// What draws forms on a screen. It lives in a library of its own that is loaded when a window is wanted, so that
/// nothing else needs a graphics library.
class WindowToolkit : public Measures
{
public:
    /// Shows the form and waits for the answer; no value when the screen goes away meanwhile.
    /// @param onShown  called when the screen has it, and only a person is to be waited for
    virtual std::optional<std::int32_t> Show(const FormLayout& layout, const std::function<void()>& onShown) = 0;
};

/// The function that the library exports under this name: a toolkit that lives as long as the process, null where there
/// is no screen.
/// @param onReached  called when the screen has answered; what then follows may take a while on a slow line
using OpenWindowToolkit = WindowToolkit* (*)(void (*onReached)());
/// The exit code of a process whose screen went away before it had anything on it: a server that started anew may be
/// there at the next try.
inline constexpr int screenLostEarly = 75;
inline constexpr char openWindowToolkitName[] = "vmlib_open_window_toolkit";

}  // namespace vmlib
