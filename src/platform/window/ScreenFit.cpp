#include "platform/window/ScreenFit.h"

#include <algorithm>

namespace vmlib::window {

namespace {

constexpr int margin = 8, gap = 4;

/// In the middle as they are, or as equal shares of the width where they need more.
void PlaceInRow(std::vector<FormLayout::Button>& buttons, int width)
{
    const int rowWidth = buttons.back().place.right - buttons.front().place.left;
    if (rowWidth + 2 * margin <= width) {
        const int shift = (width - rowWidth) / 2 - buttons.front().place.left;
        for (auto& button : buttons) {
            button.place.left += shift;
            button.place.right += shift;
        }
        return;
    }
    const int count = static_cast<int>(buttons.size());
    const int share = (width - 2 * margin - gap * (count - 1)) / count;
    int left = margin;
    for (auto& button : buttons) {
        button.place.left = left;
        button.place.right = left + share;
        left += share + gap;
    }
}

/// Takes the characters off a line that fit into the width, at least one.
TextView TakeFitting(TextView& line, int width, const RunWidth& widthOf)
{
    std::size_t end = 0;
    for (int filled = 0; end < line.size();) {
        const bool isPair = (line[end] & 0xFC00) == 0xD800 && end + 1 < line.size();
        const std::size_t length = isPair ? 2 : 1;
        filled += widthOf(line.substr(end, length));
        if (end > 0 && filled > width) break;
        end += length;
    }
    const TextView fitting = line.substr(0, end);
    line.remove_prefix(end);
    return fitting;
}

/// Makes the whole higher or lower by moving the bottom of the text and the buttons.
void ChangeHeight(FormLayout& layout, int by)
{
    layout.client.height += by;
    layout.textPlace.bottom = std::max(layout.textPlace.top, layout.textPlace.bottom + by);
    for (auto& button : layout.buttons) {
        button.place.top += by;
        button.place.bottom += by;
    }
}

}  // namespace

std::vector<TextView> FittingLines(TextView text, int width, const RunWidth& widthOf)
{
    std::vector<TextView> lines;
    for (TextView line : DrawnLines(text, width, widthOf)) {
        if (widthOf(line) <= width)
            lines.push_back(line);
        else
            while (!line.empty()) lines.push_back(TakeFitting(line, width, widthOf));
    }
    return lines;
}

FormLayout FittedTo(FormLayout layout, Size room, int lineHeight, const RunWidth& widthOf)
{
    if (layout.client.width > room.width) {
        layout.client.width = room.width;
        layout.textPlace.right = std::min(layout.textPlace.right, layout.client.width - margin);
        if (!layout.buttons.empty()) PlaceInRow(layout.buttons, layout.client.width);
        const auto lines = FittingLines(layout.text, layout.textPlace.Width(), widthOf);
        const auto most = static_cast<std::size_t>(room.height);  // lines that there could be room for
        const int height = static_cast<int>(std::min(lines.size(), most)) * lineHeight;
        ChangeHeight(layout, std::max(0, height - layout.textPlace.Height()));
    }
    ChangeHeight(layout, std::min(0, room.height - layout.client.height));
    return layout;
}

}  // namespace vmlib::window
