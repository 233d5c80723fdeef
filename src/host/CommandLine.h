#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/Session.h"

namespace vmlib::host {

/// The commands of the program: what each is called, how its help begins, and what runs when it was parsed.
class CommandLine
{
public:
    explicit CommandLine(Session& session);

    /// Adds a command. Its help starts with the example; `action` runs after parsing and returns the exit code.
    CLI::App& Add(const std::string& name, const std::string& example, const std::string& description,
                  std::function<int()> action);
    /// A command that only groups others, and one of those.
    CLI::App& AddGroup(const std::string& name, const std::string& example, const std::string& description);
    CLI::App& AddTo(CLI::App& group, const std::string& name, const std::string& example,
                    const std::string& description, std::function<int()> action);

    void TakesJson(CLI::App& command);
    void TakesPassword(CLI::App& command);
    void TakesYes(CLI::App& command, const std::string& description);

    Session& TheSession() { return session_; }
    /// What stands behind CLASS and MEMBER of `call` and behind NAME of `settings set`: text, whatever it looks like.
    const std::vector<std::string>& TextArguments() const { return textArguments_; }

    /// Parses and runs; reports errors as the contract says. Returns the exit code.
    int Run(std::vector<std::string> words);

private:
    class HelpFormatter;
    void RefuseUnknownCommand(const std::vector<std::string>& words) const;
    int RunParsed();

    Session& session_;
    CLI::App app_;
    std::shared_ptr<HelpFormatter> formatter_;
    std::map<const CLI::App*, std::function<int()>> actions_;
    std::vector<std::string> textArguments_;
};

/// All that follow, in the order in which the help names them.
void AddCommands(CommandLine& line);

void AddDocumentCommands(CommandLine& line);  // open, save, release, create, error
void AddBaseCommand(CommandLine& line);
void AddStatusCommand(CommandLine& line);
void AddConvertCommand(CommandLine& line);
void AddRecoverCommand(CommandLine& line);
void AddRestoreCommand(CommandLine& line);
void AddQueryCommands(CommandLine& line);  // query, export
void AddInfoCommand(CommandLine& line);
void AddCheckCommand(CommandLine& line);
void AddRepairCommands(CommandLine& line);  // repair, compact
void AddLayoutCommands(CommandLine& line);
void AddClassCommands(CommandLine& line);  // call, rpc
void AddSettingsCommand(CommandLine& line);
void AddMessageCommands(CommandLine& line);  // text, message

}  // namespace vmlib::host
