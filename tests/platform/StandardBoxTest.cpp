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
        EXPECT_EQ(box.canClose ? box.closeAnswer : 0, c.closeAnswer) << c.style;
    }
}

TEST(StandardBoxTest, NothingOverlapsAndAllIsInTheMiddle)
{
    const Text longText = Replaced(Text(100, u'x'), u"x", u"Een lange zin. ");
    for (const Text& text : {Text(), Text(u"Ja?"), Text(u"Een\r\ntwee\r\ndrie\r\nvier"), longText})
        for (const std::int32_t style : {0, 16, 1 | 32, 2 | 48, 3 | 64, 3, 4 | 80}) {
            const FormLayout box = Box(text, style);
            const bool hasIcon = style >= 16 && style < 80;
            EXPECT_EQ(box.icon != MessageIcon::None, hasIcon) << style;
            EXPECT_GT(box.textPlace.left, hasIcon ? box.iconPlace.x + iconSize : 0);
            EXPECT_LT(box.textPlace.right, box.client.width);
            const int lowest = std::max(box.textPlace.bottom, hasIcon ? box.iconPlace.y + iconSize : 0);
            int right = 0;
            for (const auto& button : box.buttons) {
                EXPECT_GT(button.place.top, lowest);
                EXPECT_LT(button.place.bottom, box.client.height);
                EXPECT_GT(button.place.left, right);
                right = button.place.right;
            }
            EXPECT_NEAR(box.buttons.front().place.left, box.client.width - right, 1);
            EXPECT_EQ(box.size, (TwipsPoint{(box.client.width + 6) * 15.0, (box.client.height + 25) * 15.0}));
            EXPECT_EQ(box.place, (TwipsPoint{(15360 - box.size.x) / 2, (11520 - box.size.y) / 2}));
        }
    EXPECT_LT(Box(longText, 0).textPlace.Width(), 1024 * 2 / 3);  // it wraps
}

}  // namespace
}  // namespace vmlib::test
