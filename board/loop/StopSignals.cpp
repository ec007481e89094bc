// SPDX-License-Identifier: Apache-2.0
#include "board/loop/StopSignals.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <ctime>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

using Request = StopSignals::Request;
using std::chrono::milliseconds;

enum class Stage { QUIET, ASKED, LAST_WORD };
enum class Cause { SECOND, UNANSWERED, GRACE };

// State of the handlers. They may interrupt any thread, and run on several threads at once, so it is lock-free.
std::atomic<const char*> command{""};
std::atomic<int> wakeDescriptor{-1};
std::atomic<Stage> stage{Stage::QUIET};
std::atomic<Cause> cause{Cause::SECOND};
std::atomic<Request> wanted{Request::NONE};
std::atomic<bool> isAnswered{false};
std::atomic<int> firstSignal{0};
std::atomic<int> lastSignal{0};
std::atomic<pid_t> firstSender{0};
std::atomic<long long> firstMs{0};
std::atomic<long long> lookDue{0};  // in stage ASKED
std::atomic<long long> forceDue{0}; // in stage LAST_WORD

static_assert(std::atomic<long long>::is_always_lock_free && std::atomic<Request>::is_always_lock_free);
static_assert(StopSignals::GRACE + StopSignals::LAST_WORD < milliseconds(10'000));
static_assert(StopSignals::SECOND_LIMIT < milliseconds(1000));

long long NowMs() {
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

// Arms SIGALRM for the stage's deadline. Race: another thread's handler may change the stage meanwhile.
void SetTimer() {
    Stage current = stage;
    Stage before;
    do {
        before = current;
        const long long left = std::max((before == Stage::LAST_WORD ? forceDue : lookDue) - NowMs(), 1LL);
        const itimerval timer{{}, {left / 1000, left % 1000 * 1000}};
        ::setitimer(ITIMER_REAL, &timer, nullptr);
        current = stage;
    } while (current != before);
}

void Want(Request request) {
    wanted = request;
    const std::uint64_t one = 1;
    (void)!::write(wakeDescriptor, &one, sizeof one);
    SetTimer();
}

// Only the first reason counts.
void Kill(Cause why, milliseconds limit) {
    long long none = 0;
    if (stage != Stage::ASKED || !forceDue.compare_exchange_strong(none, NowMs() + limit.count()))
        return;
    cause = why;
    stage = Stage::LAST_WORD;
    Want(Request::KILL);
}

bool IsSameRequest(int signal, pid_t sender) {
    return signal == firstSignal && sender == firstSender && NowMs() - firstMs < StopSignals::SAME_REQUEST.count();
}

void OnSignal(int signal, siginfo_t* information, void*) {
    const int error = errno;
    lastSignal = signal;
    int none = 0;
    if (firstSignal.compare_exchange_strong(none, signal)) {
        firstSender = information->si_pid;
        firstMs = NowMs();
        lookDue = firstMs + StopSignals::ANSWER_LIMIT.count();
        stage = Stage::ASKED;
        Want(Request::END);
    } else if (!IsSameRequest(signal, information->si_pid)) {
        Kill(Cause::SECOND, StopSignals::SECOND_LIMIT);
    }
    errno = error;
}

void SayWithoutWaiting(const char* text) {
    pollfd room{STDERR_FILENO, POLLOUT, 0};
    if (::poll(&room, 1, 0) == 1 && (room.revents & POLLOUT) != 0)
        (void)!::write(STDERR_FILENO, text, std::strlen(text));
}

void EndAtOnce() {
    std::array<char, 128> text{};
    std::strncat(text.data(), command, 32);
    std::strcat(text.data(), ": did not end in time after a signal; ends with all that runs on the board\n");
    SayWithoutWaiting(text.data());
    // SIGQUIT would dump a useless core.
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    ::signal(lastSignal, SIG_DFL);
    ::kill(::getpid(), lastSignal);
}

void OnTimer(int) {
    const int error = errno;
    const long long now = NowMs();
    if (stage == Stage::LAST_WORD && now >= forceDue) {
        EndAtOnce();
    } else if (stage == Stage::LAST_WORD) {
        SetTimer();
    } else if (stage == Stage::ASKED && !isAnswered) {
        Kill(Cause::UNANSWERED, StopSignals::LAST_WORD);
    } else if (stage == Stage::ASKED && firstSignal == SIGTERM) {
        lookDue = firstMs + StopSignals::GRACE.count();
        if (now < lookDue)
            SetTimer();
        else
            Kill(Cause::GRACE, StopSignals::LAST_WORD);
    }
    errno = error;
}

bool IsIgnored(int signal) {
    struct sigaction found {};
    return signal != SIGTERM && ::sigaction(signal, nullptr, &found) == 0 && found.sa_handler == SIG_IGN;
}

} // namespace

StopSignals::StopSignals(const char* commandName, std::initializer_list<int> signals)
    : wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake)
        ThrowSystemError("cannot make a descriptor for signals");
    command = commandName;
    wakeDescriptor = wake.Get();
    stage = Stage::QUIET;
    wanted = Request::NONE;
    isAnswered = false;
    forceDue = 0;
    firstSignal = 0;
    lastSignal = 0;
    sigset_t handled;
    sigemptyset(&handled);
    struct sigaction action {};
    action.sa_flags = SA_RESTART;
    action.sa_handler = OnTimer;
    ::sigaction(SIGALRM, &action, nullptr);
    sigaddset(&handled, SIGALRM);
    action.sa_flags = SA_RESTART | SA_SIGINFO;
    action.sa_sigaction = OnSignal;
    for (const int signal : signals) {
        if (IsIgnored(signal))
            continue;
        ::sigaction(signal, &action, nullptr);
        sigaddset(&handled, signal);
    }
    ::sigprocmask(SIG_UNBLOCK, &handled, nullptr);
}

StopSignals::~StopSignals() {
    wakeDescriptor = -1;
}

StopSignals::Request StopSignals::Take() {
    std::uint64_t count = 0;
    return ::read(wake.Get(), &count, sizeof count) < 0 ? Request::NONE : wanted.exchange(Request::NONE);
}

int StopSignals::Signal() const {
    return lastSignal;
}

void StopSignals::Answered() {
    isAnswered = true;
}

std::string StopSignals::Reason() const {
    using std::chrono::duration_cast;
    using std::chrono::seconds;
    const std::string signal = std::string("SIG") + ::sigabbrev_np(cause == Cause::SECOND ? lastSignal : firstSignal);
    if (cause == Cause::SECOND)
        return "a second " + signal;
    const milliseconds limit = cause == Cause::GRACE ? GRACE : ANSWER_LIMIT;
    const std::string after = std::to_string(duration_cast<seconds>(limit).count()) + " s after " + signal;
    return cause == Cause::GRACE ? after : after + ", which the program did not get";
}

} // namespace VelrixBoard
