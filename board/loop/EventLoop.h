// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include <poll.h>

#include "board/base/Clock.h"
#include "board/loop/ILoopPart.h"

namespace VelrixBoard {

// Waits for all parts of a board at once, and then gives each that is ready its turn, on one thread. Parts take their
// turns in the order in which they were added, each at most once a round, so that none starves the others.
//
// The order holds for what happened as well: when a part finds something, all that happened before it has been seen by
// the parts added earlier, in this round at the latest. So the end of a program, which is the business of a late part,
// comes after everything that the program wrote.
//
// The loop alone asks for the time and alone waits.
class EventLoop final {
public:
    // Waits until one of the descriptors is ready, or that long; nothing: without a limit. The result and errno are
    // those of ppoll, which it is outside of tests.
    using Wait = std::function<int(std::vector<pollfd>& descriptors, const std::optional<BoardTime>& longest)>;

    explicit EventLoop(Clock boardClock, Wait waitForParts = Poll)
        : clock(std::move(boardClock)), wait(std::move(waitForParts)) {}

    // The part must outlive the loop, or be removed. Added in a round, it has its first turn in the next one; removed
    // in a round, it gets no further turn.
    void Add(ILoopPart& part) { parts.push_back(&part); }
    void Remove(const ILoopPart& part);

    BoardTime Now() const { return clock(); }

    // Waits, at most so long, until a part is ready or its time has come, and gives the parts their turns. A signal may
    // end the waiting early. Throws BoardError when it cannot wait.
    void Round(std::optional<BoardTime> longest = std::nullopt);

private:
    static int Poll(std::vector<pollfd>& descriptors, const std::optional<BoardTime>& longest);

    void AwaitParts(std::optional<BoardTime> longest);

    Clock clock;
    Wait wait;
    std::vector<ILoopPart*> parts; // null where one was removed in this round
    std::vector<pollfd> waits;     // of the parts, the last one first
};

} // namespace VelrixBoard
