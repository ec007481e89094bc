// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/Led.h>

#include <cstdint>
#include <utility>

#include <System/Collections/Generic/List.h>
#include <System/Convert.h>
#include <System/Exceptions.h>
#include <System/Raisers.h>

using System::DateTime;
using System::string_ptr;
using System::Collections::Generic::IList;
using System::Collections::Generic::List;

namespace Velrix::Gpio {

namespace {

using Step = std::shared_ptr<LedColorProperty>;

void Drive(const std::shared_ptr<IOutputPin>& pin, bool high) {
    if (!pin)
        return;
    if (high)
        pin->SetHigh();
    else
        pin->SetLow();
}

void Require(const std::shared_ptr<IOutputPin>& pin) {
    if (!pin)
        throw System::NotSupportedException();
}

} // namespace

std::shared_ptr<Led> Led::Create(string_ptr name, std::shared_ptr<IOutputPin> green, std::shared_ptr<IOutputPin> red,
                                 std::shared_ptr<IOutputPin> yellow) {
    auto led = Own(new Led(std::move(name), std::move(green), std::move(red), std::move(yellow)));
    led->SetColorProperty(led->off);
    return led;
}

Led::Led(string_ptr ownName, std::shared_ptr<IOutputPin> ownGreen, std::shared_ptr<IOutputPin> ownRed,
         std::shared_ptr<IOutputPin> ownYellow)
    : name(std::move(ownName)), greenPin(std::move(ownGreen)), redPin(std::move(ownRed)),
      yellowPin(std::move(ownYellow)), stepStart(DateTime::Now()), off(LedColorProperty::OFF_CONST->Value()),
      red(LedColorProperty::RED_CONST->Value()), green(LedColorProperty::GREEN_CONST->Value()),
      yellow(LedColorProperty::YELLOW_CONST->Value()) {}

// The pins keep their levels: destroying an LED does not switch it off.
Led::~Led() = default;

string_ptr Led::ToString() {
    return name;
}

void Led::Off() {
    SetColorProperty(off);
}

void Led::Green() {
    ShowSteady(greenPin, green);
}

void Led::Red() {
    ShowSteady(redPin, red);
}

void Led::Yellow() {
    ShowSteady(yellowPin, yellow);
}

// The sequence stays: the next Update sees a step without an end and drops it.
void Led::ShowSteady(const std::shared_ptr<IOutputPin>& pin, const Step& color) {
    Require(pin);
    SetColorProperty(color);
}

void Led::FlashingGreen(long long duration) {
    Require(greenPin);
    Alternate(LedColorProperty::GREEN, LedColorProperty::OFF, duration);
}

void Led::FlashingRed(long long duration) {
    Require(redPin);
    Alternate(LedColorProperty::RED, LedColorProperty::OFF, duration);
}

void Led::FlashingYellow(long long duration) {
    Require(yellowPin);
    Alternate(LedColorProperty::YELLOW, LedColorProperty::OFF, duration);
}

void Led::ToggleGreenRed(long long duration) {
    Require(greenPin);
    Require(redPin);
    Alternate(LedColorProperty::GREEN, LedColorProperty::RED, duration);
}

void Led::ToggleGreenYellow(long long duration) {
    Require(greenPin);
    Require(yellowPin);
    Alternate(LedColorProperty::GREEN, LedColorProperty::YELLOW, duration);
}

void Led::ToggleYellowRed(long long duration) {
    Require(yellowPin);
    Require(redPin);
    Alternate(LedColorProperty::YELLOW, LedColorProperty::RED, duration);
}

// Stores a negative duration in the unsigned field; AdvanceWhenDue casts it back.
void Led::Alternate(LedColorProperty::Color_e first, LedColorProperty::Color_e second, long long duration) {
    const auto milliseconds = static_cast<unsigned long long>(duration);
    SetSequence(List<Step>::Create(
        {LedColorProperty::Create(first, milliseconds), LedColorProperty::Create(second, milliseconds)}));
}

void Led::SetSequence(std::shared_ptr<IList<Step>> colorSequence) {
    if (!colorSequence)
        System::_throw_argument_null_exception("colorSequence");
    if (colorSequence->Count() == 0)
        throw System::ArgumentOutOfRangeException("colorSequence->Count");

    auto now = DateTime::Now();
    sequence = std::move(colorSequence);
    index = 0;
    stepStart = std::move(now);
    SetColorProperty((*sequence)[0]);
}

Step Led::GetColorProperty() {
    return current;
}

void Led::AdvanceWhenDue() {
    if (current->Duration == 0) {
        sequence.reset();
        return;
    }

    auto now = DateTime::Now();
    const long long elapsed = now->Subtract(stepStart).Milliseconds();
    if (elapsed < static_cast<long long>(current->Duration))
        return;

    // The list may have changed since the last step. One that shrank below the index is not wrapped around: its
    // operator[] reports it.
    ++index;
    if (index == sequence->Count())
        index = 0;
    stepStart = std::move(now);
    SetColorProperty((*sequence)[index]);
}

void Led::SetGreenRedYellow(bool greenOn, bool redOn, bool yellowOn) {
    Drive(greenPin, greenOn);
    Drive(redPin, redOn);
    Drive(yellowPin, yellowOn);
}

void Led::SetColorProperty(Step colorProperty) {
    if (!colorProperty)
        System::_throw_argument_null_exception("colorProperty");

    switch (colorProperty->Color) {
    case LedColorProperty::OFF:
        SetGreenRedYellow(false, false, false);
        break;
    case LedColorProperty::GREEN:
        SetGreenRedYellow(true, false, false);
        break;
    case LedColorProperty::RED:
        SetGreenRedYellow(false, true, false);
        break;
    case LedColorProperty::YELLOW:
        SetGreenRedYellow(false, false, true);
        break;
    default:
        throw System::Exception(System::Convert::ToString(static_cast<std::uint16_t>(colorProperty->Color)));
    }
    current = std::move(colorProperty);
}

} // namespace Velrix::Gpio
