// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/TerminationGuard.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <ctime>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

namespace {

using Request = TerminationGuard::Request;

// What the handlers use: they may interrupt the process anywhere, so nothing here takes a lock.
std::atomic<const char*> name{""};
std::atomic<int> wakeDescriptor{-1};
std::atomic<long long> firstMs{0}; // when the first request came; 0: none came
std::atomic<bool> isSecond{false};
std::atomic<Request> wanted{Request::NONE};

static_assert(std::atomic<long long>::is_always_lock_free && std::atomic<Request>::is_always_lock_free);

long long NowMs() {
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000 + 1; // never 0
}

void OnTerminate(int) {
    const int error = errno;
    const long long now = NowMs();
    long long first = 0;
    if (firstMs.compare_exchange_strong(first, now)) {
        wanted = Request::END;
        ::alarm(TerminationGuard::ANSWER_LIMIT.count());
    } else if (now - first >= std::chrono::milliseconds(TerminationGuard::SAME_REQUEST).count() &&
               !isSecond.exchange(true)) {
        wanted = Request::KILL;
        ::alarm(TerminationGuard::KILL_LIMIT.count());
    }
    const std::uint64_t one = 1;
    (void)!::write(wakeDescriptor, &one, sizeof one);
    errno = error;
}

void SayWithoutWaiting(const char* text) {
    pollfd room{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&room, 1, 0) == 1 && (room.revents & POLLOUT) != 0)
        (void)!::write(STDERR_FILENO, text, std::strlen(text));
}

void OnLimit(int) {
    std::array<char, 128> text{};
    std::strncat(text.data(), name, 32);
    std::strcat(text.data(), ": did not answer SIGTERM in time; ends with all that runs on the board\n");
    SayWithoutWaiting(text.data());
    ::signal(SIGTERM, SIG_DFL);
    ::kill(::getpid(), SIGTERM);
}

void Handle(int number, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(number, &action, nullptr);
}

} // namespace

TerminationGuard::TerminationGuard(const char* commandName) : wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake)
        ThrowSystemError("cannot make a descriptor for signals");
    name = commandName;
    wakeDescriptor = wake.Get();
    firstMs = 0;
    isSecond = false;
    wanted = Request::NONE;
    Handle(SIGTERM, OnTerminate);
    Handle(SIGALRM, OnLimit);
    sigset_t handled;
    sigemptyset(&handled);
    sigaddset(&handled, SIGTERM);
    sigaddset(&handled, SIGALRM);
    ::sigprocmask(SIG_UNBLOCK, &handled, nullptr);
}

TerminationGuard::~TerminationGuard() {
    wakeDescriptor = -1;
}

// A signal that comes between the steps is taken the next time.
TerminationGuard::Request TerminationGuard::Take() {
    std::uint64_t count = 0;
    if (::read(wake.Get(), &count, sizeof count) < 0)
        return Request::NONE;
    const Request request = wanted.exchange(Request::NONE);
    if (request != Request::NONE)
        ::alarm(request == Request::KILL ? ANSWER_LIMIT.count() : 0);
    return request;
}

void TerminationGuard::Restart() {
    // What is not taken yet counts for the program that runs now.
    if (wanted != Request::NONE)
        return;
    firstMs = 0;
    isSecond = false;
}

} // namespace VelrixBoard
