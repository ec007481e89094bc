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

// What one program does on the emulated machine, and who listens.
struct MachineProgram {
    // Found in the machine, by its PATH or by a whole path.
    std::vector<std::string> words;

    // Takes what the program prints and its errors, as they come. Where takesOutput says no, the program waits with
    // what it prints, and with nothing else; only what it printed at its very end comes all the same, at most
    // MOST_AT_END of each.
    std::function<void(std::string_view)> output = [](std::string_view) {};
    std::function<void(std::string_view)> errors = [](std::string_view) {};
    std::function<bool()> takesOutput = [] { return true; };
    static constexpr std::size_t MOST_AT_END = std::size_t{1} * 1024 * 1024;

    // What wants attention while the program runs, such as the simulated module.
    std::vector<ILoopPart*> parts{};

    // Whose signals end the program, and at last the run; null for nobody's.
    StopSignals* stop = nullptr;

    // A signalfd of further signals for the program; -1 for none.
    int signals = -1;

    // The program is taken to hang after this long, which is a BoardError.
    std::optional<std::chrono::seconds> limit;
};

struct MachineResult {
    enum class Why {
        EXITED,
        // The machine restarted, or came to its end as it was told to, before the program ended. It has no exit code
        // then, and a machine that is halted runs nothing more.
        RESTARTED,
        HALTED,
        // The signals to stop want it, who know the reason. The machine is of no more use.
        STOPPED
    };

    Why why = Why::EXITED;
    // SIGNALLED and the signal's number after a signal, as in a shell.
    static constexpr int SIGNALLED = 128;
    int exitCode = 0;
    BoardTime end{};
};

// A 32-bit ARM machine in an emulator, with the board's LEDs and lines on its GPIO controller, watched and driven from
// outside of everything that runs on it. From the write of an output or LED until all observers and parts have dealt
// with it, the machine and its time stand still, so that the program finds an answer as soon as it looks for it.
//
// It boots once and then runs any number of programs one after the other; each finds its outputs low, its LEDs dark and
// the inputs as its state says. A program may restart the machine: the next one then waits until it is up again. The
// machine goes with the object. One thread.
class Machine final {
public:
    // Starts the emulator with the image that scripts/emulated-board-image made and further files for the machine.
    // Throws BoardError when the emulator or a part of the image is missing.
    Machine(const std::filesystem::path& image, const CpioArchive& files);
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;
    ~Machine();

    // Waits until the machine is up; Run does so as well.
    void AwaitReady();

    // Runs a program and feeds the state with what the GPIO controller sees; times count from the program's start
    // and are the machine's. Its observers hear of the start and of the end, where a code above 128 counts as a signal,
    // and of a restart or halt of the machine as a call of reboot. They do not receive what the program logs.
    // Throws BoardError when the machine does not come up, panics, ends, does not answer, or the program's limit
    // passed.
    MachineResult Run(const MachineProgram& program, BoardState& state, const GpioLines& lines);

    // While a program runs: sends it a signal, "TERM".
    void Signal(const std::string& name);

    // While a program runs: drives an input.
    void DriveInput(std::size_t signal, bool level);

    // While a program runs: the time since its start, without that in which the machine stood still.
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
