// SPDX-License-Identifier: Apache-2.0
// The command velrix-emulator. 125 is the exit code of everything that goes wrong outside of the program.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/Paths.h"
#include "board/commands/CommandArguments.h"
#include "board/commands/CommonCommands.h"
#include "board/control/ScenarioPlayer.h"
#include "board/emulated/ArmProgram.h"
#include "board/emulated/ImageFolder.h"
#include "board/emulated/Machine.h"
#include "board/emulated/MachineControl.h"
#include "board/loop/ProcessSignals.h"
#include "board/loop/StopSignals.h"
#include "board/loop/StreamWriter.h"
#include "board/model/SettingsReader.h"
#include "board/records/TimelineRecorder.h"

namespace VelrixBoard {

namespace {

constexpr const char* FOOTER = "The program's exit code becomes that of this command, 128 and the signal's number "
                               "after a signal, 0 when the program "
                               "restarted or halted the machine; 125 says that the board could not be made or that "
                               "its kernel gave up, 126 that "
                               "PROGRAM cannot be run, 127 that it was not found.";

// The program cannot be run, which is known before the machine boots. The code is the shell's.
struct ProgramRefusal {
    static constexpr int NOT_RUNNABLE = 126;
    static constexpr int NOT_FOUND = 127;

    int code;
    std::string why;
};

struct EmulatorOptions {
    std::optional<std::filesystem::path> image;
    std::optional<std::filesystem::path> settings;
    std::optional<std::string> timeline;
    ScenarioOptions scenario;
    std::vector<std::filesystem::path> libraries;
    std::vector<std::filesystem::path> copies;
    std::map<std::string, bool> levels;
    std::optional<std::chrono::milliseconds> oxboReadyAfter = OxboModule::READY_AFTER;
    std::vector<std::string> command;
};

// A message if the exit code does not say everything.
std::string RemarkOn(MachineResult::Why why, const StopSignals& stop) {
    using Why = MachineResult::Why;
    if (why == Why::STOPPED)
        return "kills the machine (" + stop.Reason() + ")";
    return why == Why::RESTARTED ? "the machine restarted" : why == Why::HALTED ? "the machine halted" : "";
}

// The program's output, at the reader's pace.
class ProgramStreams final {
public:
    void AddTo(MachineProgram& program, BoardState& state, const Machine& machine) {
        program.output = [&](std::string_view text) {
            output.Write(text);
            state.Tell(&BoardObserver::OnOutput, ProgramStream::OUTPUT, text, machine.Now());
        };
        program.errors = [&](std::string_view text) {
            errors.Write(text);
            state.Tell(&BoardObserver::OnOutput, ProgramStream::ERRORS, text, machine.Now());
        };
        program.takesOutput = [this] { return output.IsWritten() && errors.IsWritten(); };
        program.parts.push_back(&output);
        program.parts.push_back(&errors);
    }

    // Writes the rest, until the user stops it.
    void Finish(StopSignals& stop, int signalFile) {
        const StreamWriter::Patience patience{{stop.Descriptor(), signalFile}, [&] {
                                                  pollfd signal{signalFile, POLLIN, 0};
                                                  return stop.Take() != StopSignals::Request::NONE ||
                                                         ::poll(&signal, 1, 0) == 1;
                                              }};
        (void)(output.Finish(patience) && errors.Finish(patience));
    }

    void Say(const std::string& what) { errors.Write("velrix-emulator: " + what + "\n"); }

private:
    // Each buffers more than a program's last output.
    static_assert(MachineProgram::MOST_AT_END * 2 < StreamWriter::MOST_WAITING);

