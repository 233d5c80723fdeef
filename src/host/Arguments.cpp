#include "host/Arguments.h"

#include <charconv>
#include <cmath>

#include "core/Error.h"
#include "host/ValueText.h"

namespace vmlib::host {

namespace {

template <class Number>
Number ParseNumber(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || text.empty())
        throw Error(ErrorNumber::TypeMismatch);
    return value;
}

bool ParseBoolean(std::string_view text)
{
    if (text == "true") return true;
    if (text == "false") return false;
    throw Error(ErrorNumber::TypeMismatch);
}

Variant ParseBytes(std::string_view digits)
{
    const auto bytes = FromHex(digits);
    if (!bytes) throw Error(ErrorNumber::TypeMismatch);
    return FromAnsi(*bytes);
}

Variant Nothing(std::string_view rest, Variant value)
{
    if (!rest.empty()) throw Error(ErrorNumber::TypeMismatch);
    return value;
}

Variant ParseTyped(char type, std::string_view text, std::string_view whole)
{
    switch (type) {
        case 'i':
            return ParseNumber<std::int16_t>(text);
        case 'l':
            return ParseNumber<std::int32_t>(text);
        case 'y':
            return ParseNumber<std::uint8_t>(text);
        case 'f':
            return ParseNumber<float>(text);
        case 'd':
            return ParseNumber<double>(text);
        case 'c':
            return FromCurrencyText(text);
        case 'b':
            return ParseBoolean(text);
        case 't':
            return FromIsoDate(text);
        case 's':
            return FromUtf8(text);
        case 'x':
            return ParseBytes(text);
        case 'm':
            return Nothing(text, Variant::Missing());
        case 'e':
            return Nothing(text, Variant());
        case 'n':
            return Nothing(text, Null{});
        default:
            return FromUtf8(whole);
    }
}

}  // namespace

std::int32_t WholeNumber(std::string_view text, const char* what)
{
    try {
        return ParseNumber<std::int32_t>(text);
    } catch (const Error&) {
        throw UsageError{std::string(what) + " is a whole number, not \"" + std::string(text) + "\""};
    }
}

Variant ParseArgument(std::string_view argument)
{
    if (argument.size() < 2 || argument[1] != ':') return FromUtf8(argument);
    try {
        return ParseTyped(argument[0], argument.substr(2), argument);
    } catch (const Error&) {
        throw UsageError{
            "argument " + std::string(argument) +
            " does not fit its type (text that looks like a typed one is written s:" + std::string(argument) + ")"};
    }
}

}  // namespace vmlib::host
