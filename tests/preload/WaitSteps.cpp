// SPDX-License-Identifier: Apache-2.0
// Steps that wait for value files: poll, select, epoll.
#include <array>
#include <cstdio>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/select.h>
#include <unistd.h>

#include "tests/preload/StandInBoard.h"
#include "tests/preload/Steps.h"

namespace VelrixBoard::Preload {

namespace {

constexpr const char* INPUT = StandInBoard::INPUT_PATH;

int Open() {
    return ::open(INPUT, O_RDONLY | O_CLOEXEC);
}

std::string ReadAll(int file) {
    char c = 0;
    return ::pread(file, &c, 1, 0) == 1 ? std::string(1, c) : "failed";
}

std::string Hex(unsigned number) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%x", number);
    return text.data();
}

std::string Poll(std::vector<pollfd> waits, int timeoutMs = 0) {
    std::string text = Of(::poll(waits.data(), waits.size(), timeoutMs));
    for (const pollfd& wait : waits)
        text += ":" + Hex(static_cast<unsigned short>(wait.revents));
    return text;
}

// Changes the level of the input while wait waits, or a little before.
template <class Wait>
std::string DriveDuring(const char* level, Wait wait) {
    std::thread driver([level] {
        const int led = ::open(StandInBoard::LED_PATH, O_WRONLY | O_CLOEXEC);
        (void)!::write(led, level, 1);
        ::close(led);
    });
    const std::string result = wait();
    driver.join();
    return result;
}

void PollFiles(const std::string&) {
    const int file = Open();
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    constexpr short ALL = POLLIN | POLLOUT | POLLPRI;
    Print({Poll({{file, ALL, 0}}), Poll({{file, 0, 0}}),
           Poll({{file, POLLIN, 0}, {pipe[0], POLLIN, 0}, {pipe[1], POLLOUT, 0}, {-1, POLLIN, 0}}), ReadAll(file),
           Poll({{file, ALL, 0}}), Poll({{file, POLLPRI, 0}}), Poll({{file, POLLOUT, 0}}, 60000)});
    std::vector<pollfd> many(100, pollfd{-1, 0, 0});
    many[99] = {file, POLLIN, 0};
    Print({Of(::poll(many.data(), many.size(), 60000)), Hex(static_cast<unsigned short>(many[99].revents))});
    Print({DriveDuring("1", [=] { return Poll({{file, POLLPRI, 0}}, 60000); }), ReadAll(file)});
    const timespec now{};
    pollfd wait{file, POLLIN, 0};
    Print({Of(::ppoll(&wait, 1, &now, nullptr)), Hex(static_cast<unsigned short>(wait.revents))});
}

std::string Select(int file, bool asksRead, bool asksWrite, bool asksEvent, long timeoutS, int other = -1) {
    fd_set reading, writing, exceptional;
    FD_ZERO(&reading);
    FD_ZERO(&writing);
    FD_ZERO(&exceptional);
    if (asksRead)
        FD_SET(file, &reading);
    if (asksWrite)
        FD_SET(file, &writing);
    if (asksEvent)
        FD_SET(file, &exceptional);
    if (other >= 0)
        FD_SET(other, &writing);
    timeval timeout{timeoutS, 0};
    const int result = ::select((file > other ? file : other) + 1, &reading, &writing, &exceptional, &timeout);
    return Of(result) + ":" + std::to_string(FD_ISSET(file, &reading) != 0) +
           std::to_string(FD_ISSET(file, &writing) != 0) + std::to_string(FD_ISSET(file, &exceptional) != 0) +
           (other >= 0 ? std::to_string(FD_ISSET(other, &writing) != 0) : "");
}

void SelectFiles(const std::string&) {
    const int file = Open();
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    Print({Select(file, true, true, true, 0), Select(file, false, false, true, 0), ReadAll(file),
           Select(file, true, true, true, 60), Select(file, false, false, true, 0),
           Select(file, true, false, true, 60, pipe[1])});
    Print({DriveDuring("1", [=] { return Select(file, false, false, true, 60); }), ReadAll(file)});
    fd_set reading;
    FD_ZERO(&reading);
    FD_SET(file, &reading);
    const timespec now{};
    Print({Of(::pselect(file + 1, &reading, nullptr, nullptr, &now, nullptr)),
           std::to_string(FD_ISSET(file, &reading) != 0)});
}

std::string Wait(int queue, int timeoutMs = 0) {
    std::array<epoll_event, 4> events{};
    const int count = ::epoll_wait(queue, events.data(), static_cast<int>(events.size()), timeoutMs);
    std::string text = Of(count);
    for (int i = 0; i < count; ++i)
        text += ":" + Hex(events[static_cast<std::size_t>(i)].events) + "=" +
                std::to_string(events[static_cast<std::size_t>(i)].data.u64);
    return text;
}

void UseEpoll(const std::string&) {
    const int queue = ::epoll_create1(EPOLL_CLOEXEC);
    const int file = Open();
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    const auto control = [queue](int operation, int descriptor, std::uint32_t events, std::uint64_t data) {
        epoll_event event{};
        event.events = events;
        event.data.u64 = data;
        return Of(::epoll_ctl(queue, operation, descriptor, &event));
    };
    Print({control(EPOLL_CTL_ADD, file, EPOLLIN | EPOLLPRI, 11), control(EPOLL_CTL_ADD, file, EPOLLIN, 12), Wait(queue),
           ReadAll(file), Wait(queue), control(EPOLL_CTL_MOD, file, EPOLLPRI, 13), Wait(queue)});
    Print({DriveDuring("1", [=] { return Wait(queue, 60000); }), ReadAll(file), Wait(queue),
           control(EPOLL_CTL_MOD, file, EPOLLOUT | EPOLLET, 14), Wait(queue), Wait(queue),
           control(EPOLL_CTL_ADD, pipe[1], EPOLLOUT, 15), Wait(queue)});
    Print({control(EPOLL_CTL_DEL, pipe[1], 0, 0), control(EPOLL_CTL_MOD, file, EPOLLIN | EPOLLONESHOT, 16), Wait(queue),
           Wait(queue), control(EPOLL_CTL_DEL, file, 0, 0), control(EPOLL_CTL_DEL, file, 0, 0), Wait(queue)});
    // A reused descriptor.
    Print({control(EPOLL_CTL_ADD, file, EPOLLIN, 17), Of(::close(file)), Of(Open() == file), Wait(queue),
           control(EPOLL_CTL_ADD, file, EPOLLOUT, 18), Wait(queue)});
    std::string results;
    for (int i = 0; i < 3000; ++i) {
        const int again = Open();
        results += control(EPOLL_CTL_ADD, again, EPOLLIN, 19) == "0" ? "" : "failed";
        ::close(again);
    }
    Print({results.empty() ? "all" : results});
}

} // namespace

std::vector<Step> WaitSteps() {
    return {{"poll", PollFiles}, {"select", SelectFiles}, {"epoll", UseEpoll}};
}

} // namespace VelrixBoard::Preload
