// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/ILed.h>

using namespace Velrix::Gpio;
using System::Collections::Generic::List;

void UseLed(ILed& led) {
    try {
        led.SetSequence(List<std::shared_ptr<LedColorProperty>>::Create());
    } catch (const System::ArgumentOutOfRangeException&) {
        led.FlashingYellow(500);
    } catch (const System::NotSupportedException&) {
        led.Update();
    }
}
