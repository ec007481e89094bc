// SPDX-License-Identifier: Apache-2.0
#include "board/loop/EventLoop.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "board/base/BoardError.h"
#include "board/base/PollDescriptors.h"

namespace VelrixBoard {

void EventLoop::Remove(const ILoopPart& part) {
    std::replace_if(
        parts.begin(), parts.end(), [&part](const ILoopPart* each) { return each == &part; }, nullptr);
}

void EventLoop::Round(std::optional<BoardTime> longest) {
    AwaitParts(longest);
    // By index, since a part may add others. Runs only parts that are ready, since each turn costs a system call.
    const std::size_t count = parts.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (parts[i] == nullptr)
            continue;
        const std::optional<BoardTime> due = parts[i]->Due();
        if (waits[count - 1 - i].revents != 0 || (due && *due <= clock()) || parts[i]->RunsInEveryRound())
            parts[i]->Run(clock());
    }
}

// The kernel checks the descriptors in their order. From the last part to the first: a part is then never found ready
// without those that were ready before it.
void EventLoop::AwaitParts(std::optional<BoardTime> longest) {
    parts.erase(std::remove(parts.begin(), parts.end(), nullptr), parts.end());
    waits.clear();
    std::optional<BoardTime> soonest;
    std::for_each(parts.rbegin(), parts.rend(), [&](const ILoopPart* part) {
        waits.push_back({part->Descriptor(), static_cast<short>(part->AwaitsRoom() ? POLLOUT : POLLIN), 0});
        if (const auto due = part->Due())
            soonest = soonest ? std::min(*soonest, *due) : due;
    });
    if (soonest) {
        const BoardTime left = std::max(*soonest - clock(), BoardTime::zero());
        longest = longest ? std::min(*longest, left) : left;
    }
    if (wait(waits, longest) >= 0)
        return;
    if (errno != EINTR)
        ThrowSystemError("the board cannot wait for its program");
    for (pollfd& each : waits)
        each.revents = 0;
}

int EventLoop::Poll(std::vector<pollfd>& descriptors, const std::optional<BoardTime>& longest) {
    return PollDescriptors(descriptors.data(), descriptors.size(), longest);
}

} // namespace VelrixBoard
