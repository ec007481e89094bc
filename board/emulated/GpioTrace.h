// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

namespace VelrixBoard {

// One write to a register of the emulated GPIO controller, at the host's time since 1970.
struct GpioWrite {
    // The data register of the first 32 lines, one bit each.
    static constexpr std::uint32_t DATA = 0;

    std::chrono::microseconds time;
    std::uint32_t offset;
    std::uint32_t value;
};

// Parses "PID@SECONDS.MICROSECONDS:aspeed_gpio_write offset: 0xN value 0xN" of the emulator's trace; nothing for other
// lines.
std::optional<GpioWrite> ParseGpioWrite(std::string_view line);

// The emulated machine and its clock start or stop, at the host's time.
struct MachineTransition {
    std::chrono::microseconds time;
    bool runs;
};

// Parses "PID@SECONDS.MICROSECONDS:runstate_set current_run_state N (NAME) new_state N (NAME)"; nothing for other lines
// and other transitions.
std::optional<MachineTransition> ParseTransition(std::string_view line);

} // namespace VelrixBoard
