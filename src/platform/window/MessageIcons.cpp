#include "platform/window/MessageIcons.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <span>

namespace vmlib::window {

namespace {

// Shapes in a square of 32 units, x to the right and y down, given by the signed distance of a point from their edge:
// negative inside.

struct Place
{
    double x, y;
};

double ToDisc(Place p, Place centre, double radius)
{
    return std::hypot(p.x - centre.x, p.y - centre.y) - radius;
}

/// A line with round ends whose width changes evenly along it.
double ToStroke(Place p, Place from, Place to, double fromRadius, double toRadius)
{
    const double dx = to.x - from.x, dy = to.y - from.y;
    const double along = std::clamp(((p.x - from.x) * dx + (p.y - from.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
    const double radius = fromRadius + (toRadius - fromRadius) * along;
    return ToDisc(p, {from.x + along * dx, from.y + along * dy}, radius);
}

double ToStrokes(Place p, std::span<const Place> points, double radius)
{
    double nearest = 1000;
    for (std::size_t i = 1; i < points.size(); ++i)
        nearest = std::min(nearest, ToStroke(p, points[i - 1], points[i], radius, radius));
    return nearest;
}

/// The triangle with its point upwards that lies `inset` within the square's, with round corners.
double ToTriangle(Place p, double inset)
{
    constexpr Place top{16, 5}, right{28, 26}, left{4, 26};
    constexpr double rounding = 3.5;
    const auto beyond = [p](Place from, Place to) {  // to the left of the direction is outside
        const double dx = to.x - from.x, dy = to.y - from.y;
        return ((p.x - from.x) * dy - (p.y - from.y) * dx) / std::hypot(dx, dy);
    };
    const double inside = std::max({beyond(top, right), beyond(right, left), beyond(left, top)});
    const double outside =
        std::min({ToStroke(p, top, right, 0, 0), ToStroke(p, right, left, 0, 0), ToStroke(p, left, top, 0, 0)});
    return (inside <= 0 ? inside : outside) - rounding + inset;
}

double ToCross(Place p)
{
    return std::min(ToStroke(p, {11, 11}, {21, 21}, 1.7, 1.7), ToStroke(p, {21, 11}, {11, 21}, 1.7, 1.7));
}

double ToQuestionMark(Place p)
{
    // Three quarters of a circle that runs out into the stem.
    constexpr Place points[] = {{11.4, 12.2}, {11.9, 10.2}, {13.2, 8.8}, {15, 8.1},    {17, 8.1},
                                {18.9, 8.8},  {20.2, 10.2}, {20.6, 12},  {20.1, 13.7}, {18.8, 15.1},
                                {17.3, 16.3}, {16.3, 17.6}, {16, 19.6}};
    return std::min(ToStrokes(p, points, 1.6), ToDisc(p, {16, 24.2}, 2));
}

double ToExclamationMark(Place p)
{
    return std::min(ToStroke(p, {16, 11.5}, {16, 18.8}, 2, 1.3), ToDisc(p, {16, 23.6}, 1.9));
}

double ToLetterI(Place p)
{
    constexpr Place stem[] = {{14, 14.2}, {16.2, 14.2}, {16.2, 23.6}}, foot[] = {{13.6, 23.6}, {18.8, 23.6}};
    return std::min({ToDisc(p, {16, 9}, 2.1), ToStrokes(p, stem, 1.4), ToStrokes(p, foot, 1.4)});
}

constexpr Colour white{255, 255, 255}, black{32, 32, 32};

Colour Shaded(Colour colour, double factor)
{
    const auto part = [factor](std::uint8_t value) {
        return static_cast<std::uint8_t>(std::clamp(std::lround(value * factor), 0L, 255L));
    };
    return {part(colour.red), part(colour.green), part(colour.blue)};
}

/// A form with a darker rim, lighter above than below, and a sign on it.
Colour Layered(double form, double sign, Place p, Colour colour, Colour signColour)
{
    if (sign <= 0) return signColour;
    return Shaded(colour, form > -1.2 ? 0.72 : 1.06 - 0.12 * p.y / iconSize);
}

/// The colour at a point; none where the ground shows.
std::optional<Colour> ColourAt(MessageIcon icon, Place p)
{
    const bool isTriangle = icon == MessageIcon::Exclamation;
    const double form = isTriangle ? ToTriangle(p, 0.5) : ToDisc(p, {16, 16}, 15);
    if (form > 0) return std::nullopt;
    switch (icon) {
        case MessageIcon::Stop:
            return Layered(form, ToCross(p), p, {204, 38, 38}, white);
        case MessageIcon::Question:
            return Layered(form, ToQuestionMark(p), p, {36, 100, 190}, white);
        case MessageIcon::Exclamation:
            return Layered(form, ToExclamationMark(p), p, {250, 200, 30}, black);
        case MessageIcon::Information:
            return Layered(form, ToLetterI(p), p, {36, 100, 190}, white);
        case MessageIcon::None:
            break;
    }
    return std::nullopt;
}

/// The mean of the points of a pixel.
Colour PixelAt(MessageIcon icon, int column, int row, Colour ground)
{
    constexpr int steps = 8;
    int red = 0, green = 0, blue = 0;
    for (int down = 0; down < steps; ++down)
        for (int right = 0; right < steps; ++right) {
            const Place p{column + (right + 0.5) / steps, row + (down + 0.5) / steps};
            const Colour colour = ColourAt(icon, p).value_or(ground);
            red += colour.red;
            green += colour.green;
            blue += colour.blue;
        }
    const auto mean = [](int sum) {
        constexpr int count = steps * steps;
        return static_cast<std::uint8_t>((sum + count / 2) / count);
    };
    return {mean(red), mean(green), mean(blue)};
}

}  // namespace

IconPixels DrawnIcon(MessageIcon icon, Colour ground)
{
    IconPixels pixels;
    auto next = pixels.begin();
    for (int row = 0; row < iconSize; ++row)
        for (int column = 0; column < iconSize; ++column) {
            const Colour colour = PixelAt(icon, column, row, ground);
            for (const std::uint8_t part : {colour.red, colour.green, colour.blue}) *next++ = part;
        }
    return pixels;
}

}  // namespace vmlib::window
