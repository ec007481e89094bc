// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/Command.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "board/panel/PanelOptions.h"
#include "board/virtual/Board.h"
#include "board/virtual/BoardError.h"
#include "board/virtual/DeviceOptions.h"
#include "board/virtual/DiffCommand.h"
#include "board/virtual/ReadyTime.h"
#include "board/virtual/TestingOptions.h"

namespace VelrixBoard {

namespace {

constexpr int BOARD_FAILED = 125;

constexpr const char* FOOTER =
    "The program's exit code, or the signal that ended it, becomes that of this command, or the verdict of "
    "--scenario:\n"
    "0 or 1. 125 says that the board could not be made, 126 that PROGRAM cannot be run, 127 that it was not found.";

std::optional<std::chrono::milliseconds> ParseReadyAfter(const std::string& text) {
    try {
        return ParseReadyTime(text);
    } catch (const BoardError& error) {
        throw CLI::ValidationError("--oxbo-ready-after", error.what());
    }
}

std::pair<std::string, bool> ParseLevel(const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::string level = equals == std::string::npos ? "" : text.substr(equals + 1);
    if (level != "0" && level != "1")
        throw CLI::ValidationError("--set", "takes LABEL=0 or LABEL=1");
    return {text.substr(0, equals), level == "1"};
}

// With no slash at the end, which completion of directories leaves there.
std::filesystem::path NormalPath(const std::string& text) {
    const std::filesystem::path path = std::filesystem::path(text).lexically_normal();
    return path.has_filename() ? path : path.parent_path();
}

// The arguments up to "--" in CLI11's order, last first; the rest is the program's and none of its business.
std::vector<std::string> OwnArguments(const std::vector<std::string>& all, std::vector<std::string>& command) {
    const auto separator = std::find(all.begin(), all.end(), "--");
    if (separator != all.end())
        command.assign(separator + 1, all.end());
    return {std::make_reverse_iterator(separator), all.rend()};
}

// The options of a command that runs a program, and what is still to be made of them.
struct RunArguments {
    BoardOptions options;
    std::vector<std::string> levels;
    std::vector<std::string> without;
    std::string settings;
    std::string directory;
    std::string readyAfter = "40";
    bool noSyslog = false;
    TestingOptions testing;
};

void AddRunOptions(CLI::App& run, RunArguments& arguments) {
    run.footer(FOOTER);
    run.add_option("--settings", arguments.settings, "The board's /etc/velrix.conf; without it there is none")
        ->type_name("FILE");
    run.add_option("--directory", arguments.directory,
                   "Keep the board's files here, in an empty or new directory; without it they go with the board")
        ->type_name("DIR");
    run.add_option("--set", arguments.levels, "Level of an input from the start, such as OXBO_IRQ_N=0")
        ->type_name("LABEL=0|1");
    run.add_option("--without", arguments.without, "Leave a value file or a directory of the board out")
        ->type_name("PATH");
    run.add_option("--oxbo-ready-after", arguments.readyAfter,
                   "When the Oxbo module pulls its interrupt line low after its reset; 40 if not given")
        ->type_name("MS|never");
    run.add_flag("--as-root", arguments.options.asRoot, "Let the program see itself as user 0");
    run.add_flag("--no-syslog", arguments.noSyslog, "Leave /dev/log free for a daemon started on the board");
    run.add_flag("--terminal", arguments.options.terminal,
                 "Show LEDs, lines, module, faults and logs on standard error");
    arguments.testing.AddTo(run);
    AddDeviceOptions(run, arguments.options);
    // Each occurrence takes one value, or "--set A=1 -- X" would be read on.
    for (CLI::Option* option : run.get_options())
        if (option->get_items_expected_max() > 1)
            option->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

// Throws CLI::ParseError for what is not understood.
void Complete(RunArguments& arguments) {
    BoardOptions& options = arguments.options;
    options.oxboReadyAfter = ParseReadyAfter(arguments.readyAfter);
    for (const std::string& level : arguments.levels)
        options.levels.insert_or_assign(ParseLevel(level).first, ParseLevel(level).second);
    if (!arguments.settings.empty())
        options.settings = arguments.settings;
    if (!arguments.directory.empty())
        options.directory = arguments.directory;
    for (const std::string& path : arguments.without)
        options.without.insert(NormalPath(path));
    options.syslog = !arguments.noSyslog;
    arguments.testing.Apply(options);
}

} // namespace

int RunCommand(int argc, char** argv) {
    RunArguments runArguments;
    RunArguments recordArguments;
    std::vector<std::string> command;

    CLI::App app("A private board to run device programs on.", "velrix-board");
    app.footer(FOOTER);
    app.require_subcommand(1);
    CLI::App* run = app.add_subcommand(
        "run", "Run a program on a board of its own: velrix-board run [OPTIONS] -- PROGRAM [ARG...]");
    AddRunOptions(*run, runArguments);
    const PanelOptions runPanel(*run);
    CLI::App* record =
        app.add_subcommand("record", "Run a program and write down what is done to its board, to be played "
                                     "again with run --scenario: velrix-board record FILE [OPTIONS] -- "
                                     "PROGRAM [ARG...]");
    AddRunOptions(*record, recordArguments);
    recordArguments.testing.AddRecordingTo(*record);
    const PanelOptions recordPanel(*record);
    const DiffCommand diff(app);

    RunArguments* chosen = &runArguments;
    try {
        const std::vector<std::string> all(argv + 1, argv + argc);
        app.parse(OwnArguments(all, command));
        if (command.empty() && !diff.IsGiven())
            throw CLI::RequiredError("-- PROGRAM");
        if (record->parsed())
            chosen = &recordArguments;
        Complete(*chosen);
        (record->parsed() ? recordPanel : runPanel).Complete(chosen->options, command);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        return code == 0 ? 0 : BOARD_FAILED;
    }

    int status = 0;
    try {
        if (diff.IsGiven())
            return diff.Run();
        status = RunBoard(chosen->options, CommandProgram(command));
    } catch (const std::runtime_error& error) { // BoardError, ScenarioError, TimelineError
        std::fprintf(stderr, "velrix-board: %s\n", error.what());
        return BOARD_FAILED;
    }
    EndAs(status);
}

} // namespace VelrixBoard
