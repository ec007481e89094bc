// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/Sysfs_InputPin.h>

#include <utility>

#include <System/Collections/Generic/Array.h>

using System::string_ptr;
using System::Collections::Generic::Array;
using System::IO::FileAccess;
using System::IO::FileMode;
using System::IO::FileStream;
using System::IO::SeekOrigin;

namespace Velrix::Gpio {

std::shared_ptr<Sysfs_InputPin> Sysfs_InputPin::Create(string_ptr name, string_ptr path) {
    return Own(new Sysfs_InputPin(std::move(name), std::move(path)));
}

std::shared_ptr<Sysfs_InputPin> Sysfs_InputPin::Create(string_ptr path) {
    return Create("N/A", std::move(path));
}

Sysfs_InputPin::Sysfs_InputPin(string_ptr ownName, string_ptr path)
    : name(std::move(ownName)), stream(FileStream::Create(std::move(path), FileMode::OPEN, FileAccess::READ)),
      readBuffer(Array<unsigned char>::Create(1)) {}

Sysfs_InputPin::~Sysfs_InputPin() = default;

string_ptr Sysfs_InputPin::ToString() {
    return name;
}

bool Sysfs_InputPin::Get() {
    // A sysfs file is regenerated only by a read from offset 0 (Documentation/filesystems/sysfs.rst).
    stream->Seek(0, SeekOrigin::BEGIN);
    stream->Read(readBuffer, 0, 1); // ignores the count: 0 bytes leave the previous level

    // An Array, not an IArray: reading the byte needs no virtual call.
    return *static_cast<Array<unsigned char>&>(*readBuffer).Data() == '1';
}

} // namespace Velrix::Gpio
