#include "general/FormHelpers.h"

#include <optional>
#include <utility>

#include "automation/Arithmetic.h"
#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "automation/TextFunctions.h"
#include "core/Error.h"

namespace vmlib {

namespace {

// Messages to the window of a combo box.
constexpr std::int32_t getItemHeight = 340;
constexpr std::int32_t setDroppedWidth = 352;

constexpr std::int16_t pixels = 3;  // a "ScaleMode"
constexpr std::int16_t usualLines = 20;

/// A property, or what a method answers, as a number; text counts as the number in it. Null stays Null, as in the
/// conditions and sums of the applications.
template <class... Arguments>
Variant Number(const ObjectRef& object, TextView member, const Arguments&... arguments)
{
    return Multiply(1.0, Get(object, member, arguments...));
}

/// False where one of them is Null.
bool IsMore(const Variant& left, const Variant& right)
{
    return Compare(left, right).value_or(0) > 0;
}

std::int32_t WindowOf(const ObjectRef& object)
{
    return ToLong(Get(object, u"hWnd"));
}

/// A condition that fails lets the block behind it run, as one that holds does.
template <class Condition>
bool HoldsOrFails(Condition&& condition)
{
    bool holds = true;
    ResumeNext([&] { holds = condition(); });
    return holds;
}

/// A property that is put back later. What could not be read is left alone.
class Remembered
{
public:
    Remembered(const ObjectRef& object, TextView property) : object_(object), property_(property)
    {
        ResumeNext([&] { value_ = Get(object_, property_); });
    }
    void PutBack() const
    {
        if (value_) ResumeNext([&] { Put(object_, property_, *value_); });
    }

private:
    const ObjectRef& object_;
    TextView property_;
    std::optional<Variant> value_;
};

/// Height in pixels of a list of so many lines and two more. @throws Error 6 where the numbers of the applications end
std::int32_t HeightOfLines(std::int16_t lines, std::int32_t lineHeight)
{
    const std::int16_t all = ToInteger(Add(lines, std::int16_t{2}));
    return ToLong(Multiply(all, lineHeight));
}

/// Moves a control to where it is, with another size in pixels.
void Resize(Desktop& desktop, const ObjectRef& form, const ObjectRef& control, double width, double height)
{
    Rectangle window;
    ResumeNext([&] { window = desktop.WindowRectangle(WindowOf(control)); });
    Point corner{window.left, window.top};
    ResumeNext([&] { corner = desktop.ToClient(WindowOf(form), corner); });
    ResumeNext([&] {
        const std::int32_t right = ToLong(Add(corner.x, ToLong(width)));
        const std::int32_t bottom = ToLong(Add(corner.y, ToLong(height)));
        desktop.MoveWindow(WindowOf(control), {corner.x, corner.y, right, bottom}, true);
    });
}

struct Axis
{
    TextView position, extent;
    double TwipsPoint::*screen;
};
constexpr Axis vertical{u"Top", u"Height", &TwipsPoint::y};
constexpr Axis horizontal{u"Left", u"Width", &TwipsPoint::x};

/// The screen, asked for once an operation: the answer may come from another process.
class Screen
{
public:
    explicit Screen(Desktop& desktop)
    {
        ResumeNext([&] { size_ = desktop.ScreenTwips(); });
    }
    /// Twips along an axis. @throws Error where there is no screen, so that a step that needs it is skipped
    Variant Extent(const Axis& axis) const
    {
        return size_ ? (*size_).*axis.screen : throw Error(ErrorNumber::ObjectNotSet);
    }

private:
    std::optional<TwipsPoint> size_;
};

}  // namespace

void ComboBreedte(Platform& platform, const ObjectRef& Form, const ObjectRef& Ctrl, std::int32_t Breedte)
{
    const std::int32_t width = ToLong(Get(Form, u"ScaleX", Breedte, Get(Form, u"ScaleMode"), pixels));
    platform.desktop.SendWindowMessage(WindowOf(Ctrl), setDroppedWidth, width, 0);
}

void ComboHoogte(Platform& platform, const ObjectRef& Form, const ObjectRef& Ctrl, std::int16_t AantalRegels)
{
    const Remembered top(Ctrl, u"Top"), left(Ctrl, u"Left"), width(Ctrl, u"Width"), scale(Form, u"ScaleMode");
    ResumeNext([&] { Put(Form, u"ScaleMode", pixels); });

    double pixelWidth = 0, limit = 0;
    ResumeNext([&] { pixelWidth = ToDouble(Number(Ctrl, u"Width")); });
    // Twips less pixels: lists are longer than the form has room for, and users know them so.
    ResumeNext([&] {
        const Variant formHeight = Number(Form, u"Height"), top = Number(Ctrl, u"Top");
        limit = ToDouble(Subtract(Subtract(formHeight, top), 5.0));
    });
    std::int32_t lineHeight = 0;
    ResumeNext([&] { lineHeight = platform.desktop.SendWindowMessage(WindowOf(Ctrl), getItemHeight, 0, 0); });
    double height = limit;
    ResumeNext([&] {
        const std::int32_t wanted = HeightOfLines(AantalRegels, lineHeight);
        if (wanted < limit) height = wanted;
    });
    scale.PutBack();

    Resize(platform.desktop, Form, Ctrl, pixelWidth, height);
    top.PutBack();
    left.PutBack();
    width.PutBack();
}

void SizeCombo(Platform& platform, const ObjectRef& rForm, const ObjectRef& rCbo)
{
    ComboHoogte(platform, rForm, rCbo, usualLines);
}

void VmdLib_Centreer(Platform& platform, const ObjectRef& frmSource)
{
    const Screen screen(platform.desktop);
    for (const Axis& axis : {vertical, horizontal})
        ResumeNext([&] {
            const Variant all = screen.Extent(axis), own = Number(frmSource, axis.extent);
            Put(frmSource, axis.position, Divide(Subtract(all, own), 2.0));
        });
}

void VmdLib_Centreer2(Platform& platform, const ObjectRef& Owner, const ObjectRef& frmSource)
{
    const Screen screen(platform.desktop);
    for (const Axis& axis : {vertical, horizontal})
        ResumeNext([&] {
            const Variant start = Number(Owner, axis.position), all = Number(Owner, axis.extent);
            const Variant own = Number(frmSource, axis.extent);
            Put(frmSource, axis.position, Add(start, Divide(Subtract(all, own), 2.0)));
        });
    for (const Axis& axis : {vertical, horizontal})
        ResumeNext([&] {
            const Variant start = Number(frmSource, axis.position), own = Number(frmSource, axis.extent);
            const Variant end = screen.Extent(axis);
            if (IsMore(Add(start, own), end)) Put(frmSource, axis.position, Subtract(end, own));
        });
    for (const Axis& axis : {vertical, horizontal})
        ResumeNext([&] {
            if (IsMore(0.0, Number(frmSource, axis.position))) Put(frmSource, axis.position, std::int16_t{0});
        });
}

void VmdLib_PadNaamInkorten(const ObjectRef& frm, Text& sPad, std::int16_t& nBreedte)
{
    const auto isTooWide = [&] { return IsMore(Number(frm, u"TextWidth", sPad), nBreedte); };
    if (!HoldsOrFails(isTooWide)) return;
    const Text prefix = Text(Left(sPad, 3)) + u"... ";
    sPad.erase(0, 3);
    ResumeNext([&] { nBreedte = ToInteger(Subtract(nBreedte, Number(frm, u"TextWidth", prefix))); });
    // Where the form cannot measure, the path loses folders as long as it has any.
    for (auto at = sPad.find(u'\\', 1); at != Text::npos && HoldsOrFails(isTooWide); at = sPad.find(u'\\', 1))
        sPad.erase(0, at);
    sPad.insert(0, prefix);
}

std::int16_t PrintAPI_TextWidth(Platform& platform, std::int16_t hDC, const Text& s)
{
    std::int16_t width = 0;
    if (s.empty()) return width;
    ResumeNext([&] { width = static_cast<std::int16_t>(platform.desktop.TextExtent(hDC, FromAnsi(ToAnsi(s))).width); });
    return width;
}

void ZetOwner(const ObjectRef& Project)
{
    thread_local ObjectRef owner;
    // Letting go of the earlier one may run the host's code, which may come back here: it is last, and the slot is set.
    const ObjectRef earlier = std::exchange(owner, Project);
}

}  // namespace vmlib
