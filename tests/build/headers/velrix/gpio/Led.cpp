// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/Led.h>

using namespace Velrix::Gpio;
using System::Collections::Generic::List;

bool UseLed(const std::shared_ptr<IOutputPin>& green) {
    try {
        const auto led = Led::Create("MS", green, nullptr, nullptr);
        led->Red();
        led->SetSequence(List<std::shared_ptr<LedColorProperty>>::Create({LedColorProperty::OFF_CONST->Value()}));
        return led->GetColorProperty()->Color == LedColorProperty::OFF;
    } catch (const System::NotSupportedException&) {
        return false;
    } catch (const System::ArgumentNullException&) {
        return false;
    } catch (const System::ArgumentOutOfRangeException&) {
        return false;
    }
}
