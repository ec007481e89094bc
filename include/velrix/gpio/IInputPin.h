// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/IO/Exceptions.h>
#include <System/Object.h>

#include <velrix/Export.h>

namespace Velrix::Gpio {

// An input line of the board.
//
// Sysfs_InputPin reads one through a value file; tests use a fake. ToString() is the pin's label. One thread at a time.
class VELRIX_EXPORT IInputPin : public System::Object {
public:
    ~IInputPin() override;

    // The level of the line now: true is high, also on a line that is active when low. Throws an exception of
    // System::IO when the level cannot be read.
    virtual bool Get() = 0;

protected:
    IInputPin() noexcept = default;
};

} // namespace Velrix::Gpio
