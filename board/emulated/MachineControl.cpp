// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/MachineControl.h"

#include <cstring>

#include "board/base/BoardError.h"

namespace VelrixBoard {

void MachineControl::DriveInput(std::size_t signal, bool level) {
    if (!state.IsInput(signal))
        throw BoardError(state.Name(signal) + " is an output, which only the program drives");
    machine.DriveInput(signal, level);
}

void MachineControl::SetFault(std::size_t signal, const std::optional<Fault>&) {
    throw BoardError("the emulated board cannot break " + state.Name(signal) +
                     ": its value files are the real kernel's; try faults on velrix-board");
}

void MachineControl::SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) {
    if (!module)
        throw BoardError("the simulated module is off, because --set drives " + BoardModel::OXBO_IRQ);
    module->SetReadyAfter(delay, machine.Now());
}

std::optional<std::chrono::milliseconds> MachineControl::OxboReadyAfter() const {
    return module ? module->ReadyAfter() : std::nullopt;
}

void MachineControl::SignalProgram(int signal) {
    machine.Signal(::sigabbrev_np(signal));
}

} // namespace VelrixBoard
