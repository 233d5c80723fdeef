#define FL_INTERNALS  // for fl_xftfont

#include "platform/window/Lettering.h"

#include <FL/Fl.H>
#include <FL/fl_draw.H>
#include <FL/x.H>
#include <X11/Xft/Xft.h>
#include <fontconfig/fontconfig.h>
#include FT_TRUETYPE_TABLES_H

#include <algorithm>
#include <limits>
#include <map>

#include "platform/window/Bidi.h"

namespace vmlib::window {

namespace {

/// FLTK's number of a family in the style of a font. Its names begin with the style: blank, B, I, or P for both.
Fl_Font FaceNumber(const std::string& family, const Font& font)
{
    // FLTK keeps a pointer to the name; those in a map stay where they are.
    static std::map<std::string, Fl_Font> known;
    const char style = font.bold ? (font.italic ? 'P' : 'B') : (font.italic ? 'I' : ' ');
    const auto [entry, isNew] = known.try_emplace(style + family);
    if (isNew) {
        entry->second = static_cast<Fl_Font>(FL_FREE_FONT + static_cast<int>(known.size()) - 1);
        Fl::set_font(entry->second, entry->first.c_str());
    }
    return entry->second;
}

/// All installed fonts that can stand in for a letter, the plainest first.
const FcFontSet* StandIns()
{
    static const FcFontSet* const fonts = [] {
        FcPattern* const wanted = FcPatternCreate();
        FcPatternAddString(wanted, FC_FAMILY, reinterpret_cast<const FcChar8*>("sans-serif"));
        FcPatternAddBool(wanted, FC_SCALABLE, FcTrue);
        FcConfigSubstitute(nullptr, wanted, FcMatchPattern);
        FcDefaultSubstitute(wanted);
        FcResult result;
        const FcFontSet* const found = FcFontSort(nullptr, wanted, FcTrue, nullptr, &result);
        FcPatternDestroy(wanted);
        return found;
    }();
    return fonts;
}

/// The first of them that has a character; empty when none has.
std::string FamilyWith(char32_t c)
{
    const FcFontSet* const fonts = StandIns();
    for (int i = 0; fonts && i < fonts->nfont; ++i) {
        FcCharSet* characters = nullptr;
        FcChar8* family = nullptr;
        FcBool isScalable = FcFalse;
        FcPatternGetBool(fonts->fonts[i], FC_SCALABLE, 0, &isScalable);
        if (isScalable && FcPatternGetCharSet(fonts->fonts[i], FC_CHARSET, 0, &characters) == FcResultMatch &&
            FcCharSetHasChar(characters, c) &&
            FcPatternGetString(fonts->fonts[i], FC_FAMILY, 0, &family) == FcResultMatch)
            return reinterpret_cast<const char*>(family);
    }
    return {};
}

bool IsControl(char32_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F);
}

/// The character at the beginning, which is one unit or a pair.
char32_t FirstCharacter(TextView text)
{
    const bool isPair = text.size() > 1 && (text[0] & 0xFC00) == 0xD800 && (text[1] & 0xFC00) == 0xDC00;
    return isPair ? 0x10000u + ((text[0] & 0x3FFu) << 10) + (text[1] & 0x3FFu) : text[0];
}

}  // namespace

Lettering::Lettering(Font font, int dpi, bool readsRightToLeft)
    : font_(std::move(font)),
      face_(FaceNumber(ToUtf8(font_.face), font_)),
      pixels_(std::max(1, (font_.points * dpi + 36) / 72)),
      readsRightToLeft_(readsRightToLeft)
{
    fl_font(face_, pixels_);
    installed_ = fl_xftfont;
    ascent_ = fl_height() - fl_descent();
    descent_ = fl_descent();
    UseLineOfDrawText();
}

/// DrawText takes the heights that the font gives for it; FreeType prefers others.
void Lettering::UseLineOfDrawText()
{
    auto* const font = static_cast<XftFont*>(installed_);
    const FT_Face face = font ? XftLockFace(font) : nullptr;
    if (!face) return;
    const auto* const table = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
    if (table && table->usWinAscent > 0 && face->units_per_EM > 0) {
        const auto scaled = [this, face](int units) {
            return (units * pixels_ + face->units_per_EM / 2) / face->units_per_EM;
        };
        ascent_ = std::max(1, scaled(table->usWinAscent));
        descent_ = scaled(table->usWinDescent);
    }
    XftUnlockFace(font);
}

Fl_Font Lettering::FaceOf(char32_t c) const
{
    auto* const font = static_cast<XftFont*>(installed_);
    if (IsControl(c) || !font || XftCharExists(fl_display, font, c)) return face_;
    const std::string family = FamilyWith(c);
    return family.empty() ? face_ : FaceNumber(family, font_);
}

/// Takes the next piece off a run. Longer ones would not do: the font library counts the pixels of a piece in 16 bits.
Lettering::Piece Lettering::TakePiece(TextView& run) const
{
    constexpr std::size_t longest = 200;
    Piece piece{face_, {}};
    Text shown;
    for (std::size_t count = 0; !run.empty() && count < longest; ++count) {
        const char32_t c = FirstCharacter(run);
        const Fl_Font face = FaceOf(c);
        if (count > 0 && face != piece.face) break;
        piece.face = face;
        const std::size_t units = c > 0xFFFF ? 2 : 1;
        if (c == u'\t' || c == u'\r' || c == u'\n')
            shown += u' ';
        else if (!IsControl(c))
            shown += run.substr(0, units);
        run.remove_prefix(units);
    }
    piece.shown = ToUtf8(shown);
    return piece;
}

/// Selects the piece's face, and returns the width in it.
int Lettering::SelectFor(const Piece& piece) const
{
    fl_font(piece.face, pixels_);
    return static_cast<int>(fl_width(piece.shown.data(), static_cast<int>(piece.shown.size())));
}

int Lettering::Width(TextView run) const
{
    constexpr int widest = std::numeric_limits<int>::max() / 4;  // room for sums
    const Text visual = InVisualOrder(run, readsRightToLeft_);
    run = visual;
    int width = 0;
    while (!run.empty() && width < widest) width += SelectFor(TakePiece(run));
    return std::min(width, widest);
}

void Lettering::Draw(TextView run, int left, int top, const Rectangle& seen) const
{
    fl_push_clip(seen.left, seen.top, seen.Width(), seen.Height());
    const Text visual = InVisualOrder(run, readsRightToLeft_);
    run = visual;
    const int baseline = top + ascent_;
    int x = left;
    while (!run.empty() && x < seen.right) {
        const Piece piece = TakePiece(run);
        const int width = SelectFor(piece);
        fl_draw(piece.shown.data(), static_cast<int>(piece.shown.size()), x, baseline);
        x += width;
    }
    const int middle = baseline - ascent_ / 3;
    if (font_.strikeThrough && x > left) fl_xyline(left, middle, std::min(x, seen.right));
    fl_pop_clip();
}

}  // namespace vmlib::window
