// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/IInputPin.h>

namespace Velrix::Gpio {

// Key function: the vtable and type information are in the library once, not in every user.
IInputPin::~IInputPin() = default;

} // namespace Velrix::Gpio
