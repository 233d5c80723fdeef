#include "platform/Message.h"

#include <algorithm>
#include <array>

namespace vmlib {

namespace {

struct StandardButton
{
    std::int32_t answer;
    TextView caption;
};

struct ButtonSet
{
    std::array<StandardButton, 3> buttons;  // answer 0: none
    std::int32_t safeAnswer;
};

// OK and Cancel have keys of their own, Enter and Escape.
constexpr StandardButton ok = {1, u"OK"}, cancel = {2, u"Annuleren"}, abort = {3, u"&Afbreken"},
                         retry = {4, u"&Opnieuw"}, ignore = {5, u"&Negeren"}, yes = {6, u"&Ja"}, no = {7, u"&Nee"},
                         none = {0, u""};

constexpr ButtonSet buttonSets[] = {{{ok, none, none}, 1},  {{ok, cancel, none}, 2}, {{abort, retry, ignore}, 3},
                                    {{yes, no, cancel}, 2}, {{yes, no, none}, 7},    {{retry, cancel, none}, 2}};

}  // namespace

bool Message::Answers(std::int32_t answer) const
{
    return std::any_of(buttons.begin(), buttons.end(),
                       [answer](const auto& button) { return button.answer == answer; });
}

Message StandardMessage(TextView text, std::int32_t style, TextView title)
{
    const auto number = static_cast<std::size_t>(style & 15);
    const ButtonSet& set = buttonSets[number < std::size(buttonSets) ? number : 0];
    Message message{Text(text), Text(title), style, {}, 0, set.safeAnswer};
    for (const StandardButton& button : set.buttons)
        if (button.answer != 0) message.buttons.push_back({button.answer, Text(button.caption)});
    const auto chosen = static_cast<std::size_t>((style >> 8) & 3);
    if (chosen < message.buttons.size()) message.defaultButton = chosen;
    return message;
}

Text ShownCaption(TextView caption)
{
    Text shown;
    for (std::size_t i = 0; i < caption.size(); ++i) {
        if (caption[i] == u'&' && i + 1 < caption.size()) ++i;
        shown += caption[i];
    }
    return shown;
}

char16_t AccessKey(TextView caption)
{
    const std::size_t mark = caption.find(u'&');
    return mark < caption.size() && mark + 1 < caption.size() ? UpperCase(caption[mark + 1]) : u'\0';
}

}  // namespace vmlib
