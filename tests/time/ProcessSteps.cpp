// SPDX-License-Identifier: Apache-2.0
// Steps of other kinds: processes, loops, what is not served.
#include <array>
#include <atomic>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/time/Steps.h"

namespace VelrixBoard::Timed {

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

std::string Fork() {
    const pid_t child = ::fork();
    if (child == 0) {
        const auto begin = std::chrono::steady_clock::now();
        while (std::chrono::steady_clock::now() - begin < milliseconds(10)) {
        }
        ::usleep(9'990'000);
        ::_exit(3);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return std::to_string(WEXITSTATUS(status));
}
std::string WaitingChild() {
    std::array<int, 2> pipe{};
    (void)!::pipe(pipe.data());
    const pid_t child = ::fork();
    if (child == 0) {
        char c = 0;
        ::_exit(::read(pipe[0], &c, 1) == 1 ? 0 : 1);
    }
    ::sleep(10);
    (void)!::write(pipe[1], "x", 1);
    int status = 0;
    ::waitpid(child, &status, 0);
    return std::to_string(WEXITSTATUS(status));
}
std::string Command() {
    return std::to_string(::system("sleep 4; exec sleep 6"));
}
// A loop that looks at the clock alone comes to its end, by the processor time that it uses.
std::string BusyLoop() {
    const auto begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begin < milliseconds(10)) {
    }
    std::this_thread::sleep_for(seconds(9) + milliseconds(990));
    return "ended";
}
// Beside a thread that uses the processor without a look at the clock, others wake up at their time.
std::string BusyThread() {
    std::atomic<bool> isDone{false};
    std::thread other([&] {
        while (!isDone)
            ;
    });
    std::this_thread::sleep_for(milliseconds(30));
    isDone = true;
    other.join();
    std::this_thread::sleep_for(seconds(9) + milliseconds(970));
    return "ended";
}
// All descriptors closed, as daemons do.
std::string CloseAll() {
    ::poll(nullptr, 0, 4'000);
    ::close_range(3, ~0U, 0);
    ::poll(nullptr, 0, 6'000);
    return "polled";
}
// Flashes an LED until it is killed, with phases that are 4 ms too long.
std::string Flash() {
    const int led = ::open("/sys/class/leds/ledEthStsGrn/brightness", O_WRONLY | O_CLOEXEC);
    for (int i = 0;; ++i) {
        (void)!::write(led, i % 2 == 0 ? "1" : "0", 1);
        std::this_thread::sleep_for(milliseconds(504));
    }
}
// The machine's clock, which boards do not replace here: the time since its start, in ms.
long MachineTime() {
    char text[64] = "";
    const int file = ::open("/proc/uptime", O_RDONLY | O_CLOEXEC);
    (void)!::read(file, text, sizeof text - 1);
    ::close(file);
    return static_cast<long>(std::strtod(text, nullptr) * 1'000);
}
long BoardTime() {
    const timespec now = Now(CLOCK_MONOTONIC);
    return now.tv_sec * 1'000 + now.tv_nsec / 1'000'000;
}
// Not served: other processes may wake the thread. Its limit lies so far away that no machine is too slow for it; the
// other thread's sleep ends the wait. The step gives whether both clocks went on together.
std::string SharedCondition() {
    pthread_condattr_t attributes;
    ::pthread_condattr_init(&attributes);
    ::pthread_condattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
    ::pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_mutex_t mutex{}; // all zeros, like PTHREAD_MUTEX_INITIALIZER
    pthread_cond_t condition;
    ::pthread_cond_init(&condition, &attributes);
    ::sleep(9);
    constexpr long WAIT_MS = 1'000, ROUNDING_MS = 20; // each reading of /proc/uptime is up to 10 ms too small
    const timespec until = In(CLOCK_MONOTONIC, 24 * 3'600);
    bool isDone = false;
    const long machineBegin = MachineTime(), begin = BoardTime();
    std::thread other = After(milliseconds(WAIT_MS), [&] {
        ::pthread_mutex_lock(&mutex);
        isDone = true;
        ::pthread_cond_signal(&condition);
        ::pthread_mutex_unlock(&mutex);
    });
    ::pthread_mutex_lock(&mutex);
    int error = 0;
    while (!isDone && error == 0)
        error = ::pthread_cond_timedwait(&condition, &mutex, &until);
    ::pthread_mutex_unlock(&mutex);
    const long passed = BoardTime() - begin, machinePassed = MachineTime() - machineBegin;
    other.join();
    const bool isAtTheMachinesPace = machinePassed + ROUNDING_MS >= passed && passed >= WAIT_MS;
    return OfError(error) +
           (isAtTheMachinesPace ? "" : " " + std::to_string(passed) + " of " + std::to_string(machinePassed));
}
// Not served: the C library starts the thread.
std::string ThreadTimer() {
    sigevent event{};
    event.sigev_notify = SIGEV_THREAD;
    event.sigev_notify_function = [](sigval) {};
    timer_t timer{};
    const std::string created = Of(::timer_create(CLOCK_MONOTONIC, &event, &timer));
    ::sleep(10);
    return created;
}
std::string SystemCall() {
    const timespec time{10, 0};
    return Of(static_cast<int>(::syscall(SYS_nanosleep, &time, nullptr)));
}

} // namespace

std::vector<Step> ProcessSteps() {
    return {{"fork", Fork},
            {"waiting-child", WaitingChild},
            {"command", Command},
            {"busy-loop", BusyLoop},
            {"busy-thread", BusyThread},
            {"close-all", CloseAll},
            {"system-call", SystemCall},
            {"flash", Flash},
            {"shared-condition", SharedCondition},
            {"thread-timer", ThreadTimer}};
}

} // namespace VelrixBoard::Timed
