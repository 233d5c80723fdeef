#include "general/ResourceStrings.h"

#include <algorithm>

#include "automation/Convert.h"
#include "automation/ResumeNext.h"
#include "automation/TextFunctions.h"

namespace vmlib {

namespace {

constexpr std::int32_t languageStep = 10000;

// A count is what a form claims; no form has more tabs or columns than this.
constexpr std::int32_t mostPositions = 10000;

using Step = void (*)(const ObjectRef& object);

/// The text of the number behind the first character, whatever that is.
Text TextReferredTo(TextView reference)
{
    return VmdLib_LoadResString(Val(Mid(reference, 2)));
}

void Replace(const ObjectRef& object, TextView property)
{
    ResumeNext([&] {
        const Text text = ToText(Get(object, property));
        if (text.starts_with(u'@')) Put(object, property, TextReferredTo(text));
    });
}

void ReplaceCaption(const ObjectRef& object)
{
    Replace(object, u"Caption");
}

std::int32_t CountOf(const ObjectRef& object, TextView property)
{
    return std::min(ToLong(Get(object, property)), mostPositions);
}

/// What For Each gives. Without an enumerator the members are asked for by position. Collections of controls and
/// columns begin at 0, others at 1: both are tried, and the position too many is a member that cannot be had.
std::vector<Variant> MembersOf(const Variant& collection)
{
    if (collection.IsArray()) return collection.AsArray().Items();
    const ObjectRef& object = ToObject(collection);
    Variant members;
    ResumeNext([&] { members = Get(object, u"_NewEnum"); });
    if (members.IsArray()) return members.AsArray().Items();

    std::vector<Variant> found;
    const std::int32_t count = CountOf(object, u"Count");
    for (std::int32_t i = 0; i <= count; ++i) ResumeNext([&] { found.push_back(Get(object, u"Item", i)); });
    return found;
}

void ForEach(const ObjectRef& owner, TextView property, Step step)
{
    ResumeNext([&] {
        for (const Variant& member : MembersOf(Get(owner, property))) ResumeNext([&] { step(ToObject(member)); });
    });
}

/// The members at 1 to Count.
void ByPosition(const ObjectRef& owner, TextView property, Step step)
{
    ResumeNext([&] {
        const ObjectRef collection = ToObject(Get(owner, property));
        const std::int32_t count = CountOf(collection, u"Count");
        for (std::int32_t i = 1; i <= count; ++i) ResumeNext([&] { step(ToObject(Get(collection, u"Item", i))); });
    });
}

/// The caption of such a control is that of the selected tab.
void ReplaceTabCaptions(const ObjectRef& control)
{
    const auto select = [&](std::int32_t tab) { ResumeNext([&] { Put(control, u"Tab", tab); }); };
    std::int32_t count = 0;
    ResumeNext([&] { count = CountOf(control, u"Tabs"); });
    for (std::int32_t i = 0; i < count; ++i) {
        select(i);
        ReplaceCaption(control);
    }
    select(0);
}

void ReplaceHeader(const ObjectRef& header)
{
    Put(header, u"Text", TextReferredTo(ToText(Get(header, u"Text"))));
}

constexpr struct
{
    TextView typeName;
    Step step;
} controlTypes[] = {
    {u"menu", ReplaceCaption},
    {u"label", ReplaceCaption},
    {u"commandbutton", ReplaceCaption},
    {u"frame", ReplaceCaption},
    {u"ssframe", ReplaceCaption},
    {u"ssoption", ReplaceCaption},
    {u"optionbutton", ReplaceCaption},
    {u"sscheck", ReplaceCaption},
    {u"smarthelp", ReplaceCaption},
    {u"checkbox", ReplaceCaption},
    {u"tdbgrid",
     [](const ObjectRef& grid) {
         ReplaceCaption(grid);
         ForEach(grid, u"Columns", ReplaceCaption);
     }},
    {u"sstab", ReplaceTabCaptions},
    {u"tabstrip", [](const ObjectRef& strip) { ByPosition(strip, u"Tabs", ReplaceCaption); }},
    {u"toolbar",
     [](const ObjectRef& bar) {
         ForEach(bar, u"Buttons", [](const ObjectRef& button) { Replace(button, u"ToolTipText"); });
     }},
    {u"statusbar", [](const ObjectRef& bar) { Replace(bar, u"SimpleText"); }},
    {u"listview", [](const ObjectRef& list) { ByPosition(list, u"ColumnHeaders", ReplaceHeader); }},
};

void ReplaceByType(const ObjectRef& control)
{
    const Text typeName = LowerCase(control->TypeName());
    for (const auto& type : controlTypes)
        if (type.typeName == typeName) type.step(control);
}

}  // namespace

TextView ResourceString(std::int32_t number)
{
    const auto entries = ResourceEntries();
    const auto language = static_cast<std::size_t>(std::clamp(number / languageStep, 1, 3) - 1);
    const std::int32_t row = number - static_cast<std::int32_t>(language) * languageStep;
    const auto found = std::lower_bound(entries.begin(), entries.end(), row,
                                        [](const ResourceEntry& entry, std::int32_t n) { return entry.number < n; });
    return found == entries.end() || found->number != row ? TextView() : found->texts[language];
}

Text VmdLib_LoadResString(const Variant& Id)
{
    Text result;
    ResumeNext([&] { result = ResourceString(ToLong(Id)); });
    return result;
}

void LoadResStrings(const ObjectRef& frm)
{
    ReplaceCaption(frm);
    ForEach(frm, u"Controls", [](const ObjectRef& control) {
        ResumeNext([&] { ReplaceByType(control); });
        Replace(control, u"ToolTipText");
    });
}

}  // namespace vmlib
