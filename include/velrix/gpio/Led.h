// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/List.h>
#include <System/DateTime.h>
#include <System/String.h>

#include <velrix/Export.h>
#include <velrix/gpio/ILed.h>
#include <velrix/gpio/IOutputPin.h>
#include <velrix/gpio/LedColorProperty.h>

namespace Velrix::Gpio {

// A three-colour LED with one output pin per colour.
//
// Made by Create, which writes every pin low; owns its pins and, while a pattern runs, shares its list. Showing a step
// writes all pins; nothing else does. A step lasts at least its duration from the moment it was shown; a late Update is
// not caught up. Time is the wall clock: set back, it holds the step, set forward, it ends the step at the next Update.
// One thread at a time. The surprise: a negative duration of a pattern advances it on every Update.
class VELRIX_EXPORT Led final : public ILed {
public:
    // A null pin: the LED lacks that colour. When a pin throws, the exception passes out and no LED is made.
    static std::shared_ptr<Led> Create(System::string_ptr name, std::shared_ptr<IOutputPin> green,
                                       std::shared_ptr<IOutputPin> red, std::shared_ptr<IOutputPin> yellow);

    ~Led() override;

    // The name.
    System::string_ptr ToString() override;

    void Off() override;
    void Green() override;
    void Red() override;
    void Yellow() override;

    void FlashingGreen(long long duration) override;
    void FlashingRed(long long duration) override;
    void FlashingYellow(long long duration) override;
    void ToggleGreenRed(long long duration) override;
    void ToggleGreenYellow(long long duration) override;
    void ToggleYellowRed(long long duration) override;

    // When the first step cannot be shown, the exception passes out and the new list stays; so does the step shown
    // before.
    void SetSequence(
        std::shared_ptr<System::Collections::Generic::IList<std::shared_ptr<LedColorProperty>>> colorSequence) override;

    std::shared_ptr<LedColorProperty> GetColorProperty() override;

    // When the next step cannot be shown, the exception passes out and the pattern is at that step, while the one
    // before stays shown for its duration once more. A list that has shrunk below that step:
    // ArgumentOutOfRangeException. In the header, since most calls have nothing to do; exported as well, since inline
    // functions are not by themselves.
    VELRIX_EXPORT void Update() override {
        if (sequence)
            AdvanceWhenDue();
    }

    // Drive the green, the red and the yellow pin, in this order, high or low; a colour that the LED lacks is skipped.
    void SetGreenRedYellow(bool greenOn, bool redOn, bool yellowOn);

    // Shows one step; a running pattern keeps its list, its index and the time of its last step. Null:
    // ArgumentNullException "colorProperty"; a code that is no colour: Exception with its low 16 bits in decimal,
    // nothing changed. When a pin throws, the step before stays the present one.
    void SetColorProperty(std::shared_ptr<LedColorProperty> colorProperty);

private:
    Led(System::string_ptr ownName, std::shared_ptr<IOutputPin> green, std::shared_ptr<IOutputPin> red,
        std::shared_ptr<IOutputPin> yellow);

    void ShowSteady(const std::shared_ptr<IOutputPin>& pin, const std::shared_ptr<LedColorProperty>& color);
    void Alternate(LedColorProperty::Color_e first, LedColorProperty::Color_e second, long long duration);
    void AdvanceWhenDue();

    const System::string_ptr name;
    const std::shared_ptr<IOutputPin> greenPin;
    const std::shared_ptr<IOutputPin> redPin;
    const std::shared_ptr<IOutputPin> yellowPin;
    std::shared_ptr<System::DateTime> stepStart;
    std::shared_ptr<System::Collections::Generic::IList<std::shared_ptr<LedColorProperty>>>
        sequence; // null: no pattern runs
    std::shared_ptr<LedColorProperty> current;
    const std::shared_ptr<LedColorProperty> off;
    const std::shared_ptr<LedColorProperty> red;
    const std::shared_ptr<LedColorProperty> green;
    const std::shared_ptr<LedColorProperty> yellow;
    int index = 0; // of the current step in the sequence
};

} // namespace Velrix::Gpio
