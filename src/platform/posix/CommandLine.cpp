#include "platform/posix/CommandLine.h"

#include <algorithm>

namespace vmlib::posix {

namespace {

constexpr TextView blanks = u" \t";
constexpr std::size_t longestProgram = 4096;  // characters; no path is longer

bool IsBlank(char16_t c)
{
    return blanks.find(c) != TextView::npos;
}

}  // namespace

std::vector<ProgramReading> ProgramReadings(TextView commandLine)
{
    std::vector<ProgramReading> readings;
    commandLine.remove_prefix(std::min(commandLine.find_first_not_of(blanks), commandLine.size()));
    commandLine.remove_suffix(commandLine.size() - (commandLine.find_last_not_of(blanks) + 1));
    if (commandLine.starts_with(u'"')) {
        const std::size_t end = std::min(commandLine.find(u'"', 1), commandLine.size());
        if (end > 1)
            readings.push_back(
                {commandLine.substr(1, end - 1), commandLine.substr(std::min(end + 1, commandLine.size()))});
        return readings;
    }
    for (std::size_t end = 0; end < std::min(commandLine.size(), longestProgram);) {
        end = std::min(commandLine.find_first_of(blanks, end), commandLine.size());
        readings.push_back({commandLine.substr(0, end), commandLine.substr(end)});
        end = commandLine.find_first_not_of(blanks, end);
    }
    return readings;
}

std::vector<Text> SplitArguments(TextView arguments)
{
    std::vector<Text> split;
    bool isQuoted = false, isOpen = false;  // within quotes; within an argument
    for (std::size_t i = 0; i < arguments.size();) {
        const char16_t c = arguments[i];
        if (!isQuoted && IsBlank(c)) {
            isOpen = false;
            ++i;
            continue;
        }
        if (!isOpen) split.emplace_back();
        isOpen = true;
        const std::size_t slashesEnd = std::min(arguments.find_first_not_of(u'\\', i), arguments.size());
        const std::size_t slashes = slashesEnd - i;
        i = slashesEnd;
        if (i == arguments.size() || arguments[i] != u'"') {
            split.back().append(slashes, u'\\');
            if (slashes == 0) split.back() += arguments[i++];
            continue;
        }
        split.back().append(slashes / 2, u'\\');
        ++i;
        if (slashes % 2 != 0) {
            split.back() += u'"';
        } else if (isQuoted && i < arguments.size() && arguments[i] == u'"') {
            split.back() += u'"';
            isQuoted = false;
            ++i;
        } else {
            isQuoted = !isQuoted;
        }
    }
    return split;
}

}  // namespace vmlib::posix
