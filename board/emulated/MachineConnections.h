// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/emulated/AgentPort.h"
#include "board/emulated/Emulator.h"
#include "board/emulated/GdbClient.h"
#include "board/emulated/GpioLines.h"
#include "board/emulated/MachineClock.h"
#include "board/emulated/MachineConsole.h"
#include "board/emulated/QmpClient.h"
#include "board/loop/EventLoop.h"
#include "board/loop/FunctionPart.h"
#include "board/loop/StopSignals.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

// Since 1970, like the times of the trace.
std::chrono::microseconds HostTime();

// A program for the emulated machine, and where its output goes.
struct MachineProgram {
    // The command; the program is found by the machine's PATH or by an absolute path.
    std::vector<std::string> words;

    // Receive the program's output and errors. While takesOutput returns false, the program blocks when it prints; only
    // its last output still comes, at most MOST_AT_END of each.
    std::function<void(std::string_view)> output = [](std::string_view) {};
    std::function<void(std::string_view)> errors = [](std::string_view) {};
    std::function<bool()> takesOutput = [] { return true; };
    static constexpr std::size_t MOST_AT_END = std::size_t{1} * 1024 * 1024;

    // Parts to run while the program runs, such as the simulated module.
    std::vector<ILoopPart*> parts{};

    // Ends the program, and at last the run; may be null.
    StopSignals* stop = nullptr;

    // A signalfd of further signals for the program; -1: none.
    int signals = -1;

    // Timeout of the program, a BoardError.
    std::optional<std::chrono::seconds> limit;
};

struct MachineResult {
    enum class Why {
        EXITED,
        // The machine restarted or halted before the program ended, which has no exit code then. A halted machine runs
        // nothing more.
        RESTARTED,
        HALTED,
        // By request of program.stop; the machine cannot be used any more.
        STOPPED
    };

    Why why = Why::EXITED;
    // SIGNALLED plus the signal's number after a signal, as in a shell.
    static constexpr int SIGNALLED = 128;
    int exitCode = 0;
    BoardTime end{};
};

// The state of a program that runs on the machine.
struct RunningProgram {
    const MachineProgram& program;
    BoardState* state; // null: not observed
    const GpioLines* lines;
    std::chrono::microseconds start; // by the machine's clock
    std::optional<MachineResult> result{};
    int answersDue = 0;                                     // to signals
    std::optional<std::chrono::microseconds> answerLimit{}; // for them
    std::optional<std::chrono::microseconds> killLimit{};   // for the end of a killed program
};

// All connections to the emulated machine, each a part of one loop, and the state received by them: of the machine, its
// GPIO controller and the running program.
class MachineConnections final {
public:
    MachineConnections(const std::filesystem::path& image, const CpioArchive& files);

    bool IsUp() const { return !addresses.empty() && !halted; }
    bool HasHalted() const { return halted; }

    // One round of the loop, which waits until that host time at most.
    void Turn(std::chrono::microseconds until);

    // Waits until the emulator has answered all commands.
    void AwaitEmulator();

    // Before the program's command, and after its end.
    void Begin(RunningProgram& program);
    void Finish();
    RunningProgram* Running() { return running; }

    // By the machine's clock: since the program's start, and since 1970.
    BoardTime Now() const { return running ? At(HostTime()) : BoardTime(0); }
    std::chrono::microseconds MachineTime() const { return clock.At(HostTime()); }

    void SetLine(unsigned line, bool level) { qmp.SetLine(line, level); }

    // Sends the program a signal, "TERM".
    void Signal(const std::string& name);

    // Sends the machine's agent a line.
    void Command(const std::string& line);

    // The secret word for the next program's command.
    const std::string& NewWord() { return agentPort.NewWord(); }

    // Whether the machine needs its setup since its last start.
    bool IsNew() const { return !prepared; }
    void SetPrepared() { prepared = true; }

    // Throws BoardError when a timeout of the running program has expired.
    void CheckLimits();

    // Kills the machine and throws BoardError with the end of its output.
    [[noreturn]] void Fail(const std::string& what);

private:
    BoardTime At(std::chrono::microseconds hostTime) const { return clock.At(hostTime) - running->start; }
    int IfOutputIsTaken(const FileDescriptor& stream) const;

    void FinishWrite();
    void ReadTrace();
    void ReadTraceLine(std::string_view line);
    void ReadOutput();
    void ReadConsole();
    void ReadEvents();
    void ReadAgent();
    void Obey(const AgentPort::Message& message);
    void WatchWrites(const std::string& text);
    void PassOnSignal();
    void EndOnRequest();
    void EndProgram(MachineResult::Why why, int code);
    void GoOn();

    Emulator::Connections ends;
    Emulator emulator;
    QmpClient qmp;
    GdbClient debugger;
    MachineClock clock;
    AgentPort agentPort;
    MachineConsole console;
    std::string traceText;
    std::string addresses; // of the GPIO controller's data register; empty: the machine is not up
    bool halted = false;
    bool prepared = false; // since the machine's last start
    RunningProgram* running = nullptr;

    EventLoop loop{[this] { return Now(); }};
    // In the order of their turns.
    FunctionPart writePart{[this] { return debugger.Descriptor(); }, [this](BoardTime) { FinishWrite(); }};
    FunctionPart tracePart{[this] { return ends.trace.Get(); }, [this](BoardTime) { ReadTrace(); }};
    FunctionPart outputPart{[this] { return IfOutputIsTaken(ends.output); }, [this](BoardTime) { ReadOutput(); }};
    FunctionPart errorsPart{[this] { return IfOutputIsTaken(ends.errors); }, [this](BoardTime) { ReadOutput(); }};
    FunctionPart consolePart{[this] { return ends.console.Get(); }, [this](BoardTime) { ReadConsole(); }};
    FunctionPart eventPart{[this] { return qmp.Descriptor(); }, [this](BoardTime) { ReadEvents(); }};
    FunctionPart agentPart{[this] { return ends.agent.Get(); }, [this](BoardTime) { ReadAgent(); }};
    // While a program runs. Waits for the agent's answer before the next signal: the kernel merges those that wait.
    FunctionPart signalPart{[this] { return running->answersDue == 0 ? running->program.signals : -1; },
                            [this](BoardTime) { PassOnSignal(); }};
    FunctionPart stopPart{[this] { return running->program.stop ? running->program.stop->Descriptor() : -1; },
                          [this](BoardTime) { EndOnRequest(); }};
    FunctionPart settlePart{[this](BoardTime now) {
        if (running->state)
            running->state->Tell(&BoardObserver::OnSettled, now);
    }};
};

} // namespace VelrixBoard
