// SPDX-License-Identifier: Apache-2.0
// One pin operation, a thousand times, for a tool that counts within the operation itself.
//
//     pin-bench get | high | low
//
// Both pins are on devices, so that the system's own work is as small as it gets: what remains is the library's.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include <velrix/gpio/Sysfs_InputPin.h>
#include <velrix/gpio/Sysfs_OutputPin.h>

using namespace Velrix::Gpio;

int main(int argc, char** argv) {
    constexpr int OPERATIONS = 1000;
    const std::string_view operation = argc == 2 ? argv[1] : "";
    const std::shared_ptr<IInputPin> input = Sysfs_InputPin::Create("INPUT", "/dev/zero");
    const std::shared_ptr<IOutputPin> output = Sysfs_OutputPin::Create("OUTPUT", "/dev/null");

    int high = 0;
    for (int i = 0; i < OPERATIONS; ++i) {
        if (operation == "get") {
            high += input->Get() ? 1 : 0;
        } else if (operation == "high") {
            output->SetHigh();
        } else if (operation == "low") {
            output->SetLow();
        } else {
            std::fputs("usage: pin-bench get | high | low\n", stderr);
            return EXIT_FAILURE;
        }
    }
    std::printf("operations %d\nhigh %d\n", OPERATIONS, high);
    return EXIT_SUCCESS;
}
