// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/IOutputPin.h>

namespace Velrix::Gpio {

// Key function: the vtable and type information are in the library once, not in every user.
IOutputPin::~IOutputPin() = default;

} // namespace Velrix::Gpio
