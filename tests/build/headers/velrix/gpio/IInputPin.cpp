// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/IInputPin.h>

bool UseInputPin(Velrix::Gpio::IInputPin& pin) {
    try {
        return pin.Get();
    } catch (const System::IO::IOException&) {
        return false;
    }
}
