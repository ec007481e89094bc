// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/preload/StandInBoard.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard::Preload {

// A program that was run with the preloaded library, on the stand-in board or on none.
struct PreloadedRun {
    std::string output; // standard output, and behind it what came by standard error
    std::string errors;
    int status = -1; // the exit code, or minus the signal

    std::string All() const { return output + errors; }
};

// Runs the program and waits for its end. The environment is this process's, changed: "NAME=VALUE" sets, "NAME"
// removes.
PreloadedRun RunPreloaded(const std::vector<std::string>& command, const std::vector<std::string>& environment);

// On the board, as "velrix-board run" would start it.
PreloadedRun RunOnBoard(const StandInBoard& board, const std::vector<std::string>& command,
                        std::vector<std::string> environment = {});

// What a step of the program PreloadedSteps.cpp prints.
std::string StepOnBoard(const StandInBoard& board, const std::string& step, const std::string& argument = "");

} // namespace VelrixBoard::Preload
