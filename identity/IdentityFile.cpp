// SPDX-License-Identifier: Apache-2.0
#include "identity/IdentityFile.h"

#include <utility>

#include <System/IO/File.h>
#include <System/IO/Path.h>

#include <velrix/settings/SettingsFile.h>

namespace Velrix {

System::string_ptr ReadIdentityFile(System::string_ptr fileName) {
    const auto& folder = Settings::SettingsFile::INSTANCE.Value()->system_config_dir;
    return System::IO::File::ReadAllText(System::IO::Path::Combine(folder, std::move(fileName)));
}

} // namespace Velrix
