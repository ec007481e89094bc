// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "board/virtual/Board.h"

namespace CLI {
class App;
}

namespace VelrixBoard {

// Options that record a run and judge it: --timeline, --scenario, --junit.
class TestingOptions final {
public:
    // Adds them to the command, whose arguments then fill this object, which must stay where it is.
    void AddTo(CLI::App& command);

    // The file to record inputs in, for a command that does nothing else with them.
    void AddRecordingTo(CLI::App& command);

    void Apply(BoardOptions& options) const;

private:
    std::optional<std::string> timeline;
    std::optional<std::string> scenario;
    std::optional<std::string> junit;
    std::optional<std::string> recording;
};

} // namespace VelrixBoard