    StreamWriter output{STDOUT_FILENO};
    StreamWriter errors{STDERR_FILENO};
};

// The path of a program that is a file here. A name without a slash is a command of the machine. Throws ProgramRefusal.
std::optional<std::filesystem::path> ProgramHere(const std::string& word) {
    if (word.find('/') == std::string::npos)
        return std::nullopt;
    const auto path = std::filesystem::absolute(word).lexically_normal();
    if (!std::filesystem::exists(path))
        throw ProgramRefusal{ProgramRefusal::NOT_FOUND,
                             path.native() + " does not exist; a name without a slash is a command of the machine"};
    if (!std::filesystem::is_regular_file(path) || !ReadArmObject(path))
        throw ProgramRefusal{ProgramRefusal::NOT_RUNNABLE,
                             path.native() +
                                 " is no 32-bit ARM program; build it for the device, with arm-linux-gnueabihf-g++"};
    return path;
}

// The machine's files besides its image.
CpioArchive FilesFor(const EmulatorOptions& options, const GpioLines& lines,
                     const std::optional<std::filesystem::path>& programHere) {
    CpioArchive files;
    lines.AddLinks(files);
    if (options.settings)
        files.AddFile("/etc/velrix.conf", *options.settings);
    for (const std::filesystem::path& copy : options.copies)
        files.AddTree(std::filesystem::absolute(copy).lexically_normal(), copy);
    if (programHere)
        AddArmProgram(files, *programHere, options.libraries);
    return files;
}

// A command that the machine does not have, but a program of that name is here.
std::string HintFor(const std::string& word, int exitCode) {
    const bool isMeant = exitCode == ProgramRefusal::NOT_FOUND && word.find('/') == std::string::npos &&
                         std::filesystem::is_regular_file(word);
    return isMeant ? "for the program in this directory, write ./" + word : "";
}

// Observers and controls of the board while the program runs.
struct Watchers {
    std::optional<OxboModule> module;
    std::optional<TimelineRecorder> recorder;
    std::optional<MachineControl> control;
    std::optional<ScenarioPlayer> player;

