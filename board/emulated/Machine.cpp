// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/Machine.h"

#include <algorithm>
#include <memory>

#include <sys/wait.h>

namespace VelrixBoard {

namespace {

// Booting takes about eight seconds, several times that on a busy host.
constexpr std::chrono::seconds BOOT_LIMIT{180};

// How long a signal to stop may wait for its turn.
constexpr std::chrono::milliseconds STOP_INTERVAL{100};

// Quotes a word for the shell.
std::string Quote(const std::string& word) {
    std::string quoted = "'";
    for (const char c : word) {
        if (c == '\'')
            quoted += "'\\''";
        else if (c == '\n')
            quoted += "'$'\\n''";
        else
            quoted += c;
    }
    return quoted + "'";
}

} // namespace

bool Machine::AwaitReady(StopSignals* stop) {
    const auto limit = HostTime() + BOOT_LIMIT;
    while (!connections.IsUp()) {
        if (stop != nullptr && stop->Take() != StopSignals::Request::NONE)
            return false;
        if (connections.HasHalted())
            connections.Fail("the emulated board has halted; it runs nothing more");
        if (HostTime() >= limit)
            connections.Fail("the emulated board did not come up within " + std::to_string(BOOT_LIMIT.count()) + " s");
        // A signal that comes just before the turn waits does not end the waiting.
        connections.Turn(std::min(limit, HostTime() + STOP_INTERVAL));
    }
    return true;
}

void Machine::Play(RunningProgram& running) {
    const MachineProgram& program = running.program;
    std::string line = "run " + connections.NewWord();
    for (const std::string& word : program.words)
        line += " " + Quote(word);
    const auto limit = program.limit ? HostTime() + *program.limit : std::chrono::microseconds::max() / 2;
    const std::shared_ptr<void> however(nullptr, [this](void*) { connections.Finish(); });
    connections.Begin(running);
    connections.Command(line);
    while (!running.result) {
        if (HostTime() >= limit)
            connections.Fail(program.words[0] + " did not end within its time");
        connections.Turn(limit);
        connections.CheckLimits();
    }
}

int Machine::RunQuietly(std::vector<std::string> words) {
    MachineProgram program;
    program.words = std::move(words);
    program.limit = BOOT_LIMIT;
    RunningProgram quiet{program, nullptr, nullptr, connections.MachineTime()};
    Play(quiet);
    return quiet.result->exitCode;
}

void Machine::Prepare() {
    if (connections.IsNew()) {
        // The machine has no real-time clock.
        const auto now = std::chrono::duration_cast<std::chrono::seconds>(HostTime()).count();
        if (RunQuietly({"date", "-u", "-s", "@" + std::to_string(now)}) != 0)
            connections.Fail("the emulated board's clock cannot be set");
        connections.SetPrepared();
    }
    if (RunQuietly({"/etc/reset-lines"}) != 0)
        connections.Fail("the emulated board's lines cannot be reset");
}

MachineResult Machine::Run(const MachineProgram& program, BoardState& state, const GpioLines& lines) {
    (void)AwaitReady();
    for (std::size_t i = 0; i < state.Count(); ++i)
        if (const auto line = lines.Line(i); line && state.IsInput(i))
            connections.SetLine(*line, state.Level(i));
    connections.AwaitEmulator();
    Prepare();

    RunningProgram observed{program, &state, &lines, connections.MachineTime()};
    state.Tell(&BoardObserver::OnProgramStarted, BoardTime(0));
    Play(observed);
    const MachineResult result = *observed.result;
    const bool restarted = result.why == MachineResult::Why::RESTARTED;
    const int signal = result.exitCode - MachineResult::SIGNALLED;
    if (restarted || result.why == MachineResult::Why::HALTED)
        state.Tell(&BoardObserver::OnReboot, restarted ? "the machine restarted" : "the machine halted", result.end);
    else
        state.Tell(&BoardObserver::OnProgramEnded, signal > 0 ? signal : W_EXITCODE(result.exitCode, 0), result.end);
    return result;
}

void Machine::DriveInput(std::size_t signal, bool level) {
    const RunningProgram& running = *connections.Running();
    const auto line = running.lines->Line(signal);
    if (!line)
        return;
    connections.SetLine(*line, level);
    running.state->Set(signal, level, Now());
}

} // namespace VelrixBoard
