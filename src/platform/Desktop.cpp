#include "platform/Desktop.h"

#include <array>

namespace vmlib {

namespace {

constexpr MessageButton ok[] = {{1, u"&OK"}};
constexpr MessageButton okCancel[] = {{1, u"&OK"}, {2, u"&Annuleren"}};
constexpr MessageButton abortRetryIgnore[] = {{3, u"&Afbreken"}, {4, u"&Opnieuw"}, {5, u"&Negeren"}};
constexpr MessageButton yesNoCancel[] = {{6, u"&Ja"}, {7, u"&Nee"}, {2, u"&Annuleren"}};
constexpr MessageButton yesNo[] = {{6, u"&Ja"}, {7, u"&Nee"}};
constexpr MessageButton retryCancel[] = {{4, u"&Opnieuw"}, {2, u"&Annuleren"}};

struct ButtonSet
{
    std::span<const MessageButton> buttons;
    std::int16_t safeAnswer;
};

constexpr std::array<ButtonSet, 6> buttonSets = {
    {{ok, 1}, {okCancel, 2}, {abortRetryIgnore, 3}, {yesNoCancel, 2}, {yesNo, 7}, {retryCancel, 2}}};

// A set that does not exist shows an OK button.
const ButtonSet& SetOf(std::int32_t style)
{
    const auto set = static_cast<std::size_t>(style & 15);
    return buttonSets[set < buttonSets.size() ? set : 0];
}

}  // namespace

std::int16_t SafeAnswer(std::int32_t style)
{
    return SetOf(style).safeAnswer;
}

std::span<const MessageButton> MessageButtons(std::int32_t style)
{
    return SetOf(style).buttons;
}

std::size_t DefaultButton(std::int32_t style)
{
    const auto button = static_cast<std::size_t>((style >> 8) & 3);
    return button < SetOf(style).buttons.size() ? button : 0;
}

}  // namespace vmlib
