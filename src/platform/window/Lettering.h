#pragma once

#include <FL/Enumerations.H>

#include "platform/FormLayout.h"

namespace vmlib::window {

/// Text measured and drawn with one font, or with the nearest one that is installed. A tab counts and shows as a blank;
/// other control characters are not there.
class Lettering
{
public:
    /// @param dpi  pixels of an inch
    Lettering(const Font& font, int dpi);

    int LineHeight() const { return ascent_ + descent_; }
    int Ascent() const { return ascent_; }  // from the top of a line to the foot of its letters
    int Width(TextView run) const;
    /// Draws one line from `left` on, as far as it is seen between the edges of `seen`.
    void Draw(TextView run, int left, int top, const Rectangle& seen) const;

private:
    void Select() const;
    void UseLineOfDrawText();

    Fl_Font face_;
    Fl_Fontsize pixels_;
    bool strikeThrough_;
    int ascent_, descent_;
};

}  // namespace vmlib::window
