#include "core/Error.h"

#include "core/ErrorTable.h"

namespace vmlib {
namespace {

constexpr TextView unknownNumber = u"Application-defined or object-defined error";
constexpr std::int32_t firstEngineError = 3001, lastNumber = 65535;

// One pass, so that a "%1" inside an argument stays what it is. A place without an argument becomes nothing.
Text Filled(TextView pattern, std::initializer_list<Text> arguments)
{
    Text result;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const bool place =
            pattern[i] == u'%' && i + 1 < pattern.size() && pattern[i + 1] >= u'1' && pattern[i + 1] <= u'9';
        if (!place) {
            result += pattern[i];
            continue;
        }
        const auto index = static_cast<std::size_t>(pattern[++i] - u'1');
        if (index < arguments.size()) result += arguments.begin()[index];
    }
    return result;
}

}  // namespace

Error::Error(ErrorNumber number, std::initializer_list<Text> arguments)
    : Error(static_cast<std::int32_t>(number), Filled(ErrorText(static_cast<std::int32_t>(number)), arguments))
{
}

Error::Error(std::int32_t number, Text description, Text source)
    : number_(number), description_(std::move(description)), source_(std::move(source))
{
    what_ = std::to_string(number_) + ": " + ToUtf8(description_);
}

Text ErrorText(std::int32_t number)
{
    if (number == 0) return {};
    const TextView text = ErrorTemplate(number);
    return Text(text.empty() ? unknownNumber : text);
}

Text RuntimeErrorText(std::int32_t number)
{
    if (number < 0) throw Error(ErrorNumber::InvalidCall);
    if (number > lastNumber) throw Error(ErrorNumber::Overflow);
    return number < firstEngineError ? ErrorText(number) : Text(unknownNumber);
}

}  // namespace vmlib
