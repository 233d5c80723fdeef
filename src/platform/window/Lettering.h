#pragma once

#include <FL/Enumerations.H>

#include <string>

#include "platform/FormLayout.h"

namespace vmlib::window {

/// Text measured and drawn with one font, or with the nearest one that is installed; characters that it lacks, with a
/// font that has them. Tabs and line ends count and show as blanks; other control characters are not there.
class Lettering
{
public:
    /// @param dpi               pixels of an inch
    /// @param readsRightToLeft  the whole, not only words of scripts that do
    Lettering(Font font, int dpi, bool readsRightToLeft = false);

    int LineHeight() const { return ascent_ + descent_; }
    int Ascent() const { return ascent_; }  // from the top of a line to the foot of its letters
    int Width(TextView run) const;
    /// Draws one line from `left` on, cut off at the edges of `seen`.
    void Draw(TextView run, int left, int top, const Rectangle& seen) const;

private:
    /// Characters of one face, as FLTK takes them.
    struct Piece
    {
        Fl_Font face;
        std::string shown;
    };

    Piece TakePiece(TextView& run) const;
    Fl_Font FaceOf(char32_t c) const;
    int SelectFor(const Piece& piece) const;
    void UseLineOfDrawText();

    Font font_;
    Fl_Font face_;
    Fl_Fontsize pixels_;
    void* installed_;  // the font library's
    int ascent_, descent_;
    bool readsRightToLeft_;
};

}  // namespace vmlib::window
