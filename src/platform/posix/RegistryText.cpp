#include "platform/posix/RegistryText.h"

#include <algorithm>

// A file in export form is UTF-8, with or without byte order mark; its lines end in LF or CRLF:
//
//   Windows Registry Editor Version 5.00    the first line that is neither blank nor a comment
//   [HKEY_CURRENT_USER\Software\VMD]        a section: the key that the values up to the next section stand in
//   "name"="text"                           a value; the right side: RegistryValue.cpp
//   @="text"                                the default value
//   ; text                                  a comment, also behind a section or a value
//
// A section ends at its first "]" that nothing but blanks and a comment follows, as names may hold "]". A key implies its
// parents. A key may have several sections and a value several definitions, of which the last one counts.
namespace vmlib::posix {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view formLine = "Windows Registry Editor Version 5.00";

struct RootName
{
    TextView name, abbreviation;
};

constexpr RootName rootNames[] = {
    {u"HKEY_CURRENT_USER", u"HKCU"},
    {u"HKEY_LOCAL_MACHINE", u"HKLM"},
    {u"HKEY_CLASSES_ROOT", u"HKCR"},
    {u"HKEY_USERS", u"HKU"},
    {u"HKEY_CURRENT_CONFIG", u"HKCC"},
    {u"HKEY_DYN_DATA", u"HKEY_DYN_DATA"},
    {u"HKEY_PERFORMANCE_DATA", u"HKEY_PERFORMANCE_DATA"},
};

/// The full name; "" when there is no such root.
TextView FullRootName(TextView name)
{
    for (const RootName& root : rootNames)
        if (EqualIgnoringCase(name, root.name) || EqualIgnoringCase(name, root.abbreviation)) return root.name;
    return {};
}

/// Bytes up to the "]" that ends the section, npos without one.
std::size_t SectionEnd(std::string_view line)
{
    for (std::size_t end = line.find(']'); end != std::string_view::npos; end = line.find(']', end + 1)) {
        const std::size_t next = line.find_first_not_of(" \t\r", end + 1);
        if (next == std::string_view::npos || line[next] == ';') return end;
    }
    return std::string_view::npos;
}

/// Text without a zero character that is UTF-8 throughout.
void CheckCharacters(const RegistryScanner& scanner, std::string_view text)
{
    const std::size_t zero = text.find('\0');
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
        scanner.Fail(0, "the text is UTF-16; it must be saved as UTF-8");
    const std::string valid = ToUtf8(FromUtf8(text));
    const auto fault = std::mismatch(text.begin(), text.end(), valid.begin(), valid.end()).first;
    const auto at = std::min(zero, static_cast<std::size_t>(fault - text.begin()));
    if (zero != std::string_view::npos && at == zero) scanner.Fail(at, "a zero byte");
    if (valid != text) scanner.Fail(std::min(at, text.size()), "not UTF-8");
}

class Parser
{
public:
    Parser(std::string_view text, TextView rootName, RegistryTree& tree)
        : text_(text), rootName_(rootName), tree_(tree), scanner_(text)
    {
    }

    /// False when there are only blanks.
    bool Parse()
    {
        CheckCharacters(scanner_, text_);
        if (text_.starts_with(byteOrderMark)) scanner_.Advance(byteOrderMark.size());
        if (text_.find_first_not_of(" \t\r\n", scanner_.At()) == std::string_view::npos) return false;
        while (!scanner_.AtEnd()) ParseLine();
        if (!hasForm_) scanner_.Fail(0, missingForm);
        return true;
    }

private:
    static constexpr const char* missingForm = "\"Windows Registry Editor Version 5.00\" is expected at the beginning";

    void ParseLine()
    {
        const std::size_t began = scanner_.At();
        scanner_.SkipBlanks();
        const char c = scanner_.Peek();
        if (c == '\n' || c == ';') {
            scanner_.EndLine(began, "");
        } else if (!hasForm_) {
            if (!scanner_.Line().starts_with(formLine)) scanner_.Fail(began, missingForm);
            scanner_.Advance(formLine.size());
            scanner_.EndLine(began, missingForm);
            hasForm_ = true;
        } else if (c == '[') {
            ParseSection(began);
        } else if (c == '"' || c == '@') {
            ParseValue(began);
        } else {
            scanner_.Fail(began, "a section, a value or a comment is expected");
        }
    }

