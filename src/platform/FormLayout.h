#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "core/Text.h"

namespace vmlib {

// Pixels, unless a name says twips (1/1440 inch).

struct Size
{
    int width = 0, height = 0;
    bool operator==(const Size&) const = default;
};

struct Point
{
    int x = 0, y = 0;
    bool operator==(const Point&) const = default;
};

struct Rectangle
{
    int left = 0, top = 0, right = 0, bottom = 0;
    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    bool operator==(const Rectangle&) const = default;
};

/// A size or a place in twips, fractions of a pixel included.
struct TwipsPoint
{
    double x = 0, y = 0;
    bool operator==(const TwipsPoint&) const = default;
};

struct Font
{
    Text face;
    int points = 8;
    bool bold = false, italic = false, strikeThrough = false;
    bool operator==(const Font&) const = default;
};

/// What the layout of a form needs to know about the screen and about texts on it.
class Measures
{
public:
    virtual ~Measures() = default;

    virtual Size ScreenSize() = 0;
    virtual TwipsPoint TwipsPerPixel() = 0;
    /// Outer size minus client size of a window that has a caption and a border that cannot be dragged.
    virtual Size NonClientSize() = 0;
    /// The font that the user has chosen for messages.
    virtual Font MessageFont() = 0;
    /// Of one line, line ends included as characters.
    virtual Size LineSize(TextView text, const Font& font) = 0;
    /// Of text as DrawText measures it: lines end at CR, LF or both; an empty text has no height. With a width, words
    /// that do not fit go to the next line, and the result is as wide as the widest line: more than the width where a
    /// word is. "&" is a character like any other.
    virtual Size TextSize(TextView text, const Font& font, std::optional<int> width) = 0;
};

enum class Alignment
{
    Left,
    Right,
    Centre
};

enum class MessageIcon
{
    None,
    Stop,
    Question,
    Exclamation,
    Information
};

inline constexpr int iconSize = 32;

/// A message form with everything placed; places within it are of its client area.
struct FormLayout
{
    struct Button
    {
        Rectangle place;
        Text caption;  // "&" before the access key
        std::int32_t answer = 0;
    };

    Text caption;  // of the window
    Size client;
    TwipsPoint place, size;  // of the window, outer edges

    Font font;
    Text text;
    Rectangle textPlace;  // lines break at its width
    Alignment alignment = Alignment::Left;
    bool rightToLeft = false;

    MessageIcon icon = MessageIcon::None;
    Point iconPlace;

    std::vector<Button> buttons;
    std::size_t focus = 0;              // the button that has the keyboard when the form appears
    std::optional<std::size_t> cancel;  // the button that Escape presses
    bool canClose = true;               // false: the window menu has no Close
    std::int32_t closeAnswer = 0;       // of closing by the window menu or close box
};

}  // namespace vmlib
