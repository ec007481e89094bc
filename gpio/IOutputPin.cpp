// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/IOutputPin.h>

namespace Velrix::Gpio {

// Here, so that the interface's virtual table and type information are in the library once and not in every user.
IOutputPin::~IOutputPin() = default;

} // namespace Velrix::Gpio
