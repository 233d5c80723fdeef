#include "platform/StandardBox.h"

#include <algorithm>

namespace vmlib {

namespace {

constexpr int margin = 11, iconGap = 10, rowGap = 16, buttonGap = 6;
constexpr int leastButtonWidth = 75, leastButtonHeight = 23, captionRoom = 20;
constexpr double widestPart = 0.6;  // of the screen, for the text

Font BoxFont(Measures& measures)
{
    Font font = measures.MessageFont();
    font.face = u"Tahoma";
    font.points = 8;
    return font;
}

Size ButtonSize(const Message& message, Measures& measures, const Font& font)
{
    Size size{leastButtonWidth, leastButtonHeight};
    for (const MessageButton& button : message.buttons) {
        const Size caption = measures.LineSize(ShownCaption(button.caption), font);
        size.width = std::max(size.width, caption.width + captionRoom);
        size.height = std::max(size.height, caption.height + 10);
    }
    return size;
}

/// Escape presses Cancel, and OK where nothing else can be pressed.
std::optional<std::size_t> CancelButton(const Message& message)
{
    if (message.buttons.size() == 1) return 0;
    for (std::size_t i = 0; i < message.buttons.size(); ++i)
        if (message.buttons[i].answer == 2) return i;
    return std::nullopt;
}

MessageIcon IconOf(std::int32_t style)
{
    const int number = (style >> 4) & 15;
    return number <= static_cast<int>(MessageIcon::Information) ? static_cast<MessageIcon>(number) : MessageIcon::None;
}

void PlaceWindow(FormLayout& layout, Measures& measures)
{
    const Size nonClient = measures.NonClientSize(), screen = measures.ScreenSize();
    const TwipsPoint twips = measures.TwipsPerPixel();
    layout.size = {(layout.client.width + nonClient.width) * twips.x,
                   (layout.client.height + nonClient.height) * twips.y};
    layout.place = {(screen.width * twips.x - layout.size.x) / 2, (screen.height * twips.y - layout.size.y) / 2};
}

/// In a row in the middle of the client area.
void PlaceButtons(FormLayout& layout, const Message& message, const Size& size, int rowWidth, int top)
{
    int left = (layout.client.width - rowWidth) / 2;
    for (const MessageButton& button : message.buttons) {
        layout.buttons.push_back({{left, top, left + size.width, top + size.height}, button.caption, button.answer});
        left += size.width + buttonGap;
    }
    layout.focus = message.defaultButton;
    layout.cancel = CancelButton(message);
    layout.canClose = layout.cancel.has_value();
    if (layout.cancel) layout.closeAnswer = message.buttons[*layout.cancel].answer;
}

}  // namespace

FormLayout LayOutStandardBox(const Message& message, Measures& measures)
{
    FormLayout layout;
    layout.caption = message.title;
    layout.text = message.text;
    layout.font = BoxFont(measures);
    layout.icon = IconOf(message.style);
    layout.iconPlace = {margin, margin};

    const int widest = static_cast<int>(measures.ScreenSize().width * widestPart);
    Size text = measures.TextSize(message.text, layout.font, std::nullopt);
    if (text.width > widest) text = measures.TextSize(message.text, layout.font, widest);

    const bool hasIcon = layout.icon != MessageIcon::None;
    const int left = hasIcon ? margin + iconSize + iconGap : margin;
    const int contentHeight = std::max(text.height, hasIcon ? iconSize : 0);
    const int top = margin + (contentHeight - text.height) / 2;
    layout.textPlace = {left, top, left + text.width, top + text.height};

    const Size button = ButtonSize(message, measures, layout.font);
    const int count = static_cast<int>(message.buttons.size());
    const int rowWidth = count * (button.width + buttonGap) - buttonGap;
    const int rowTop = margin + contentHeight + rowGap;
    layout.client = {std::max(layout.textPlace.right, margin + rowWidth) + margin, rowTop + button.height + margin};
    PlaceButtons(layout, message, button, rowWidth, rowTop);
    PlaceWindow(layout, measures);
    return layout;
}

}  // namespace vmlib
