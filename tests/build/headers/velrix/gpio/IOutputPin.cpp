// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/IOutputPin.h>

bool UseOutputPin(Velrix::Gpio::IOutputPin& pin) {
    try {
        pin.SetHigh();
        return true;
    } catch (const System::IO::IOException&) {
        return false;
    }
}
