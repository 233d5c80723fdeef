#include "automation/TextFunctions.h"

#include <algorithm>

#include "core/Error.h"

namespace vmlib {
namespace {

std::size_t Count(std::int32_t count)
{
    if (count < 0) throw Error(ErrorNumber::InvalidCall);
    return static_cast<std::size_t>(count);
}

// From 0.
std::size_t Position(std::int32_t start)
{
    if (start < 1) throw Error(ErrorNumber::InvalidCall);
    return static_cast<std::size_t>(start - 1);
}

std::size_t Find(TextView text, TextView what, std::size_t from, bool ignoreCase)
{
    if (!ignoreCase) return text.find(what, from);
    for (; from + what.size() <= text.size(); ++from) {
        if (EqualIgnoringCase(text.substr(from, what.size()), what)) return from;
    }
    return TextView::npos;
}

}  // namespace

TextView Left(TextView text, std::int32_t count)
{
    return text.substr(0, Count(count));
}

TextView Right(TextView text, std::int32_t count)
{
    return text.substr(text.size() - std::min(Count(count), text.size()));
}

TextView Mid(TextView text, std::int32_t start, std::optional<std::int32_t> count)
{
    const std::size_t from = Position(start);
    const std::size_t length = count ? Count(*count) : TextView::npos;
    return from < text.size() ? text.substr(from, length) : TextView{};
}

std::int32_t InStr(std::int32_t start, TextView text, TextView what, bool ignoreCase)
{
    const std::size_t from = Position(start);
    if (from >= text.size()) return 0;
    if (what.empty()) return start;
    const std::size_t found = Find(text, what, from, ignoreCase);
    return found == TextView::npos ? 0 : static_cast<std::int32_t>(found + 1);
}

std::int32_t Asc(TextView text)
{
    if (text.empty()) throw Error(ErrorNumber::InvalidCall);
    return ToAnsi(text.front());
}

std::int32_t AscW(TextView text)
{
    if (text.empty()) throw Error(ErrorNumber::InvalidCall);
    return static_cast<std::int16_t>(text.front());  // an Integer: units from 8000 on are negative
}

Text Chr(std::int32_t code)
{
    if (code < 0 || code > 255) throw Error(ErrorNumber::InvalidCall);
    return Text(1, FromAnsi(static_cast<unsigned char>(code)));
}

Text ChrW(std::int32_t code)
{
    if (code < -32768 || code > 65535) throw Error(ErrorNumber::InvalidCall);
    return Text(1, static_cast<char16_t>(code));
}

Text Space(std::int32_t count)
{
    return Text(Count(count), u' ');
}

Text String(std::int32_t count, TextView text)
{
    if (text.empty()) throw Error(ErrorNumber::InvalidCall);
    return Text(Count(count), text.front());
}

Text Replace(TextView text, TextView what, TextView with, std::int32_t start, std::int32_t count, bool ignoreCase)
{
    if (count < -1) throw Error(ErrorNumber::InvalidCall);
    text = Mid(text, start);
    if (what.empty()) return Text(text);
    Text result;
    std::size_t from = 0;
    for (; count != 0; --count)  // -1 counts away from zero and never gets there
    {
        const std::size_t found = Find(text, what, from, ignoreCase);
        if (found == TextView::npos) break;
        result += text.substr(from, found - from);
        result += with;
        from = found + what.size();
    }
    result += text.substr(from);
    return result;
}

}  // namespace vmlib
