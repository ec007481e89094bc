// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/Board.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/BoardLayout.h"
#include "board/base/Clock.h"
#include "board/base/Paths.h"
#include "board/base/RunDirectory.h"
#include "board/control/ControlPipe.h"
#include "board/control/IBoardControl.h"
#include "board/control/InputRecorder.h"
#include "board/files/ValueFiles.h"
#include "board/loop/FileWatcher.h"
#include "board/loop/ILoopPart.h"
#include "board/loop/SavedSignals.h"
#include "board/loop/SignalBlock.h"
#include "board/loop/StopSignals.h"
#include "board/model/BoardModel.h"
#include "board/model/BoardState.h"
#include "board/model/OxboModule.h"
#include "board/model/SettingsReader.h"
#include "board/records/LogTail.h"
#include "board/records/Recorder.h"
#include "board/records/SyslogSocket.h"
#include "board/records/TimelineRecorder.h"
#include "board/sandbox/Init.h"
#include "board/sandbox/NamespaceEntry.h"
#include "board/sandbox/PreloadEntry.h"
#include "board/sandbox/RebootStub.h"
#include "board/sandbox/Residents.h"
#include "board/virtual/UserOutput.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

const fs::path SETTINGS_FILE = "/etc/velrix.conf";
const fs::path DEVICES = "/dev";
const fs::path LOG_SOCKET = "/dev/log";

// More kinds than a board passes on.
constexpr std::size_t SIGNALS_PER_TURN = 8;

void CopySettings(const fs::path& from, const fs::path& to) {
    std::error_code error;
    fs::copy_file(from, to, error);
    if (error)
        throw BoardError("cannot read the settings file " + from.string() + ": " + error.message());
    fs::permissions(to, fs::perms(0644), error);
}

// The model of the board for these options. Programs are run against faulty settings files too, to see what they do;
// the board then keeps the wiring it has without a file.
BoardModel MakeModel(const BoardOptions& options, const BoardLayout& layout) {
    BoardModel model;
    if (options.settings) {
        CopySettings(*options.settings, layout.Settings());
        try {
            ApplySettings(*options.settings, model);
        } catch (const BoardError& error) {
            std::fprintf(stderr, "velrix-board: %s; the board keeps its usual wiring\n", error.what());
        }
    }
    for (const auto& [label, level] : options.levels)
        model.SetInitialLevel(label, level);
    return model;
}

void RequireKnownPaths(const BoardOptions& options, const BoardLayout& layout, const BoardState& state) {
    std::set<fs::path> known;
    for (const Placement& directory : layout.Directories())
        known.insert(directory.inside);
    for (const fs::path& directory : DeviceTree::Directories())
        known.insert(directory);
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        known.insert(fs::path(state.Path(signal)).lexically_normal());
    for (const fs::path& path : options.without)
        if (known.count(path) == 0)
            throw BoardError("--without " + path.string() + " names neither a value file nor a directory of the board");
}

bool IsDeviceDirectory(const fs::path& path) {
    const std::vector<fs::path> directories = DeviceTree::Directories();
    return std::find(directories.begin(), directories.end(), path) != directories.end();
}

bool IsInDeviceDirectory(fs::path path) {
    for (; path.has_relative_path(); path = path.parent_path())
        if (IsDeviceDirectory(path))
            return true;
    return false;
}

// The board is made from the run directory, which has to stay in sight meanwhile.
void RequireInSight(const fs::path& runDirectory, const std::vector<Placement>& placements) {
    const fs::path directory = fs::canonical(runDirectory);
    for (const Placement& place : placements) {
        const fs::path inside = fs::weakly_canonical(place.inside);
        if (IsIn(directory, inside))
            throw BoardError("the run directory " + runDirectory.string() + " lies in " + place.inside.string() +
                             ", which is the board's own there; name another one with --directory or TMPDIR");
    }
}

// The machine's: whoever opens one and ends restarts the machine.
std::vector<fs::path> Watchdogs() {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(DEVICES, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().native().starts_with("watchdog"))
            found.push_back(entry->path());
    return found;
}

fs::path OwnProgram() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (error)
        throw BoardError("cannot find the board's own program: " + error.message() + " (is /proc mounted?)");
    return program;
}

void Append(const fs::path& path, std::string_view text) {
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    (void)!::write(file.Get(), text.data(), text.size());
}

