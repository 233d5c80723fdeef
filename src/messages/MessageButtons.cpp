#include "messages/MessageButtons.h"

namespace vmlib {

namespace {

constexpr TextView cancelCaption = u"Annuleren";
constexpr std::array<std::int32_t, 3> freeAnswers = {6, 7, 2};

struct ButtonSet
{
    struct Button
    {
        std::int32_t answer = 0;  // 0: no button
        TextView caption = {};
    };
    std::array<Button, 3> buttons;
    int cancel;  // -1: nothing cancels, and the form cannot be closed either
    std::int32_t safeAnswer;
};

// "&Annuleren" has an access key in the last set only, where "Opnieuw" is all there is beside it.
constexpr ButtonSet buttonSets[] = {{{{{1, u"OK"}}}, 0, 1},
                                    {{{{1, u"OK"}, {2, cancelCaption}}}, 1, 2},
                                    {{{{3, u"&Afbreken"}, {4, u"&Opnieuw"}, {5, u"&Negeren"}}}, -1, 3},
                                    {{{{6, u"&Ja"}, {7, u"&Nee"}, {2, cancelCaption}}}, 2, 2},
                                    {{{{6, u"&Ja"}, {7, u"&Nee"}}}, -1, 7},
                                    {{{{4, u"&Opnieuw"}, {2, u"&Annuleren"}}}, 1, 2}};
constexpr ButtonSet unknownSet = {{{{2, cancelCaption}}}, 0, 2};

MessageButtons OfStyle(std::int32_t style)
{
    const auto number = static_cast<std::size_t>(style & 15);
    const ButtonSet& set = number < std::size(buttonSets) ? buttonSets[number] : unknownSet;
    MessageButtons buttons;
    for (const auto& button : set.buttons)
        if (button.answer != 0) buttons.list.push_back({button.answer, Text(button.caption)});
    buttons.canClose = set.cancel >= 0;
    if (set.cancel >= 0) buttons.cancel = static_cast<std::size_t>(set.cancel);
    buttons.safeAnswer = set.safeAnswer;
    return buttons;
}

MessageButtons OfCaptions(const std::array<TextView, 3>& captions)
{
    MessageButtons buttons;
    for (std::size_t i = 0; i < captions.size() && !captions[i].empty(); ++i) {
        buttons.list.push_back({freeAnswers[i], Text(captions[i])});
        if (captions[i] == cancelCaption) buttons.cancel = i;
    }
    buttons.safeAnswer = buttons.list.back().answer;
    return buttons;
}

std::size_t FocusOf(std::int32_t style, std::size_t count)
{
    const std::int32_t wanted = style & 768;
    if (wanted == 256 && count >= 2) return 1;
    if (wanted == 512 && count >= 2) return count == 3 ? 2 : 1;
    return 0;
}

}  // namespace

MessageButtons ButtonsOf(std::int32_t style, const std::array<TextView, 3>& captions)
{
    MessageButtons buttons = captions[0].empty() ? OfStyle(style) : OfCaptions(captions);
    buttons.focus = FocusOf(style, buttons.list.size());
    return buttons;
}

}  // namespace vmlib