    void ParseSection(std::size_t began)
    {
        scanner_.Advance(1);
        if (scanner_.Peek() == '-')
            scanner_.Fail(began, "a deletion is an instruction for an import and has no place here");
        const std::string_view line = scanner_.Line();
        const std::size_t length = SectionEnd(line);
        if (length == std::string_view::npos) scanner_.Fail(began, "no ] ends the section");
        const Text name = FromUtf8(line.substr(0, length));
        scanner_.Advance(length + 1);
        scanner_.EndLine(began, "");
        const std::size_t rootEnd = std::min(name.find(u'\\'), name.size());
        const TextView root = FullRootName(TextView(name).substr(0, rootEnd));
        if (root.empty()) scanner_.Fail(began, "there is no such root key");
        inSection_ = true;
        key_.reset();
        if (root != rootName_) return;
        const KeyPath path = PartsOf(TextView(name).substr(rootEnd));
        if (path.size() > greatestDepth) scanner_.Fail(began, "the key is too deep");
        key_ = tree_.Make(path);
        tree_.At(*key_).sections.push_back({began, scanner_.At()});
    }

    void ParseValue(std::size_t began)
    {
        if (!inSection_) scanner_.Fail(began, "a value stands before the first section");
        Text name;
        if (!scanner_.Skip("@")) name = scanner_.Quoted();
        scanner_.SkipBlanks();
        if (!scanner_.Skip("=")) scanner_.Fail(began, "= is expected behind the name of a value");
        scanner_.SkipBlanks();
        ValuePlace place;
        place.data.begin = scanner_.At();
        const bool isQuoted = scanner_.Peek() == '"';
        StoredValue stored = scanner_.Value();
        place.data.end = scanner_.At();
        // Where a quote is missing, the text ends at the next one, lines behind.
        scanner_.EndLine(isQuoted ? began : place.data.end, "something else follows the value that begins here");
        place.lines = {began, scanner_.At()};
        if (!key_) return;
        RegistryTree::Value& value = tree_.MakeValue(*key_, name);
        value.stored = std::move(stored);
        value.places.push_back(place);
        tree_.At(*key_).sections.back().end = scanner_.At();
    }

    std::string_view text_;
    TextView rootName_;
    RegistryTree& tree_;
    RegistryScanner scanner_;
    bool hasForm_ = false, inSection_ = false;
    std::optional<std::size_t> key_;  // none in a section of another root
};

/// The end of the line that begins at `from`, if it is blank; else `from`.
std::size_t BehindBlankLine(std::string_view text, std::size_t from)
{
    const std::size_t end = text.find_first_not_of(" \t\r", from);
    return end != std::string_view::npos && text[end] == '\n' ? end + 1 : from;
}

/// Without the bytes of these ranges, which are in order.
std::string Without(std::string_view text, const std::vector<FileRange>& ranges)
{
    std::string rest;
    std::size_t at = 0;
    for (const FileRange& range : ranges) {
        rest += text.substr(at, range.begin - at);
        at = range.end;
    }
    return rest.append(text.substr(at));
}

}  // namespace

RegistryText::RegistryText(std::string text, TextView rootName) : text_(std::move(text)), rootName_(ToUtf8(rootName))
{
    hasForm_ = Parser(text_, rootName, tree_).Parse();
    tree_.Sort();
}

void RegistryText::Provide(const KeyPath& path, TextView name, std::size_t provider)
{
    const std::size_t key = tree_.Make(path);
    if (!tree_.FindValue(key, name)) tree_.MakeValue(key, name).provider = provider;
    tree_.Sort();
}

std::string_view RegistryText::LineEnd() const
{
    const std::size_t first = text_.find('\n');
    return first != std::string::npos && first > 0 && text_[first - 1] == '\r' ? "\r\n" : "\n";
}

std::string RegistryText::Header(const KeyPath& path) const
{
    std::string header = "[" + rootName_;
    for (const Text& part : path) header += "\\" + ToUtf8(part);
    return header.append("]").append(LineEnd());
}

