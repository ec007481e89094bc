// SPDX-License-Identifier: Apache-2.0
#include "board/commands/CommonCommands.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/commands/CommandArguments.h"
#include "tools/completion/Completion.h"

namespace VelrixBoard {

using VelrixTools::CommandRow;
using VelrixTools::OptionRow;

namespace {

// As in the usage of a command that runs one.
constexpr std::string_view PROGRAM = "-- PROGRAM";

std::vector<std::string> WordsOf(const std::string& type) {
    std::vector<std::string> words;
    std::istringstream text(type.substr(0, type.find(':'))); // CLI11 appends what it checks
    for (std::string word; std::getline(text, word, '|');)
        words.push_back(word);
    const auto isWord = [](const std::string& word) {
        return std::all_of(word.begin(), word.end(), [](char c) { return c >= 'a' && c <= 'z'; });
    };
    return words.size() > 1 && std::all_of(words.begin(), words.end(), isWord) ? words : std::vector<std::string>();
}

OptionRow RowOf(const CLI::Option& option) {
    OptionRow row{"--" + option.get_lnames().front(), "", option.get_description()};
    // A flag, such as --panel, takes a value only after "=".
    if (option.get_items_expected_min() > 0)
        row.value = option.get_type_name();
    row.choices = WordsOf(row.value);
    return row;
}

CommandRow RowOf(const CLI::App& command) {
    const std::string description = command.get_description();
    CommandRow row{command.get_name(), description.substr(0, description.find(':')), {}, {}, {}};
    row.runsProgram = description.find(PROGRAM) != std::string::npos;
    for (const CLI::Option* option : command.get_options())
        if (option->get_positional())
            row.arguments.push_back({option->get_single_name(), option->get_description(), option->get_required(),
                                     false, WordsOf(option->get_type_name())});
        else
            row.options.push_back(RowOf(*option));
    return row;
}

VelrixTools::CompletedTool ToolOf(const CLI::App& app) {
    return {app.get_name(), CommandRows(app), RowOf(app).options};
}

} // namespace

CommonCommands::CommonCommands(CLI::App& application) : app(application) {
    app.set_version_flag("--version", app.get_name() + " " VELRIX_VERSION, "Show the version");
    std::vector<std::string> names = {"completion", "help"};
    for (const CLI::App* command : app.get_subcommands({}))
        names.push_back(command->get_name());
    std::string type;
    for (const std::string& name : names)
        type += (type.empty() ? "" : "|") + name;
    const auto isCommand = [names](const std::string& word) {
        const bool isName = std::find(names.begin(), names.end(), word) != names.end();
        return isName ? "" : "there is no command \"" + word + "\"";
    };
    help = app.add_subcommand("help", "Show the help of a command: " + app.get_name() + " help [COMMAND]");
    help->add_option("COMMAND", helped, "Name of a command")->check(isCommand)->type_name(type);
    completion = app.add_subcommand("completion", "Print a script that completes this command's words in a shell: " +
                                                      app.get_name() + " completion SHELL");
    completion->add_option("SHELL", shell, "Name of the shell")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}))
        ->type_name("bash|zsh|fish");
    // Otherwise that of the programs' exit codes.
    for (CLI::App* command : {help, completion})
        command->footer("Ends with 0, or with 125 when something is wrong.");
    app.set_help_flag("-h,--help", "Show this help");
    for (CLI::App* command : app.get_subcommands({}))
        command->set_help_flag("-h,--help", "Show this help");
}

bool CommonCommands::Run() const {
    if (help->parsed()) {
        // App::help would be that of "help", which was given.
        const CLI::App* command = helped.empty() ? &app : app.get_subcommand(helped);
        PrintOutput(app.get_formatter()->make_help(
            command, helped.empty() ? app.get_name() : app.get_name() + " " + helped, CLI::AppFormatMode::Normal));
        return true;
    }
    if (!completion->parsed())
        return false;
    const VelrixTools::CompletedTool tool = ToolOf(app);
    PrintOutput(shell == "bash" ? BashCompletion(tool) : shell == "zsh" ? ZshCompletion(tool) : FishCompletion(tool));
    return true;
}

void PrintOutput(std::string_view text) {
    if (WasOutputMissing())
        throw BoardError("cannot write the output: standard output is closed");
    while (!text.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            throw BoardError(std::string("cannot write the output: ") + std::strerror(errno));
    }
}

int EndParsing(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream output;
    const int code = app.exit(error, output);
    PrintOutput(output.str());
    return code == 0 ? 0 : BOARD_FAILED;
}

std::vector<CommandRow> CommandRows(const CLI::App& app) {
    std::vector<CommandRow> rows;
    for (const CLI::App* command : app.get_subcommands({}))
        rows.push_back(RowOf(*command));
    return rows;
}

} // namespace VelrixBoard
