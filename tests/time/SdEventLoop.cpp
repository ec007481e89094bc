// SPDX-License-Identifier: Apache-2.0
// A helper program around sd-event's loop, which waits in epoll with timer descriptors.
#include <chrono>
#include <thread>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <unistd.h>

#include "tests/time/LoopProgram.h"

using VelrixBoard::Timed::LoopRun;

namespace {

constexpr std::uint64_t TICK_US = 100'000, END_US = 10'000'000, EXACT_US = 1;

int OnTick(sd_event_source* source, std::uint64_t time, void* data) {
    static_cast<LoopRun*>(data)->Tick();
    sd_event_source_set_time(source, time + TICK_US);
    return sd_event_source_set_enabled(source, SD_EVENT_ON);
}

int OnEnd(sd_event_source* source, std::uint64_t, void*) {
    return sd_event_exit(sd_event_source_get_event(source), 0);
}

int OnMessage(sd_event_source*, int descriptor, std::uint32_t, void* data) {
    std::uint64_t count = 0;
    static_cast<LoopRun*>(data)->TakeMessage();
    return ::read(descriptor, &count, sizeof count) < 0 ? -1 : 0;
}

} // namespace

int main() {
    LoopRun run;
    sd_event* loop = nullptr;
    const int message = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    std::uint64_t now = 0;
    if (sd_event_new(&loop) < 0 || sd_event_now(loop, CLOCK_MONOTONIC, &now) < 0 ||
        sd_event_add_time(loop, nullptr, CLOCK_MONOTONIC, now + TICK_US, EXACT_US, OnTick, &run) < 0 ||
        sd_event_add_time(loop, nullptr, CLOCK_MONOTONIC, now + END_US, EXACT_US, OnEnd, nullptr) < 0 ||
        sd_event_add_io(loop, nullptr, message, EPOLLIN, OnMessage, &run) < 0)
        return 1;
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::seconds(4));
        const std::uint64_t one = 1;
        (void)!::write(message, &one, sizeof one);
    });
    sd_event_loop(loop);
    other.join();
    sd_event_unref(loop);
    return run.Finish();
}
