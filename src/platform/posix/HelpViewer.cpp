#include "platform/posix/HelpViewer.h"

#include <algorithm>

#include "core/Error.h"

namespace vmlib::posix {

namespace {

// What shows something of the file: topic, contents, pop-up topic, force file, finder, key, partial key, other keys.
// The other commands of a viewer concern its window, or help on help.
constexpr std::int32_t showingCommands[] = {1, 3, 8, 9, 11, 257, 261, 513};
constexpr std::int16_t normalWithFocus = 1;

constexpr TextView documentEndings[] = {u".pdf", u".html", u".htm"};
constexpr TextView openers[] = {u"xdg-open ", u"gio open "};  // programs as a command line begins with them

/// Where the last part of a path begins.
std::size_t NameStart(TextView path)
{
    return path.find_last_of(u"\\/:") + 1;
}

/// The file in what an application hands to a help viewer: perhaps in quotes, perhaps with ">" and the name of a window
/// behind it.
TextView FileName(TextView text)
{
    text = Trim(text.substr(0, text.find(u'\0')));
    if (const auto mark = text.rfind(u'>'); mark != TextView::npos && mark >= NameStart(text))
        text = TrimRight(text.substr(0, mark));
    if (text.starts_with(u'"')) text.remove_prefix(1);
    if (text.ends_with(u'"')) text.remove_suffix(1);
    return text;
}

/// The document beside a help file, "" when there is none. @throws FileError for a name that no file can have
Text DocumentFor(Files& files, TextView helpFile)
{
    // The full path has long names: the document has the long name of the help file, not the short one.
    const Text path = files.FullPath(helpFile);
    const auto point = path.rfind(u'.');
    const Text stem = path.substr(0, point != Text::npos && point >= NameStart(path) ? point : Text::npos);
    for (const TextView ending : documentEndings)
        if (Text document = stem + Text(ending); files.Exists(document)) return document;
    return {};
}

/// As one argument of a command line.
Text Quoted(TextView argument)
{
    Text quoted = u"\"";
    std::size_t slashes = 0;
    for (const char16_t c : argument) {
        // In front of a quote "\" is written twice, and the quote gets one of its own.
        if (c == u'"') quoted.append(slashes + 1, u'\\');
        slashes = c == u'\\' ? slashes + 1 : 0;
        quoted += c;
    }
    return quoted.append(slashes, u'\\') + u"\"";
}

/// False when the program is not there.
bool Starts(Processes& processes, const Text& commandLine)
{
    try {
        processes.Start(commandLine, normalWithFocus);
        return true;
    } catch (const Error&) {
        return false;
    }
}

}  // namespace

bool ShowHelp(Files& files, Processes& processes, TextView file, std::int32_t command)
{
    if (std::find(std::begin(showingCommands), std::end(showingCommands), command) == std::end(showingCommands))
        return true;
    std::string document;  // absolute, so none begins like an option
    try {
        const Text path = DocumentFor(files, FileName(file));
        if (path.empty()) return false;
        document = files.ToNative(path);
    } catch (const FileError&) {
        return false;
    }
    const Text argument = Quoted(FromUtf8(document));
    return std::any_of(std::begin(openers), std::end(openers),
                       [&](TextView opener) { return Starts(processes, Text(opener) + argument); });
}

}  // namespace vmlib::posix
