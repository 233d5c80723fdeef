#include <cmath>

#include "automation/Convert.h"
#include "automation/Variant.h"
#include "core/Error.h"
#include "fuzz/ByteEdits.h"
#include "fuzz/FuzzTarget.h"
#include "fuzz/TextMutation.h"
#include "jet/Properties.h"

// Text to numbers and dates and back, in all locales; the first line is also a picture for the others. Lines such as
// "properties 0 at 12: FF" are damage to an object's properties.
namespace vmlib::fuzz {

using jet::ObjectProperties;

namespace {

constexpr std::string_view texts[] = {
    "1.234,56",
    "-1,234.5e-3",
    "(12.50)",
    "$ 1,000",
    "&HFFFF",
    "&O17",
    "1e308",
    "  - 5 ",
    "12abc",
    "1d5",
    "922337203685477,5807",
    "5-3-2024",
    "3/5/24 6:07:08 PM",
    "29 feb 2000",
    "5. marts 2024",
    "12:30",
    "maart 1999",
    "31-12-9999 23:59:59",
    "1-1-100",
    "jan 1",
    "2024-02-30",
    "dd-mm-yyyy hh:nn:ss AM/PM\n45000.75",
    "#,##0.00;(#,##0.00);\"nul\"\n-1234.5",
    "0.00E+00\n12345",
    "Long Date\n1-2-2003",
    "ww q y dddd\n1-1-2000",
    "Currency\n1,5",
    "@@@;&&&<>!\nabc",
};

const Vocabulary& Words()
{
    static const Vocabulary words = {
        {"0", "9", "1", "31", "2000", "99999999999999999999", "0000000000000000000000000001", "1e400", "1e-400"},
        {".", ",", "-", "+", "/", ":", ";", " ", "\n", "%", "(", ")", "\\", "\"", "*", "\"\""},
        {"e", "E", "D", "E+", "E-00", "e-"},
        {"$", "\xE2\x82\xAC", "kr", "&H", "&O"},
        {"januari", "feb", "marts", "May", "mei", "maandag", "AM", "pm"},
        {"yyyy", "mmm", "hh", "nn", "ss", "ttttt", "ddddd", "ww", "q", "y", "dd", "mm", "c"},
        {"#", "##,##", "@", "!", "<", ">", "&"},
        {"Scientific", "Yes/No", "Percent", "Currency", "Long Date", "General Number"},
    };
    return words;
}

const Bytes& SampleProperties()
{
    static const Bytes encoded = [] {
        ObjectProperties properties;
        properties.own.SetString(u"Description", u"de klanten");
        properties.OfField(u"Naam").SetBoolean(u"Required", true);
        properties.OfField(u"Naam").SetString(u"ValidationRule", u"Is Not Null");
        properties.OfField(u"Saldo").SetString(u"DefaultValue", u"0");
        return properties.Encode();
    }();
    return encoded;
}

void RunProperties(const std::vector<ByteEdit>& edits)
{
    Bytes bytes = SampleProperties();
    for (const ByteEdit& edit : edits) Apply(edit, 0, bytes);
    std::optional<ObjectProperties> properties;
    try {
        properties = ObjectProperties::Decode(bytes);
    } catch (const Error&) {
        return;
    }
    const Bytes encoded = properties->Encode();
    Promise(ObjectProperties::Decode(encoded).Encode() == encoded, "properties that were read can be written");
}

template <class Convert>
auto Attempt(Convert convert) -> std::optional<decltype(convert())>
{
    try {
        return convert();
    } catch (const Error&) {
        return std::nullopt;
    }
}

void RunNumber(TextView text, const Locale& locale)
{
    const auto number = Attempt([&] { return TextToNumber(text, locale); });
    Attempt([&] { return IsNumeric(Text(text), locale); });
    if (number) {
        Promise(std::isfinite(*number), "a number is finite");
        const Text printed = NumberToText(*number, locale);
        Promise(NumberToText(TextToNumber(printed, locale), locale) == printed, "a printed number is read as itself");
    }
    if (const auto money = Attempt([&] { return TextToCurrency(text, locale); }))
        Promise(TextToCurrency(CurrencyToText(*money, locale), locale) == *money, "printed money is read as itself");
}

void RunDate(TextView text, const Locale& locale)
{
    const auto date = Attempt([&] { return TextToDate(text, locale); });
    if (!date) return;
    Promise(date->serial >= firstDay && date->serial < lastDay + 1, "a date is in the calendar");
    const Text printed = DateToText(*date, locale);
    Promise(DateToText(TextToDate(printed, locale), locale) == printed, "a printed date is read as itself");
}

void Run(std::string_view input)
{
    if (const auto edits = ParseEdits(input); !edits.empty()) return RunProperties(edits);
    const std::size_t lineEnd = std::min(input.find('\n'), input.size());
    const Text first = FromUtf8(input.substr(0, lineEnd));
    const Text rest = FromUtf8(input.substr(std::min(lineEnd + 1, input.size())));
    if (const auto number = Attempt([&] { return Val(first); })) Promise(std::isfinite(*number), "Val is a number");
    for (const Locale* locale : {&Locale::Dutch(), &Locale::Danish(), &Locale::English()}) {
        RunNumber(first, *locale);
        RunDate(first, *locale);
        Attempt([&] { return Format(Variant(rest), first, *locale, *locale); });
        Attempt([&] { return Format(Variant(TextToNumber(rest, *locale)), first, *locale, *locale); });
        Attempt([&] { return Format(Variant(TextToDate(rest, *locale)), first, *locale, *locale); });
    }
}

std::vector<std::string> Seeds()
{
    std::vector<std::string> seeds(std::begin(texts), std::end(texts));
    seeds.push_back("properties 0 at 0: 4B\n");
    return seeds;
}

ByteEdit RandomEdit(std::mt19937& random)
{
    ByteEdit edit;
    edit.part = random() % 10 == 0 ? "cut" : "properties";
    edit.offset = random() % (SampleProperties().size() + 4);
    for (std::size_t count = 1 + random() % 4; count > 0; --count)
        edit.bytes.push_back(static_cast<std::uint8_t>(random() % 3 == 0 ? random() : random() % 40));
    return edit;
}

std::string Mutate(std::string_view input, std::mt19937& random)
{
    if (!ParseEdits(input).empty()) return MutateEdits(input, random, [&] { return RandomEdit(random); });
    return MutateText(input, Words(), texts[random() % std::size(texts)], random);
}

}  // namespace

const Target conversions{"conversions", Run, Seeds, Mutate};

}  // namespace vmlib::fuzz