// One running board: everything outside of its namespaces, in one thread around one poll.
class Board final : public IBoardControl {
public:
    Board(const BoardOptions& boardOptions, RunDirectory runDirectory, const SavedSignals& savedSignals,
          StopSignals& stopSignals)
        : options(boardOptions), saved(savedSignals), stop(stopSignals), directory(std::move(runDirectory)),
          layout(directory.Path()), model(MakeModel(options, layout)), state(model),
          recorder(layout, state, options.directory.has_value(), [this](const std::string& text) { Say(text); }),
          files(
              state, [this] { return Now(); }, options.without),
          oxbo(state, options.oxboReadyAfter,
               [this](std::size_t signal, bool level) { DriveForModule(signal, level); }),
          reboots(layout.Reboots(), [this](std::string_view call) { Reboot(call); }),
          webLog(layout.Outside(model.WebLogFile()),
                 [this](std::string_view record) { Tell(&IBoardObserver::OnWebLog, record); }) {
        RequireKnownPaths(options, layout, state);
        state.Add(recorder);
        state.Add(oxbo);
        fs::create_directory(layout.Stage());
        fs::create_directory(layout.Device());
        entry = MakeEntry();
        // Requests to slow files are answered after those of the program that came meanwhile.
        parts = {entry.get(), &files, &oxbo};
        for (const auto& [name, fault] : options.faults)
            files.SetFault(FindSignal(state, name), fault);
        if (options.timeline)
            timeline.emplace(*options.timeline, state);
        if (timeline)
            state.Add(*timeline);
        if (options.recording) {
            inputs.emplace(*options.recording, state, *this, [this] { return Now(); });
            state.Add(*inputs);
        }
        // After the recorder, which writes down what comes by it.
        control.emplace(layout.Control(), state, Control(), [this](const std::string& text) { Say(text); });
        parts.push_back(&*control);
        if (options.scenario) {
            player.emplace(*options.scenario, state, Control());
            state.Add(*player);
            parts.push_back(&*player);
        }
        MakeFile(layout.Reboots());
        watcher.WatchFile(layout.Reboots(), [this] { ReadOn(reboots); });
        placements = MakePlacements();
        RequireInSight(layout.Root(), placements);
    }

    int Run(const Program& givenProgram) {
        Program program = givenProgram;
        if (options.terminal)
            user.Show(state, *this, program, Now());
        for (ILoopPart* part : user.Parts())
            parts.push_back(part);
        const SignalBlock signals{SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGWINCH};
        std::array<int, 2> pair{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair.data()) != 0)
            ThrowSystemError("cannot make a socket pair");
        initSocket = FileDescriptor(pair[0]);
        FileDescriptor farEnd(pair[1]);
        const FileDescriptor signalFile(::signalfd(-1, &signals.Blocked(), SFD_CLOEXEC | SFD_NONBLOCK));
        InitPlan plan = entry->Plan(placements);
        plan.restoreSignals = [this] { saved.Restore(); };
        // What process 1 leaves behind, should it be killed, comes to this process.
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);

        init = ForkInit();
        if (init == 0) {
            initSocket.Close();
            RunInit(plan, program, std::move(farEnd));
        }
        farEnd.Close();
        user.OnForked();
        // After the fork, which one thread alone may make, and before the program can change anything.
        for (const AttachmentFactory& make : options.attachments)
            Attach(make(state, Control(), [this] { return Now(); }));
        SendInitOrder(initSocket.Get(), InitOrder::BEGIN);

        Loop(initSocket.Get(), signalFile.Get());
        int initStatus = 0;
        while (::waitpid(init, &initStatus, 0) < 0 && errno == EINTR) {
        }
        if (!plan.hasOwnNumbers && !ended)
            Residents(false).End();
        TellRecords();
        FinishOutput(signalFile.Get());
        RemoveOwnFiles();
        if (!failure.empty())
            throw BoardError(failure);
        if (timeline)
            timeline->Finish(Now());
        if (inputs)
            inputs->Finish();
        if (player)
            return W_EXITCODE(player->Finish(Now()), 0);
        return ended ? endStatus : StatusWithoutEnd(initStatus);
    }

    void DriveInput(std::size_t signal, bool level) override {
        if (!state.IsInput(signal))
            throw BoardError(state.Name(signal) + " is an output, which only the program drives");
        files.DriveInput(signal, level);
    }

    void SetFault(std::size_t signal, const std::optional<Fault>& fault) override { files.SetFault(signal, fault); }
    std::optional<Fault> FaultOf(std::size_t signal) const override { return files.FaultOf(signal); }

    void SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) override {
        oxbo.SetReadyAfter(delay, Now());
    }
    std::optional<std::chrono::milliseconds> OxboReadyAfter() const override { return oxbo.ReadyAfter(); }
    ModuleState OxboState() const override { return oxbo.State(); }

    void SignalProgram(int signal) override {
        if (programProcess && !ended)
            ::syscall(SYS_pidfd_send_signal, programProcess.Get(), signal, nullptr, 0);
    }

