// SPDX-License-Identifier: Apache-2.0
#include <velrix/identity/Version.h>

#include <System/Collections/Generic/Array.h>
#include <System/Convert.h>
#include <System/Exceptions.h>
#include <System/Text/StringBuilder.h>

using System::String;
using System::string_ptr;

namespace Velrix {

namespace {

// Truncated to 8 bits without a check, by contract.
unsigned char ToComponent(const string_ptr& part) {
    return static_cast<unsigned char>(System::Convert::ToUInt64(part, 10));
}

} // namespace

std::shared_ptr<Version> Version::Create(unsigned char major, unsigned char minor, unsigned char build) {
    return Own(new Version(major, minor, build));
}

Version::Version(unsigned char major, unsigned char minor, unsigned char build) noexcept
    : Major(major), Minor(minor), Build(build) {}

Version::~Version() = default;

std::shared_ptr<Version> Version::FromString(string_ptr text, string_ptr prefix, unsigned short separator) {
    if (prefix) {
        if (!text->StartsWith(prefix))
            throw System::ArgumentException(prefix);
        text = text->Substring(prefix->Length(), text->Length() - prefix->Length());
    }

    const auto parts = text->Split(String::FromChars(separator, 1));
    if (parts->Length() != 3)
        throw System::ArgumentException(parts->ToString());

    const auto major = ToComponent((*parts)[0]);
    const auto minor = ToComponent((*parts)[1]);
    const auto build = ToComponent((*parts)[2]);
    return Create(major, minor, build);
}

bool Version::Equals(std::shared_ptr<Version> other) const {
    const auto self = shared_from_this(); // throws std::bad_weak_ptr for a version without an owner
    if (other == self)
        return true;
    if (!other)
        return false;
    return Major == other->Major && Minor == other->Minor && Build == other->Build;
}

string_ptr Version::ToString() {
    auto builder = System::Text::StringBuilder::Create();
    builder->Append(Major).Append(".").Append(Minor).Append(".").Append(Build);
    return builder->ToString();
}

} // namespace Velrix
