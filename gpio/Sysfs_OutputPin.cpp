// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/Sysfs_OutputPin.h>

#include <utility>

#include <System/Collections/Generic/Array.h>

using System::string_ptr;
using System::Collections::Generic::Array;
using System::IO::FileAccess;
using System::IO::FileMode;
using System::IO::FileStream;

namespace Velrix::Gpio {

namespace {

// What all pins share: what they write for a level, and the name of those without a label. Never destroyed: pins are
// still used when the statics of this library go.
struct Common {
    const std::shared_ptr<Array<unsigned char>> low = Array<unsigned char>::Create({'0'});
    const std::shared_ptr<Array<unsigned char>> high = Array<unsigned char>::Create({'1'});
    const string_ptr noName = "N/A";
};
const Common& GetCommon() {
    static const Common& common = *new Common;
    return common;
}

} // namespace

std::shared_ptr<Sysfs_OutputPin> Sysfs_OutputPin::Create(string_ptr name, string_ptr path) {
    return Own(new Sysfs_OutputPin(std::move(name), std::move(path)));
}

std::shared_ptr<Sysfs_OutputPin> Sysfs_OutputPin::Create(string_ptr path) {
    return Create(GetCommon().noName, std::move(path));
}

Sysfs_OutputPin::Sysfs_OutputPin(string_ptr ownName, string_ptr path)
    : name(std::move(ownName)), stream(FileStream::Create(std::move(path), FileMode::OPEN, FileAccess::WRITE)),
      lowBuffer(GetCommon().low), highBuffer(GetCommon().high) {}

Sysfs_OutputPin::~Sysfs_OutputPin() = default;

string_ptr Sysfs_OutputPin::ToString() {
    return name;
}

// No seek before a write: a value file takes a write at any position as its new value (sysfs passes the bytes on and
// not the position), and a seek would be a second system call.

void Sysfs_OutputPin::SetHigh() {
    stream->Write(highBuffer, 0, 1);
    level = true;
}

void Sysfs_OutputPin::SetLow() {
    stream->Write(lowBuffer, 0, 1);
    level = false;
}

} // namespace Velrix::Gpio
