// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include <velrix/settings/SettingsFile.h>

namespace VelrixTools {

// One of the device's identity files, read as the library reads it.
struct IdentityFile {
    std::string path;
    std::string content; // what the file holds, shown with \n for a line end
    std::string wrong;   // why the library refuses it; empty: it is good
    std::string remedy;
};

// serialnumber.product, version.product and hwrevision.
std::vector<IdentityFile> ReadIdentityFiles(const Velrix::Settings::SettingsFile& settings);

} // namespace VelrixTools
