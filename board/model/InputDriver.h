// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard {

// Who set the level that an input has.
enum class InputDriver {
    START,  // nobody since power-up
    OPTION, // --set
    MODULE, // the simulated module
    PANEL,
    PIPE, // a command in the run directory's "control"
    SCENARIO
};

} // namespace VelrixBoard
