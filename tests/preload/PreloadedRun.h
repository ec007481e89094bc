// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/preload/StandInBoard.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard::Preload {

// A finished program with the preloaded library, on the fake board or without one.
struct PreloadedRun {
    std::string output; // standard output, followed by standard error
    std::string errors;
    int status = -1; // the exit code, or minus the signal

    std::string All() const { return output + errors; }
};

// Runs the program and waits for its end. The environment is this process's, changed: "NAME=VALUE" sets, "NAME"
// removes.
PreloadedRun RunPreloaded(const std::vector<std::string>& command, const std::vector<std::string>& environment);

// On the board, like "velrix-board run".
PreloadedRun RunOnBoard(const StandInBoard& board, const std::vector<std::string>& command,
                        std::vector<std::string> environment = {});

// The output of a step of PreloadedSteps.cpp.
std::string StepOnBoard(const StandInBoard& board, const std::string& step, const std::string& argument = "");

} // namespace VelrixBoard::Preload
