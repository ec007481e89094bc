// SPDX-License-Identifier: Apache-2.0
// The command velrix-board. 125 is the exit code of everything that goes wrong before the program runs.
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "board/commands/CommandArguments.h"
#include "board/commands/CommonCommands.h"
#include "board/commands/ExploreCommand.h"
#include "board/commands/TimingOptions.h"
#include "board/panel/Panel.h"
#include "board/sandbox/RebootStub.h"
#include "board/timeline/Difference.h"
#include "board/timeline/VcdReader.h"
#include "board/virtual/Board.h"
#include "board/virtual/TimeChoice.h"
#include "tools/completion/Words.h"

namespace VelrixBoard {

namespace {

constexpr const char* FOOTER =
    "The program's exit code, or the signal that ended it, becomes that of this command, or the verdict of "
    "--scenario: 0 or 1. 125 says that the board could not be made, 126 that PROGRAM cannot be run, 127 that it was "
    "not found.";

const std::map<std::string, Isolation> ISOLATIONS = {
    {"auto", Isolation::AUTO}, {"namespaces", Isolation::NAMESPACES}, {"preload", Isolation::PRELOAD}};

// Without the trailing slash of a shell's completion.
std::filesystem::path NormalPath(const std::string& text) {
    const std::filesystem::path path = std::filesystem::path(text).lexically_normal();
    return path.has_filename() ? path : path.parent_path();
}

void AddFault(BoardOptions& options, const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
        throw CLI::ValidationError("--fault", "takes NAME=FAULT, such as MS.red=EIO");
    try {
        options.faults.insert_or_assign(text.substr(0, equals), ParseFault(text.substr(equals + 1)));
    } catch (const FaultError& error) {
        throw CLI::ValidationError("--fault", error.what());
    }
}

// The options that break the device.
void AddDeviceOptions(CLI::App& run, BoardOptions& options) {
    run.add_option_function<std::vector<std::string>>(
           "--fault",
           [&options](const std::vector<std::string>& faults) {
               for (const std::string& fault : faults)
                   AddFault(options, fault);
           },
           "What is wrong with the value file of a line or LED element: EIO, ENOSPC, EACCES, slow:TIME such as "
           "slow:2s, or missing")
        ->type_name("NAME=FAULT");
    run.add_option_function<std::string>(
           "--on-reboot",
           [&options](const std::string& text) {
               options.onReboot = text == "restart" ? BoardOptions::OnReboot::RESTART : BoardOptions::OnReboot::EXIT;
           },
           "What follows when the program calls reboot and was ended: its restart, or the board's end; exit if not "
           "given")
        ->check(CLI::IsMember({"restart", "exit"}))
        ->type_name("restart|exit");
}

// CLI11's value of a flag without one.
const std::string USUAL = "true";

std::optional<int> ParsePort(const std::string& text) {
    if (text == USUAL)
        return std::nullopt;
    std::uint16_t port = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, port);
    if (error != std::errc() || rest != end)
        throw CLI::ValidationError("--panel", "takes a port from 0 to 65535, 0 for any free one");
    return port;
}

// The options of a command that runs a program.
struct RunArguments {
    BoardOptions options;
    std::string panel; // its port; empty: no panel
    bool panelHolds = false;
    TimingOptions timing;
};

void AddRunOptions(CLI::App& run, RunArguments& arguments) {
    BoardOptions& options = arguments.options;
    run.footer(FOOTER);
    run.add_option("--settings", options.settings, "The board's /etc/velrix.conf; without it there is none")
        ->type_name("FILE");
    run.add_option("--directory", options.directory,
                   "Keep the board's files here, in an empty or new directory; without it they go with the board")
        ->type_name("DIR");
    AddBeginningOptions(run, options.levels, options.oxboReadyAfter);
    run.add_option_function<std::vector<std::string>>(
           "--without",
           [&options](const std::vector<std::string>& paths) {
               for (const std::string& path : paths)
                   options.without.insert(NormalPath(path));
           },
           "Leave a value file or a directory of the board out")
        ->type_name("PATH");
    run.add_option_function<std::string>(
           "--isolation",
           [&options](const std::string& text) {
               options.isolation = ISOLATIONS.at(text);
               options.saysIsolation = true;
           },
           "How the board's paths are kept apart from the machine's: by the kernel's namespaces, by a preloaded "
           "library, or as strong as the machine allows, which the board then names; auto if not given")
        ->check(CLI::IsMember(&ISOLATIONS))
        ->type_name("namespaces|preload|auto");
    run.add_flag("--as-root", options.asRoot, "Let the program see itself as user 0");
    run.add_flag_callback(
        "--no-syslog", [&options] { options.syslog = false; }, "Leave /dev/log free for a daemon started on the board");
    run.add_flag("--terminal", options.terminal, "Show LEDs, lines, module, faults and logs on standard error");
    AddTestingOptions(run, options.timeline, options.scenario);
    arguments.timing.AddTo(run);
    AddDeviceOptions(run, options);
    TakeOneValueEach(run);
    run.add_flag("--panel", arguments.panel,
                 "Show the board in a browser, on 127.0.0.1; on port 8642, or a free one where that is in use, if none "
                 "is given")
        ->type_name("PORT");
    run.add_flag("--panel-hold", arguments.panelHolds,
                 "Keep the board and its panel after the program's end, until Ctrl-C or the panel's button")
        ->needs("--panel");
}

// A scenario that nobody watches is judged by the program's own clock. Throws CLI::ParseError for options that do not
// go together.
void SetTime(RunArguments& arguments, const std::string& program) {
    BoardOptions& options = arguments.options;
    const bool isWatched = options.terminal || !arguments.panel.empty() || options.recording;
    options.time = arguments.timing.Get(!arguments.timing.IsTimeGiven() && options.scenario.file && !isWatched &&
                                        CanSkipTime(program, options.directory));
}

void AttachPanel(RunArguments& arguments, const std::vector<std::string>& command) {
    if (arguments.panel.empty())
        return;
    arguments.options.attachments.emplace_back(
        [options = PanelOptions{VelrixTools::Joined(command), ParsePort(arguments.panel), arguments.panelHolds}](
            const AttachedBoard& board) { return std::make_unique<Panel>(board, options); });
}

// Where two recorded runs differ.
struct DiffArguments {
    std::string first;
    std::string second;
    DifferenceOptions options;
};

void AddTime(CLI::App& command, const std::string& name, TimelineTime& time, const std::string& description) {
    const auto read = [&time, name](const std::string& text) {
        const auto parsed = ParseTime(text);
        if (!parsed)
            throw CLI::ValidationError(name, "takes a time such as 500us, 20ms or 1.5s, not " + text);
        time = *parsed;
    };
    command.add_option_function<std::string>(name, read, description)->type_name("TIME");
}

CLI::App* AddDiff(CLI::App& app, DiffArguments& arguments) {
    CLI::App* diff = app.add_subcommand("diff", "Say where two recordings differ");
    diff->footer(
        "Ends with 0 where the recordings agree, with 1 where they differ, with 125 where one cannot be read.");
    diff->add_option("A", arguments.first, "The recording to compare with")->required()->type_name("FILE.vcd");
    diff->add_option("B", arguments.second, "The recording to compare")->required()->type_name("FILE.vcd");
    AddTime(*diff, "--tolerance", arguments.options.tolerance,
            "How far apart a change may be and still be the same one; 0 if not given");
    AddTime(*diff, "--glitch", arguments.options.glitch,
            "Overlook levels that last no longer than this; 0 if not given");
    diff->add_flag("--from-first-change", arguments.options.fromFirstChange,
                   "Count times from the first change of each run, not from the start of its program");
    return diff;
}

int Diff(const DiffArguments& arguments) {
    const auto differences = Difference(ReadVcd(arguments.first), ReadVcd(arguments.second), arguments.options);
    std::string text;
    for (const std::string& difference : differences)
        text += difference + "\n";
    PrintOutput(text);
    return differences.empty() ? 0 : 1;
}

// Does not return if a signal ended the program.
int RunCommand(int argc, char** argv) {
    RunArguments runArguments;
    RunArguments recordArguments;
    std::vector<std::string> command;
    CLI::App app("Run device programs on a private board", "velrix-board");
    app.footer(FOOTER);
    app.require_subcommand(1);
    app.failure_message(RefusalText);
    CLI::App* run = app.add_subcommand("run", "Run a program on a private board");
    AddRunOptions(*run, runArguments);
    CLI::App* record =
        app.add_subcommand("record", "Run a program and record what is done to its board, for run --scenario");
    AddRunOptions(*record, recordArguments);
    record
        ->add_option("FILE", recordArguments.options.recording, "The file for what is done to the board, as a scenario")
        ->required();
    bool replacesFile = false;
    record->add_flag("--force", replacesFile, "Replace FILE if it exists");
    DiffArguments diffArguments;
    const CLI::App* diff = AddDiff(app, diffArguments);
    const ExploreCommand explore(app);
    const CommonCommands common(app);
    try {
        app.parse(OwnArguments(argc, argv, command));
        if (common.Run())
            return 0;
        if (diff->parsed())
            return Diff(diffArguments);
        if (!explore.IsGiven() || !explore.PrintsBounds())
            RequireProgram(app, command);
        if (explore.IsGiven())
            return explore.Run(command);
        RunArguments& arguments = record->parsed() ? recordArguments : runArguments;
        const BoardOptions& options = arguments.options;
        if (options.recording && !replacesFile && std::filesystem::exists(*options.recording))
            throw CLI::ValidationError("FILE",
                                       *options.recording + " exists; name another file, or replace it with --force");
        SetTime(arguments, command.front());
        AttachPanel(arguments, command);
        EndAs(RunBoard(options, CommandProgram(command)));
    } catch (const CLI::ParseError& error) {
        return EndParsing(app, error);
    }
}

} // namespace

} // namespace VelrixBoard

int main(int argc, char** argv) try {
    VelrixBoard::OpenMissingStandardStreams();
    if (VelrixBoard::RebootStub::IsCalled())
        return VelrixBoard::RebootStub::Main(argc, argv);
    return VelrixBoard::RunCommand(argc, argv);
} catch (const std::exception& error) { // BoardError, ScenarioError, TimelineError
    std::fprintf(stderr, "velrix-board: %s\n", error.what());
    return VelrixBoard::BOARD_FAILED;
}
