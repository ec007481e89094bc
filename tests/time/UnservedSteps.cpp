// SPDX-License-Identifier: Apache-2.0
// Waits that the board's clock does not reach.
#include <array>
#include <cstdlib>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include "tests/time/Steps.h"

namespace VelrixBoard::Timed {

using std::chrono::milliseconds;

namespace {

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
std::string SocketLimit() {
    std::array<int, 2> pair{};
    (void)!::socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data());
    const timeval limit{0, 200'000};
    ::setsockopt(pair[0], SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    char c = 0;
    return Of(::recv(pair[0], &c, 1, 0));
}
std::string Connection() {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0), client = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listener, reinterpret_cast<const sockaddr*>(&address), size);
    ::listen(listener, 1);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    const std::string connected = Of(::connect(client, reinterpret_cast<const sockaddr*>(&address), size));
    ::usleep(200'000);
    return connected;
}
// Past the C library, as other languages' runtimes do.
std::string OwnSystemCall() {
    const timespec time{0, 200'000'000};
#if defined(__x86_64__)
    long result = SYS_nanosleep;
    asm volatile("syscall" : "+a"(result) : "D"(&time), "S"(nullptr) : "rcx", "r11", "memory");
    return std::to_string(result);
#elif defined(__aarch64__)
    register long number asm("x8") = SYS_nanosleep;
    register const void* result asm("x0") = &time;
    register const void* left asm("x1") = nullptr;
    asm volatile("svc 0" : "+r"(result) : "r"(number), "r"(left) : "memory");
    return std::to_string(reinterpret_cast<long>(result));
#else
    return Of(::syscall(SYS_clock_nanosleep, CLOCK_MONOTONIC, 0, &time, nullptr));
#endif
}

// Where no descriptor is left for the board to wake it by.
std::string NoDescriptors() {
    const rlimit none{3, 3};
    ::setrlimit(RLIMIT_NOFILE, &none);
    return Of(::poll(nullptr, 0, 200));
}

} // namespace

std::vector<Step> UnservedSteps() {
    return {{"shared-condition", SharedCondition}, {"thread-timer", ThreadTimer},
            {"socket-limit", SocketLimit},         {"connection", Connection},
            {"own-system-call", OwnSystemCall},    {"no-descriptors", NoDescriptors}};
}

} // namespace VelrixBoard::Timed
