// SPDX-License-Identifier: Apache-2.0
#include "board/model/Fault.h"

#include <utility>

#include "board/timeline/Timeline.h"

namespace VelrixBoard {

namespace {

constexpr std::pair<std::string_view, Fault::Kind> NAMES[] = {
    {"EIO", Fault::Kind::IO_ERROR},
    {"ENOSPC", Fault::Kind::NO_SPACE},
    {"EACCES", Fault::Kind::NO_ACCESS},
    {"missing", Fault::Kind::MISSING},
};

constexpr std::string_view SLOW = "slow:";

// Beyond this a file does not simulate a slow device but a hang.
constexpr std::chrono::microseconds LONGEST_DELAY = std::chrono::hours(1);

} // namespace

Fault ParseFault(std::string_view text) {
    for (const auto& [name, kind] : NAMES)
        if (text == name)
            return {kind};
    if (text.substr(0, SLOW.size()) == SLOW)
        if (const auto delay = ParseTime(text.substr(SLOW.size()));
            delay && delay->count() > 0 && *delay <= LONGEST_DELAY)
            return {Fault::Kind::SLOW, *delay};
    throw FaultError("\"" + std::string(text) +
                     "\" is no fault; there are EIO, ENOSPC, EACCES, missing, and slow:TIME from slow:1us to "
                     "slow:60min, such as slow:500ms");
}

std::string ToString(const Fault& fault) {
    for (const auto& [name, kind] : NAMES)
        if (fault.kind == kind)
            return std::string(name);
    const auto us = fault.delay.count();
    return std::string(SLOW) + (us % 1'000'000 == 0 ? std::to_string(us / 1'000'000) + "s"
                                : us % 1'000 == 0   ? std::to_string(us / 1'000) + "ms"
                                                    : std::to_string(us) + "us");
}

} // namespace VelrixBoard
