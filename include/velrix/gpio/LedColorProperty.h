// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include <System/Lazy.h>
#include <System/Object.h>

#include <velrix/Export.h>

namespace Velrix::Gpio {

// One step of an LED pattern: a colour and its duration. Immutable: any thread.
//
// Steady colours are steps without an end; each of the four is one object that all LEDs share. Steps compare by
// identity. Create checks nothing: an LED rejects an unknown colour code when it shows the step.
//
//     auto blink = List<std::shared_ptr<LedColorProperty>>::Create(
//         {LedColorProperty::Create(LedColorProperty::RED, 100), LedColorProperty::OFF_CONST->Value()});
class VELRIX_EXPORT LedColorProperty final : public System::Object {
public:
    // The underlying type is fixed, so that any 32-bit code is a valid value.
    enum Color_e : std::uint32_t {
        OFF = 0,
        GREEN = 1,
        RED = 2,
        YELLOW = 3, // a separate element, not green and red together
    };

    // The steady colours, created on first use.
    static const std::shared_ptr<System::Lazy<std::shared_ptr<LedColorProperty>>> OFF_CONST;
    static const std::shared_ptr<System::Lazy<std::shared_ptr<LedColorProperty>>> GREEN_CONST;
    static const std::shared_ptr<System::Lazy<std::shared_ptr<LedColorProperty>>> RED_CONST;
    static const std::shared_ptr<System::Lazy<std::shared_ptr<LedColorProperty>>> YELLOW_CONST;

    // duration is in milliseconds; 0 makes a step without an end.
    static std::shared_ptr<LedColorProperty> Create(Color_e color, unsigned long long duration);

    ~LedColorProperty() override;

    const Color_e Color;
    const unsigned long long Duration; // in milliseconds; 0: steady

private:
    LedColorProperty(Color_e ownColor, unsigned long long ownDuration) noexcept;
};

} // namespace Velrix::Gpio
