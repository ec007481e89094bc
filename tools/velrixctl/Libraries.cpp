// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Libraries.h"

#include <filesystem>
#include <system_error>

#include <link.h>

namespace VelrixTools {

namespace {

constexpr const char* NAMES[] = {"libvelrix", "libenv"};

int Collect(dl_phdr_info* information, std::size_t, void* collected) {
    std::error_code error;
    const std::filesystem::path file = std::filesystem::canonical(information->dlpi_name, error);
    const std::string name = std::filesystem::path(information->dlpi_name).filename();
    for (const std::string known : NAMES)
        if (name.starts_with(known + ".so")) {
            const std::string full = file.filename(), begin = known + ".so.";
            static_cast<std::vector<LoadedLibrary>*>(collected)->push_back(
                {known, file, full.starts_with(begin) ? full.substr(begin.size()) : ""});
        }
    return 0;
}

} // namespace

std::vector<LoadedLibrary> LoadedLibraries() {
    std::vector<LoadedLibrary> libraries;
    ::dl_iterate_phdr(&Collect, &libraries);
    return libraries;
}

} // namespace VelrixTools
