// SPDX-License-Identifier: Apache-2.0
// A thousand updates, for a tool that counts within Led::Update, or within Platform::Update.
//
//     led-bench idle | running  of an LED without a pattern, or while a step runs
//     led-bench platform        of a whole board without a pattern
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

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
    std::fputs("usage: led-bench idle | running | platform\n", stderr);
    return EXIT_FAILURE;
}
