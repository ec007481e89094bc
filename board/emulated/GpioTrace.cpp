// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GpioTrace.h"

#include <charconv>

namespace VelrixBoard {

namespace {

// Takes a number, and the text that has to follow it, off the front.
template <class Number>
bool Take(std::string_view& text, Number& number, int base, std::string_view follower) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (error != std::errc() || !text.starts_with(follower))
        return false;
    text.remove_prefix(follower.size());
    return true;
}

} // namespace

std::optional<GpioWrite> ParseGpioWrite(std::string_view line) {
    int process = 0;
    long long seconds = 0;
    long long microseconds = 0;
    GpioWrite write{};
    if (!Take(line, process, 10, "@") || !Take(line, seconds, 10, ".") ||
        !Take(line, microseconds, 10, ":aspeed_gpio_write offset: 0x") || !Take(line, write.offset, 16, " value 0x") ||
        !Take(line, write.value, 16, "") || !line.empty())
        return std::nullopt;
    write.time = std::chrono::seconds(seconds) + std::chrono::microseconds(microseconds);
    return write;
}

} // namespace VelrixBoard
