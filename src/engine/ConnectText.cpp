#include "engine/ConnectText.h"

#include <utility>
#include <vector>

#include "core/Error.h"

namespace vmlib::engine {
namespace {

std::vector<TextView> Parts(TextView text)
{
    std::vector<TextView> parts;
    for (;;) {
        const std::size_t end = text.find(u';');
        parts.push_back(text.substr(0, end));
        if (end == TextView::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

/// "key=value" at its first "="; blanks around the key do not count, those of the value do (a password may have them).
std::optional<std::pair<TextView, TextView>> KeyAndValue(TextView part)
{
    const std::size_t equals = part.find(u'=');
    if (equals == TextView::npos) return std::nullopt;
    return std::pair(Trim(part.substr(0, equals)), part.substr(equals + 1));
}

std::optional<std::uint16_t> Number(TextView text)
{
    text = Trim(text);
    const bool isHex = StartsWithIgnoringCase(text, u"0x");
    if (isHex) text.remove_prefix(2);
    const std::uint32_t base = isHex ? 16 : 10;
    if (text.empty() || text.size() > 5) return std::nullopt;
    std::uint32_t number = 0;
    for (char16_t character : text) {
        const char16_t upper = UpperCase(character);
        const bool isLetter = upper >= u'A' && upper <= u'F';
        if (!isLetter && (character < u'0' || character > u'9')) return std::nullopt;
        const std::uint32_t digit =
            isLetter ? static_cast<std::uint32_t>(upper - u'A' + 10) : static_cast<std::uint32_t>(character - u'0');
        if (digit >= base) return std::nullopt;
        number = number * base + digit;
    }
    if (number > 0xFFFF) return std::nullopt;
    return static_cast<std::uint16_t>(number);
}

}  // namespace

ConnectText ConnectText::Parse(TextView text)
{
    ConnectText connect;
    if (Trim(text).empty()) return connect;
    const auto parts = Parts(text);
    const TextView driver = Trim(parts.front());
    if (!driver.empty() && !EqualIgnoringCase(driver, u"MS Access")) throw Error(ErrorNumber::NoIsam);
    for (std::size_t i = 1; i < parts.size(); ++i) {
        const auto pair = KeyAndValue(parts[i]);
        if (!pair) continue;
        if (EqualIgnoringCase(pair->first, u"PWD")) connect.password = Text(pair->second);
        if (EqualIgnoringCase(pair->first, u"DATABASE")) connect.database = Text(pair->second);
    }
    return connect;
}

LocaleText LocaleText::Parse(TextView text)
{
    LocaleText result;
    result.locale.langid = jet::generalOrder;
    const auto parts = Parts(text);
    if (parts.size() < 2 || !Trim(parts.front()).empty()) throw Error(ErrorNumber::InvalidLocale);
    for (std::size_t i = 1; i < parts.size(); ++i) {
        if (Trim(parts[i]).empty()) continue;
        const auto pair = KeyAndValue(parts[i]);
        if (!pair) throw Error(ErrorNumber::InvalidLocale);
        if (EqualIgnoringCase(pair->first, u"PWD")) {
            result.password = Text(pair->second);
            result.givesPassword = true;
            continue;
        }
        const auto number = Number(pair->second);
        if (!number) throw Error(ErrorNumber::InvalidLocale);
        result.givesLocale = result.givesLocale || EqualIgnoringCase(pair->first, u"LANGID");
        if (EqualIgnoringCase(pair->first, u"LANGID"))
            result.locale.langid = *number;
        else if (EqualIgnoringCase(pair->first, u"CP"))
            result.locale.codePage = *number;
        else if (EqualIgnoringCase(pair->first, u"COUNTRY"))
            result.locale.country = *number;
        else
            throw Error(ErrorNumber::InvalidLocale);
    }
    return result;
}

}  // namespace vmlib::engine
