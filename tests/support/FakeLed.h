// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <utility>

#include <System/Exceptions.h>

#include <velrix/gpio/ILed.h>

#include "tests/support/CallLog.h"

namespace TestSupport {

// A fake LED that logs its calls: "MS Green", "NS FlashingRed 500", "MS SetSequence 3" with the number of steps. With
// Fails it throws System::Exception with its name as the message and logs nothing. Shown is its colour property.
class FakeLed final : public Velrix::Gpio::ILed {
public:
    using Steps = System::Collections::Generic::IList<std::shared_ptr<Velrix::Gpio::LedColorProperty>>;

    static std::shared_ptr<FakeLed> Create(std::string name, std::shared_ptr<CallLog> log) {
        return std::shared_ptr<FakeLed>(new FakeLed(std::move(name), std::move(log)));
    }

    System::string_ptr ToString() override { return name; }

    void Off() override { Note("Off"); }
    void Green() override { Note("Green"); }
    void Red() override { Note("Red"); }
    void Yellow() override { Note("Yellow"); }
    void FlashingGreen(long long duration) override { Note("FlashingGreen " + std::to_string(duration)); }
    void FlashingRed(long long duration) override { Note("FlashingRed " + std::to_string(duration)); }
    void FlashingYellow(long long duration) override { Note("FlashingYellow " + std::to_string(duration)); }
    void ToggleGreenRed(long long duration) override { Note("ToggleGreenRed " + std::to_string(duration)); }
    void ToggleGreenYellow(long long duration) override { Note("ToggleGreenYellow " + std::to_string(duration)); }
    void ToggleYellowRed(long long duration) override { Note("ToggleYellowRed " + std::to_string(duration)); }
    void SetSequence(std::shared_ptr<Steps> colorSequence) override {
        Note("SetSequence " + std::to_string(colorSequence->Count()));
        Sequence = std::move(colorSequence);
    }
    std::shared_ptr<Velrix::Gpio::LedColorProperty> GetColorProperty() override { return Shown; }
    void Update() override { Note("Update"); }

    bool Fails = false;
    std::shared_ptr<Steps> Sequence; // the last one set
    std::shared_ptr<Velrix::Gpio::LedColorProperty> Shown;

private:
    FakeLed(std::string ownName, std::shared_ptr<CallLog> ownLog) : name(std::move(ownName)), log(std::move(ownLog)) {}

    void Note(const std::string& call) {
        if (Fails)
            throw System::Exception(name);
        log->Add(name + " " + call);
    }

    const std::string name;
    const std::shared_ptr<CallLog> log;
};

} // namespace TestSupport
