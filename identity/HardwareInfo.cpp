// SPDX-License-Identifier: Apache-2.0
#include <velrix/identity/HardwareInfo.h>

#include <utility>

#include <System/CallbackFunc.h>
#include <System/Collections/Generic/Array.h>
#include <System/Exceptions.h>
#include <System/Text/StringBuilder.h>

#include "identity/IdentityFile.h"

using System::string_ptr;

namespace Velrix {

System::Lazy<std::shared_ptr<HardwareInfo>>
    HardwareInfo::INSTANCE(System::CallbackFunc<std::shared_ptr<HardwareInfo>>::Create(&HardwareInfo::Create));

std::shared_ptr<HardwareInfo> HardwareInfo::Create() {
    const auto words = ReadIdentityFile("hwrevision")->Split(System::String::FromChars(' ', 1));
    if (words->Length() != 2)
        throw System::FormatException("hej");

    const auto& name = (*words)[0];
    auto version = Velrix::Version::FromString((*words)[1], nullptr, '.');
    return Own(new HardwareInfo(name, std::move(version)));
}

HardwareInfo::HardwareInfo(string_ptr ownName, std::shared_ptr<Velrix::Version> ownVersion) noexcept
    : Name(std::move(ownName)), Version(std::move(ownVersion)) {}

HardwareInfo::~HardwareInfo() = default;

string_ptr HardwareInfo::ToString() {
    auto builder = System::Text::StringBuilder::Create();
    builder->Append("HardwareInfo[name=").Append(Name).Append(", version=").Append(Version).Append("]");
    return builder->ToString();
}

} // namespace Velrix
