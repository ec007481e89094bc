// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/MachineConsole.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using End = MachineConsole::End;

TEST(MachineConsole, KnowsTheKernelsLastWords) {
    const struct {
        const char* text;
        End end;
    } rows[] = {
        {"", End::NONE},
        {"[    0.406537] /cpus/cpu@f00 missing clock-frequency property\r\n", End::NONE},
        {"[   10.936425] Kernel panic - not syncing: sysrq triggered crash\r\n", End::PANIC},
        {"Kernel panic - not syncing: Attempted to kill init!\n", End::PANIC},
        {"[ 3.1] reboot: Power down\n", End::POWER_DOWN},
        {"[ 3.1] reboot: System halted\n", End::HALT},
        {"[ 3.1] reboot: Restarting system\n", End::NONE},
        {"[ 3.1] reboot: Power down", End::NONE}, // not yet a line
        {"init: reboot: Power down\n", End::NONE},
        {"[x] reboot: Power down\n", End::NONE},
        {"[ 3.1] reboot: Power down\n[ 3.2] Kernel panic - not syncing: Attempted to kill init!\n", End::POWER_DOWN}};

    for (const auto& row : rows) {
        MachineConsole console;
        console.Add(row.text);

        EXPECT_EQ(console.HowItEnded(), row.end) << row.text;
    }
}

// Of a panic that is reported over more than the end of the console.
TEST(MachineConsole, KeepsTheFirstLineOfAPanic) {
    MachineConsole console;
    console.Add("[    1.0] one\n[   10.9] Kernel pa");
    console.Add("nic - not syncing: sysrq triggered crash\r\n");
    for (int line = 0; line < 200; ++line)
        console.Add("[   10.9] a line of the stack and of the processor's registers\n");
    console.Add("[   11.0] Kernel panic - not syncing: once more\n");

    EXPECT_EQ(console.PanicLine(), "Kernel panic - not syncing: sysrq triggered crash");
}

TEST(MachineConsole, BeginsAnewWithTheMachineAndKeepsWhatWasPrinted) {
    MachineConsole console;
    console.Add("[ 1.0] Kernel panic - not syncing: x\n[ 1.1] reboot: Power");

    console.Restart();
    console.Add(" down\n");

    EXPECT_EQ(console.HowItEnded(), End::NONE);
    EXPECT_EQ(console.PanicLine(), "");
    EXPECT_EQ(console.Tail(), "[ 1.0] Kernel panic - not syncing: x\n[ 1.1] reboot: Power down\n");
}

TEST(MachineConsole, KeepsNoMoreThanItsBounds) {
    MachineConsole console;
    for (int i = 0; i < 100; ++i)
        console.Add(std::string(1000, 'x'));
    std::string text(2 * MachineConsole::KEPT, 'y');
    text.append("\n[ 1.0] reboot: Power down\n");
    console.Add(text);

    EXPECT_EQ(console.HowItEnded(), End::POWER_DOWN);
    EXPECT_EQ(console.Tail().size(), MachineConsole::KEPT);
    EXPECT_TRUE(console.Tail().ends_with("y\n[ 1.0] reboot: Power down\n"));
}

} // namespace
} // namespace VelrixBoard
