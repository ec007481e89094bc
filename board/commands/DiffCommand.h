// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "board/timeline/Difference.h"

namespace CLI {
class App;
}

namespace VelrixBoard {

// The command "velrix-board diff A.vcd B.vcd".
class DiffCommand final {
public:
    // Adds the subcommand, which sets this object when the arguments are parsed.
    explicit DiffCommand(CLI::App& app);
    DiffCommand(const DiffCommand&) = delete;
    DiffCommand& operator=(const DiffCommand&) = delete;

    bool IsGiven() const;

    // Prints the differences, one per line. Returns 0 if there are none, else 1. Throws TimelineError when a file
    // cannot be read.
    int Run() const;

private:
    CLI::App* command;
    std::string first;
    std::string second;
    DifferenceOptions options;
};

} // namespace VelrixBoard
