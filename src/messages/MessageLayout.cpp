#include "messages/MessageLayout.h"

#include <algorithm>

#include "automation/Convert.h"

namespace vmlib {

namespace {

constexpr std::int32_t rightAlignedStyle = 0x80000, rightToLeftStyle = 0x100000;

constexpr int edge = 12, iconEdge = 12, marginWithIcon = 56;
constexpr int textTop = 16, textGap = 16, buttonGap = 8;
constexpr int rowBelowIcon = 60, twoLines = 28;  // a text of that height reaches below the icon by itself
constexpr double widestPart = 0.667;             // of the screen
constexpr double leastButtonWidth = 1200, leastButtonHeight = 320;  // twips
constexpr int emptyWidth = 200;  // client width where there is no text that gives one
constexpr TextView sampleCaption = u"Cancel";

int Pixels(double twips, double twipsPerPixel)
{
    return static_cast<int>(RoundHalfToEven(twips / twipsPerPixel));
}

/// One layout in the making.
class MessageLayouter
{
public:
    MessageLayouter(const Message& message, const FormPlace& place, Measures& measures)
        : place_(place), measures_(measures), style_(message.style)
    {
        layout_.caption = message.title;
        layout_.text = message.text;
        SetFont();
        SetIcon();
    }

    FormLayout Finish(const MessageButtons& buttons)
    {
        FitWidthToText();
        PlaceButtons(buttons);
        FitHeightToText();
        PlaceWindow();
        return std::move(layout_);
    }

private:
    void SetFont()
    {
        layout_.font = measures_.MessageFont();
        // Whatever face the user chose, forms look alike.
        layout_.font.face = u"Tahoma";
        layout_.font.points = 8;
        const Size sample = measures_.LineSize(sampleCaption, layout_.font);
        const TwipsPoint twips = measures_.TwipsPerPixel();
        button_.width = std::max(2 * sample.width, Pixels(leastButtonWidth, twips.x));
        button_.height = std::max(sample.height + 10, Pixels(leastButtonHeight, twips.y));
    }

    void SetIcon()
    {
        const std::int32_t number = (style_ & 240) / 16;
        if (number < 1 || number > 4) return;
        layout_.icon = static_cast<MessageIcon>(number);
        layout_.iconPlace = {iconEdge, iconEdge};
        margin_ = marginWithIcon;
    }

    /// A text that is too wide for the screen breaks; the margin counts twice in the width it then has.
    void FitWidthToText()
    {
        Size text = measures_.TextSize(layout_.text, layout_.font, std::nullopt);
        const int rightmost = static_cast<int>(measures_.ScreenSize().width * widestPart);
        if (margin_ + text.width > rightmost)
            text = measures_.TextSize(layout_.text, layout_.font, rightmost - margin_ - margin_);
        layout_.client.width = text.height < 1 ? emptyWidth : margin_ + text.width + edge;
    }

    void PlaceButtons(const MessageButtons& buttons)
    {
        const int step = button_.width + buttonGap;
        const int rowWidth = step * static_cast<int>(buttons.list.size()) - buttonGap;
        layout_.client.width = std::max(layout_.client.width, rowWidth + 2 * edge);
        int left = static_cast<int>(RoundHalfToEven((layout_.client.width - rowWidth) / 2.0));
        for (const MessageButton& button : buttons.list) {
            layout_.buttons.push_back({{left, 0, left + button_.width, 0}, button.caption, button.answer});
            left += step;
        }
        layout_.focus = buttons.focus;
        layout_.cancel = buttons.cancel;
        layout_.canClose = buttons.canClose;
        layout_.closeAnswer = buttons.list.back().answer;
    }

    /// The window may have become wider than the text was, so it is measured again.
    void FitHeightToText()
    {
        const int right = layout_.client.width - edge;
        const Size text = measures_.TextSize(layout_.text, layout_.font, right - margin_);
        layout_.textPlace = {margin_, textTop, right, textTop + text.height};
        const bool hasIcon = layout_.icon != MessageIcon::None;
        const int row = hasIcon && text.height < twoLines ? rowBelowIcon : layout_.textPlace.bottom + textGap;
        for (FormLayout::Button& button : layout_.buttons) {
            button.place.top = row;
            button.place.bottom = row + button_.height;
        }
        layout_.client.height = row + button_.height + edge;

        layout_.rightToLeft = (style_ & rightToLeftStyle) != 0;
        layout_.alignment = place_.alignment == 1   ? Alignment::Right
                            : place_.alignment == 2 ? Alignment::Centre
                                                    : Alignment::Left;
        if ((style_ & rightAlignedStyle) != 0) layout_.alignment = Alignment::Right;
    }

    void PlaceWindow()
    {
        const Size nonClient = measures_.NonClientSize(), screen = measures_.ScreenSize();
        const TwipsPoint twips = measures_.TwipsPerPixel();
        layout_.size.x = (layout_.client.width + nonClient.width) * twips.x;
        layout_.size.y = (layout_.client.height + nonClient.height) * twips.y;
        const TwipsRectangle owner = place_.owner.value_or(TwipsRectangle{});
        layout_.place.x = Position(place_.horizontal, layout_.size.x, screen.width * twips.x, owner.left, owner.width);
        layout_.place.y = Position(place_.vertical, layout_.size.y, screen.height * twips.y, owner.top, owner.height);
    }

    double Position(std::int32_t wanted, double size, double screen, double ownerStart, double ownerSize) const
    {
        if (wanted == overOwner && place_.owner) return ownerStart + (ownerSize - size) / 2;
        if (wanted == overOwner || wanted == onScreen) return (screen - size) / 2;
        return wanted;
    }

    const FormPlace& place_;
    Measures& measures_;
    std::int32_t style_;
    FormLayout layout_;
    int margin_ = edge;  // left of the text
    Size button_;
};

}  // namespace

FormLayout LayOutMessage(const Message& message, const MessageButtons& buttons, const FormPlace& place,
                         Measures& measures)
{
    return MessageLayouter(message, place, measures).Finish(buttons);
}

}  // namespace vmlib
