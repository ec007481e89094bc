// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/TestingOptions.h"

namespace VelrixBoard {

void AddTestingOptions(CLI::App& command, BoardOptions& options) {
    command.add_option("--timeline", options.timeline, "Record every change of every line and LED")
        ->type_name("FILE.vcd");
}

} // namespace VelrixBoard
