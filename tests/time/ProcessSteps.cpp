// SPDX-License-Identifier: Apache-2.0
// Steps of other kinds: processes and loops.
#include <array>
#include <atomic>
#include <cstdlib>

#include <fcntl.h>
#include <linux/futex.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
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
// The C library's call, in whose child this process's memory is used until it executes the program, waits there for the
// other end of a FIFO.
std::string SpawnAtAFifo() {
    char folder[] = "/tmp/velrix-fifo-XXXXXX";
    const std::string fifo = std::string(::mkdtemp(folder) != nullptr ? folder : "") + "/fifo";
    if (::mkfifo(fifo.c_str(), 0600) != 0)
        return Of(-1);
    const pid_t writer = ::fork();
    if (writer == 0) {
        ::usleep(200'000);
        ::_exit(::open(fifo.c_str(), O_WRONLY | O_CLOEXEC) >= 0 ? 0 : 1);
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, fifo.c_str(), O_RDONLY, 0);
    std::array<char, 5> name{"true"};
    std::array<char*, 2> arguments{name.data(), nullptr};
    pid_t child = 0;
    const int error = ::posix_spawn(&child, "/bin/true", &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    int ends[2]{};
    ::waitpid(child, &ends[0], 0);
    ::waitpid(writer, &ends[1], 0);
    ::unlink(fifo.c_str());
    ::rmdir(folder);
    return std::to_string(error) + std::to_string(ends[0]) + std::to_string(ends[1]);
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
// Executes another program with a value file open, which the kernel closes then.
std::string ExecWithOpenFile() {
    const int led = ::open("/sys/class/leds/ledEthStsGrn/brightness", O_WRONLY | O_CLOEXEC);
    (void)!::write(led, "1", 1);
    ::usleep(1'000);
    ::execl("/proc/self/exe", "timed-steps", "sleep", nullptr);
    return Of(-1);
}
// Flashes an LED until it is killed, with phases that are 4 ms too long.
std::string Flash() {
    const int led = ::open("/sys/class/leds/ledEthStsGrn/brightness", O_WRONLY | O_CLOEXEC);
    for (int i = 0;; ++i) {
        (void)!::write(led, i % 2 == 0 ? "1" : "0", 1);
        std::this_thread::sleep_for(milliseconds(504));
    }
}
std::string SystemCall() {
    const timespec time{3, 0}, rest{4, 0};
    const int word = 0;
    std::string result = Of(::syscall(SYS_nanosleep, &time, nullptr));
    result += " " + Of(::syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, 0, &time, nullptr, 0));
    timespec now{};
    result += " " + Of(::syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now));
    return result + Of(::syscall(SYS_clock_nanosleep, CLOCK_MONOTONIC, 0, &rest, nullptr));
}

} // namespace

std::vector<Step> ProcessSteps() {
    return {{"fork", Fork},
            {"waiting-child", WaitingChild},
            {"command", Command},
            {"spawn-at-a-fifo", SpawnAtAFifo},
            {"busy-loop", BusyLoop},
            {"busy-thread", BusyThread},
            {"close-all", CloseAll},
            {"system-call", SystemCall},
            {"exec-with-open-file", ExecWithOpenFile},
            {"flash", Flash}};
}

} // namespace VelrixBoard::Timed
