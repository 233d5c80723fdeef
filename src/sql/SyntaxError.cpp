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

}  // namespace

Error ExpressionError(TextView what, TextView text, Extent extent)
{
    return Error(ErrorNumber::SyntaxInExpression, {Text(what), Excerpt(text, extent)});
}

Error ClauseError(ErrorNumber number, TextView text, std::size_t position)
{
    Text description = ErrorText(static_cast<std::int32_t>(number));
    const Text there = Excerpt(text, {position, position + 30});
    if (there.empty()) {
        description += u" (at the end)";
    } else {
        description += u" (at position " + Decimal(static_cast<long long>(position) + 1) + u": " + there + u")";
    }
    return Error(static_cast<std::int32_t>(number), description);
}

}  // namespace vmlib::sql
