// SPDX-License-Identifier: Apache-2.0
#include "board/commands/BoardCommand.h"

#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "board/commands/CommandArguments.h"
#include "board/commands/DeviceOptions.h"
#include "board/commands/DiffCommand.h"
#include "board/commands/PanelOptions.h"
#include "board/commands/TestingOptions.h"
#include "board/virtual/Board.h"

namespace VelrixBoard {

namespace {

constexpr const char* FOOTER =
    "The program's exit code, or the signal that ended it, becomes that of this command, or the verdict of "
    "--scenario:\n"
    "0 or 1. 125 says that the board could not be made, 126 that PROGRAM cannot be run, 127 that it was not found.";

const std::map<std::string, Isolation> ISOLATIONS = {
    {"auto", Isolation::AUTO}, {"namespaces", Isolation::NAMESPACES}, {"preload", Isolation::PRELOAD}};

// With no slash at the end, which completion of directories leaves there.
std::filesystem::path NormalPath(const std::string& text) {
    const std::filesystem::path path = std::filesystem::path(text).lexically_normal();
    return path.has_filename() ? path : path.parent_path();
}

// The options of a command that runs a program, and what is still to be made of them.
struct RunArguments {
    BoardOptions options;
    BeginningOptions beginning;
    std::vector<std::string> without;
    std::string settings;
    std::string directory;
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
    arguments.beginning.AddTo(run);
    run.add_option("--without", arguments.without, "Leave a value file or a directory of the board out")
        ->type_name("PATH");
    run.add_option_function<std::string>(
           "--isolation",
           [&options = arguments.options](const std::string& text) {
               options.isolation = ISOLATIONS.at(text);
               options.saysIsolation = true;
           },
           "How the board's paths are kept apart from the machine's: by the kernel's namespaces, by a preloaded "
           "library, or as strong as the machine allows, which the board then names; auto if not given")
        ->check(CLI::IsMember(&ISOLATIONS))
        ->type_name("namespaces|preload|auto");
    run.add_flag("--as-root", arguments.options.asRoot, "Let the program see itself as user 0");
    run.add_flag("--no-syslog", arguments.noSyslog, "Leave /dev/log free for a daemon started on the board");
    run.add_flag("--terminal", arguments.options.terminal,
                 "Show LEDs, lines, module, faults and logs on standard error");
    arguments.testing.AddTo(run);
    AddDeviceOptions(run, arguments.options);
    TakeOneValueEach(run);
}

// Throws CLI::ParseError for what is not understood.
void Complete(RunArguments& arguments) {
    BoardOptions& options = arguments.options;
    options.levels = arguments.beginning.Levels();
    options.oxboReadyAfter = arguments.beginning.OxboReadyAfter();
    if (!arguments.settings.empty())
        options.settings = arguments.settings;
    if (!arguments.directory.empty())
        options.directory = arguments.directory;
    for (const std::string& path : arguments.without)
        options.without.insert(NormalPath(path));
    options.syslog = !arguments.noSyslog;
    arguments.testing.Apply(options);
}

int Fail(const std::runtime_error& error) { // BoardError, ScenarioError, TimelineError
    std::fprintf(stderr, "velrix-board: %s\n", error.what());
    return BOARD_FAILED;
}

int Diff(const DiffCommand& diff) {
    try {
        return diff.Run();
    } catch (const std::runtime_error& error) {
        return Fail(error);
    }
}

int Run(const BoardOptions& options, const std::vector<std::string>& command) {
    int status = 0;
    try {
        status = RunBoard(options, CommandProgram(command));
    } catch (const std::runtime_error& error) {
        return Fail(error);
    }
    EndAs(status);
}

} // namespace

int RunCommand(int argc, char** argv) {
    RunArguments runArguments;
    RunArguments recordArguments;
    std::vector<std::string> command;

    CLI::App app("A private board to run device programs on.", "velrix-board");
    app.footer(FOOTER);
    app.require_subcommand(1);
    app.failure_message(RefusalText);
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
        app.parse(OwnArguments(argc, argv, command));
        if (!diff.IsGiven())
            RequireProgram(app, command);
        if (record->parsed())
            chosen = &recordArguments;
        Complete(*chosen);
        (record->parsed() ? recordPanel : runPanel).Complete(chosen->options, command);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        return code == 0 ? 0 : BOARD_FAILED;
    }

    return diff.IsGiven() ? Diff(diff) : Run(chosen->options, command);
}

} // namespace VelrixBoard