private:
    std::unique_ptr<IBoardEntry> MakeEntry() {
        const auto before = [this] { TellRecords(); };
        const NamespaceEntry::Place place{layout.Stage(), layout.Device()};
        if (options.isolation != Isolation::PRELOAD) {
            const NamespaceEntry::Trial trial =
                PreloadEntry::IsOnSuchABoard()
                    ? NamespaceEntry::Trial{false, false, "this board is itself on one that has a preloaded library"}
                    : NamespaceEntry::Try(place);
            if (!trial.isAllowed && (options.isolation == Isolation::NAMESPACES || PreloadLibrary().empty()))
                throw BoardError(trial.reason);
            if (!trial.isAllowed)
                Say("runs the program by a preloaded library (--isolation preload), since the machine refuses the "
                    "stronger way: " +
                    trial.reason);
            else if (options.saysIsolation && options.isolation == Isolation::AUTO)
                Say("runs the program in namespaces (--isolation namespaces), the strongest way that there is");
            if (trial.isAllowed)
                return std::make_unique<NamespaceEntry>(files, place, trial.canHaveOwnNumbers, options.asRoot, before);
        }
        if (PreloadLibrary().empty())
            throw BoardError("this velrix-board has no library to preload, as it was built for a 32-bit machine; use "
                             "--isolation namespaces");
        return std::make_unique<PreloadEntry>(state, files, layout, options.asRoot, before,
                                              [this](bool restart) { RebootBySystemCall(restart); });
    }

    // What nobody needs any more. A script that writes into the control pipe later would wait for ever.
    void RemoveOwnFiles() const {
        std::error_code error;
        fs::remove(layout.Stage(), error);
        RemoveTree(layout.Device());
        fs::remove(layout.NameList(), error);
        fs::remove(layout.PreloadLibrary(), error);
        fs::remove(layout.Control(), error);
    }

    // For whoever does something to the board on behalf of its user: what they do can be recorded.
    IBoardControl& Control() { return inputs ? static_cast<IBoardControl&>(*inputs) : *this; }

    BoardTime Now() const { return std::chrono::duration_cast<BoardTime>(std::chrono::steady_clock::now() - started); }

    // A line that the user set is the user's.
    void DriveForModule(std::size_t signal, bool level) {
        if (options.levels.count(state.Name(signal)) == 0)
            files.DriveInput(signal, level);
    }

    // In several turns where there is much.
    void ReadOn(LogTail& log) {
        if (log.Read())
            watcher.CallAgain();
    }

    void Tell(void (IBoardObserver::*event)(std::string_view, BoardTime), std::string_view text) {
        state.Tell(event, text, Now());
    }

    // The socket is bound before it is put in place: a socket bound later would be another file than the one that is
    // bound.
    std::vector<Placement> MakePlacements() {
        std::vector<Placement> result;
        for (const Placement& place : layout.Directories()) {
            fs::create_directories(place.outside);
            const bool absent = options.without.count(place.inside) != 0;
            result.push_back({absent ? Placement::Kind::ABSENT : place.kind, place.inside, place.outside});
        }
        for (Placement place : files.Tree().Placements(layout.Device())) {
            if (IsDeviceDirectory(place.inside) && options.without.count(place.inside) != 0)
                place.kind = Placement::Kind::ABSENT;
            result.push_back(place);
        }
        PlaceWebLog(result);

        const auto settingsKind = options.settings ? Placement::Kind::COPY : Placement::Kind::ABSENT;
        result.push_back({settingsKind, SETTINGS_FILE, layout.Settings()});

        if (options.syslog)
            syslog = std::make_unique<SyslogSocket>(
                layout.SyslogSocket(), [this](std::string_view record) { Tell(&IBoardObserver::OnSyslog, record); });
        result.push_back(
            {options.syslog ? Placement::Kind::BIND : Placement::Kind::ABSENT, LOG_SOCKET, layout.SyslogSocket()});

        for (const fs::path& watchdog : Watchdogs())
            result.push_back({Placement::Kind::ABSENT, watchdog, {}});

        const fs::path stub = options.rebootStub.empty() ? OwnProgram() : options.rebootStub;
        for (const Placement& place : RebootStub::Placements(stub, layout.Reboots()))
            result.push_back(place);
        return result;
    }

    // A web log outside of the board's directories is a file of the board's too. In a directory that the machine does
    // not have, it is the directory, so that the program makes the file, as it does on the device.
    void PlaceWebLog(std::vector<Placement>& result) {
        const fs::path inside = fs::path(model.WebLogFile()).lexically_normal();
        std::error_code error;
        // Among the value files nothing can be made.
        if (!inside.is_absolute() || fs::is_character_file(inside, error) || IsInDeviceDirectory(inside))
            return;
        const fs::path outside = layout.Outside(inside);
        fs::create_directories(outside.parent_path());
        watcher.WatchName(outside, [this] { ReadOn(webLog); });
        if (BoardLayout::IsInDirectories(inside))
            return;
        const bool asDirectory = !fs::is_directory(inside.parent_path(), error);
        if (!asDirectory)
            MakeFile(outside);
        result.push_back({Placement::Kind::BIND, asDirectory ? inside.parent_path() : inside,
                          asDirectory ? outside.parent_path() : outside});
    }

    void Attach(std::unique_ptr<IBoardAttachment> attachment) {
        state.Add(*attachment);
        parts.push_back(attachment.get());
        Say(attachment->Announcement());
        attachments.push_back(std::move(attachment));
    }

    void Say(const std::string& what) { user.Say(what); }

    // The rest of the web log and of the output, at the pace of who reads it, and until the user does not want more.
    void FinishOutput(int signalFile) {
        bool isStopped = isKilled;
        const StreamWriter::Patience patience{{signalFile, stop.Descriptor()}, [&] {
                                                  isStopped = isStopped || IsToldToEnd(signalFile) ||
                                                              stop.Take() != StopSignals::Request::NONE;
                                                  return isStopped;
                                              }};
        const auto goesOn = [&] {
            Settle();
            return user.AwaitReader(patience) && !patience.isStopped();
        };
        if (!webLog.Finish(goesOn))
            Say(isStopped
                    ? "the end of the web log is not read any more, as the board was told to end; it is in the file"
                    : "the end of the web log is too long to be read; what is missing is in the file");
        Settle();
        user.Finish([this] { return Now(); }, patience);
    }

    // The handlers of StopSignals are for this process alone.
    pid_t ForkInit() {
        sigset_t termination, before;
        sigemptyset(&termination);
        sigaddset(&termination, SIGTERM);
        ::sigprocmask(SIG_BLOCK, &termination, &before);
        const pid_t process = entry->Fork();
        if (process != 0)
            ::sigprocmask(SIG_SETMASK, &before, nullptr);
        return process;
    }

    void Loop(int socket, int signalFile) {
        bool running = true;
        while (running) {
            std::vector<pollfd> waits = {{socket, POLLIN, 0}, {watcher.Descriptor(), POLLIN, 0}};
            // Signals that come before the program runs wait for it.
            waits.push_back({programProcess ? signalFile : -1, POLLIN, 0});
            waits.push_back({syslog ? syslog->Descriptor() : -1, POLLIN, 0});
            waits.push_back({stop.Descriptor(), POLLIN, 0});
            for (const ILoopPart* part : parts)
                waits.push_back({part->Descriptor(), static_cast<short>(part->AwaitsRoom() ? POLLOUT : POLLIN), 0});
            if (::poll(waits.data(), waits.size(), Timeout()) < 0 && errno != EINTR)
                ThrowSystemError("the board cannot wait for its program");

            for (ILoopPart* part : parts)
                part->Run(Now());
            // Each reading costs a system call, and a board may have to do with writes to value files alone.
            if (waits[0].revents != 0 || waits[1].revents != 0 || waits[3].revents != 0)
                TellRecords();
            Settle();
            if (waits[2].revents != 0)
                PassOnSignals(signalFile);
            EndOnRequest();
            if (waits[0].revents != 0)
                running = Receive(socket);
        }
    }

    int Timeout() const {
        std::optional<BoardTime> due;
        for (const ILoopPart* part : parts)
            if (const auto own = part->Due())
                due = due ? std::min(*due, *own) : own;
        if (!due)
            return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - Now()).count();
        return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
    }

    void Settle() {
        state.Tell(&IBoardObserver::OnSettled, Now());
    }

    // What the program recorded by other ways than value files.
    void TellRecords() {
        if (syslog)
            syslog->Dispatch();
        watcher.Dispatch();
    }

    // The terminal sends its signals to all of the foreground group, hence to the program as well; it gets only those
    // that were meant for this process alone. A hang-up goes to the leader of the session alone, which this process may
    // be.
    void PassOnSignals(int signalFile) {
        std::array<signalfd_siginfo, SIGNALS_PER_TURN> signals;
        const std::size_t count = ReadSignals(signalFile, signals);
        for (std::size_t i = 0; i < count; ++i) {
            const auto number = static_cast<int>(signals[i].ssi_signo);
            if (number == SIGWINCH)
                user.OnResize(Now());
            else if (signals[i].ssi_code <= 0 || number == SIGHUP)
                SignalProgram(number);
        }
    }

    static std::size_t ReadSignals(int signalFile, std::array<signalfd_siginfo, SIGNALS_PER_TURN>& signals) {
        const ssize_t length = ::read(signalFile, signals.data(), sizeof signals);
        return length > 0 ? static_cast<std::size_t>(length) / sizeof signals[0] : 0;
    }

    // When only the rest of the output is left to wait for.
    static bool IsToldToEnd(int signalFile) {
        std::array<signalfd_siginfo, SIGNALS_PER_TURN> signals;
        const std::size_t count = ReadSignals(signalFile, signals);
        return std::any_of(signals.begin(), signals.begin() + count,
                           [](const signalfd_siginfo& signal) { return signal.ssi_signo != SIGWINCH; });
    }

    // By SIGTERM. A program that is not there yet gets it when it is; after the program there is nobody to wait for.
    void EndOnRequest() {
        const StopSignals::Request request = stop.Take();
        if (request == StopSignals::Request::NONE)
            return;
        isToldToEnd = true;
        stop.Answered();
        if (request == StopSignals::Request::KILL || ended)
            Kill();
        else
            SignalProgram(SIGTERM);
    }

    void Kill() {
        if (std::exchange(isKilled, true))
            return;
        Say(ended ? "kills what the program left running (SIGTERM)"
                  : "kills all that runs on the board (" + stop.Reason() + ")");
        if (programProcess)
            SendInitOrder(initSocket.Get(), InitOrder::KILL_ALL);
        else if (init > 0)
            ::kill(init, SIGKILL);
    }

    bool Receive(int socket) {
        InitMessage message;
        FileDescriptor attached;
        if (!ReceiveInitMessage(socket, message, attached))
            return false;
        switch (message.kind) {
        case InitMessage::Kind::MOUNTED:
            entry->Serve(std::move(attached));
            break;
        case InitMessage::Kind::STARTED:
            programProcess = std::move(attached);
            if (isToldToEnd)
                SignalProgram(SIGTERM);
            state.Tell(&IBoardObserver::OnProgramStarted, Now());
            break;
        case InitMessage::Kind::ENDED:
            OnEnd(AfterReboot(message.status));
            break;
        case InitMessage::Kind::DOWN:
            // Process 1 reaped it among all others that it killed.
            if (isKilled && !ended)
                OnEnd(W_EXITCODE(0, SIGKILL));
            // Signals that come now wait for the next program.
            programProcess.Close();
            if (reboot == RebootStub::Effect::RESTART && !isRebootedBySystemCall && !isToldToEnd &&
                options.onReboot == BoardOptions::OnReboot::RESTART) {
                PowerUp();
                ended = false;
                reboot = RebootStub::Effect::NONE;
                SendInitOrder(socket, InitOrder::RUN_ANEW);
            } else {
                SendInitOrder(socket, InitOrder::LEAVE);
            }
            break;
        case InitMessage::Kind::FAILED:
            failure = message.text;
            break;
        }
        return true;
    }

    void OnEnd(int waitStatus) {
        ended = true;
        endStatus = waitStatus;
        state.Tell(&IBoardObserver::OnProgramEnded, endStatus, Now());
    }

    // A call of one of the reboot commands: all that runs on the board is ended.
    void Reboot(std::string_view call) {
        Tell(&IBoardObserver::OnReboot, call);
        const RebootStub::Effect effect = RebootStub::EffectOf(call);
        if (effect == RebootStub::Effect::NONE || reboot != RebootStub::Effect::NONE)
            return;
        reboot = effect;
        SendInitOrder(initSocket.Get(), InitOrder::END_ALL);
    }

    // A program that the reboot ended, which it asked for, has come to a good end.
    int AfterReboot(int status) const {
        const bool byReboot = WIFSIGNALED(status) && (WTERMSIG(status) == SIGTERM || WTERMSIG(status) == SIGKILL);
        return reboot != RebootStub::Effect::NONE && byReboot ? W_EXITCODE(0, 0) : status;
    }

    // All lines and LEDs as they are when the board's power comes; outputs first, which the module answers to.
    void PowerUp() {
        const BoardState initial(model);
        for (std::size_t signal = 0; signal < state.Count(); ++signal)
            if (!state.IsInput(signal))
                state.Set(signal, initial.Level(signal), Now());
        oxbo.PowerUp(Now());
        for (std::size_t signal = 0; signal < state.Count(); ++signal)
            if (state.IsInput(signal))
                files.DriveInput(signal, initial.Level(signal));
    }

    // A program made the reboot system call: everything on the board ends at once, and the board with it.
    void RebootBySystemCall(bool restart) {
        RecordSystemCall(restart);
        reboot = restart ? RebootStub::Effect::RESTART : RebootStub::Effect::HALT;
        isRebootedBySystemCall = true;
        SendInitOrder(initSocket.Get(), InitOrder::KILL_ALL);
    }

    void RecordSystemCall(bool restart) const {
        Append(layout.Reboots(), restart ? "reboot(2) restart\n" : "reboot(2) halt\n");
    }

    // Process 1 went before the program did. The reboot system call ends a namespace that way, with a signal that tells
    // a restart from a halt; the program asked for it, so that counts as a good end.
    int StatusWithoutEnd(int initStatus) {
        if (isRebootedBySystemCall)
            return 0;
        if (isKilled)
            throw BoardError("told to end (SIGTERM) before the program ran");
        const bool restart = WIFSIGNALED(initStatus) && WTERMSIG(initStatus) == SIGHUP;
        const bool halt = WIFSIGNALED(initStatus) && WTERMSIG(initStatus) == SIGINT;
        if (!restart && !halt)
            throw BoardError("the board's first process ended unexpectedly");
        RecordSystemCall(restart);
        return 0;
    }

    const BoardOptions& options;
    const SavedSignals& saved;
    StopSignals& stop;
    RunDirectory directory;
    BoardLayout layout;
    BoardModel model;
    BoardState state;
    FileWatcher watcher;
    Recorder recorder;
    ValueFiles files;
    std::unique_ptr<IBoardEntry> entry;
    OxboModule oxbo;
    LogTail reboots;
    LogTail webLog;
    std::unique_ptr<SyslogSocket> syslog;
    UserOutput user;
    std::optional<TimelineRecorder> timeline;
    std::optional<InputRecorder> inputs;
    std::optional<ControlPipe> control;
    std::optional<ScenarioPlayer> player;
    std::vector<ILoopPart*> parts;
    std::vector<Placement> placements;
    const std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();

    pid_t init = -1;
    FileDescriptor initSocket;
    FileDescriptor programProcess;
    RebootStub::Effect reboot = RebootStub::Effect::NONE; // that was called for since the program was started
    bool isRebootedBySystemCall = false;
    bool isToldToEnd = false; // by a signal to this process
    bool isKilled = false;
    bool ended = false;
    int endStatus = 0;
    std::string failure;

    // Last, since its members use all of the board until they go.
    std::vector<std::unique_ptr<IBoardAttachment>> attachments;
};

} // namespace

int RunBoard(const BoardOptions& options, const Program& program) {
    try {
        const SavedSignals saved;
        // A file that may not grow, and a reader that is gone, fail a write; the board has to see that, not to die.
        ::signal(SIGXFSZ, SIG_IGN);
        ::signal(SIGPIPE, SIG_IGN);
        StopSignals stop("velrix-board", {SIGTERM});
        Board board(options, options.directory ? RunDirectory::At(*options.directory) : RunDirectory::Private(), saved,
                    stop);
        return board.Run(program);
    } catch (const fs::filesystem_error& error) {
        throw BoardError(error.what());
    }
}

void EndAs(int waitStatus) {
    if (!WIFSIGNALED(waitStatus))
        std::exit(WEXITSTATUS(waitStatus));
    const int signal = WTERMSIG(waitStatus);
    // One core file, the program's, is enough.
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    std::signal(signal, SIG_DFL);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
    ::raise(signal);
    std::exit(128 + signal);
}

} // namespace VelrixBoard
