// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

#include "board/base/BoardError.h"
#include "board/control/IBoardControl.h"

namespace VelrixBoard {

// Logs its calls.
class FakeControl final : public IBoardControl {
public:
    explicit FakeControl(const BoardState& boardState) : state(boardState) {}

    void DriveInput(std::size_t signal, bool level, InputDriver driver) override {
        if (!state.IsInput(signal))
            throw BoardError(state.Name(signal) + " is an output");
        log += "drive " + state.Name(signal) + (level ? " 1\n" : " 0\n");
        drivers[signal] = driver;
    }
    void ReleaseInput(std::size_t signal) override {
        log += "release " + state.Name(signal) + "\n";
        drivers[signal] = InputDriver::MODULE;
    }
    InputDriver DriverOf(std::size_t signal) const override {
        const auto found = drivers.find(signal);
        return found == drivers.end() ? InputDriver::START : found->second;
    }
    void SetFault(std::size_t signal, const std::optional<Fault>& fault) override {
        log += "fault " + state.Name(signal) + " " + (fault ? ToString(*fault) : "none") + "\n";
        if (fault)
            faults[signal] = *fault;
        else
            faults.erase(signal);
    }
    std::optional<Fault> FaultOf(std::size_t signal) const override {
        const auto found = faults.find(signal);
        return found == faults.end() ? std::nullopt : std::optional(found->second);
    }
    void SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) override {
        log += "ready after " + (delay ? std::to_string(delay->count()) : "never") + "\n";
        module.readyAfter = delay;
    }
    ModuleState OxboState() const override { return module; }
    void SetWebLogFull(bool isFull) override { log += isFull ? "web log full\n" : "web log not full\n"; }
    void ChangeWallClock(const WallClockChange&) override { log += "clock\n"; }
    void RestartProgram() override { log += "restart\n"; }
    void SignalProgram(int signal) override { log += "signal " + std::to_string(signal) + "\n"; }

    const BoardState& state;
    std::string log;
    std::map<std::size_t, Fault> faults;
    std::map<std::size_t, InputDriver> drivers;
    ModuleState module{.readyAfter = std::chrono::milliseconds(40)};
};

} // namespace VelrixBoard
