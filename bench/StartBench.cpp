// SPDX-License-Identifier: Apache-2.0
//
// From exec to exit: builds the Platform and prints in kilobytes how much memory was resident at most, how much is in
// use then, and how much of that the process has written to. Compiled with BARE it is the program to compare with,
// which links the C++ library and nothing of this project.
#include <cstdio>
#include <cstring>
#include <string>

#ifndef BARE
#include <velrix/platform/Platform.h>
#endif

// The number in the line of a file of /proc that begins so; -1 where there is none.
static long Kilobytes(const char* path, const char* beginning) {
    char line[256];
    long found = -1;
    if (FILE* file = std::fopen(path, "r")) {
        while (std::fgets(line, sizeof line, file))
            if (std::strncmp(line, beginning, std::strlen(beginning)) == 0)
                found = std::stol(line + std::strlen(beginning));
        std::fclose(file);
    }
    return found;
}

int main() {
#ifndef BARE
    Velrix::Platform::INSTANCE.Value();
#endif
    // As texts, since a program of C++ has its library resident.
    const std::string resident = "resident_kb " + std::to_string(Kilobytes("/proc/self/status", "VmHWM:"));
    const std::string used = "used_kb " + std::to_string(Kilobytes("/proc/self/smaps_rollup", "Rss:"));
    const std::string own = "own_kb " + std::to_string(Kilobytes("/proc/self/smaps_rollup", "Anonymous:"));
    std::puts(resident.c_str());
    std::puts(used.c_str());
    std::puts(own.c_str());
    return 0;
}
