#include "sql/SyntaxError.h"

#include <algorithm>

namespace vmlib::sql {
namespace {

constexpr std::size_t longestExcerpt = 120;

Text Excerpt(TextView text, Extent extent)
{
    const std::size_t from = std::min(extent.from, text.size());
    const std::size_t to = std::clamp(extent.to, from, text.size());
    const TextView part = Trim(text.substr(from, to - from));
    if (part.size() <= longestExcerpt) return Text(part);
    return Text(part.substr(0, longestExcerpt)) + u"...";
}

Text Position(std::size_t position)
{
    return u"at position " + Decimal(static_cast<long long>(position) + 1);
}

constexpr TextView atTheEnd = u"at the end";

Error WithPlace(ErrorNumber number, const Text& description, const Text& place)
{
    return Error(static_cast<std::int32_t>(number), description + u" (" + place + u")");
}

}  // namespace

Error ExpressionError(TextView what, TextView text, Extent extent, std::optional<std::size_t> at)
{
    const std::size_t position = at.value_or(extent.from);
    const Error plain(ErrorNumber::SyntaxInExpression, {Text(what), Excerpt(text, extent)});
    return WithPlace(ErrorNumber::SyntaxInExpression, plain.Description(),
                     position < text.size() ? Position(position) : Text(atTheEnd));
}

Error ClauseError(ErrorNumber number, TextView text, std::size_t position)
{
    const Text there = Excerpt(text, {position, position + 30});
    return WithPlace(number, ErrorText(static_cast<std::int32_t>(number)),
                     there.empty() ? Text(atTheEnd) : Position(position) + u": " + there);
}

}  // namespace vmlib::sql
