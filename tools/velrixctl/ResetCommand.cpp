// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <string>

#include <System/Threading/Thread.h>

#include <velrix/gpio/Sysfs_InputPin.h>
#include <velrix/gpio/Sysfs_OutputPin.h>

#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/StopSignal.h"

namespace VelrixTools {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using Velrix::Gpio::Sysfs_InputPin;
using Velrix::Gpio::Sysfs_OutputPin;

constexpr unsigned long long PULSE_US = 1000;
constexpr milliseconds LOOK_AGAIN(1);
constexpr long long USUAL_TIMEOUT_MS = 2000;
constexpr long long LONGEST_TIMEOUT_MS = 600'000;

} // namespace

// The steps of Platform::OxboReset, which reads the line before the clock, too.
int RunResetOxbo(const CommandLine& line) {
    const long long timeout = line.Number("--timeout", USUAL_TIMEOUT_MS, 0, LONGEST_TIMEOUT_MS);
    const auto settings = LoadSettings();
    const auto reset = Sysfs_OutputPin::Create(settings->oxbo_pin->reset_n);
    const auto ramLoader = Sysfs_OutputPin::Create(settings->oxbo_pin->ramloader_enable);
    const auto irq = Sysfs_InputPin::Create(settings->oxbo_pin->irq_n);
    const StopSignal stop; // does not end the pulse: the module would stay in reset

    reset->SetLow();
    if (line.Has("--ram-loader"))
        ramLoader->SetHigh();
    else
        ramLoader->SetLow();
    System::Threading::Thread::USleep(PULSE_US);
    reset->SetHigh();
    if (timeout == 0) {
        Print("The module is out of reset; it was not waited for.\n");
        return EXIT_GOOD;
    }

    const auto start = steady_clock::now();
    while (irq->Get()) {
        if (steady_clock::now() - start > milliseconds(timeout)) {
            Complain("the module is not ready after " + std::to_string(timeout) + " ms: OXBO_IRQ_N is still high");
            return EXIT_WRONG;
        }
        if (stop.Wait(LOOK_AGAIN))
            throw CommandError("interrupted; the module is out of reset and not ready yet");
    }
    const auto took = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
    Print("The module is ready after " + std::to_string(took.count()) + " ms.\n");
    return EXIT_GOOD;
}

} // namespace VelrixTools
