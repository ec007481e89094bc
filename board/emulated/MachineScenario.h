// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// Throws ScenarioError, with file, line and column, for a step that the emulated board cannot play: what happens inside
// of the machine is not seen from outside, but for its lines, LEDs and end.
void RefuseWhatTheMachineCannot(const Scenario& scenario);

} // namespace VelrixBoard
