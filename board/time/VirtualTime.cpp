// SPDX-License-Identifier: Apache-2.0
#include "board/time/VirtualTime.h"

#include <cstdlib>
#include <utility>

#include <linux/futex.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace VelrixBoard {

namespace {

std::chrono::nanoseconds SteadyTime() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

unsigned Processors() {
    cpu_set_t set;
    return ::sched_getaffinity(0, sizeof set, &set) == 0 ? static_cast<unsigned>(CPU_COUNT(&set)) : 1;
}

const std::filesystem::path& WithProc(const std::filesystem::path& file) {
    ProgramThreads::RequireProc();
    return file;
}

} // namespace

VirtualTime::VirtualTime(const TimeOptions& options, const std::filesystem::path& timeFile, TimeKeeper::Say say)
    : path(std::filesystem::absolute(timeFile)), file(WithProc(path), options.date),
      keeper(options, file.Page(), threads, std::move(say), {EventLoop::Poll, SteadyTime, Processors()}) {}

// Only now, since a child of this process would inherit the timer slack.
void VirtualTime::SetFirst(pid_t init) {
    constexpr unsigned long TIMER_SLACK_NS = 1000; // the usual 50 us are longer than a tick of a program takes
    ::prctl(PR_SET_TIMERSLACK, TIMER_SLACK_NS);
    threads.SetFirst(init);
}

void VirtualTime::Share() const {
    ::setenv(Preload::TIME_VARIABLE, path.c_str(), 1);
    // This process has inherited the memory. A board that has died ends it; one that hangs has its own watchdog.
    std::atomic<std::uint32_t>& isStarted = file.Page().isStarted;
    while (isStarted.load() == 0) {
        constexpr timespec LONGEST{0, 100'000'000};
        ::syscall(SYS_futex, &isStarted, FUTEX_WAIT, 0, &LONGEST, nullptr, 0);
    }
}

EventLoop VirtualTime::MakeLoop() {
    return EventLoop([this] { return keeper.Now(); },
                     [this](std::vector<pollfd>& descriptors, const std::optional<BoardTime>& longest) {
                         return keeper.WaitForBoard(descriptors, longest);
                     });
}

} // namespace VelrixBoard
