// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "board/timeline/Difference.h"

namespace CLI {
class App;
}

namespace VelrixBoard {

// "velrix-board diff A.vcd B.vcd": where two recorded runs differ.
class DiffCommand final {
public:
    // Adds the subcommand, which fills this object when the arguments are parsed.
    explicit DiffCommand(CLI::App& app);
    DiffCommand(const DiffCommand&) = delete;
    DiffCommand& operator=(const DiffCommand&) = delete;

    bool IsGiven() const;

    // Prints the differences, a line each. 0 where there are none, 1 where there are some. Throws TimelineError for a
    // file that cannot be read.
    int Run() const;

private:
    CLI::App* command;
    std::string first;
    std::string second;
    DifferenceOptions options;
};

} // namespace VelrixBoard
