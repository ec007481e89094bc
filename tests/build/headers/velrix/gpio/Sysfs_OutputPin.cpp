// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/Sysfs_OutputPin.h>

using Velrix::Gpio::Sysfs_OutputPin;

bool UsePin() {
    try {
        const std::shared_ptr<Velrix::Gpio::IOutputPin> pin = Sysfs_OutputPin::Create("name", "/dev/null");
        pin->SetHigh();
        return pin->ToString() == "name";
    } catch (const System::IO::FileNotFoundException&) {
        return false;
    } catch (const System::IO::IOException&) {
        return false;
    } catch (const System::ArgumentNullException&) {
        return false;
    }
}
