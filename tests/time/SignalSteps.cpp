// SPDX-License-Identifier: Apache-2.0
// Steps that wait for signals.
#include <cstdint>

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include "tests/time/Steps.h"

namespace VelrixBoard::Timed {

using std::chrono::seconds;

namespace {

volatile std::sig_atomic_t signals = 0;
void Count(int) {
    signals = signals + 1;
}
void Handle(int signal, int flags) {
    struct sigaction action {};
    action.sa_handler = Count;
    action.sa_flags = flags;
    ::sigaction(signal, &action, nullptr);
    signals = 0;
}

constexpr timespec ZERO{};

std::string SignalWait() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGUSR2);
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    const timespec time{4, 0};
    const std::string first = Of(::sigtimedwait(&set, nullptr, &time));
    std::thread other = After(seconds(6), [] { ::kill(::getpid(), SIGUSR2); });
    const timespec longer{60, 0};
    const std::string second = Of(::sigtimedwait(&set, nullptr, &longer));
    other.join();
    return first + " " + std::to_string(second == std::to_string(SIGUSR2));
}
std::string Alarm() {
    Handle(SIGALRM, 0);
    ::alarm(30);
    const unsigned left = ::alarm(10);
    ::pause();
    return std::to_string(left) + " " + std::to_string(signals);
}
std::string Ualarm() {
    Handle(SIGALRM, 0);
    ::ualarm(900'000, 100'000);
    while (signals < 92)
        ::pause();
    ::ualarm(0, 0);
    return std::to_string(signals);
}
std::string IntervalTimer() {
    Handle(SIGALRM, 0);
    const itimerval time{{2, 0}, {4, 0}};
    ::setitimer(ITIMER_REAL, &time, nullptr);
    while (signals < 4)
        ::pause();
    const itimerval none{};
    itimerval before{};
    ::setitimer(ITIMER_REAL, &none, &before);
    return std::to_string(signals) + " " + std::to_string(before.it_interval.tv_sec);
}
int timerValue = 0;
std::string PosixTimer() {
    struct sigaction action {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = [](int, siginfo_t* information, void*) {
        timerValue = information->si_code == SI_TIMER ? information->si_value.sival_int : -1;
    };
    ::sigaction(SIGRTMIN + 3, &action, nullptr);
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGRTMIN + 3;
    event.sigev_value.sival_int = 42;
    timer_t timer{};
    const std::string created = Of(::timer_create(CLOCK_MONOTONIC, &event, &timer));
    const itimerspec time{ZERO, {10, 0}};
    ::timer_settime(timer, 0, &time, nullptr);
    ::pause();
    return created + std::to_string(timerValue) + Of(::timer_delete(timer));
}

// POSIX timers end with the program. This one's signal would end the next.
std::string ExecTimer() {
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGRTMIN + 3;
    timer_t timer{};
    ::timer_create(CLOCK_MONOTONIC, &event, &timer);
    const itimerspec time{{1, 0}, {1, 0}};
    ::timer_settime(timer, 0, &time, nullptr);
    ::execl("/proc/self/exe", "timed-steps", "sleep", nullptr);
    return Of(-1);
}

} // namespace

std::vector<Step> SignalSteps() {
    return {{"signal-wait", SignalWait}, {"alarm", Alarm},
            {"ualarm", Ualarm},          {"interval-timer", IntervalTimer},
            {"posix-timer", PosixTimer}, {"exec-timer", ExecTimer}};
}

} // namespace VelrixBoard::Timed
