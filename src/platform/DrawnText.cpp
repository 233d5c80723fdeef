#include "platform/DrawnText.h"

#include <algorithm>

namespace vmlib {

namespace {

constexpr TextView blanks = u" \t";

bool IsLineEnd(char16_t c)
{
    return c == u'\r' || c == u'\n';
}

/// Takes the first line off, with the line end behind it.
TextView TakeLine(TextView& rest)
{
    const auto end = static_cast<std::size_t>(std::find_if(rest.begin(), rest.end(), IsLineEnd) - rest.begin());
    const TextView line = rest.substr(0, end);
    const bool isPair = rest.substr(end).starts_with(u"\r\n");
    rest.remove_prefix(std::min(end + (isPair ? 2 : 1), rest.size()));
    return line;
}

/// Breaks one line at blanks. A word and the blanks before it are measured once.
void BreakLine(TextView line, int width, const RunWidth& widthOf, std::vector<TextView>& lines)
{
    std::size_t start = 0, end = 0;  // of the line that is being filled
    int filled = 0;
    while (end < line.size()) {
        const std::size_t word = std::min(line.find_first_not_of(blanks, end), line.size());
        const std::size_t next = std::min(line.find_first_of(blanks, word), line.size());
        const int added = widthOf(line.substr(end, next - end));
        const bool isBehindSomething = filled > 0 || word > end;
        if (isBehindSomething && added > width - filled) {
            lines.push_back(line.substr(start, end - start));
            if (word == line.size()) return;
            start = word;
            filled = widthOf(line.substr(word, next - word));
        } else {
            filled += added;
        }
        end = next;
    }
    lines.push_back(line.substr(start));
}

}  // namespace

std::vector<TextView> DrawnLines(TextView text, std::optional<int> width, const RunWidth& widthOf)
{
    std::vector<TextView> lines;
    while (!text.empty()) {
        const TextView line = TakeLine(text);
        if (width)
            BreakLine(line, *width, widthOf, lines);
        else
            lines.push_back(line);
    }
    return lines;
}

Size SizeOfLines(TextView text, std::optional<int> width, int lineHeight, const RunWidth& widthOf)
{
    Size size;
    for (const TextView line : DrawnLines(text, width, widthOf)) {
        size.width = std::max(size.width, widthOf(line));
        size.height += lineHeight;
    }
    return size;
}

}  // namespace vmlib
