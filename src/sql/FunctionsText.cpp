// Text functions. Without another wish they compare as the database does: case does not count.

#include "automation/Convert.h"
#include "automation/TextFunctions.h"
#include "core/Error.h"
#include "sql/Functions.h"

namespace vmlib::sql {
namespace {

using Arguments = std::span<const Variant>;

enum class CompareMode
{
    Binary = 0,
    Text = 1,
    Database = 2,
};

CompareMode ModeOf(Arguments arguments, std::size_t position)
{
    if (arguments.size() <= position) return CompareMode::Database;
    const std::int32_t mode = ToLong(arguments[position]);
    if (mode < -1 || mode > 2) throw Error(ErrorNumber::InvalidCall);
    return mode == -1 ? CompareMode::Database : static_cast<CompareMode>(mode);
}

Variant CallLeft(Arguments arguments, const FunctionContext&)
{
    const Text text = ToText(arguments[0]);
    return Left(text, ToLong(arguments[1]));
}

Variant CallRight(Arguments arguments, const FunctionContext&)
{
    const Text text = ToText(arguments[0]);
    return Right(text, ToLong(arguments[1]));
}

Variant CallMid(Arguments arguments, const FunctionContext&)
{
    const Text text = ToText(arguments[0]);
    if (arguments.size() < 3) return Mid(text, ToLong(arguments[1]));
    return Mid(text, ToLong(arguments[1]), ToLong(arguments[2]));
}

/// InStr([start,] text, what [, mode]); the mode needs the start before it.
Variant CallInStr(Arguments arguments, const FunctionContext&)
{
    const bool hasStart = arguments.size() > 2;
    const std::int32_t start = hasStart ? ToLong(arguments[0]) : 1;
    const Text text = ToText(arguments[hasStart ? 1 : 0]), what = ToText(arguments[hasStart ? 2 : 1]);
    return InStr(start, text, what, ModeOf(arguments, 3) != CompareMode::Binary);
}

/// Bytes of a value: text has two a character, as it has where bytes are read as text.
std::size_t ByteCount(const Variant& value)
{
    if (value.IsArray() && value.AsArray().HoldsBytes()) return value.AsArray().AsBytes().size();
    return ToText(value).size() * 2;
}

Variant CallLen(Arguments arguments, const FunctionContext&)
{
    return static_cast<std::int32_t>(ByteCount(arguments[0]) / 2);
}

Variant CallLenB(Arguments arguments, const FunctionContext&)
{
    return static_cast<std::int32_t>(ByteCount(arguments[0]));
}

Variant CallTrim(Arguments arguments, const FunctionContext&)
{
    const Text text = ToText(arguments[0]);
    return Trim(text);
}

Variant CallLTrim(Arguments arguments, const FunctionContext&)
{
    const Text text = ToText(arguments[0]);
    return TrimLeft(text);
}

Variant CallRTrim(Arguments arguments, const FunctionContext&)
{
    const Text text = ToText(arguments[0]);
    return TrimRight(text);
}

Variant CallUCase(Arguments arguments, const FunctionContext&)
{
    return UpperCase(ToText(arguments[0]));
}

Variant CallLCase(Arguments arguments, const FunctionContext&)
{
    return LowerCase(ToText(arguments[0]));
}

Variant CallStrComp(Arguments arguments, const FunctionContext& context)
{
    const Text left = ToText(arguments[0]), right = ToText(arguments[1]);
    const int order = ModeOf(arguments, 2) == CompareMode::Binary ? left.compare(right) : context.Compare(left, right);
    return std::int32_t{order < 0 ? -1 : order > 0 ? 1 : 0};
}

Variant CallString(Arguments arguments, const FunctionContext&)
{
    const std::int32_t count = ToLong(arguments[0]);
    if (arguments[1].IsText()) return String(count, arguments[1].As<Text>());
    // A character code may be larger than a byte; its remainder counts.
    return String(count, Chr(static_cast<std::int32_t>(static_cast<std::uint32_t>(ToLong(arguments[1])) % 256)));
}

Variant CallSpace(Arguments arguments, const FunctionContext&)
{
    return Space(ToLong(arguments[0]));
}

Variant CallChr(Arguments arguments, const FunctionContext&)
{
    return Chr(ToLong(arguments[0]));
}

Variant CallChrW(Arguments arguments, const FunctionContext&)
{
    return ChrW(ToLong(arguments[0]));
}

Variant CallAsc(Arguments arguments, const FunctionContext&)
{
    return Asc(ToText(arguments[0]));
}

Variant CallAscW(Arguments arguments, const FunctionContext&)
{
    return AscW(ToText(arguments[0]));
}

Variant CallFormat(Arguments arguments, const FunctionContext&)
{
    if (arguments.size() == 1) return ToText(arguments[0]);
    return Format(arguments[0], ToText(arguments[1]), Locale::User(), Locale::UserDates(), WeekRuleOf(arguments, 2));
}

constexpr FunctionInfo functions[] = {
    {.name = u"Left", .fewest = 2, .most = 2, .result = ValueType::Text, .body = CallLeft},
    {.name = u"Right", .fewest = 2, .most = 2, .result = ValueType::Text, .body = CallRight},
    {.name = u"Mid", .fewest = 2, .most = 3, .result = ValueType::Text, .body = CallMid},
    {.name = u"InStr", .fewest = 2, .most = 4, .result = ValueType::Long, .body = CallInStr},
    {.name = u"Len", .fewest = 1, .most = 1, .result = ValueType::Long, .body = CallLen},
    {.name = u"LenB", .fewest = 1, .most = 1, .result = ValueType::Long, .body = CallLenB},
    {.name = u"Trim", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallTrim},
    {.name = u"LTrim", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallLTrim},
    {.name = u"RTrim", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallRTrim},
    {.name = u"UCase", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallUCase},
    {.name = u"LCase", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallLCase},
    {.name = u"StrComp", .fewest = 2, .most = 3, .result = ValueType::Long, .body = CallStrComp},
    {.name = u"String", .fewest = 2, .most = 2, .result = ValueType::Text, .body = CallString},
    {.name = u"Space", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallSpace},
    {.name = u"Chr", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallChr},
    {.name = u"ChrW", .fewest = 1, .most = 1, .result = ValueType::Text, .body = CallChrW},
    {.name = u"Asc", .fewest = 1, .most = 1, .result = ValueType::Long, .body = CallAsc},
    {.name = u"AscW", .fewest = 1, .most = 1, .result = ValueType::Long, .body = CallAscW},
    {.name = u"Format", .fewest = 1, .most = 4, .result = ValueType::Text, .body = CallFormat},
};

}  // namespace

std::span<const FunctionInfo> TextFunctions()
{
    return functions;
}

}  // namespace vmlib::sql
