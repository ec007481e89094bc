// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GpioTrace.h"

#include <cstdio>
#include <limits>
#include <string>
#include <utility>

namespace VelrixBoard {

namespace {

std::chrono::microseconds TimeOf(long long seconds, long long microseconds) {
    return std::chrono::seconds(seconds) + std::chrono::microseconds(microseconds);
}

} // namespace

std::optional<GpioWrite> ParseGpioWrite(std::string_view line) {
    const std::string text(line);
    long long seconds = 0, microseconds = 0;
    unsigned long long offset = 0, value = 0;
    int length = 0;
    const int found = std::sscanf(text.c_str(), "%*d@%lld.%lld:aspeed_gpio_write offset: 0x%llx value 0x%llx%n",
                                  &seconds, &microseconds, &offset, &value, &length);
    constexpr auto GREATEST = std::numeric_limits<std::uint32_t>::max();
    if (found != 4 || std::cmp_not_equal(length, text.size()) || offset > GREATEST || value > GREATEST)
        return std::nullopt;
    return GpioWrite{TimeOf(seconds, microseconds), static_cast<std::uint32_t>(offset),
                     static_cast<std::uint32_t>(value)};
}

std::optional<MachineTransition> ParseTransition(std::string_view line) {
    const std::string text(line);
    long long seconds = 0, microseconds = 0;
    char before[32], after[32];
    const int found =
        std::sscanf(text.c_str(), "%*d@%lld.%lld:runstate_set current_run_state %*d (%31[^)]) new_state %*d (%31[^)])",
                    &seconds, &microseconds, before, after);
    const std::string running = "running";
    if (found != 4 || (before == running) == (after == running))
        return std::nullopt;
    return MachineTransition{TimeOf(seconds, microseconds), after == running};
}

} // namespace VelrixBoard
