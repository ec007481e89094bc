// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/Sysfs_InputPin.h>

using Velrix::Gpio::Sysfs_InputPin;

bool UsePin() {
    try {
        const std::shared_ptr<Velrix::Gpio::IInputPin> pin = Sysfs_InputPin::Create("name", "/dev/null");
        return pin->Get() == (pin->ToString() == "name");
    } catch (const System::IO::FileNotFoundException&) {
        return false;
    } catch (const System::IO::IOException&) {
        return false;
    } catch (const System::ArgumentNullException&) {
        return false;
    }
}
