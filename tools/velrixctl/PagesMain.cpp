// SPDX-License-Identifier: Apache-2.0
// Writes the manual page and the completions of velrixctl into a folder. A part of the build, not installed.
#include <cstdio>
#include <fstream>
#include <string>

#include "tools/velrixctl/Pages.h"

using namespace VelrixTools;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: velrixctl-pages FOLDER\n", stderr);
        return 2;
    }
    const struct {
        const char* name;
        std::string (*make)();
    } pages[] = {
        {"velrixctl.1", &ManualPage},
        {"velrixctl.bash", &BashCompletion},
        {"_velrixctl", &ZshCompletion},
        {"velrixctl.fish", &FishCompletion},
    };
    for (const auto& page : pages) {
        const std::string path = std::string(argv[1]) + "/" + page.name;
        std::ofstream file(path);
        if (!(file << page.make()).flush()) {
            std::fprintf(stderr, "velrixctl-pages: cannot write %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
