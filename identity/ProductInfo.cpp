// SPDX-License-Identifier: Apache-2.0
#include <velrix/identity/ProductInfo.h>

#include <utility>

#include <System/CallbackFunc.h>
#include <System/Convert.h>
#include <System/Text/StringBuilder.h>

#include "identity/IdentityFile.h"

using System::string_ptr;

namespace Velrix {

System::Lazy<std::shared_ptr<ProductInfo>>
    ProductInfo::INSTANCE(System::CallbackFunc<std::shared_ptr<ProductInfo>>::Create(&ProductInfo::Create));

std::shared_ptr<ProductInfo> ProductInfo::Create() {
    const auto serialNumber = System::Convert::ToUInt64(ReadIdentityFile("serialnumber.product"), 16);
    auto version = Velrix::Version::FromString(ReadIdentityFile("version.product"), "v", '.');
    return Own(new ProductInfo(serialNumber, std::move(version)));
}

ProductInfo::ProductInfo(unsigned long long ownSerialNumber, std::shared_ptr<Velrix::Version> ownVersion) noexcept
    : SerialNumber(ownSerialNumber), Version(std::move(ownVersion)) {}

ProductInfo::~ProductInfo() = default;

string_ptr ProductInfo::ToString() {
    auto builder = System::Text::StringBuilder::Create();
    builder->Append("ProductInfo[SerialNumber=").Append(System::Convert::ToString(SerialNumber, 16));
    builder->Append(", version=").Append(Version).Append("]");
    return builder->ToString();
}

} // namespace Velrix
