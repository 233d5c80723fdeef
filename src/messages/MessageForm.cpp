#include "messages/MessageForm.h"

#include "automation/Convert.h"
#include "automation/Object.h"
#include "messages/MessageButtons.h"
#include "messages/MessageLayout.h"

namespace vmlib {

namespace {

/// The arrow while a message is up, then what the application had.
class ArrowPointer
{
public:
    explicit ArrowPointer(Desktop& desktop) : desktop_(desktop), before_(desktop.MousePointer())
    {
        desktop_.SetMousePointer(defaultPointer);
    }
    ~ArrowPointer() { desktop_.SetMousePointer(before_); }
    ArrowPointer(const ArrowPointer&) = delete;
    ArrowPointer& operator=(const ArrowPointer&) = delete;

private:
    Desktop& desktop_;
    std::int16_t before_;
};

TwipsRectangle PlaceOf(const ObjectRef& form)
{
    const auto number = [&form](TextView property) { return ToDouble(Get(form, property)); };
    return {number(u"Left"), number(u"Top"), number(u"Width"), number(u"Height")};
}

}  // namespace

std::int32_t frmMsg::Box(const Text& sTekst, std::int32_t nMeldType, const Text& sTitel, const Text& sButton0,
                         const Text& sButton1, const Text& sButton2, const ObjectRef& owner, std::int32_t alignment,
                         std::int32_t horizontal, std::int32_t vertical)
{
    const ArrowPointer arrow(desktop_);
    MessageButtons buttons = ButtonsOf(nMeldType, {sButton0, sButton1, sButton2});
    FormPlace place{alignment, horizontal, vertical, std::nullopt};
    const bool isOverOwner = horizontal == overOwner || vertical == overOwner;
    if (owner && isOverOwner) place.owner = PlaceOf(owner);

    const Message message{sTekst, sTitel, nMeldType, buttons.list, buttons.focus, buttons.safeAnswer};
    return desktop_.ShowForm(message,
                             [&](Measures& measures) { return LayOutMessage(message, buttons, place, measures); });
}

}  // namespace vmlib
