// SPDX-License-Identifier: Apache-2.0
// Steps that wait for descriptors, timers among them.
#include <array>
#include <cstdint>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/select.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "tests/time/Steps.h"

namespace VelrixBoard::Timed {

using std::chrono::seconds;

namespace {

std::string Poll() {
    return Of(::poll(nullptr, 0, 10'000));
}
std::string Ppoll() {
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    pollfd wait{pipe[0], POLLIN, 0};
    const timespec time{10, 0};
    return Of(::ppoll(&wait, 1, &time, nullptr));
}
std::string PollData() {
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    std::thread writer = After(seconds(10), [=] { (void)!::write(pipe[1], "x", 1); });
    std::array<pollfd, 3> waits = {pollfd{-1, POLLIN, 0}, pollfd{pipe[0], POLLIN, 0}, pollfd{pipe[0], POLLOUT, 0}};
    const std::string result = Of(::poll(waits.data(), waits.size(), 60'000));
    writer.join();
    return result + " " + std::to_string(waits[1].revents == POLLIN);
}
// A wait without a limit that ends by what another thread does after a while.
std::string PollWithoutLimit() {
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    std::thread writer = After(seconds(10), [=] { (void)!::write(pipe[1], "x", 1); });
    pollfd wait{pipe[0], POLLIN, 0};
    const std::string result = Of(::poll(&wait, 1, -1));
    writer.join();
    return result;
}
std::string ReadPipe() {
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    std::thread writer = After(seconds(10), [=] { (void)!::write(pipe[1], "x", 1); });
    char c = 0;
    const auto result = ::read(pipe[0], &c, 1);
    writer.join();
    return std::to_string(result) + c;
}
std::string Select() {
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    fd_set set;
    FD_ZERO(&set);
    FD_SET(pipe[0], &set);
    timeval time{4, 0};
    const std::string first = Of(::select(pipe[0] + 1, &set, nullptr, nullptr, &time));
    const std::string left = std::to_string(time.tv_sec) + std::to_string(FD_ISSET(pipe[0], &set) != 0);
    std::thread writer = After(seconds(6), [=] { (void)!::write(pipe[1], "x", 1); });
    FD_SET(pipe[0], &set);
    time = {60, 0};
    const std::string second = Of(::select(pipe[0] + 1, &set, nullptr, nullptr, &time));
    writer.join();
    return first + left + " " + second + std::to_string(FD_ISSET(pipe[0], &set) != 0) + " " +
           std::to_string((time.tv_sec * 1000 + time.tv_usec / 1000 + 500) / 1000);
}
std::string Pselect() {
    const timespec time{10, 0};
    return Of(::pselect(0, nullptr, nullptr, nullptr, &time, nullptr));
}
std::string Epoll() {
    const int queue = ::epoll_create1(EPOLL_CLOEXEC);
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    epoll_event event{EPOLLIN, {.u64 = 7}};
    ::epoll_ctl(queue, EPOLL_CTL_ADD, pipe[0], &event);
    const timespec second1{1, 0};
    std::string first = Of(::epoll_pwait2(queue, &event, 1, &second1, nullptr));
    first += Of(::epoll_wait(queue, &event, 1, 3'000));
    std::thread writer = After(seconds(6), [=] { (void)!::write(pipe[1], "x", 1); });
    const std::string second = Of(::epoll_pwait(queue, &event, 1, 60'000, nullptr));
    writer.join();
    return first + second + std::to_string(event.data.u64);
}

std::string TimerFile() {
    const int timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    const itimerspec time{{2, 0}, {4, 0}};
    ::timerfd_settime(timer, 0, &time, nullptr);
    std::uint64_t first = 0, rest = 0;
    (void)!::read(timer, &first, sizeof first);
    ::sleep(6);
    (void)!::read(timer, &rest, sizeof rest);
    itimerspec left{};
    ::timerfd_gettime(timer, &left);
    ::close(timer);
    return std::to_string(first) + " " + std::to_string(rest) + " " + std::to_string(left.it_interval.tv_sec) +
           std::to_string(left.it_value.tv_sec + (left.it_value.tv_nsec != 0 ? 1 : 0));
}
std::string TimerFileInEpoll() {
    const int timer = ::timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK);
    const int queue = ::epoll_create1(EPOLL_CLOEXEC);
    epoll_event event{EPOLLIN, {.fd = timer}};
    ::epoll_ctl(queue, EPOLL_CTL_ADD, timer, &event);
    itimerspec time{};
    time.it_value = In(CLOCK_REALTIME, 10);
    std::uint64_t expirations = 0;
    const std::string before = Of(static_cast<int>(::read(timer, &expirations, sizeof expirations)));
    // Armed while the other thread waits already.
    std::thread other([&] { ::timerfd_settime(timer, TFD_TIMER_ABSTIME, &time, nullptr); });
    const std::string result = Of(::epoll_wait(queue, &event, 1, -1));
    other.join();
    (void)!::read(timer, &expirations, sizeof expirations);
    ::close(timer);
    return before + " " + result + std::to_string(expirations);
}

// Read now and then, without a wait for it.
std::string TimerFileReadAlone() {
    const int timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    const itimerspec time{{2, 0}, {2, 0}};
    ::timerfd_settime(timer, 0, &time, nullptr);
    std::uint64_t all = 0;
    for (int i = 0; i < 10; ++i) {
        ::sleep(1);
        std::uint64_t some = 0;
        all += ::read(timer, &some, sizeof some) > 0 ? some : 0;
    }
    ::close(timer);
    return std::to_string(all);
}
// Each expiration is told, though none is read.
std::string EdgeTriggeredTimer() {
    const int timer = ::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    const int queue = ::epoll_create1(EPOLL_CLOEXEC);
    epoll_event event{EPOLLIN | EPOLLET, {.fd = timer}};
    ::epoll_ctl(queue, EPOLL_CTL_ADD, timer, &event);
    const itimerspec time{{2, 500'000'000}, {2, 500'000'000}};
    ::timerfd_settime(timer, 0, &time, nullptr);
    std::string result;
    for (int i = 0; i < 4; ++i)
        result += Of(::epoll_wait(queue, &event, 1, 60'000));
    ::close(timer);
    return result;
}
// A pipe without a writer is ready for poll, and in no set of select.
std::string SelectHungUp() {
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    ::close(pipe[1]);
    fd_set set;
    FD_ZERO(&set);
    FD_SET(pipe[0], &set);
    timeval time{10, 0};
    return Of(::select(pipe[0] + 1, nullptr, nullptr, &set, &time));
}
// Another thread sets the wall clock ahead.
std::string SetClock() {
    const int wall = ::timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC);
    itimerspec time{};
    time.it_value = In(CLOCK_REALTIME, 3'600);
    ::timerfd_settime(wall, TFD_TIMER_ABSTIME, &time, nullptr);
    std::string set;
    std::thread other = After(seconds(1), [&] {
        const timespec ahead = In(CLOCK_REALTIME, 3'601);
        set = Of(::clock_settime(CLOCK_REALTIME, &ahead));
    });
    pollfd wait{wall, POLLIN, 0};
    const std::string result = Of(::poll(&wait, 1, 60'000));
    other.join();
    ::sleep(9);
    return set + " " + result;
}

} // namespace

std::vector<Step> DescriptorSteps() {
    return {{"poll", Poll},
            {"ppoll", Ppoll},
            {"poll-data", PollData},
            {"poll-without-limit", PollWithoutLimit},
            {"read-pipe", ReadPipe},
            {"select", Select},
            {"pselect", Pselect},
            {"epoll", Epoll},
            {"timer-file", TimerFile},
            {"timer-file-in-epoll", TimerFileInEpoll},
            {"timer-file-read-alone", TimerFileReadAlone},
            {"edge-triggered-timer", EdgeTriggeredTimer},
            {"select-hung-up", SelectHungUp},
            {"set-clock", SetClock}};
}

} // namespace VelrixBoard::Timed
