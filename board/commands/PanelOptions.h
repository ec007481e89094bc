// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "board/virtual/Board.h"

namespace CLI {
class App;
}

namespace VelrixBoard {

// The option --panel of the command.
class PanelOptions final {
public:
    explicit PanelOptions(CLI::App& command);
    PanelOptions(const PanelOptions&) = delete;
    PanelOptions& operator=(const PanelOptions&) = delete;

    // Attaches the panel if the option is given. Throws CLI::ValidationError for an invalid port.
    void Complete(BoardOptions& options, const std::vector<std::string>& command) const;

private:
    std::string port;
};

} // namespace VelrixBoard
