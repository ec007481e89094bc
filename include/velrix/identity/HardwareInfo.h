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

// The device's hardware: the name of the board and its revision.
//
// Read once per process, at the first use of INSTANCE, from a file of the folder that the setting system_config_dir
// names. When that fails, the exception passes out of INSTANCE.Value() and the next use tries again; there is no
// default identity. Immutable: any thread.
class VELRIX_EXPORT HardwareInfo final : public System::Object {
public:
    static System::Lazy<std::shared_ptr<HardwareInfo>> INSTANCE;

    // Reads the file now; most users want INSTANCE. hwrevision holds a name, one space and a version such as 3.0.1,
    // without a line end. Not exactly two words: FormatException "hej". Other failures are those of the settings,
    // System::IO::File::ReadAllText and Version::FromString.
    static std::shared_ptr<HardwareInfo> Create();

    ~HardwareInfo() override;

    // "HardwareInfo[name=mainboard, version=3.0.1]".
    System::string_ptr ToString() override;

    const System::string_ptr Name;
    const std::shared_ptr<Velrix::Version> Version;

private:
    HardwareInfo(System::string_ptr ownName, std::shared_ptr<Velrix::Version> ownVersion) noexcept;
};

} // namespace Velrix
