// SPDX-License-Identifier: Apache-2.0
//
// From exec to exit: builds the Platform and prints how often it allocated memory, and in kilobytes how much memory was
// resident at most, how much is in use then, and how much of that the process has written to; with the argument
// "silent" it prints nothing. The lines and LEDs are devices that every machine has, under paths as long as those of a
// board, so that what remains is the library's. Compiled with BARE it is the program to compare with, which links the
// C++ library and nothing of this project.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#ifndef BARE
#include <velrix/platform/Platform.h>
#endif

#include "bench/Allocations.h"
#ifndef BARE
#include "bench/DevicePaths.h"
#endif

using Bench::allocations;

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

int main(int argc, char**) {
#ifndef BARE
    const auto settings = Velrix::Settings::SettingsFile::INSTANCE.Value();
    const long long before = allocations;
    Bench::UseDevices(*settings);
    allocations = before;
    Velrix::Platform::INSTANCE.Value();
#endif
    if (argc > 1)
        return 0;
    const long long made = allocations;
    // As texts, since a program of C++ has its library resident.
    const std::string resident = "resident_kb " + std::to_string(Kilobytes("/proc/self/status", "VmHWM:"));
    const std::string used = "used_kb " + std::to_string(Kilobytes("/proc/self/smaps_rollup", "Rss:"));
    const std::string own = "own_kb " + std::to_string(Kilobytes("/proc/self/smaps_rollup", "Anonymous:"));
    std::printf("allocations %lld\n", made);
    std::puts(resident.c_str());
    std::puts(used.c_str());
    std::puts(own.c_str());
    return 0;
}
