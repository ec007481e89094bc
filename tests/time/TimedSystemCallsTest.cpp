// SPDX-License-Identifier: Apache-2.0
#include "board/time/TimedSystemCalls.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>

namespace VelrixBoard {
namespace {

TEST(TimedSystemCallsTest, NamesCallsThatEndByTheMachinesClock) {
    constexpr std::uint64_t ADDRESS = 0x7fff'0000, MINUS_ONE = 0xffff'ffff;
    const struct {
        long call;
        std::array<std::uint64_t, 6> arguments;
        const char* name;
    } rows[] = {{SYS_nanosleep, {}, "nanosleep"},
                {SYS_clock_nanosleep, {}, "clock_nanosleep"},
                {SYS_futex, {ADDRESS, 128, 0, ADDRESS}, "futex"},
                {SYS_futex, {ADDRESS, 128, 0, 0}, nullptr},
                {SYS_ppoll, {ADDRESS, 1, ADDRESS}, "ppoll"},
                {SYS_ppoll, {ADDRESS, 1, 0}, nullptr},
                {SYS_epoll_pwait, {3, ADDRESS, 1, 1'000}, "epoll_pwait"},
                {SYS_epoll_pwait, {3, ADDRESS, 1, MINUS_ONE}, nullptr},
                {SYS_rt_sigtimedwait, {ADDRESS, 0, ADDRESS, 8}, "rt_sigtimedwait"},
                {SYS_read, {0, ADDRESS, ADDRESS, ADDRESS}, nullptr},
                {SYS_wait4, {ADDRESS, ADDRESS, ADDRESS, ADDRESS}, nullptr}};
    for (const auto& row : rows) {
        const ProgramThread thread{1, 1, 0, true, row.call, row.arguments};
        EXPECT_STREQ(TimedSystemCall(thread), row.name) << row.call;
    }
}

} // namespace
} // namespace VelrixBoard
