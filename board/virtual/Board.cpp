// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/Board.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <utility>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/BoardLayout.h"
#include "board/loop/EventLoop.h"
#include "board/loop/FunctionPart.h"
#include "board/loop/ProcessSignals.h"
#include "board/loop/StopSignals.h"
#include "board/sandbox/Init.h"
#include "board/sandbox/PreloadLibrary.h"
#include "board/sandbox/Residents.h"
#include "board/time/VirtualTime.h"
#include "board/virtual/BoardParts.h"
#include "board/virtual/ProgramLife.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

// Forwards signals from other processes to the program. Blocks them while it exists.
class PassedSignals final : public ILoopPart {
public:
    PassedSignals(ProgramLife& programLife, UserOutput& userOutput) : life(programLife), user(userOutput) {}

    int Descriptor() const override { return life.TakesSignals() ? file.Get() : -1; }

    // The terminal signals the whole foreground group, so the program has its signals already; except a hang-up, which
    // only the session leader gets, and this process may be that.
    void Run(BoardTime now) override {
        for (const signalfd_siginfo& signal : Read()) {
            const auto number = static_cast<int>(signal.ssi_signo);
            if (number == SIGWINCH)
                user.OnResize(now);
            else if (signal.ssi_code <= 0 || number == SIGHUP)
                life.Signal(number);
        }
    }

    // For the wait for the rest of the output: a descriptor, and whether a signal asks the board to end.
    int Waiting() const { return file.Get(); }
    bool AskToEnd() const {
        const std::vector<signalfd_siginfo> waiting = Read();
        return std::any_of(waiting.begin(), waiting.end(),
                           [](const signalfd_siginfo& signal) { return signal.ssi_signo != SIGWINCH; });
    }

private:
    std::vector<signalfd_siginfo> Read() const {
        std::array<signalfd_siginfo, 8> some; // more kinds than there are
        const ssize_t length = ::read(file.Get(), some.data(), sizeof some);
        const std::size_t count = length < 0 ? 0 : static_cast<std::size_t>(length) / sizeof some[0];
        return {some.data(), some.data() + count};
    }

    ProgramLife& life;
    UserOutput& user;
    const SignalBlock signals{SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGWINCH};
    const FileDescriptor file{::signalfd(-1, &signals.Blocked(), SFD_CLOEXEC | SFD_NONBLOCK)};
};

// One running board: everything outside its namespaces, on one thread with one loop.
class Board final : private IProgramHost {
public:
    Board(const BoardOptions& options, RunDirectory directory, const SavedSignals& savedSignals,
          StopSignals& stopSignals)
        : saved(savedSignals), stop(stopSignals), layout(directory.Path()), time(MakeTime(options.time)),
          loop(time ? time->MakeLoop() : EventLoop(StartClock())),
          parts(options, std::move(directory), loop,
                {[this](int signal) { life.Signal(signal); }, [this] { life.Restart(); },
                 [this](std::string_view call) { life.Reboot(call); },
                 [this](bool restart) { life.RebootBySystemCall(restart); },
                 [this](const WallClockChange& change) { ChangeWallClock(change); },
                 [this] {
                     if (time)
                         time->Keeper().OnValueFileUsed();
                 },
                 [this] { return time && time->Keeper().HasReachedAll(); }}),
          life(
              *this, parts.State(), [this] { return loop.Now(); },
              options.onReboot == BoardOptions::OnReboot::RESTART) {}

    int Run(const Program& givenProgram) {
        Program program = givenProgram;
        parts.Show(program);
        PassedSignals signals(life, parts.User());
        const bool hasOwnNumbers = Fork(program);
        parts.User().OnForked();
        // May start threads: after the fork. And before the program can change anything.
        parts.Attach();
        Order(InitOrder::BEGIN);

        const int initStatus = Serve(signals);
        if (!hasOwnNumbers && !life.HasEnded())
            Residents(false).End();
        parts.TellRecords();
        bool isStopped = life.IsKilled();
        // Before the view's last drawing.
        const bool isHeld = parts.IsHeld() && life.HasEnded() && !life.IsToldToEnd();
        if (isHeld)
            parts.User().Say("the program has ended; the board is kept until Ctrl-C, or the panel's button, ends it");
        parts.FinishOutput({{signals.Waiting(), stop.Descriptor()}, [&] {
                                isStopped =
                                    isStopped || signals.AskToEnd() || stop.Take() != StopSignals::Request::NONE;
                                return isStopped;
                            }});
        parts.RemoveOwnFiles();
        life.RequireBoard();
        const std::optional<int> verdict = parts.Finish();
        const int status = verdict ? W_EXITCODE(*verdict, 0) : life.Status(initStatus);
        if (isHeld && !isStopped)
            Hold(signals);
        return status;
    }

private:
    std::unique_ptr<VirtualTime> MakeTime(const TimeOptions& options) {
        if (!options.isVirtual)
            return nullptr;
        if (PreloadLibrary().empty())
            throw BoardError(
                "this velrix-board has no library to preload, which virtual time needs, as it was built for "
                "a 32-bit machine; use --time real");
        return std::make_unique<VirtualTime>(options, layout.Clock(),
                                             [this](const std::string& text) { parts.User().Say(text); });
    }

    void ChangeWallClock(const WallClockChange& change) {
        if (!time)
            throw BoardError("a board with the machine's time cannot set its clock; use --time virtual");
        time->Keeper().ChangeWallClock(change);
    }

