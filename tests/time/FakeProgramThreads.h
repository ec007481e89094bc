// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "board/time/IProgramThreads.h"

namespace VelrixBoard {

// Threads as a test says, and a log of the signals that they got.
class FakeProgramThreads final : public IProgramThreads {
public:
    bool AreAsleep() override {
        ++lookCount;
        if (looks.empty())
            return true;
        const bool areAsleep = looks.front();
        looks.pop_front();
        return areAsleep;
    }
    bool IsStillAlone() override { return isAlone; }
    const std::vector<ProgramThread>& Threads() const override { return threads; }
    std::string Describe(const ProgramThread& thread) const override {
        return "thread " + std::to_string(thread.number) + " of " + std::to_string(thread.process);
    }
    void Send(const TimerSignal& signal) override {
        log += "signal " + std::to_string(signal.signal) + " to " + std::to_string(signal.process) + "\n";
    }

    int lookCount = 0;
    bool isAlone = false;
    std::deque<bool> looks; // what the next ones find; asleep after that
    std::vector<ProgramThread> threads;
    std::string log;
};

} // namespace VelrixBoard
