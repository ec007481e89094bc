// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/scenario/Scenario.h"

// A small board for scenarios.
inline const VelrixBoard::ScenarioNames NAMES{
    {{"MS", {"green", "red"}}, {"NS", {"green", "red"}}, {"LINK_ACT1", {"green", "yellow"}}},
    {"OXBO_IRQ_N", "QOR_DPRAM_BUSY_N"},
    {"OXBO_RL", "OXBO_RESET1_N"}};
