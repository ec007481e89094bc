// SPDX-License-Identifier: Apache-2.0
#include "board/base/PollDescriptors.h"

#include <chrono>
#include <ctime>

namespace VelrixBoard {

int PollDescriptors(pollfd* descriptors, std::size_t count, const std::optional<BoardTime>& longest) {
    timespec limit{};
    if (longest) {
        const auto seconds = std::chrono::floor<std::chrono::seconds>(*longest);
        limit = {static_cast<time_t>(seconds.count()), static_cast<long>((*longest - seconds).count())};
    }
    return ::ppoll(descriptors, count, longest ? &limit : nullptr, nullptr);
}

} // namespace VelrixBoard
