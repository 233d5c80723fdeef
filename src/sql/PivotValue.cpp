#include "sql/PivotValue.h"

#include "automation/Convert.h"
#include "core/Error.h"
#include "sql/GuidText.h"

namespace vmlib::sql {
namespace {

constexpr std::size_t longestName = 64;

Text TextOf(const Variant& value)
{
    const Locale& locale = Locale::English();
    if (value.IsNull()) return u"<>";
    if (value.Holds<bool>()) return value.As<bool>() ? u"-1" : u"0";
    if (value.Holds<double>()) return NumberToText(value.As<double>(), locale);
    if (value.Holds<float>()) return NumberToText(value.As<float>(), locale);
    if (value.Holds<Currency>()) return CurrencyToText(value.As<Currency>(), locale);
    if (value.Holds<Date>()) return DateToText(value.As<Date>(), locale);
    return ToText(value);
}

}  // namespace

Text HeadingOf(const Variant& value)
{
    Text name(TrimLeft(TextOf(value)));
    if (name.size() > longestName) name.resize(longestName);
    for (char16_t& character : name)
        if (character < u' ' || TextView(u".![]`").find(character) != TextView::npos) character = u'_';
    return name.empty() ? Text(u"_") : name;
}

std::string PivotIs(const Typed& pivot, const Variant& value)
{
    if (value.IsNull()) return pivot.sql + " IS NULL";
    const auto is = [&](const std::string& literal) { return Collated(pivot) + " = " + literal; };
    const bool text = value.IsText();
    switch (pivot.type) {
        case ValueType::Currency:
            return is(
                std::to_string((text ? TextToCurrency(value.As<Text>(), Locale::English()) : ToCurrency(value)).units));
        case ValueType::Date:
            return is(RealLiteral((text ? TextToDate(value.As<Text>(), Locale::English()) : ToDate(value)).serial));
        case ValueType::Text:
        case ValueType::Memo:
            return is(TextLiteral(TextOf(value)));
        case ValueType::Guid:
            if (const auto guid = text ? GuidFromText(value.As<Text>()) : std::nullopt) return is(GuidLiteral(*guid));
            break;
        case ValueType::Value:
            return is(text ? TextLiteral(value.As<Text>()) : RealLiteral(ToDouble(value)));
        case ValueType::Binary:
        case ValueType::LongBinary:
            break;
        default:
            return is(RealLiteral(text ? TextToNumber(value.As<Text>(), Locale::English()) : ToDouble(value)));
    }
    throw Error(ErrorNumber::CriteriaTypeMismatch);
}

}  // namespace vmlib::sql
