// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/IO/Exceptions.h>
#include <System/Object.h>

#include <velrix/Export.h>

namespace Velrix::Gpio {

// An output line of the board.
//
// Sysfs_OutputPin drives one through a value file; tests use a fake. ToString() is the pin's label. One thread at a
// time.
class VELRIX_EXPORT IOutputPin : public System::Object {
public:
    ~IOutputPin() override;

    // Drive the line high or low, whatever its level was. Both throw an exception of System::IO when the level cannot
    // be written; the line may then have either level.
    virtual void SetHigh() = 0;
    virtual void SetLow() = 0;

protected:
    IOutputPin() noexcept = default;
};

} // namespace Velrix::Gpio
