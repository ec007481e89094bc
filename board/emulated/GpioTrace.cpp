// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GpioTrace.h"

#include <charconv>

namespace VelrixBoard {

namespace {

// Consumes a number and the text after it.
template <class Number>
bool Take(std::string_view& text, Number& number, int base, std::string_view follower) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (error != std::errc() || !text.starts_with(follower))
        return false;
    text.remove_prefix(follower.size());
    return true;
}

// Consumes "PID@SECONDS.MICROSECONDS" and the text after it.
bool TakeTime(std::string_view& line, std::chrono::microseconds& time, std::string_view follower) {
    int process = 0;
    long long seconds = 0;
    long long microseconds = 0;
    if (!Take(line, process, 10, "@") || !Take(line, seconds, 10, ".") || !Take(line, microseconds, 10, follower))
        return false;
    time = std::chrono::seconds(seconds) + std::chrono::microseconds(microseconds);
    return true;
}

} // namespace

std::optional<GpioWrite> ParseGpioWrite(std::string_view line) {
    GpioWrite write{};
    if (!TakeTime(line, write.time, ":aspeed_gpio_write offset: 0x") || !Take(line, write.offset, 16, " value 0x") ||
        !Take(line, write.value, 16, "") || !line.empty())
        return std::nullopt;
    return write;
}

std::optional<MachineTransition> ParseTransition(std::string_view line) {
    constexpr std::string_view RUNNING = "(running)";
    constexpr std::string_view NEW = " new_state ";
    MachineTransition transition{};
    if (!TakeTime(line, transition.time, ":runstate_set current_run_state "))
        return std::nullopt;
    const std::size_t middle = line.find(NEW);
    if (middle == std::string_view::npos)
        return std::nullopt;
    const bool ran = line.substr(0, middle).ends_with(RUNNING);
    transition.runs = line.ends_with(RUNNING);
    if (ran == transition.runs)
        return std::nullopt;
    return transition;
}

} // namespace VelrixBoard
