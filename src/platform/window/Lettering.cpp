#define FL_INTERNALS  // for fl_xftfont

#include "platform/window/Lettering.h"

#include <FL/Fl.H>
#include <FL/fl_draw.H>
#include <FL/x.H>
#include <X11/Xft/Xft.h>
#include FT_TRUETYPE_TABLES_H

#include <algorithm>
#include <limits>
#include <map>
#include <string>

namespace vmlib::window {

namespace {

/// FLTK's number of a face. Its names begin with the style: blank, B, I, or P for both.
Fl_Font FaceNumber(const Font& font)
{
    // FLTK keeps a pointer to the name; those in a map stay where they are.
    static std::map<std::string, Fl_Font> known;
    const char style = font.bold ? (font.italic ? 'P' : 'B') : (font.italic ? 'I' : ' ');
    const auto [entry, isNew] = known.try_emplace(style + ToUtf8(font.face));
    if (isNew) {
        entry->second = static_cast<Fl_Font>(FL_FREE_FONT + static_cast<int>(known.size()) - 1);
        Fl::set_font(entry->second, entry->first.c_str());
    }
    return entry->second;
}

/// As FLTK takes it.
std::string Shown(TextView piece)
{
    Text shown;
    for (const char16_t c : piece)
        if (c == u'\t')
            shown += u' ';
        else if (c >= 0x20 && (c < 0x7F || c > 0x9F))
            shown += c;
    return ToUtf8(shown);
}

/// Takes the next piece off a run. A run is measured and drawn in pieces: the font library counts the pixels of one in
/// 16 bits.
std::string TakePiece(TextView& run)
{
    constexpr std::size_t longest = 200;
    std::size_t length = std::min(run.size(), longest);
    const bool splitsPair = length < run.size() && (run[length - 1] & 0xFC00) == 0xD800;
    if (splitsPair) --length;
    std::string piece = Shown(run.substr(0, length));
    run.remove_prefix(length);
    return piece;
}

int PieceWidth(const std::string& piece)
{
    return static_cast<int>(fl_width(piece.data(), static_cast<int>(piece.size())));
}

}  // namespace

Lettering::Lettering(const Font& font, int dpi)
    : face_(FaceNumber(font)), pixels_(std::max(1, (font.points * dpi + 36) / 72)), strikeThrough_(font.strikeThrough)
{
    Select();
    ascent_ = fl_height() - fl_descent();
    descent_ = fl_descent();
    UseLineOfDrawText();
}

/// DrawText takes the heights that the font gives for it; FreeType prefers others.
void Lettering::UseLineOfDrawText()
{
    auto* const font = static_cast<XftFont*>(fl_xftfont);
    const FT_Face face = font ? XftLockFace(font) : nullptr;
    if (!face) return;
    const auto* const table = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
    if (table && table->usWinAscent > 0 && face->units_per_EM > 0) {
        const auto scaled = [this, face](int units) {
            return (units * pixels_ + face->units_per_EM / 2) / face->units_per_EM;
        };
        ascent_ = scaled(table->usWinAscent);
        descent_ = scaled(table->usWinDescent);
    }
    XftUnlockFace(font);
}

void Lettering::Select() const
{
    fl_font(face_, pixels_);
}

int Lettering::Width(TextView run) const
{
    constexpr int widest = std::numeric_limits<int>::max() / 4;  // room for sums
    Select();
    int width = 0;
    while (!run.empty() && width < widest) width += PieceWidth(TakePiece(run));
    return std::min(width, widest);
}

void Lettering::Draw(TextView run, int left, int top, const Rectangle& seen) const
{
    Select();
    fl_push_clip(seen.left, seen.top, seen.Width(), seen.Height());
    const int baseline = top + ascent_;
    int x = left;
    while (!run.empty() && x < seen.right) {
        const std::string piece = TakePiece(run);
        const int width = PieceWidth(piece);
        if (x + width > seen.left) fl_draw(piece.data(), static_cast<int>(piece.size()), x, baseline);
        x += width;
    }
    const int middle = baseline - ascent_ / 3;
    if (strikeThrough_ && x > left) fl_xyline(std::max(left, seen.left), middle, std::min(x, seen.right));
    fl_pop_clip();
}

}  // namespace vmlib::window
