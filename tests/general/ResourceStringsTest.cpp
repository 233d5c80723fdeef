#include <gmock/gmock.h>

#include <map>
#include <set>

#include "automation/Collection.h"
#include "automation/Convert.h"
#include "core/Error.h"
#include "general/ResourceStrings.h"

namespace vmlib::test {
namespace {

TEST(ResourceStrings, TheTextsThatHostsKnow)
{
    Text texts;
    for (const int number : {10000, 20000, 30000, 10001, 20001, 30001, 10003, 20003, 30003, 10010, 10050,
                             30269, 30270, 30271, 10272, 30272, 30273, 30274, 0,     10024, 40000})
        texts += VmdLib_LoadResString(number) + u"|";
    EXPECT_EQ(ToUtf8(texts),
              "Print|Udskriv|Afdrukken|Cancel|Annuller|Annuleren|Number|Antal|Aantal|&from| and maximum width is |"
              "Ongeldige waarde ingevoerd, waarde moet liggen tussen | en |"
              "Ongeldige percentage ingevoerd, waarde moet liggen tussen |Error |Melding |, routine : |in ||||");
    for (const Variant& id : {Variant(u" 30000 "), Variant(29999.5), Variant(30000.5)})
        EXPECT_EQ(VmdLib_LoadResString(id), u"Afdrukken");
    for (const Variant& none : {Variant(), Variant(Null{}), Variant(u"Naam"), Variant(1E10), Variant(ObjectRef())})
        EXPECT_EQ(VmdLib_LoadResString(none), u"");
}

/// What the languages have in common: blanks at the edges, whether there is an access key, the mark at the end.
Text Shape(TextView text)
{
    if (text.empty()) return u"none";
    const bool hasKey = text.find(u'&') != TextView::npos;
    return Text(text.find_first_not_of(u' '), u' ') + (hasKey ? u"&" : u"-") +
           Text(text.substr(text.find_last_not_of(u".:!? ") + 1));
}

TEST(ResourceStrings, TheLanguagesAreParallel)
{
    // Where a window or a menu begins: from here on a key may stand again.
    const std::set<int> windows = {10000, 10025, 10064, 10080, 10082, 10085, 10089, 10098, 10112, 10125,
                                   10134, 10143, 10148, 10176, 10194, 10209, 10220, 10311, 10316, 10327};
    std::set<Text> seen[3], keys[3];
    for (int number = 10000; number <= 10338; ++number)
        for (int i = 0; i < 3; ++i) {
            const Text text(ResourceString(number + 10000 * i));
            EXPECT_EQ(ToUtf8(Shape(text)), ToUtf8(Shape(ResourceString(number)))) << number << ": " << ToUtf8(text);
            EXPECT_TRUE(FitsAnsi(text)) << ToUtf8(text);
            EXPECT_TRUE(text.empty() || seen[i].insert(text).second) << ToUtf8(text) << " stands twice";

            if (windows.contains(number)) keys[i].clear();
            const auto mark = text.find(u'&');
            if (mark == Text::npos) continue;
            const Text key = UpperCase(text.substr(mark + 1, 1));
            EXPECT_TRUE(key >= u"A" && key <= u"Z" && text.rfind(u'&') == mark) << ToUtf8(text) << " cannot be typed";
            EXPECT_TRUE(keys[i].insert(key).second) << ToUtf8(text) << " has the key of another text";
        }
    EXPECT_EQ(seen[0].size(), 327u);
}

/// A control, or what stands in one. A member that it does not have is error 438; an argument is part of the name
/// ("Item1"), as the selected tab is of "Caption". A caption that begins with "@!" cannot be changed.
struct FakeControl : Object
{
    FakeControl(Text type, std::map<Text, Variant> values) : values(std::move(values)), type(std::move(type)) {}
    Variant Invoke(TextView member, InvokeKind kind, std::span<Variant> arguments) override
    {
        const bool isPut = kind == InvokeKind::Put;
        Text name(member);
        if (!isPut && !arguments.empty()) name += ToText(arguments[0]);
        if (name == u"Caption" && values.contains(u"Tab")) name += ToText(values[u"Tab"]);
        if (!values.contains(name) || (isPut && values[name] == Variant(u"@!"))) throw Error(ErrorNumber::NoSuchMember);
        return isPut ? values[name] = arguments[0] : values[name];
    }
    Text TypeName() const override { return type; }
    /// The properties, separated by bars.
    std::string Show(std::initializer_list<const char16_t*> names)
    {
        Text text;
        for (const Text name : names) text += u"|" + ToText(values[name]);
        return ToUtf8(text.substr(1));
    }
    std::map<Text, Variant> values;
    Text type;
};

std::shared_ptr<FakeControl> Make(const char16_t* type, std::map<Text, Variant> values)
{
    return std::make_shared<FakeControl>(type, std::move(values));
}

Variant CollectionOf(const std::vector<Variant>& items)
{
    auto collection = std::make_shared<Collection>();
    for (const Variant& item : items) collection->Add(item);
    return collection;
}

void Load(const Variant& controls)
{
    const auto form = Make(u"Form1", {{u"Caption", u"@10000"}, {u"Controls", controls}});
    LoadResStrings(form);
    EXPECT_EQ(form->Show({u"Caption"}), "Print");
}

TEST(LoadResStrings, EachTypeHasItsProperties)
{
    const auto part = [](const char16_t* type, const char16_t* text) {
        return Make(type, {{u"Caption", text}, {u"Text", text}, {u"SimpleText", text}, {u"ToolTipText", text}});
    };
    const auto after = [&](const char16_t* type) {
        const auto control = part(type, u"@10064"), member = part(u"", u"@10064"), plain = part(u"", u"Naam");
        const Variant members = CollectionOf({Make(u"", {}), member, 7, plain});
        for (const Text name : {u"Columns", u"Buttons", u"Tabs", u"ColumnHeaders"}) control->values[name] = members;
        Load(CollectionOf({ObjectRef(), 7, control}));
        return control->Show({u"Caption", u"SimpleText", u"ToolTipText"}) + " with " +
               member->Show({u"Caption", u"Text", u"ToolTipText"}) + " and " + plain->Show({u"Caption", u"Text"});
    };
    for (const char16_t* type : {u"menu", u"Label", u"CommandButton", u"Frame", u"SSFrame", u"SSOption",
                                 u"OptionButton", u"SSCheck", u"SmartHelp", u"CHECKBOX"})
        EXPECT_EQ(after(type), "OK|@10064|OK with @10064|@10064|@10064 and Naam|Naam") << ToUtf8(type);
    EXPECT_EQ(after(u"TDBGrid"), "OK|@10064|OK with OK|@10064|@10064 and Naam|Naam");
    EXPECT_EQ(after(u"TabStrip"), "@10064|@10064|OK with OK|@10064|@10064 and Naam|Naam");
    EXPECT_EQ(after(u"Toolbar"), "@10064|@10064|OK with @10064|@10064|OK and Naam|Naam");
    EXPECT_EQ(after(u"StatusBar"), "@10064|OK|OK with @10064|@10064|@10064 and Naam|Naam");
    EXPECT_EQ(after(u"ListView"), "@10064|@10064|OK with @10064|OK|@10064 and Naam|") << "no @, and cleared";
    EXPECT_EQ(after(u"TextBox"), "@10064|@10064|OK with @10064|@10064|@10064 and Naam|Naam");

    const auto endless = Make(u"SSTab", {{u"Tabs", 2000000000}, {u"ToolTipText", u"@10064"}});
    const auto tabs = Make(u"SSTab", {{u"Tabs", 3}, {u"Tab", 2}, {u"Caption0", u"@10064"}, {u"Caption2", u"@30001"}});
    Load(CollectionOf({endless, tabs}));
    EXPECT_EQ(tabs->Show({u"Caption0", u"Caption2", u"Tab"}), "OK|Annuleren|0")
        << "one tab refuses, the first is shown";
    EXPECT_EQ(endless->Show({u"ToolTipText"}), "OK");
}

TEST(LoadResStrings, ReferencesAndOtherTexts)
{
    const std::pair<Variant, const char*> cases[] = {
        {u"Opslaan", "Opslaan"}, {u" @10064", " @10064"}, {u"@", ""},       {u"@x10064", ""},      {u"@1 0064x", "OK"},
        {u"@10064.5", "OK"},     {u"@1E10", ""},          {10064, "10064"}, {u"@1E999", "@1E999"}, {u"@!", "@!"}};
    for (const auto& [caption, expected] : cases) {
        const auto label = Make(u"Label", {{u"Caption", caption}, {u"ToolTipText", u"@10064"}});
        Load(CollectionOf({label}));
        EXPECT_EQ(label->Show({u"Caption", u"ToolTipText"}), expected + std::string("|OK"));
    }
}

TEST(LoadResStrings, FormsOfAllKinds)
{
    const auto null = Make(u"Label", {{u"Caption", Null{}}}), last = Make(u"Label", {});
    for (const Variant& controls : {CollectionOf({null, last}), Variant(Array({null, last})),
                                    Variant(Make(u"", {{u"Count", 2}, {u"Item1", null}, {u"Item2", last}})),
                                    Variant(Make(u"", {{u"Count", 2000000000}, {u"Item0", last}}))}) {
        last->values[u"Caption"] = u"@10064";
        Load(controls);
        EXPECT_EQ(last->Show({u"Caption"}), "OK");
    }
    EXPECT_TRUE(null->values[u"Caption"].IsNull());
    for (const Variant& none : {Variant(), Variant(3), Variant(ObjectRef()), Variant(null)}) Load(none);
    LoadResStrings(nullptr);
}

}  // namespace
}  // namespace vmlib::test
