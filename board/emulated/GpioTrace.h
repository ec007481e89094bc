// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

namespace VelrixBoard {

// One write into a register of the emulated GPIO controller. The time is the host's, since 1970: what stood on the
// clock when the emulator carried the write out. The machine's own clock runs with the host's while the machine runs.
struct GpioWrite {
    // The data register of the first 32 lines, a bit a line.
    static constexpr std::uint32_t DATA = 0;

    std::chrono::microseconds time;
    std::uint32_t offset;
    std::uint32_t value;
};

// Reads a line of the emulator's trace, "PID@SECONDS.MICROSECONDS:aspeed_gpio_write offset: 0xN value 0xN"; nothing for
// any other line.
std::optional<GpioWrite> ParseGpioWrite(std::string_view line);

// The emulated machine starts to run, or to stand still, where its time stands as well. The time is that of a write.
struct MachineTransition {
    std::chrono::microseconds time;
    bool runs;
};

// Reads a line of the trace, "PID@SECONDS.MICROSECONDS:runstate_set current_run_state N (NAME) new_state N (NAME)";
// nothing for any other line, and where the machine does neither before nor after.
std::optional<MachineTransition> ParseTransition(std::string_view line);

} // namespace VelrixBoard
