#include <gmock/gmock.h>

#include "platform/StandardBox.h"
#include "support/FakePorts.h"

namespace vmlib::test {
namespace {

FormLayout Box(TextView text, std::int32_t style)
{
    FakeMeasures measures;
    return LayOutStandardBox(StandardMessage(text, style, u"Titel"), measures);
}

bool Holds(const Rectangle& outer, const Rectangle& inner)
{
    return inner.left >= outer.left && inner.top >= outer.top && inner.right <= outer.right &&
           inner.bottom <= outer.bottom;
}

TEST(StandardBoxTest, FocusCancelAndCloseFollowTheStyle)
{
    const struct
    {
        std::int32_t style;
        std::size_t focus;
        std::optional<std::size_t> cancel;
        std::int32_t closeAnswer = 0;  // 0: cannot be closed
    } cases[] = {
        {0, 0, 0, 1},
        {0 | 512, 0, 0, 1},  // a default button that is not there
        {1 | 256, 1, 1, 2},
        {2 | 256, 1, std::nullopt},
        {3 | 512, 2, 2, 2},
        {4 | 16, 0, std::nullopt},
        {4 | 256 | 32, 1, std::nullopt},
        {5, 0, 1, 2},
    };
    for (const auto& c : cases) {
        const FormLayout box = Box(u"Doorgaan?", c.style);
        EXPECT_EQ(box.focus, c.focus) << c.style;
        EXPECT_EQ(box.cancel, c.cancel) << c.style;
        EXPECT_EQ(box.canClose, c.closeAnswer != 0) << c.style;
        if (box.canClose) {
            EXPECT_EQ(box.closeAnswer, c.closeAnswer) << c.style;
        }
    }
}

TEST(StandardBoxTest, NothingOverlapsAndAllIsInTheMiddle)
{
    Text longText;
    while (longText.size() < 1000) longText += u"Een lange zin. ";
    for (const TextView text :
         {TextView(u""), TextView(u"Ja?"), TextView(u"Een\r\ntwee\r\ndrie\r\nvier"), TextView(longText)})
        for (const std::int32_t style : {0, 16, 1 | 32, 2 | 48, 3 | 64, 3, 4 | 80}) {
            const FormLayout box = Box(text, style);
            const Rectangle client{0, 0, box.client.width, box.client.height};
            const Rectangle icon{box.iconPlace.x, box.iconPlace.y, box.iconPlace.x + iconSize,
                                 box.iconPlace.y + iconSize};
            const bool hasIcon = box.icon != MessageIcon::None;
            EXPECT_EQ(hasIcon, (style & 0x70) > 0 && (style & 0x70) <= 64) << style;
            int lowest = box.textPlace.bottom;
            if (hasIcon) {
                lowest = std::max(lowest, icon.bottom);
                EXPECT_GT(box.textPlace.left, icon.right);
            }
            EXPECT_TRUE(Holds(client, box.textPlace)) << style;
            int right = 0;
            for (const auto& button : box.buttons) {
                EXPECT_TRUE(Holds(client, button.place)) << style;
                EXPECT_GT(button.place.top, lowest);
                EXPECT_GT(button.place.left, right);
                right = button.place.right;
            }
            EXPECT_NEAR(box.buttons.front().place.left, box.client.width - right, 1);
            EXPECT_EQ(box.size, (TwipsPoint{(box.client.width + 6) * 15.0, (box.client.height + 25) * 15.0}));
            EXPECT_EQ(box.place, (TwipsPoint{(15360 - box.size.x) / 2, (11520 - box.size.y) / 2}));
        }
    EXPECT_LT(Box(longText, 0).textPlace.Width(), 1024 * 2 / 3);  // it wraps
    EXPECT_EQ(Box(longText, 0).textPlace.Height() % 13, 0);
}

}  // namespace
}  // namespace vmlib::test
