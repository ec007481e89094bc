// SPDX-License-Identifier: Apache-2.0
//
// From exec to exit: builds the Platform and prints how much memory was resident at most, in kilobytes. Compiled with
// BARE it is the program to compare with, which links the C++ library and nothing of this project.
#include <cstdio>
#include <cstring>
#include <string>

#ifndef BARE
#include <velrix/platform/Platform.h>
#endif

int main() {
#ifndef BARE
    Velrix::Platform::INSTANCE.Value();
#endif
    char line[256];
    std::string value = "resident_kb unknown"; // a program of C++ has its library resident
    if (FILE* status = std::fopen("/proc/self/status", "r")) {
        while (std::fgets(line, sizeof line, status))
            if (std::strncmp(line, "VmHWM:", 6) == 0)
                value = "resident_kb " + std::to_string(std::stol(line + 6));
        std::fclose(status);
    }
    std::puts(value.c_str());
    return 0;
}
