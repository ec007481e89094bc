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
#include "board/commands/OptionGroups.h"
#include "tools/completion/Completion.h"
#include "tools/completion/Words.h"
#include "tools/help/Help.h"
#include "tools/help/Layout.h"

namespace VelrixBoard {

using VelrixTools::CommandRow;
using VelrixTools::OptionRow;

namespace {

std::vector<std::string> WordsOf(const std::string& type) {
    std::vector<std::string> words;
    std::istringstream text(type);
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
    (option.get_items_expected_min() > 0 ? row.value : row.optionalValue) = ValueOf(option);
    row.choices = WordsOf(row.value);
    row.group = GroupOf(row.name);
    return row;
}

CommandRow RowOf(const CLI::App& command) {
    CommandRow row{command.get_name(), command.get_description(), {}, {}, {}};
    row.runsProgram = RunsProgram(command);
    row.footer = command.get_footer();
    for (const CLI::Option* option : command.get_options())
        if (option->get_positional())
            row.arguments.push_back({option->get_single_name(), option->get_description(), option->get_required(),
                                     false, WordsOf(ValueOf(*option))});
        else
            row.options.push_back(RowOf(*option));
    std::stable_sort(row.options.begin(), row.options.end(),
                     [](const OptionRow& a, const OptionRow& b) { return PlaceOf(a.name) < PlaceOf(b.name); });
    return row;
}

VelrixTools::Tool ToolOf(const CLI::App& app) {
    return {app.get_name(), CommandRows(app), RowOf(app).options, app.get_description(), {}, app.get_footer()};
}

std::string HelpText(const CLI::App& app, const CLI::App& command) {
    const VelrixTools::Tool tool = ToolOf(app);
    const std::size_t width = VelrixTools::OutputWidth(STDOUT_FILENO);
    return &app == &command ? Help(tool, width) : HelpOf(tool, RowOf(command), width);
}

} // namespace

CommonCommands::CommonCommands(CLI::App& application) : app(application) {
    app.set_version_flag("--version", app.get_name() + " " VELRIX_VERSION, "Show the version");
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({}))
        names.push_back(command->get_name());
    names.insert(names.end(), {"help", "completion"});
    const auto isCommand = [names](const std::string& word) {
        const bool isName = std::find(names.begin(), names.end(), word) != names.end();
        return isName ? "" : "there is no command \"" + word + "\"";
    };
    help = app.add_subcommand("help", "Show the help of a command");
    help->add_option("COMMAND", helped, "Name of a command")
        ->check(isCommand)
        ->type_name(VelrixTools::Joined(names, "|"));
    completion = app.add_subcommand("completion", "Print a script that completes this command's words in a shell");
    completion->add_option("SHELL", shell, "Name of the shell")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}))
        ->type_name("bash|zsh|fish");
    // Otherwise that of the programs' exit codes.
    for (CLI::App* command : {help, completion})
        command->footer("Ends with 0, or with 125 when something is wrong.");
    const auto helpText = [&application](const CLI::App* command, const std::string&, CLI::AppFormatMode) {
        return HelpText(application, *command);
    };
    std::vector<CLI::App*> all = app.get_subcommands({});
    all.push_back(&app);
    for (CLI::App* command : all)
        command->formatter_fn(helpText)->set_help_flag("-h,--help", "Show this help");
}

bool CommonCommands::Run() const {
    if (help->parsed()) {
        PrintOutput(HelpText(app, helped.empty() ? app : *app.get_subcommand(helped)));
        return true;
    }
    if (!completion->parsed())
        return false;
    const VelrixTools::Tool tool = ToolOf(app);
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
