// SPDX-License-Identifier: Apache-2.0
#include "board/explore/Circumstance.h"

namespace VelrixBoard {

std::string ExactTime(ScenarioTime time) {
    const long long us = time.count();
    if (us % 1'000'000 == 0)
        return std::to_string(us / 1'000'000) + "s";
    return us % 1'000 == 0 ? std::to_string(us / 1'000) + "ms" : std::to_string(us) + "us";
}

std::string LineOf(const Circumstance& circumstance) {
    return "when " + circumstance.trigger +
           (circumstance.after == ScenarioTime(0) ? "" : " after " + ExactTime(circumstance.after)) + " " +
           circumstance.action;
}

} // namespace VelrixBoard
