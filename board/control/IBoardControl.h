// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

#include "board/model/Fault.h"
#include "board/model/ModuleState.h"

namespace VelrixBoard {

// What can be done to a running board from outside of its program. Called on the board's loop thread only, but not
// from within an observer. Whatever changes is told to the observers before the call returns.
class IBoardControl {
public:
    virtual ~IBoardControl() = default;

    // Gives an input a level. Throws BoardError for an output, which only the program drives.
    virtual void DriveInput(std::size_t signal, bool level) = 0;

    // Breaks the signal's value file, or with nothing makes it whole again. Throws BoardError for a fault that the
    // signal cannot have; it stays as it was then.
    virtual void SetFault(std::size_t signal, const std::optional<Fault>& fault) = 0;
    virtual std::optional<Fault> FaultOf(std::size_t signal) const = 0;

    // How long after its reset the Oxbo module becomes ready, also for a reset that was released already; nothing:
    // never.
    virtual void SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) = 0;
    virtual ModuleState OxboState() const = 0;

    // Sends the signal to the program; nothing happens when none runs.
    virtual void SignalProgram(int signal) = 0;
};

} // namespace VelrixBoard
