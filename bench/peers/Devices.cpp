// SPDX-License-Identifier: Apache-2.0
#include "bench/peers/Jobs.h"

#include <chrono>

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <velrix/gpio/Led.h>
#include <velrix/gpio/Sysfs_InputPin.h>
#include <velrix/gpio/Sysfs_OutputPin.h>

#include "bench/peers/Contest.h"

namespace Bench {

using namespace Velrix::Gpio;

namespace {

// Devices, so that the system's own work is as small as it gets.
constexpr const char* INPUT = "/dev/zero";
constexpr const char* OUTPUT = "/dev/null";

int Open(const char* path, int flags) {
    const int descriptor = ::open(path, flags | O_CLOEXEC);
    if (descriptor < 0)
        Fail(path);
    return descriptor;
}

Operation GetOurs(const std::string&) {
    return [pin = std::shared_ptr<IInputPin>(Sysfs_InputPin::Create(INPUT))](int times) {
        for (int i = 0; i < times; ++i)
            Use(pin->Get());
    };
}

Operation GetLeast(const std::string&) {
    return [descriptor = Open(INPUT, O_RDONLY)](int times) {
        for (int i = 0; i < times; ++i) {
            char level = 0;
            if (::pread(descriptor, &level, 1, 0) < 0)
                Fail(INPUT);
            Use(level == '1');
        }
    };
}

Operation SetOurs(const std::string&) {
    return [pin = std::shared_ptr<IOutputPin>(Sysfs_OutputPin::Create(OUTPUT))](int times) {
        for (int i = 0; i < times; ++i)
            pin->SetHigh();
    };
}

Operation SetLeast(const std::string&) {
    return [descriptor = Open(OUTPUT, O_WRONLY)](int times) {
        for (int i = 0; i < times; ++i)
            if (::write(descriptor, "1", 1) != 1)
                Fail(OUTPUT);
    };
}

Operation UpdateOurs(const std::string&) {
    const std::shared_ptr<ILed> led = Led::Create("LED", Sysfs_OutputPin::Create(OUTPUT), nullptr, nullptr);
    led->FlashingGreen(1'000'000'000'000); // longer than this program
    return [led](int times) {
        for (int i = 0; i < times; ++i)
            led->Update();
    };
}

Operation ReadClock(const std::string&) {
    return [](int times) {
        for (int i = 0; i < times; ++i) {
            timespec now;
            ::clock_gettime(CLOCK_REALTIME, &now);
            Use(now);
        }
    };
}

Operation UpdateByChrono(const std::string&) {
    return [start = std::chrono::system_clock::now()](int times) {
        for (int i = 0; i < times; ++i)
            Use(std::chrono::system_clock::now() - start < std::chrono::milliseconds(1'000'000'000));
    };
}

} // namespace

void CompareDevices() {
    Run({"input pin: Get", 50, 5'000}, {{"ours", &GetOurs}, {"limit", &GetLeast}});
    Run({"output pin: SetHigh", 50, 5'000}, {{"ours", &SetOurs}, {"limit", &SetLeast}});
    Run({"LED: Update while a step runs", 50, 20'000},
        {{"ours", &UpdateOurs}, {"limit", &ReadClock}, {"std::chrono", &UpdateByChrono}});
}

} // namespace Bench
