// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include <System/Lazy.h>
#include <System/Object.h>

#include <velrix/Export.h>

namespace Velrix::Gpio {

// One step of an LED pattern: a colour and how long it is shown. Immutable; any thread may read one.
//
// Steady colours are steps without an end; each of the four is one object that all LEDs share. Two steps are equal only
// if they are the same object. Nothing is checked here: an LED refuses a colour code that it does not know when the
// step is to be shown.
//
//     auto blink = List<std::shared_ptr<LedColorProperty>>::Create(
//         {LedColorProperty::Create(LedColorProperty::RED, 100), LedColorProperty::OFF_CONST->Value()});
class VELRIX_EXPORT LedColorProperty final : public System::Object {
public:
    // The type is fixed so that any code of 32 bits is a value of it.
    enum Color_e : std::uint32_t {
        OFF = 0,
        GREEN = 1,
        RED = 2,
        YELLOW = 3, // an element of its own, not green and red together
    };

    // The steady colours; each step is made at the first request for it.
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
