// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "board/base/RunDirectory.h"
#include "board/explore/Trial.h"
#include "board/loop/StopSignals.h"

namespace VelrixBoard {

// Runs cases, several at a time, until all are done or a signal asks to stop.
class TrialRunner final {
public:
    // onEnd: is called after each run.
    TrialRunner(const TrialSetup& trialSetup, ScenarioNames boardNames, std::size_t atATime, StopSignals& stopSignals,
                std::function<void()> onEnd);

    // The results in the order of the cases; when the user stopped, those of the first ones that are done.
    std::vector<TrialResult> Run(const std::vector<Circumstances>& cases);

private:
    // Waits for one of the runs, or for its deadline, or for a signal.
    void AwaitOne(const std::vector<std::unique_ptr<Trial>>& running) const;

    const TrialSetup& setup;
    const ScenarioNames names;
    const std::size_t most;
    StopSignals& stop;
    const std::function<void()> tell;
    const RunDirectory folder;
    int count = 0; // of runs
};

} // namespace VelrixBoard
