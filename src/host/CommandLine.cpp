#include "host/CommandLine.h"

#include <optional>
#include <ostream>

namespace vmlib::host {

/// Help that starts with an example of use.
class CommandLine::HelpFormatter : public CLI::Formatter
{
public:
    void SetExample(const CLI::App* command, std::string example) { examples_[command] = std::move(example); }

    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override
    {
        const auto example = examples_.find(app);
        const std::string help = CLI::Formatter::make_help(app, std::move(name), mode);
        return example == examples_.end() ? help : "Example: " + example->second + "\n\n" + help;
    }

private:
    std::map<const CLI::App*, std::string> examples_;
};

namespace {

/// How many plain words lead to those that are text whatever they look like; nothing where there are none.
std::optional<std::size_t> WordsBeforeText(const std::vector<std::string>& words)
{
    if (!words.empty() && words[0] == "call") return 3;                             // call CLASS MEMBER
    if (words.size() > 1 && words[0] == "settings" && words[1] == "set") return 5;  // and PACKAGE SECTION NAME
    return std::nullopt;
}

/// Takes the words behind the leading ones out. Words that begin with "--" are options, up to a lone "--"; that is for
/// the parser when it stands among the leading ones.
std::vector<std::string> TakeTextArguments(std::vector<std::string>& words, std::size_t leading)
{
    std::vector<std::string> arguments, rest;
    std::size_t plain = 0;
    bool onlyArguments = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (!onlyArguments && word == "--") {
            onlyArguments = true;
            if (plain < leading) rest.push_back(word);
        } else if (!onlyArguments && word.starts_with("--")) {
            rest.push_back(word);
            const bool takesValue = word == "--password" || word == "--type";
            if (takesValue && i + 1 < words.size()) rest.push_back(words[++i]);
        } else if (plain++ < leading) {
            rest.push_back(word);
        } else {
            arguments.push_back(word);
        }
    }
    words = std::move(rest);
    return arguments;
}

}  // namespace

CommandLine::CommandLine(Session& session)
    : session_(session),
      app_("Documents of the family: open, save, create, query, check."),
      formatter_(std::make_shared<HelpFormatter>())
{
    app_.name("vmlib");
    app_.formatter(formatter_);
    app_.require_subcommand(1);
    app_.set_version_flag("--version", "vmlib 0.1.0");
    formatter_->SetExample(&app_, "vmlib info Kas.mdb");
}

CLI::App& CommandLine::AddTo(CLI::App& group, const std::string& name, const std::string& example,
                             const std::string& description, std::function<int()> action)
{
    CLI::App& command = *group.add_subcommand(name, description);
    formatter_->SetExample(&command, example);
    actions_[&command] = std::move(action);
    return command;
}

CLI::App& CommandLine::Add(const std::string& name, const std::string& example, const std::string& description,
                           std::function<int()> action)
{
    return AddTo(app_, name, example, description, std::move(action));
}

CLI::App& CommandLine::AddGroup(const std::string& name, const std::string& example, const std::string& description)
{
    CLI::App& group = *app_.add_subcommand(name, description);
    group.require_subcommand(1);
    formatter_->SetExample(&group, example);
    return group;
}

void CommandLine::TakesJson(CLI::App& command)
{
    command.add_flag("--json", session_.options.json, "print JSON instead of text");
}

void CommandLine::TakesPassword(CLI::App& command)
{
    auto* password = command.add_option("--password", session_.options.password,
                                        "password of the files, if it is not the library's own");
    command.add_flag("--no-password", session_.options.noPassword, "the files have no password")->excludes(password);
}

void CommandLine::TakesYes(CLI::App& command, const std::string& description)
{
    command.add_flag("--yes", session_.options.yes, description);
}

/// The parser would only say that a command is missing.
void CommandLine::RefuseUnknownCommand(const std::vector<std::string>& words) const
{
    const CLI::App* group = &app_;
    for (const std::string& word : words) {
        if (word.starts_with('-') || group->get_subcommands({}).empty()) return;
        const auto named = group->get_subcommands([&](const CLI::App* command) { return command->check_name(word); });
        if (named.empty()) throw UsageError{"unknown command " + word + "\nRun with --help for more information."};
        group = named.front();
    }
}

int CommandLine::RunParsed()
{
    if (session_.options.yes) session_.desktop.AnswerYes();
    const CLI::App* command = &app_;
    while (!command->get_subcommands().empty()) command = command->get_subcommands().front();
    const int code = actions_.at(command)();
    session_.out.flush();
    if (!session_.out) throw FileError(FileFault::Io, u"", "standard output could not be written");
    return code;
}

int CommandLine::Run(std::vector<std::string> words)
{
    try {
        RefuseUnknownCommand(words);
        if (const auto leading = WordsBeforeText(words)) textArguments_ = TakeTextArguments(words, *leading);
        std::vector<std::string> reversed(words.rbegin(), words.rend());
        app_.parse(std::move(reversed));
        return RunParsed();
    } catch (const CLI::ParseError& error) {
        return app_.exit(error, session_.out, session_.err) == 0 ? exitDone : exitUsage;
    } catch (const UsageError& error) {
        session_.err << error.message << "\n";
        return exitUsage;
    } catch (const Error& error) {
        session_.out.flush();
        session_.err << "error " << error.Number() << ": " << Printable(error.Description()) << "\n";
        return exitError;
    }
}

}  // namespace vmlib::host
