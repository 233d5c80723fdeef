#pragma once

#include <optional>

#include "platform/FormLayout.h"

namespace vmlib {

/// What draws forms on a screen. It lives in a library of its own that is loaded when a window is wanted, so that
/// nothing else needs a graphics library.
class WindowToolkit : public Measures
{
public:
    /// Shows the form and waits for the answer; no value when the screen goes away meanwhile.
    virtual std::optional<std::int32_t> Show(const FormLayout& layout) = 0;
};

/// The function that the library exports under this name: a toolkit that lives as long as the process, null where there
/// is no screen.
using OpenWindowToolkit = WindowToolkit* (*)();
inline constexpr char openWindowToolkitName[] = "vmlib_open_window_toolkit";

}  // namespace vmlib
