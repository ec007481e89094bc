// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/IArray.h>
#include <System/IO/FileStream.h>
#include <System/String.h>

#include <velrix/Export.h>
#include <velrix/gpio/IOutputPin.h>

namespace Velrix::Gpio {

// An output line behind a value file, or one element of an LED behind its brightness file.
//
// Made by Create, which opens the file and writes nothing: the line keeps its level until the first SetHigh or SetLow.
// The file stays open as long as the pin lives. Each operation writes one byte at the current position, also when the
// line has that level already: a value file takes every write as its new value, a regular file collects them ("10").
// One thread at a time.
class VELRIX_EXPORT Sysfs_OutputPin final : public IOutputPin {
public:
    // Opens the file at path, which must exist; failures are those of System::IO::FileStream. name is the pin's label,
    // unchecked. The path /dev/null makes a pin that drives nothing.
    static std::shared_ptr<Sysfs_OutputPin> Create(System::string_ptr name, System::string_ptr path);

    // A pin without a label: the one argument is the path, and the name is "N/A".
    static std::shared_ptr<Sysfs_OutputPin> Create(System::string_ptr path);

    ~Sysfs_OutputPin() override;

    // The name.
    System::string_ptr ToString() override;

    // Write "1" or "0"; the byte is in the file when they return. Failures are those of System::IO::FileStream.
    void SetHigh() override;
    void SetLow() override;

private:
    Sysfs_OutputPin(System::string_ptr ownName, System::string_ptr path);

    const System::string_ptr name;
    const std::shared_ptr<System::IO::FileStream> stream;
    const std::shared_ptr<System::Collections::Generic::IArray<unsigned char>>
        lowBuffer; // made once: a write allocates nothing
    const std::shared_ptr<System::Collections::Generic::IArray<unsigned char>> highBuffer;
    bool level = false; // the level last driven, for debuggers; no operation reads it
};

} // namespace Velrix::Gpio
