#pragma once

#include "automation/Variant.h"
#include "platform/Desktop.h"

namespace vmlib {

/// The library's own message form: a text with an icon and one to three buttons, whose captions come from the style or
/// from the caller.
///
///     frmMsg(platform.desktop).Box(u"Opslaan?", 4 | 32, u"Kas", u"", u"", u"", nullptr, 0, -2, -2);
class frmMsg
{
public:
    explicit frmMsg(Desktop& desktop) : desktop_(desktop) {}

    /// Shows the form and waits for the answer.
    /// @param nMeldType   button set in the low 4 bits, icon in bits 4 to 7, default button in bits 8 and 9, 0x80000
    ///                    right-aligned text, 0x100000 right-to-left reading
    /// @param sButton0    captions instead of those of the button set, up to the first empty one; they answer 6, 7, 2.
    ///                    "Annuleren" is what Escape presses
    /// @param owner       the form that it appears over, or Nothing; its Left, Top, Width, Height are in twips
    /// @param alignment   of the text: 0 left, 1 right, 2 centred
    /// @param horizontal  -2 centred on the screen, -1 over the owner (on the screen without one), else the left edge in
    ///                    twips; `vertical` alike
    /// @throws Error that the owner raises when it is asked for its place
    std::int32_t Box(const Text& sTekst, std::int32_t nMeldType, const Text& sTitel, const Text& sButton0,
                     const Text& sButton1, const Text& sButton2, const ObjectRef& owner, std::int32_t alignment,
                     std::int32_t horizontal, std::int32_t vertical);

private:
    Desktop& desktop_;
};

}  // namespace vmlib
