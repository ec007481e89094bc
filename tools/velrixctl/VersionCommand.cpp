// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/Json.h"
#include "tools/velrixctl/Libraries.h"

namespace VelrixTools {

int RunVersion(const CommandLine& line) {
    Json versions = {{"velrixctl", VELRIX_VERSION}};
    std::string text = "velrixctl " VELRIX_VERSION "\n";
    for (const LoadedLibrary& library : LoadedLibraries()) {
        const std::string version = library.version.empty() ? "of unknown version" : library.version;
        text += library.name + " " + version + ", " + Escaped(library.path) + "\n";
        versions[library.name] = {{"version", library.version}, {"path", library.path}};
    }
    if (line.Has("--json"))
        PrintJson(versions);
    else
        Print(text);
    return EXIT_GOOD;
}

} // namespace VelrixTools