    // The board's programs get its clock, by the library.
    void ShareTime(InitPlan& plan) {
        const fs::path library = fs::absolute(layout.PreloadLibrary());
        if (!plan.preloadsLibrary)
            WriteLibrary(library);
        parts.Entry().ServeOneAtATime();
        plan.beginProgram = [this, begin = plan.beginProgram, library, preloads = !plan.preloadsLibrary] {
            time->Share();
            if (preloads)
                PreloadInto(library);
            return begin();
        };
    }

    // Forks process 1, which waits for its order to begin. Returns whether it has a pid namespace.
    bool Fork(const Program& program) {
        std::array<int, 2> pair{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair.data()) != 0)
            ThrowSystemError("cannot make a socket pair");
        initSocket = FileDescriptor(pair[0]);
        FileDescriptor farEnd(pair[1]);
        InitPlan plan = parts.Entry().Plan(parts.Placements());
        plan.restoreSignals = [this] { saved.Restore(); };
        if (time)
            ShareTime(plan);
        // If process 1 is killed, its children become children of this process.
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);

        // The child must not run the handlers of StopSignals.
        sigset_t termination, before;
        sigemptyset(&termination);
        sigaddset(&termination, SIGTERM);
        ::sigprocmask(SIG_BLOCK, &termination, &before);
        init = parts.Entry().Fork();
        if (init == 0) {
            initSocket.Close();
            RunInit(plan, program, std::move(farEnd));
        }
        ::sigprocmask(SIG_SETMASK, &before, nullptr);
        if (time)
            time->SetFirst(init);
        return plan.hasOwnNumbers;
    }

    // Serves the board until process 1 is gone; returns its wait status.
    int Serve(PassedSignals& signals) {
        bool isThere = true;
        FunctionPart stopPart([this] { return stop.Descriptor(); }, [this](BoardTime) { EndOnRequest(); });
        FunctionPart initPart([this] { return initSocket.Get(); }, [&](BoardTime) { isThere = Receive(); });
        parts.AddTo(loop);
        // The program's end comes after everything that it did.
        loop.Add(signals);
        loop.Add(stopPart);
        loop.Add(initPart);
        while (isThere)
            loop.Round();
        int status = 0;
        while (::waitpid(init, &status, 0) < 0 && errno == EINTR) {
        }
        return status;
    }

    // The run is over and everything of it is written. Shows it until the user has seen enough.
    void Hold(const PassedSignals& signals) {
        EventLoop rest([this] { return loop.Now(); });
        bool isStopped = false;
        FunctionPart stopPart([this] { return stop.Descriptor(); },
                              [&](BoardTime) { isStopped = isStopped || stop.Take() != StopSignals::Request::NONE; });
        FunctionPart signalPart([&] { return signals.Waiting(); },
                                [&](BoardTime) { isStopped = isStopped || signals.AskToEnd(); });
        parts.Hold(rest);
        rest.Add(stopPart);
        rest.Add(signalPart);
        while (!isStopped && parts.IsHeld())
            rest.Round();
    }

    // A program that has not started gets SIGTERM when it does; after its end there is nothing to wait for.
    void EndOnRequest() {
        const StopSignals::Request request = stop.Take();
        if (request == StopSignals::Request::NONE)
            return;
        stop.Answered();
        const bool atOnce = request == StopSignals::Request::KILL;
        life.End(atOnce, atOnce ? stop.Reason() : "");
    }

    static void Tell(TimeKeeper& keeper, const InitMessage& message) {
        if (message.kind == InitMessage::Kind::STARTED)
            keeper.OnProgramStarted();
        if (message.kind == InitMessage::Kind::ENDED)
            keeper.OnProgramEnded();
    }

    // False when process 1 is gone.
    bool Receive() {
        InitMessage message;
        FileDescriptor attached;
        parts.TellRecords();
        parts.Settle();
        if (!ReceiveInitMessage(initSocket.Get(), message, attached))
            return false;
        if (message.kind == InitMessage::Kind::MOUNTED)
            parts.Entry().Serve(std::move(attached));
        else if (message.kind == InitMessage::Kind::STARTED)
            programProcess = std::move(attached);
        if (time)
            Tell(time->Keeper(), message);
        life.Obey(message);
        return true;
    }

    void Order(InitOrder order) override { SendInitOrder(initSocket.Get(), order); }
    void KillInit() override { ::kill(init, SIGKILL); }
    void Signal(int number) override {
        if (time)
            time->Keeper().OnSignal();
        ::syscall(SYS_pidfd_send_signal, programProcess.Get(), number, nullptr, 0);
    }
    void PowerUp() override { parts.PowerUp(); }
    void RecordSystemCall(bool restart) override { parts.RecordSystemCall(restart); }
    void Say(const std::string& what) override { parts.User().Say(what); }

    const SavedSignals& saved;
    StopSignals& stop;
    const BoardLayout layout;
    std::unique_ptr<VirtualTime> time; // none: the machine's
    EventLoop loop;
    BoardParts parts;
    ProgramLife life;
    pid_t init = -1;
    FileDescriptor initSocket;
    FileDescriptor programProcess;
};

} // namespace

int RunBoard(const BoardOptions& options, const Program& program) {
    try {
        const SavedSignals saved;
        // Writes to a full file or without a reader must fail, not kill the board.
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
    // The program has dumped its core already.
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
