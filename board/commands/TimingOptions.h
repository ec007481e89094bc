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

    // With virtual time or the machine's where the user asks for neither. Throws CLI::ParseError for options that do
    // not go together.
    TimeOptions Get(bool isUsuallyVirtual) const;

    bool IsTimeGiven() const { return !time.empty(); }

private:
    std::string time;
    std::string date;
    std::string unserved;
};

} // namespace VelrixBoard
