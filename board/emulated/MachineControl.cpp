// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/MachineControl.h"

#include <cstring>

#include "board/base/BoardError.h"

namespace VelrixBoard {

void MachineControl::DriveInput(std::size_t signal, bool level, InputDriver) {
    if (!state.IsInput(signal))
        throw BoardError(state.Name(signal) + " is an output, which only the program drives");
    machine.DriveInput(signal, level);
}

void MachineControl::ReleaseInput(std::size_t signal) {
    throw BoardError("the emulated board cannot give " + state.Name(signal) + " back to the module");
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

void MachineControl::SetWebLogFull(bool) {
    throw BoardError("the emulated board cannot fill its web log's disk; try that on velrix-board");
}

void MachineControl::ChangeWallClock(const WallClockChange&) {
    throw BoardError("the emulated board cannot set its clock; try that on velrix-board with --time virtual");
}

void MachineControl::SignalProgram(int signal) {
    machine.Signal(::sigabbrev_np(signal));
}

void MachineControl::RestartProgram() {
    throw BoardError("the emulated board runs its program once");
}

void RefuseWhatTheMachineCannot(const Scenario& scenario) {
    for (const Step& step : scenario.steps) {
        const Action* action = ActionOf(step);
        const std::string place =
            step.file + ":" + std::to_string(step.line) + ":" + std::to_string(step.column) + ": ";
        if (action && (std::holds_alternative<InjectFault>(*action) || std::holds_alternative<SetWebLogFull>(*action)))
            throw ScenarioError(place + "the emulated board's value files are the real kernel's and cannot be broken; "
                                        "play this scenario on velrix-board");
        for (const Condition* condition : ConditionsOf(step)) {
            const auto* log = std::get_if<LogHas>(condition);
            if (log && (log->log == LogHas::Log::WEB || log->log == LogHas::Log::SYSTEM))
                throw ScenarioError(place + "the emulated board's logs are not seen from outside; play this scenario "
                                            "on velrix-board");
        }
    }
}

} // namespace VelrixBoard
