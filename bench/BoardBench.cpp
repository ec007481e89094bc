// SPDX-License-Identifier: Apache-2.0
//
// Runs on a private board. "write": the median time of a write of one byte into a value file, in nanoseconds.
// "threads": how many such writes of four threads the board takes in a second; who runs it counts the board's record of
// them. "sleeps": a minute of sleeps of 10 ms; how much too late the median one ended, by the program's clock.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* FILES[] = {"/sys/class/leds/ledGwStsRed/brightness", "/sys/class/leds/ledGwStsGrn/brightness",
                                 "/sys/class/leds/ledEthStsRed/brightness",
                                 "/var/dev/gpio-outputs/oxboRamLoaderEnable/value"};

int Open(const char* path) {
    const int file = ::open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0) {
        std::perror(path);
        std::exit(1);
    }
    return file;
}

void Write(int file, int i) {
    if (::write(file, i % 2 == 0 ? "1" : "0", 1) != 1) {
        std::perror("write");
        std::exit(1);
    }
}

void MeasureWrite() {
    constexpr int WRITES = 20000;
    const int file = Open(FILES[0]);
    std::vector<long long> times;
    for (int i = 0; i < WRITES; ++i) {
        const Clock::time_point begin = Clock::now();
        Write(file, i);
        times.push_back(std::chrono::nanoseconds(Clock::now() - begin).count());
    }
    std::nth_element(times.begin(), times.begin() + WRITES / 2, times.end());
    std::printf("median_ns %lld\n", times[WRITES / 2]);
}

void MeasureThreads() {
    constexpr int WRITES = 20000; // a thread
    std::vector<std::thread> threads;
    const Clock::time_point begin = Clock::now();
    for (const char* path : FILES)
        threads.emplace_back([path] {
            const int file = Open(path);
            for (int i = 0; i < WRITES; ++i)
                Write(file, i);
        });
    for (std::thread& thread : threads)
        thread.join();
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    std::printf("writes_per_second %.0f\n", static_cast<double>(threads.size()) * WRITES / seconds);
}

void MeasureSleeps() {
    constexpr int SLEEPS = 6000;
    constexpr std::chrono::milliseconds LENGTH{10};
    std::vector<long long> late;
    for (int i = 0; i < SLEEPS; ++i) {
        const Clock::time_point end = Clock::now() + LENGTH;
        std::this_thread::sleep_until(end);
        late.push_back(std::chrono::nanoseconds(Clock::now() - end).count());
    }
    std::sort(late.begin(), late.end());
    std::printf("late_ns %lld\nlate_99_ns %lld\nlatest_ns %lld\n", late[SLEEPS / 2], late[SLEEPS * 99 / 100],
                late.back());
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view what = argc > 1 ? argv[1] : "";
    if (what == "write")
        MeasureWrite();
    else if (what == "threads")
        MeasureThreads();
    else if (what == "sleeps")
        MeasureSleeps();
    else
        return 2;
    return 0;
}
