// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/LedColorProperty.h>

#include <System/CallbackFunc.h>

using System::CallbackFunc;
using System::Lazy;

namespace Velrix::Gpio {

namespace {

using Step = std::shared_ptr<LedColorProperty>;

template <LedColorProperty::Color_e COLOR>
Step MakeSteady() {
    return LedColorProperty::Create(COLOR, 0);
}

template <LedColorProperty::Color_e COLOR>
std::shared_ptr<Lazy<Step>> MakeHolder() {
    return Lazy<Step>::Create(CallbackFunc<Step>::Create(&MakeSteady<COLOR>));
}

} // namespace

const std::shared_ptr<Lazy<Step>> LedColorProperty::OFF_CONST = MakeHolder<OFF>();
const std::shared_ptr<Lazy<Step>> LedColorProperty::GREEN_CONST = MakeHolder<GREEN>();
const std::shared_ptr<Lazy<Step>> LedColorProperty::RED_CONST = MakeHolder<RED>();
const std::shared_ptr<Lazy<Step>> LedColorProperty::YELLOW_CONST = MakeHolder<YELLOW>();

std::shared_ptr<LedColorProperty> LedColorProperty::Create(Color_e color, unsigned long long duration) {
    return Step(new LedColorProperty(color, duration));
}

LedColorProperty::LedColorProperty(Color_e ownColor, unsigned long long ownDuration) noexcept
    : Color(ownColor), Duration(ownDuration) {}

LedColorProperty::~LedColorProperty() = default;

} // namespace Velrix::Gpio
