// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include <poll.h>

#include "board/base/Clock.h"
#include "board/loop/ILoopPart.h"

namespace VelrixBoard {

// Waits for all parts of a board, then runs those that are ready, on one thread: in the order in which they were added,
// each at most once per round, so that none starves the others.
//
// Events keep that order: when a part handles an event, the parts added earlier have handled everything that happened
// before. So the program's end, handled by a late part, comes after everything that the program wrote.
class EventLoop final {
public:
    // Like ppoll, which it is outside of tests. longest: nothing is no timeout.
    using Wait = std::function<int(std::vector<pollfd>& descriptors, const std::optional<BoardTime>& longest)>;

    explicit EventLoop(Clock boardClock, Wait waitForParts = Poll)
        : clock(std::move(boardClock)), wait(std::move(waitForParts)) {}

    // The part must outlive the loop, or be removed. A part added in a round runs from the next round on; a removed one
    // does not run any more.
    void Add(ILoopPart& part) { parts.push_back(&part); }
    void Remove(const ILoopPart& part);

    BoardTime Now() const { return clock(); }

    // Waits until a part is ready or due, at most so long, and runs the parts. A signal may end the wait early. Throws
    // BoardError when it cannot wait.
    void Round(std::optional<BoardTime> longest = std::nullopt);

    // By the machine's time.
    static int Poll(std::vector<pollfd>& descriptors, const std::optional<BoardTime>& longest);

private:
    void AwaitParts(std::optional<BoardTime> longest);

    Clock clock;
    Wait wait;
    std::vector<ILoopPart*> parts; // null: removed in this round
    std::vector<pollfd> waits;     // last part first
};

} // namespace VelrixBoard
