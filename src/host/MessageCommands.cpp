#include <algorithm>
#include <ostream>

#include "automation/Convert.h"
#include "automation/Object.h"
#include "host/CommandLine.h"
#include "host/Json.h"
#include "messages/MessageForm.h"

// text, message: the string table, and the message window.
namespace vmlib::host {

namespace {

constexpr std::size_t mostButtons = 3;
constexpr std::int32_t centred = -2;

struct MessageArguments
{
    std::string text, title;
    std::vector<std::string> buttons;
    std::string style = "0";
};

int PrintText(Session& session, std::int32_t number)
{
    const Text text = ToText(Call(session.Create(u"AlgemeneLibrary"), u"VmdLib_LoadResString", number));
    if (text.empty()) {
        session.err << "there is no text " << number << "\n";
        return exitSomeFailed;
    }
    if (session.options.json)
        session.out << ToLine({{"number", number}, {"text", ToUtf8(text)}}) << "\n";
    else
        session.out << ToUtf8(text) << "\n";
    return exitDone;
}

int ShowMessage(Session& session, const MessageArguments& arguments)
{
    if (arguments.buttons.size() > mostButtons) throw UsageError{"a message has at most three buttons"};
    Text captions[mostButtons];
    std::transform(arguments.buttons.begin(), arguments.buttons.end(), captions, FromUtf8);
    // The form itself: a style of the class's members has no room for alignment and reading order.
    const std::int32_t answer =
        frmMsg(session.platform.desktop)
            .Box(FromUtf8(arguments.text), WholeNumber(arguments.style, "--style"), FromUtf8(arguments.title),
                 captions[0], captions[1], captions[2], nullptr, 0, centred, centred);
    if (session.options.json)
        session.out << ToLine({{"answer", answer}}) << "\n";
    else
        session.out << answer << "\n";
    return exitDone;
}

}  // namespace

void AddMessageCommands(CommandLine& line)
{
    Session& session = line.TheSession();
    auto number = std::make_shared<std::string>();
    CLI::App& text = line.Add("text", "vmlib text 30001",
                              "Prints a text of the string table: 10000 and up English, 20000 Danish, 30000 Dutch.",
                              [=, &session] { return PrintText(session, WholeNumber(*number, "number")); });
    text.add_option("number", *number, "the number of the text")->required();
    line.TakesJson(text);

    auto arguments = std::make_shared<MessageArguments>();
    CLI::App& message =
        line.Add("message", "vmlib message \"Wijzigingen opslaan?\" --style 35 --title Kas",
                 "Shows a message and prints the answer: 1 OK, 2 Cancel, 3 Abort, 4 Retry, 5 Ignore, 6 Yes, 7 No.",
                 [=, &session] { return ShowMessage(session, *arguments); });
    message.add_option("text", arguments->text, "the message")->required();
    message.add_option("--style", arguments->style,
                       "button set 0 to 5, plus icon 16, 32, 48 or 64, plus 256 or 512 for the second or third button "
                       "as default, plus 524288 for text at the right");
    message.add_option("--title", arguments->title, "caption of the window");
    message.add_option("--button", arguments->buttons, "a caption instead of those of the set, up to three times")
        ->allow_extra_args(false);
    line.TakesJson(message);
    line.TakesYes(message, "answer OK, Yes or Retry without asking");
}

}  // namespace vmlib::host
