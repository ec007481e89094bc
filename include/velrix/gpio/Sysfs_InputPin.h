// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/IArray.h>
#include <System/IO/FileStream.h>
#include <System/String.h>

#include <velrix/Export.h>
#include <velrix/gpio/IInputPin.h>

namespace Velrix::Gpio {

// An input line behind a value file, such as /var/dev/gpio-inputs/oxboIrqN/value.
//
// Made by Create, which opens the file; the file stays open as long as the pin lives. The system's start-up provides
// the file and the line's direction; the pin only reads. Each Get is one system call, not cached and not debounced. One
// thread at a time. The surprise: an empty file reads as the previous level.
class VELRIX_EXPORT Sysfs_InputPin final : public IInputPin {
public:
    // Opens the file at path, which must exist; failures are those of System::IO::FileStream. name is the pin's label,
    // unchecked.
    static std::shared_ptr<Sysfs_InputPin> Create(System::string_ptr name, System::string_ptr path);

    // A pin without a label: the one argument is the path, and the name is "N/A".
    static std::shared_ptr<Sysfs_InputPin> Create(System::string_ptr path);

    ~Sysfs_InputPin() override;

    // The name.
    System::string_ptr ToString() override;

    // High if the first byte of the file is "1", low for any other content. Failures are those of
    // System::IO::FileStream.
    bool Get() override;

private:
    Sysfs_InputPin(System::string_ptr ownName, System::string_ptr path);

    const System::string_ptr name;
    const std::shared_ptr<System::IO::FileStream> stream;
    const std::shared_ptr<System::Collections::Generic::IArray<unsigned char>>
        readBuffer; // one byte: the last one read
};

} // namespace Velrix::Gpio