std::string RegistryText::WithSection(const KeyPath& path, const std::string& lines) const
{
    const std::string_view lineEnd = LineEnd();
    std::string text = text_;
    if (!hasForm_) {
        text = text_.starts_with(byteOrderMark) ? byteOrderMark : "";
        text.append(formLine).append(lineEnd);
    }
    if (text.back() != '\n') text += lineEnd;
    const std::size_t lastLine = text.find_last_of('\n', text.size() - 2) + 1;  // npos + 1 is the start
    if (BehindBlankLine(text, lastLine) == lastLine) text += lineEnd;
    return text + Header(tree_.Spelled(path)) + lines;
}

std::string RegistryText::WithKey(const KeyPath& path) const
{
    return WithSection(path, {});
}

/// The lines of a key's sections and values, in order; comments between them are not among them.
std::vector<FileRange> RegistryText::LinesOf(const RegistryTree::Key& key) const
{
    std::vector<FileRange> lines;
    for (const FileRange& section : key.sections)
        lines.push_back({section.begin, std::min(text_.find('\n', section.begin), text_.size() - 1) + 1});
    for (const RegistryTree::Value& value : key.values)
        for (const ValuePlace& place : value.places) lines.push_back(place.lines);
    std::sort(lines.begin(), lines.end(),
              [](const FileRange& left, const FileRange& right) { return left.begin < right.begin; });
    return lines;
}

std::string RegistryText::WithoutKey(std::size_t key) const
{
    std::vector<FileRange> ranges = LinesOf(tree_.At(key));
    const std::size_t parent = tree_.At(key).parent;
    const bool impliesParent =
        parent != 0 && tree_.At(parent).sections.empty() && tree_.At(parent).children.size() == 1;
    std::string section;
    if (impliesParent) {
        KeyPath path;
        for (std::size_t at = parent; at != 0; at = tree_.At(at).parent) path.push_back(tree_.At(at).name);
        std::reverse(path.begin(), path.end());
        section = Header(path);
    }
    const std::size_t begin = ranges.front().begin;
    // The blank line behind a section goes with it, unless the first one makes place for that of its parent.
    for (std::size_t i = impliesParent ? 1 : 0; i < tree_.At(key).sections.size(); ++i) {
        const auto endsBefore = [](const FileRange& range, std::size_t end) { return range.end < end; };
        const auto last = std::lower_bound(ranges.begin(), ranges.end(), tree_.At(key).sections[i].end, endsBefore);
        last->end = BehindBlankLine(text_, last->end);
    }
    return Without(text_, ranges).insert(begin, section);
}

std::string RegistryText::WithValue(const KeyPath& path, TextView name, const StoredValue& value) const
{
    const std::string_view lineEnd = LineEnd();
    const auto key = tree_.Find(path);
    const RegistryTree::Value* old = key ? tree_.FindValue(*key, name) : nullptr;
    if (old && !old->places.empty()) {
        const FileRange data = old->places.back().data;
        const std::size_t lineBegin = text_.find_last_of('\n', data.begin) + 1;  // npos + 1 is the start
        return text_.substr(0, data.begin) + PrintValue(value, data.begin - lineBegin, lineEnd) +
               text_.substr(data.end);
    }
    std::string line = name.empty() ? "@=" : PrintQuoted(name) + "=";
    line.append(PrintValue(value, line.size(), lineEnd)).append(lineEnd);
    if (!key || tree_.At(*key).sections.empty()) return WithSection(path, line);
    const std::size_t at = tree_.At(*key).sections.back().end;
    if (text_[at - 1] != '\n') line.insert(0, lineEnd);
    return text_.substr(0, at) + line + text_.substr(at);
}

std::string RegistryText::WithoutValue(const RegistryTree::Value& value) const
{
    std::vector<FileRange> lines;
    for (const ValuePlace& place : value.places) lines.push_back(place.lines);
    return Without(text_, lines);
}

bool RegistryText::CanBeKeyPath(const KeyPath& path)
{
    return std::all_of(path.begin(), path.end(), [](const Text& part) {
        const bool hasControls = std::any_of(part.begin(), part.end(), [](char16_t c) { return c < 0x20; });
        return !hasControls && SectionEnd(ToUtf8(part) + "x") == std::string_view::npos;
    });
}

}  // namespace vmlib::posix
