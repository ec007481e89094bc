// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "board/emulated/MachineConnections.h"

namespace VelrixBoard {

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
    Machine(const std::filesystem::path& image, const CpioArchive& files) : connections(image, files) {}

    // Waits until the machine is up, as Run does. False when a signal to stop comes before.
    bool AwaitReady(StopSignals* stop = nullptr);

    // Runs a program and feeds the state from the GPIO controller, with the machine's time since the program's start.
    // Observers get the start, the end (a code above 128 counts as a signal), and a restart or halt of the machine as a
    // call of reboot, but no log records. Throws BoardError when the machine does not come up, panics, ends or does not
    // answer, and on the program's timeout.
    MachineResult Run(const MachineProgram& program, BoardState& state, const GpioLines& lines);

    // Only while a program runs: sends it a signal, "TERM"; drives an input; the time since its start by the machine's
    // clock.
    void Signal(const std::string& name) { connections.Signal(name); }

    void DriveInput(std::size_t signal, bool level);

    BoardTime Now() const { return connections.Now(); }

private:
    void Play(RunningProgram& running);
    int RunQuietly(std::vector<std::string> words);
    void Prepare();

    MachineConnections connections;
};

} // namespace VelrixBoard
