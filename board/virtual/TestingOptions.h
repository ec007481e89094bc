// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include "board/virtual/Board.h"

namespace VelrixBoard {

// Options that record a run and judge it.
void AddTestingOptions(CLI::App& command, BoardOptions& options);

} // namespace VelrixBoard
