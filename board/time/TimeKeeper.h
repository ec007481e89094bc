// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <poll.h>

#include "board/base/Clock.h"
#include "board/time/IProgramThreads.h"
#include "board/time/TimeOptions.h"
#include "board/time/TimedWaits.h"

namespace VelrixBoard {

// The time of a board whose programs have its clock, and the waiting of its loop.
//
// While a program runs, time passes in three ways alone: by a fixed time for each look at the clock and each use of a
// value file; by the processor time of a program that uses more than that; and, when nothing on the board can run, by a
// jump to the soonest moment that anybody waits for. So the same run takes the same time again. The board's own parts
// come first at each moment, then threads, one after the other, in the order in which they began to wait.
//
// Before the program's start time stands still; after its end it passes as on the machine, since process 1 waits for
// what the program left by that.
class TimeKeeper final {
public:
    // As EventLoop::Wait; the second one is the machine's monotonic time.
    using Wait = std::function<int(std::vector<pollfd>& descriptors, const std::optional<BoardTime>& longest)>;
    using MachineTime = std::function<std::chrono::nanoseconds()>;
    using Say = std::function<void(const std::string& text)>;

    struct Machine {
        Wait wait;
        MachineTime time;
        unsigned processors; // that the board and its programs may use
    };

    TimeKeeper(const TimeOptions& timeOptions, Preload::TimePage& page, IProgramThreads& programThreads, Say sayToUser,
               Machine ownMachine);

    BoardTime Now() const { return waits.Now(); }

    // Waits for the board's loop until a descriptor is ready, or that long by the board's time. Throws BoardError when
    // a program does not answer, or waits past the board's clock and the options do not let it.
    int WaitForBoard(std::vector<pollfd>& descriptors, const std::optional<BoardTime>& longest);

    // A program reads or writes a value file, which takes VALUE_FILE_USE. So a loop that looks at a line comes to its
    // end, after as many looks on every machine.
    void OnValueFileUsed() { waits.Advance(Now() + VALUE_FILE_USE); }
    static constexpr std::chrono::microseconds VALUE_FILE_USE{20};

    void OnProgramStarted();
    void OnProgramEnded();

    // Whether no program has waited past the board's clock so far.
    bool HasReachedAll() const { return !hasMissed; }

    // The board sends a program a signal.
    void OnSignal() { waits.OnSignal(); }

    void ChangeWallClock(const WallClockChange& change) { waits.ChangeWallClock(change); }

    // For messages: how long the machine may take before the user is asked to look.
    static constexpr std::chrono::seconds WATCHDOG{10};

private:
    using Descriptors = std::vector<pollfd>;
    using nanoseconds = std::chrono::nanoseconds;
    enum class State { NOT_STARTED, RUNS, ENDED };

    std::optional<int> Turn(Descriptors& descriptors, const std::optional<BoardTime>& due);
    std::optional<int> WaitForStart(Descriptors& descriptors, const std::optional<BoardTime>& due);
    std::optional<int> FollowMachine(Descriptors& descriptors, const std::optional<BoardTime>& due);
    std::optional<int> LetRun(Descriptors& descriptors);
    int LookOut(Descriptors& descriptors);
    std::optional<int> Pass(Descriptors& descriptors, const std::optional<BoardTime>& due);
    std::optional<int> PassPaced(Descriptors& descriptors, BoardTime target);
    std::optional<int> AwaitOutside(Descriptors& descriptors);
    void WakeUnmatched();
    bool WakeOne(Descriptors& descriptors);
    void CountProcessorTime();
    void LearnPatience();
    void CheckUnserved();
    void SetPace(const std::optional<double>& newPace);
    BoardTime PacedNow() const;
    void Watch();
    void SayOnce(const std::string& text);

    const TimeOptions options;
    IProgramThreads& threads;
    TimedWaits waits;
    const Say say;
    const Machine machine;
    State state = State::NOT_STARTED;
    std::optional<double> pace; // in force: the options', or the machine's
    nanoseconds paceBegin{0};
    BoardTime paceBeginOnBoard{0};
    nanoseconds lastCount{0};  // by the machine, of the processor time
    nanoseconds usualPatience; // of the first short wait for programs that run
    nanoseconds patience;      // of the next one
    BoardTime lastNow{-1};
    nanoseconds lastMove{0}; // by the machine, when the board's time was another one than before
    bool isStandingSaid = false;
    std::optional<nanoseconds> outsideSince; // nobody has waited for a time
    std::optional<std::uint64_t> woken;      // the wait that was ended last, and how often, and since when
    int wakes = 0;
    int lookOutPause = 0; // short waits without a look-out after one in vain
    int lookOutsLeft = 0; // of those
    nanoseconds firstWake{0};
    bool hasMissed = false;
    std::set<std::string> said;
};

} // namespace VelrixBoard