    Watchers(const EmulatorOptions& options, Machine& machine, BoardState& state, MachineProgram& program) {
        // A user who sets the module's line simulates the module.
        if (!options.levels.contains(BoardModel::OXBO_IRQ)) {
            module.emplace(state, options.oxboReadyAfter,
                           [&machine](std::size_t signal, bool level) { machine.DriveInput(signal, level); });
            state.Add(*module);
            program.parts.push_back(&*module);
        }
        if (options.timeline) {
            recorder.emplace(*options.timeline, state);
            state.Add(*recorder);
        }
        control.emplace(machine, state, module ? &*module : nullptr);
        if (options.scenario.file) {
            player.emplace(options.scenario, state, *control);
            RefuseWhatTheMachineCannot(player->Steps());
            state.Add(*player);
            program.parts.push_back(&*player);
        }
    }
};

// On a terminal says that the machine boots, since nothing else shows for many seconds. False when the user stops it.
bool AwaitReady(Machine& machine, StopSignals& stop, ProgramStreams& streams) {
    if (::isatty(STDERR_FILENO) == 0)
        return machine.AwaitReady(&stop);
    const auto begin = std::chrono::steady_clock::now();
    streams.Say("the machine boots, which takes about ten seconds");
    if (!machine.AwaitReady(&stop))
        return false;
    const auto taken = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begin);
    streams.Say("the machine is up after " + std::to_string(taken.count()) + " s");
    return true;
}

int RunOnEmulator(const EmulatorOptions& options) {
    // First of all, so that a signal while the machine boots ends in order.
    StopSignals stop("velrix-emulator", {SIGINT, SIGQUIT, SIGTERM});
    const SignalBlock signals{SIGHUP, SIGUSR1, SIGUSR2};
    if (options.settings)
        RequireContent(*options.settings);
    const std::filesystem::path image = options.image ? *options.image : DefaultImage();
    const BoardModel model = MakeModel("velrix-emulator", options.settings, options.levels);
    const auto programHere = ProgramHere(options.command[0]); // before the image, which takes minutes to make
    RequireImage(image);
    const GpioLines lines(image / "lines.txt", model);
    BoardState state(model);
    MachineProgram program;
    program.words = options.command;
    if (programHere)
        program.words[0] = programHere->native();
    Machine machine(image, FilesFor(options, lines, programHere));
    Watchers watchers(options, machine, state, program);
    ProgramStreams streams;
    streams.AddTo(program, state, machine);

    if (!AwaitReady(machine, stop, streams))
        return MachineResult::SIGNALLED + stop.Signal();
    const FileDescriptor signalFile(::signalfd(-1, &signals.Blocked(), SFD_CLOEXEC | SFD_NONBLOCK));
    program.stop = &stop;
    program.signals = signalFile.Get();
    const MachineResult result = machine.Run(program, state, lines);
    if (watchers.recorder)
        watchers.recorder->Finish(result.end);
    if (result.why != MachineResult::Why::STOPPED)
        streams.Finish(stop, signalFile.Get());
    if (const std::string remark = RemarkOn(result.why, stop); !remark.empty())
        streams.Say(remark);
    if (const std::string hint = HintFor(options.command[0], result.exitCode); !hint.empty())
        streams.Say(hint);
    const int verdict = watchers.player ? watchers.player->Finish(result.end) : result.exitCode;
    return result.why == MachineResult::Why::STOPPED ? result.exitCode : verdict;
}

void AddRunOptions(CLI::App& run, EmulatorOptions& options) {
    run.footer(FOOTER);
    run.add_option("--image", options.image,
                   "What velrix-emulator image made; if not given, that of VELRIX_EMULATED_BOARD, or the one in the "
                   "user's cache")
        ->type_name("DIR");
    run.add_option("--settings", options.settings, "The board's /etc/velrix.conf; without it there is none")
        ->type_name("FILE");
    AddTestingOptions(run, options.timeline, options.scenario);
    AddBeginningOptions(run, options.levels, options.oxboReadyAfter);
    run.add_option("--libraries", options.libraries, "Where to look for libraries that the program needs")
        ->type_name("DIR");
    run.add_option("--copy", options.copies, "A file or directory that the program finds at its path here")
        ->type_name("PATH");
    TakeOneValueEach(run);
}

CLI::App* AddImage(CLI::App& app, std::optional<std::filesystem::path>& folder) {
    CLI::App* image = app.add_subcommand("image", "Make the image that the machine boots, from Debian's packages");
    image->footer("Downloads Debian's kernel and some packages for armhf, and installs nothing. Does nothing when the "
                  "image is up to date. Ends with 0, or with 1 or 125 when something is wrong.");
    image->add_option("DIR", folder, "Folder for it; if not given, the one that run takes it from");
    return image;
}

// Does not return: this process becomes the script.
[[noreturn]] void MakeImage(const std::optional<std::filesystem::path>& named) {
    const std::filesystem::path folder = std::filesystem::absolute(named ? *named : DefaultImage());
    const std::filesystem::path script = ImageScript(std::filesystem::read_symlink("/proc/self/exe"));
    ::execl(script.c_str(), script.c_str(), folder.c_str(), static_cast<char*>(nullptr));
    ThrowSystemError("cannot run " + script.native());
}

int RunEmulatorCommand(int argc, char** argv) {
    EmulatorOptions options;

    CLI::App app("Run device programs on a 32-bit ARM machine with the board's LEDs and lines", "velrix-emulator");
    app.footer(FOOTER);
    app.require_subcommand(1);
    app.failure_message(RefusalText);
    CLI::App* run = app.add_subcommand("run", "Boot the machine and run a program on it");
    AddRunOptions(*run, options);
    std::optional<std::filesystem::path> imageFolder;
    const CLI::App* image = AddImage(app, imageFolder);
    const CommonCommands common(app);

    try {
        app.parse(OwnArguments(argc, argv, options.command));
        if (common.Run())
            return 0;
        if (image->parsed())
            MakeImage(imageFolder);
        RequireProgram(app, options.command);
    } catch (const CLI::ParseError& error) {
        return EndParsing(app, error);
    }

    try {
        return RunOnEmulator(options);
    } catch (const ProgramRefusal& refusal) {
        std::fprintf(stderr, "velrix-emulator: %s\n", refusal.why.c_str());
        return refusal.code;
    }
}

} // namespace

} // namespace VelrixBoard

int main(int argc, char** argv) try {
    VelrixBoard::OpenMissingStandardStreams();
    return VelrixBoard::RunEmulatorCommand(argc, argv);
} catch (const std::exception& error) { // BoardError, ScenarioError, TimelineError
    std::fprintf(stderr, "velrix-emulator: %s\n", error.what());
    return VelrixBoard::BOARD_FAILED;
}
