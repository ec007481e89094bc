// SPDX-License-Identifier: Apache-2.0
#include "board/explore/TrialRunner.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include <poll.h>

#include "board/base/PollDescriptors.h"

namespace VelrixBoard {

TrialRunner::TrialRunner(const TrialSetup& trialSetup, ScenarioNames boardNames, std::size_t atATime,
                         StopSignals& stopSignals, std::function<void()> onEnd)
    : setup(trialSetup), names(std::move(boardNames)), most(atATime), stop(stopSignals), tell(std::move(onEnd)),
      folder(RunDirectory::Private()) {}

std::vector<TrialResult> TrialRunner::Run(const std::vector<Circumstances>& cases) {
    std::vector<std::optional<TrialResult>> results(cases.size());
    std::vector<std::unique_ptr<Trial>> running(most); // by place
    std::vector<std::size_t> which(most);
    std::size_t next = 0, done = 0;
    bool isStopped = false;
    while (!isStopped && done < cases.size()) {
        for (std::size_t i = 0; i < most; ++i)
            if (!running[i] && next < cases.size()) {
                which[i] = next;
                running[i] = std::make_unique<Trial>(setup, names, cases[next++],
                                                     folder.Path() / ("run-" + std::to_string(++count)));
            }
        AwaitOne(running);
        isStopped = stop.Take() != StopSignals::Request::NONE;
        if (isStopped)
            stop.Answered();
        for (std::size_t i = 0; i < most; ++i) {
            if (!running[i])
                continue;
            pollfd end{running[i]->Descriptor(), POLLIN, 0};
            if (::poll(&end, 1, 0) != 1 && std::chrono::steady_clock::now() < running[i]->Deadline())
                continue;
            results[which[i]] = running[i]->Finish();
            running[i].reset();
            ++done;
            tell();
        }
    }
    std::vector<TrialResult> first;
    for (const std::optional<TrialResult>& result : results) {
        if (!result)
            break;
        first.push_back(*result);
    }
    return first;
}

void TrialRunner::AwaitOne(const std::vector<std::unique_ptr<Trial>>& running) const {
    std::vector<pollfd> waits = {{stop.Descriptor(), POLLIN, 0}};
    auto soonest = std::chrono::steady_clock::time_point::max();
    for (const auto& each : running)
        if (each) {
            waits.push_back({each->Descriptor(), POLLIN, 0});
            soonest = std::min(soonest, each->Deadline());
        }
    const BoardTime left = soonest - std::chrono::steady_clock::now();
    (void)PollDescriptors(waits.data(), waits.size(), std::max(left, BoardTime::zero()));
}

} // namespace VelrixBoard
