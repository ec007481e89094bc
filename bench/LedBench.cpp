// SPDX-License-Identifier: Apache-2.0
// Updates of an LED.
//
//     led-bench                 the time of an update without a pattern and of one while a step runs, each against a
//                               reading of the clock: the best of twenty rounds
//     led-bench idle | running  a thousand updates, for a tool that counts within Led::Update
//     led-bench platform        a thousand updates of a whole board without a pattern, to count within Platform::Update
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include <time.h>

#include <velrix/gpio/Led.h>
#include <velrix/gpio/Sysfs_OutputPin.h>
#include <velrix/platform/Platform.h>

#include "bench/DevicePaths.h"

using namespace Velrix::Gpio;

namespace {

std::shared_ptr<ILed> MakeLed() {
    return Led::Create("LED", Sysfs_OutputPin::Create("/dev/null"), Sysfs_OutputPin::Create("/dev/null"),
                       Sysfs_OutputPin::Create("/dev/null"));
}

// Nanoseconds an operation takes.
template <class Operation>
double Best(Operation operation) {
    using Clock = std::chrono::steady_clock;
    constexpr int ROUNDS = 20;
    constexpr int OPERATIONS = 100'000;
    auto best = Clock::duration::max();
    for (int round = 0; round < ROUNDS; ++round) {
        const auto begin = Clock::now();
        for (int i = 0; i < OPERATIONS; ++i)
            operation();
        best = std::min(best, Clock::now() - begin);
    }
    return std::chrono::duration<double, std::nano>(best).count() / OPERATIONS;
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view what = argc > 1 ? argv[1] : "";
    const auto idle = MakeLed();
    const auto running = MakeLed();
    running->FlashingGreen(1'000'000'000'000); // longer than this program

    if (what == "idle" || what == "running") {
        ILed& led = what == "idle" ? *idle : *running;
        for (int i = 0; i < 1000; ++i)
            led.Update();
        return EXIT_SUCCESS;
    }
    if (what == "platform") {
        Bench::UseDevices(*Velrix::Settings::SettingsFile::INSTANCE.Value());
        const auto platform = Velrix::Platform::Create();
        for (int i = 0; i < 1000; ++i)
            platform->Update();
        return EXIT_SUCCESS;
    }
    if (!what.empty()) {
        std::fputs("usage: led-bench [idle | running | platform]\n", stderr);
        return EXIT_FAILURE;
    }

    timespec now;
    const double clock = Best([&] { clock_gettime(CLOCK_REALTIME, &now); });
    std::printf("clock_ns %.1f\nidle_ns %.1f\nrunning_ns %.1f\n", clock, Best([&] { idle->Update(); }),
                Best([&] { running->Update(); }));
    return EXIT_SUCCESS;
}
