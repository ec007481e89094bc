// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Exceptions.h>
#include <System/IO/Exceptions.h>
#include <System/Lazy.h>
#include <System/Object.h>
#include <System/String.h>

#include <velrix/Export.h>
#include <velrix/identity/Version.h>

namespace Velrix {

// The product's serial number and version.
//
// Read once per process, at the first use of INSTANCE, from two files of the folder that the setting system_config_dir
// names. When that fails, the exception passes out of INSTANCE.Value() and the next use tries again; there is no
// default identity. Immutable: any thread.
class VELRIX_EXPORT ProductInfo final : public System::Object {
public:
    static System::Lazy<std::shared_ptr<ProductInfo>> INSTANCE;

    // Reads the files now; most users want INSTANCE. serialnumber.product holds a hexadecimal number and
    // version.product a version such as v2.1.0, neither with a line end. Failures are those of the settings,
    // System::IO::File::ReadAllText, System::Convert::ToUInt64 and Version::FromString.
    static std::shared_ptr<ProductInfo> Create();

    ~ProductInfo() override;

    // "ProductInfo[SerialNumber=1a2b3c4d, version=2.1.0]".
    System::string_ptr ToString() override;

    const unsigned long long SerialNumber;
    const std::shared_ptr<Velrix::Version> Version;

private:
    ProductInfo(unsigned long long ownSerialNumber, std::shared_ptr<Velrix::Version> ownVersion) noexcept;
};

} // namespace Velrix
