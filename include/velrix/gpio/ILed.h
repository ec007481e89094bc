// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/List.h>
#include <System/Object.h>

#include <velrix/Export.h>
#include <velrix/gpio/LedColorProperty.h>

namespace Velrix::Gpio {

// A status LED that shows green, red, yellow or nothing, steadily or in a pattern.
//
// Led drives the board's; tests use a fake. Patterns advance only when Update is called: an LED has no thread and no
// timer. ToString() is the LED's label. One thread at a time. An operation that needs a colour the LED lacks throws
// NotSupportedException and changes nothing.
class VELRIX_EXPORT ILed : public System::Object {
public:
    ~ILed() override;

    // Steady colours, shown at once. A running pattern ends at the next Update.
    virtual void Off() = 0;
    virtual void Green() = 0;
    virtual void Red() = 0;
    virtual void Yellow() = 0;

    // A colour and off in turn, each for duration milliseconds, beginning with the colour at once.
    virtual void FlashingGreen(long long duration) = 0;
    virtual void FlashingRed(long long duration) = 0;
    virtual void FlashingYellow(long long duration) = 0;

    // Two colours in turn, each for duration milliseconds, beginning with the first one at once.
    virtual void ToggleGreenRed(long long duration) = 0;
    virtual void ToggleGreenYellow(long long duration) = 0;
    virtual void ToggleYellowRed(long long duration) = 0;

    // Repeats the steps of a list, beginning with the first one at once; a step of duration 0 ends the pattern and
    // stays. The LED shares the list, it does not copy it. A null list: ArgumentNullException "colorSequence"; an empty
    // one: ArgumentOutOfRangeException "colorSequence->Count"; the running pattern goes on.
    virtual void SetSequence(
        std::shared_ptr<System::Collections::Generic::IList<std::shared_ptr<LedColorProperty>>> colorSequence) = 0;

    // The step shown now.
    virtual std::shared_ptr<LedColorProperty> GetColorProperty() = 0;

    // Shows the next step of the pattern if the present one is over; at most one step per call.
    virtual void Update() = 0;

protected:
    ILed() noexcept = default;
};

} // namespace Velrix::Gpio
