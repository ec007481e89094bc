// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/control/IBoardControl.h"
#include "board/emulated/Machine.h"
#include "board/model/OxboModule.h"
#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// Controls the emulated board. Rejects every fault, since the value files are the real kernel's.
class MachineControl final : public IBoardControl {
public:
    // oxboModule: null if the user drives its line. All must outlive this object.
    MachineControl(Machine& ownMachine, const BoardState& boardState, OxboModule* oxboModule)
        : machine(ownMachine), state(boardState), module(oxboModule) {}

    void DriveInput(std::size_t signal, bool level, InputDriver driver) override;
    void ReleaseInput(std::size_t signal) override;
    // Not followed: no view of the emulated board shows it.
    InputDriver DriverOf(std::size_t) const override { return InputDriver::START; }
    void SetFault(std::size_t signal, const std::optional<Fault>& fault) override;
    std::optional<Fault> FaultOf(std::size_t) const override { return std::nullopt; }
    void SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) override;
    ModuleState OxboState() const override { return module ? module->State() : ModuleState(); }
    void SignalProgram(int signal) override;
    void SetWebLogFull(bool isFull) override;
    void ChangeWallClock(const WallClockChange& change) override;
    void RestartProgram() override;

private:
    Machine& machine;
    const BoardState& state;
    OxboModule* module;
};

// Throws ScenarioError, with file, line and column, for a step that the emulated board cannot play: faults and logs.
void RefuseWhatTheMachineCannot(const Scenario& scenario);

} // namespace VelrixBoard
