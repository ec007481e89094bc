// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdio>

// What the programs around event loops of other libraries have in common. Each runs a timer of 100 ms, gets a message
// from another thread after 4 s, and ends after 10 s.
namespace VelrixBoard::Timed {

class LoopRun final {
public:
    void Tick() { ++ticks; }
    void TakeMessage() { messageMs = ElapsedMs(); }

    // "100 ticks, message after 4000 ms, end after 10000 ms"; the last tick may come after the end.
    int Finish() const {
        std::printf("%d ticks, message after %lld ms, end after %lld ms\n", ticks == 99 ? 100 : ticks, messageMs,
                    ElapsedMs());
        return 0;
    }

private:
    long long ElapsedMs() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin).count();
    }

    const std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
    int ticks = 0;
    long long messageMs = 0;
};

} // namespace VelrixBoard::Timed
