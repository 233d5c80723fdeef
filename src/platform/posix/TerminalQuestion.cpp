#include "platform/posix/TerminalQuestion.h"

namespace vmlib::posix {

namespace {

/// "&Ja" as "[J]a".
Text Marked(TextView caption)
{
    Text marked;
    for (std::size_t i = 0; i < caption.size(); ++i) {
        if (caption[i] != u'&' || i + 1 == caption.size()) {
            marked += caption[i];
            continue;
        }
        ++i;
        marked.append(u"[").append(1, caption[i]).append(u"]");
    }
    return marked;
}

char16_t AccessKey(TextView caption)
{
    const std::size_t mark = caption.find(u'&');
    return mark + 1 < caption.size() ? caption[mark + 1] : u'\0';
}

}  // namespace

std::string ForTerminal(TextView text)
{
    Text clean;
    for (const char16_t c : Replaced(text, u"\r\n", u"\n")) {
        const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
        clean += c == u'\r' ? u'\n' : isControl && c != u'\n' && c != u'\t' ? u' ' : c;
    }
    return ToUtf8(clean);
}

std::string QuestionText(TextView text, std::int32_t style, TextView title)
{
    Text question;
    if (!title.empty()) question.append(title).append(u"\n");
    question.append(text).append(u"\n");
    const auto buttons = MessageButtons(style);
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        question.append(i == 0 ? u"" : u"  ").append(Marked(buttons[i].caption));
        if (buttons.size() > 1 && i == DefaultButton(style)) question.append(u"*");
    }
    return ForTerminal(question) + ": ";
}

std::optional<std::int16_t> AnswerOf(TextView line, std::int32_t style)
{
    const auto buttons = MessageButtons(style);
    const TextView typed = Trim(line);
    if (typed.empty()) return buttons[DefaultButton(style)].answer;
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        const bool isKey = typed.size() == 1 && UpperCase(typed[0]) == UpperCase(AccessKey(buttons[i].caption));
        const bool isCaption = EqualIgnoringCase(typed, Replaced(buttons[i].caption, u"&", u""));
        if (isKey || isCaption || typed == Decimal(static_cast<long long>(i) + 1)) return buttons[i].answer;
    }
    return std::nullopt;
}

}  // namespace vmlib::posix
