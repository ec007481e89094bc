// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "board/time/TimeOptions.h"

namespace CLI {
class App;
}

namespace VelrixBoard {

// The options of a command that say how the board's time passes.
class TimingOptions final {
public:
    void AddTo(CLI::App& command);

    // Throws CLI::ParseError for options that do not go together.
    TimeOptions Get() const;

private:
    std::string time = "real";
    std::string date;
    std::string unserved;
};

} // namespace VelrixBoard
