// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/emulated/CpioArchive.h"
#include "board/emulated/GpioLines.h"
#include "board/loop/ILoopPart.h"
#include "board/loop/StopSignals.h"
#include "board/model/BoardState.h"

namespace VelrixBoard {

class MachineConnections;
struct RunningProgram;

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

// A 32-bit ARM machine in an emulator, with the board's LEDs and lines on its GPIO controller, observed and driven from
// outside. The machine and its clock stop at each write of an output or LED until all observers and parts have handled
// it, so that the program finds the reaction at once.
//
// Boots once and then runs any number of programs one after the other, each with outputs low, LEDs dark and the inputs
// of its state. After a program that restarts the machine, the next one waits until it is up again. The machine is
// killed with the object. One thread.
class Machine final {
public:
    // Starts the emulator. Throws BoardError when the emulator or a part of the image is missing.
    Machine(const std::filesystem::path& image, const CpioArchive& files);
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;
    ~Machine();

    // Waits until the machine is up, as Run does. False when a signal to stop comes before.
    bool AwaitReady(StopSignals* stop = nullptr);

    // Runs a program and feeds the state from the GPIO controller, with the machine's time since the program's start.
    // Observers get the start, the end (a code above 128 counts as a signal), and a restart or halt of the machine as a
    // call of reboot, but no log records. Throws BoardError when the machine does not come up, panics, ends or does not
    // answer, and on the program's timeout.
    MachineResult Run(const MachineProgram& program, BoardState& state, const GpioLines& lines);

    // Only while a program runs: sends it a signal, "TERM"; drives an input; the time since its start by the machine's
    // clock.
    void Signal(const std::string& name);

    void DriveInput(std::size_t signal, bool level);

    BoardTime Now() const;

private:
    void Play(RunningProgram& running);
    int RunQuietly(std::vector<std::string> words);
    void Prepare();

    std::unique_ptr<MachineConnections> connections;
};

// The folder of the image by default.
inline constexpr const char* DEFAULT_IMAGE = "build/emulated-board";

} // namespace VelrixBoard
